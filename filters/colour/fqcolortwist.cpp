#include "filters/colour/fqcolortwist.h"

#include "frame/fqregistry.h"
#include "ipp/ippcolortwist.h"
#include "ipp/ippcopy.h"

namespace framquist {

float TFQColorChannelTwist::GetItem(int index) const { return index >= 0 && index < 4 ? row_[index] : 0.0f; }

void TFQColorChannelTwist::SetItem(int index, float value) {
  TPWLockHold hold = Write();
  if (index >= 0 && index < 4) row_[index] = value;
}

void TFQColorChannelTwist::Assign(const TFQColorChannelTwist& source) {
  if (&source == this) return;
  TPWLockHold hold = Write();
  for (int i = 0; i < 4; ++i) SetItem(i, source.GetItem(i));
}

void TFQColorChannelTwist::DeclareProperties(TPWPropertyList& props) {
  static const char* const kNames[4] = {"Red", "Green", "Blue", "Offset"};
  for (int i = 0; i < 4; ++i)
    props.Float(
        kNames[i], [this, i] { return static_cast<double>(GetItem(i)); },
        [this, i](double v) { SetItem(i, static_cast<float>(v)); }, std::nullopt);
}

TFQColorTwists::TFQColorTwists(IPWLock& lock)
    : TZNLockedPersistent(lock), rows_{new TFQColorChannelTwist(matrix_[0], lock),
                                       new TFQColorChannelTwist(matrix_[1], lock),
                                       new TFQColorChannelTwist(matrix_[2], lock)} {}

TFQColorTwists::~TFQColorTwists() {
  for (int k = 2; k >= 0; --k) delete rows_[k];
}

void TFQColorTwists::Assign(const TFQColorTwists& source) {
  if (&source == this) return;
  TPWLockHold hold = Write();
  if (!hold) return;
  for (int k = 0; k < 3; ++k) rows_[k]->Assign(*source.rows_[k]);
}

void TFQColorTwists::DeclareProperties(TPWPropertyList& props) {
  props.Object("RedTwist", *rows_[0]);
  props.Object("GreenTwist", *rows_[1]);
  props.Object("BlueTwist", *rows_[2]);
}

TFQColorTwist::TFQColorTwist() : twists_(new TFQColorTwists(GetLock())) {}

TFQColorTwist::~TFQColorTwist() { delete twists_; }

void TFQColorTwist::SetColorTwists(const TFQColorTwists& value) { twists_->Assign(value); }

void TFQColorTwist::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Object("ColorTwists", *twists_);
}

void TFQColorTwist::SetVideoFormat(IFQImageBuffer& Buffer) {
  if (Buffer.GetFormat() == vf32Bit) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

void TFQColorTwist::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  const SIZE size = InBuffer.GetSize();
  const IppiSize roi{size.cx, size.cy};
  const Ipp8u* src = InBuffer.GetReadPointer();
  Ipp8u* dst = OutBuffer.GetWritePointer();
  const int srcStep = InBuffer.GetLineStep(), dstStep = OutBuffer.GetLineStep();
  if (InBuffer.GetFormat() != vf32Bit) {
    ippiColorTwist32f_8u_C3R(src, srcStep, dst, dstStep, roi, twists_->Matrix());
    return;
  }
  ippiColorTwist32f_8u_AC4R(src, srcStep, dst, dstStep, roi, twists_->Matrix());
  // The write pointer did not keep the alpha Assign brought; take it from the input.
  const SIZE outSize = OutBuffer.GetSize();
  ippiCopy_8u_C4CR(src + 3, dstStep, OutBuffer.GetModifyPointer() + 3, dstStep, {outSize.cx, outSize.cy});
}

namespace Fqcolortwist {
void Register() { RegisterComponents("Framquist", {FQClass<TFQColorTwist>("TFQColorTwist")}); }
} // namespace Fqcolortwist

} // namespace framquist
