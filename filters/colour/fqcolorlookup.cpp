#include "filters/colour/fqcolorlookup.h"

#include "frame/fqregistry.h"
#include "ipp/ipplut.h"

namespace framquist {

// ---- TFQLookupTable --------------------------------------------------------

int TFQLookupTable::GetCount() const {
  TPWLockHold hold = Read();
  return static_cast<int>(values_.size());
}

void TFQLookupTable::SetCount(int value) {
  if (value < 0) value = 0;
  TPWLockHold hold = Write();
  if (!hold) return;
  levels_.resize(static_cast<std::size_t>(value), 0);
  values_.resize(static_cast<std::size_t>(value), 0);
}

int TFQLookupTable::LevelAt(int index) const {
  return static_cast<std::size_t>(index) < levels_.size() ? levels_[static_cast<std::size_t>(index)] : 0;
}

int TFQLookupTable::GetLevel(int index) const {
  TPWLockHold hold = Read();
  return LevelAt(index);
}

int TFQLookupTable::GetValue(int index) const {
  TPWLockHold hold = Read();
  return values_[static_cast<std::size_t>(index)];
}

void TFQLookupTable::SetLevel(int index, int value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  levels_[static_cast<std::size_t>(index)] = value;
  sorted_ = false;
}

void TFQLookupTable::SetValue(int index, int value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  values_[static_cast<std::size_t>(index)] = value;
}

void TFQLookupTable::AddInt(int Level, int Value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  levels_.push_back(Level);
  values_.push_back(Value);
  sorted_ = false;
}

void TFQLookupTable::Add(int Level, int Value) {
  AddInt(Level, Value);
  DoChange();
}

void TFQLookupTable::Clear() {
  {
    TPWLockHold hold = Write();
    if (!hold) return;
    levels_.clear();
    values_.clear();
    sorted_ = false;
  }
  DoChange();
}

void TFQLookupTable::BeginUpdate() {
  TPWLockHold hold = Write();
  ++updateCount_;
}

void TFQLookupTable::EndUpdate() {
  bool notify = false;
  {
    TPWLockHold hold = Write();
    if (updateCount_ > 0) --updateCount_;
    notify = updateCount_ == 0 && changePending_;
  }
  if (notify) DoChange();
}

void TFQLookupTable::DoChange() {
  {
    TPWLockHold hold = Write();
    if (updateCount_ > 0) {
      changePending_ = true;
      return;
    }
    changePending_ = false;
  }
  if (notify_) notify_(*this);
}

void TFQLookupTable::Assign(const TFQLookupTable& Source) {
  if (&Source == this) return;
  {
    TPWLockHold hold = Write();
    if (!hold) return;
    TPWLockHold source = Source.Read();
    levels_.clear();
    values_ = Source.values_; // the levels are not taken over
    sorted_ = false;
  }
  DoChange();
}

void TFQLookupTable::Sort() {
  if (sorted_) return;
  const int count = static_cast<int>(values_.size());
  sortedLevels_.resize(static_cast<std::size_t>(count));
  sortedValues_ = values_;
  for (int i = 0; i < count; ++i) sortedLevels_[static_cast<std::size_t>(i)] = LevelAt(i);
  // Selection sort: a later entry moves forward only when strictly smaller.
  for (int i = 0; i < count; ++i) {
    int m = i;
    for (int j = i + 1; j < count; ++j)
      if (sortedLevels_[static_cast<std::size_t>(j)] < sortedLevels_[static_cast<std::size_t>(m)]) m = j;
    std::swap(sortedLevels_[static_cast<std::size_t>(i)], sortedLevels_[static_cast<std::size_t>(m)]);
    std::swap(sortedValues_[static_cast<std::size_t>(i)], sortedValues_[static_cast<std::size_t>(m)]);
  }
  sorted_ = true;
}

void TFQLookupTable::ReadData(TPWReader& Reader) {
  {
    TPWLockHold hold = Write();
    levels_.clear();
    values_.clear();
    sorted_ = false;
    Reader.ReadListBegin();
    while (!Reader.EndOfList()) {
      const int first = static_cast<int>(Reader.ReadInteger());
      const int second = static_cast<int>(Reader.ReadInteger());
      // Stored as level, value; read back the other way round, as stored
      // forms have always read.
      AddInt(second, first);
    }
    Reader.ReadListEnd();
  }
  DoChange();
}

void TFQLookupTable::WriteData(TPWWriter& Writer) const {
  TPWLockHold hold = Read();
  Writer.WriteListBegin();
  for (std::size_t i = 0; i < values_.size(); ++i) {
    Writer.WriteInteger(LevelAt(static_cast<int>(i)));
    Writer.WriteInteger(values_[i]);
  }
  Writer.WriteListEnd();
}

// ---- TFQLookupTables -------------------------------------------------------

TFQLookupTables::TFQLookupTables(IPWLock& lock, TZNLockedPersistentNotify::TNotify notify)
    : TZNLockedPersistent(lock) {
  for (auto& channel : channels_) channel = std::make_unique<TFQLookupTable>(lock, notify);
  SetLookupMode(clmCubic);
}

TFQColorLookupMode TFQLookupTables::GetLookupMode() const {
  TPWLockHold hold = Read();
  return lookupMode_;
}

void TFQLookupTables::SetLookupMode(TFQColorLookupMode value) {
  if (value > clmCubic) value = clmCubic;
  TPWLockHold hold = Write();
  if (hold) lookupMode_ = value;
}

void TFQLookupTables::Assign(const TFQLookupTables& Source) {
  if (&Source == this) return;
  TPWLockHold hold = Write();
  if (!hold) return;
  lookupMode_ = Source.GetLookupMode();
  for (int k = 0; k < 4; ++k) channels_[k]->Assign(*Source.channels_[k]);
}

namespace {
const TPWEnumType kLookupModes{"TFQColorLookupMode", {"clmStep", "clmLinear", "clmCubic"}};
} // namespace

void TFQLookupTables::DeclareProperties(TPWPropertyList& props) {
  props.Enum(
      "LookupMode", kLookupModes, [this] { return static_cast<int>(GetLookupMode()); },
      [this](int v) { SetLookupMode(static_cast<TFQColorLookupMode>(v < 0 ? 0 : v)); }, clmCubic);
}

void TFQLookupTables::DefineProperties(TPWFiler& filer) {
  bool hasData = false;
  for (const auto& channel : channels_) hasData = hasData || channel->GetCount() > 0;
  filer.DefineProperty(
      "ColorChannels", [this](TPWReader& r) { ReadData(r); }, [this](TPWWriter& w) { WriteData(w); },
      hasData);
}

void TFQLookupTables::ReadData(TPWReader& Reader) {
  TPWLockHold hold = Write();
  Reader.ReadListBegin();
  for (int k = 0; !Reader.EndOfList(); ++k) {
    if (k < 4) {
      channels_[k]->ReadData(Reader);
    } else { // more channels than a frame has: read past them
      Reader.ReadListBegin();
      while (!Reader.EndOfList()) Reader.ReadInteger();
      Reader.ReadListEnd();
    }
  }
  Reader.ReadListEnd();
}

void TFQLookupTables::WriteData(TPWWriter& Writer) const {
  TPWLockHold hold = Read();
  Writer.WriteListBegin();
  for (const auto& channel : channels_) channel->WriteData(Writer);
  Writer.WriteListEnd();
}

// ---- TFQColorLookup --------------------------------------------------------

// The component has no use for change notifications: each frame sorts what
// changed before it looks anything up.
TFQColorLookup::TFQColorLookup() : lookupTables_(GetLock(), nullptr) {}

void TFQColorLookup::SetLookupTables(const TFQLookupTables& value) { lookupTables_.Assign(value); }

void TFQColorLookup::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Object("LookupTables", lookupTables_);
}

void TFQColorLookup::SetVideoFormat(IFQImageBuffer& Buffer) {
  const TFQVideoFormat format = Buffer.GetFormat();
  if (format == vfGrey || format == vf32Bit) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

void TFQColorLookup::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  // The output starts as the input: what the primitive does not write (all
  // curves empty, or a grey frame whose curve is empty) passes unchanged.
  OutBuffer.Assign(InBuffer);
  static const Ipp32s kIdentity[2] = {0, 256};
  const Ipp32s* values[4];
  const Ipp32s* levels[4];
  int counts[4];
  bool anyCurve = false;
  for (int k = 0; k < 4; ++k) {
    TFQLookupTable& table = *lookupTables_.GetColorChannel(k);
    const int count = table.GetCount();
    if (count == 0) {
      values[k] = kIdentity;
      levels[k] = kIdentity;
      counts[k] = 2;
      continue;
    }
    anyCurve = true;
    table.Sort();
    values[k] = table.SortedValues().data();
    levels[k] = table.SortedLevels().data();
    counts[k] = count;
  }
  if (!anyCurve) return;

  const TFQVideoFormat format = InBuffer.GetFormat();
  const TFQLookupTable& grey = *lookupTables_.GetColorChannel(0);
  // A grey frame uses curve 0 alone; empty, the primitive would refuse it.
  if (format == vfGrey && grey.GetCount() == 0) return;

  const Ipp8u* src = InBuffer.GetReadPointer();
  const int srcStep = InBuffer.GetLineStep();
  Ipp8u* dst = OutBuffer.GetWritePointer();
  const int dstStep = OutBuffer.GetLineStep();
  const SIZE size = InBuffer.GetSize();
  const IppiSize roi{size.cx, size.cy};
  const TFQColorLookupMode mode = lookupTables_.GetLookupMode();
  if (format == vfGrey) {
    const Ipp32s* v = grey.SortedValues().data();
    const Ipp32s* l = grey.SortedLevels().data();
    const int n = grey.GetCount();
    switch (mode) {
    case clmStep:
      ippiLUT_8u_C1R(src, srcStep, dst, dstStep, roi, v, l, n);
      break;
    case clmLinear:
      ippiLUT_Linear_8u_C1R(src, srcStep, dst, dstStep, roi, v, l, n);
      break;
    default:
      ippiLUT_Cubic_8u_C1R(src, srcStep, dst, dstStep, roi, v, l, n);
      break;
    }
  } else if (format == vf32Bit) {
    switch (mode) {
    case clmStep:
      ippiLUT_8u_C4R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    case clmLinear:
      ippiLUT_Linear_8u_C4R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    default:
      ippiLUT_Cubic_8u_C4R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    }
  } else {
    switch (mode) {
    case clmStep:
      ippiLUT_8u_C3R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    case clmLinear:
      ippiLUT_Linear_8u_C3R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    default:
      ippiLUT_Cubic_8u_C3R(src, srcStep, dst, dstStep, roi, values, levels, counts);
      break;
    }
  }
}

namespace Fqcolorlookup {
void Register() { RegisterComponents("Framquist", {FQClass<TFQColorLookup>("TFQColorLookup")}); }
} // namespace Fqcolorlookup

} // namespace framquist
