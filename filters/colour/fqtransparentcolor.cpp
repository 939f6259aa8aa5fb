#include "filters/colour/fqtransparentcolor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "frame/fqregistry.h"
#include "ipp/ippcopy.h"

namespace framquist {

namespace {

// The sixteen basic colours by their conventional names.
struct TNamedColor {
  TColor Color;
  const char* Name;
};
constexpr TNamedColor kColorNames[] = {
    {0x000000, "clBlack"},  {0x000080, "clMaroon"},  {0x008000, "clGreen"}, {0x008080, "clOlive"},
    {0x800000, "clNavy"},   {0x800080, "clPurple"},  {0x808000, "clTeal"},  {0x808080, "clGray"},
    {0xC0C0C0, "clSilver"}, {0x0000FF, "clRed"},     {0x00FF00, "clLime"},  {0x00FFFF, "clYellow"},
    {0xFF0000, "clBlue"},   {0xFF00FF, "clFuchsia"}, {0xFFFF00, "clAqua"},  {0xFFFFFF, "clWhite"},
};

std::string ColorName(TColor color) {
  for (const TNamedColor& c : kColorNames)
    if (c.Color == color) return c.Name;
  char text[16];
  std::snprintf(text, sizeof text, "$%08X", static_cast<unsigned>(color));
  return text;
}

std::int32_t ClampInt32(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

TColor PixelColor(const unsigned char* p) {
  return static_cast<TColor>(p[0]) | (static_cast<TColor>(p[1]) << 8) | (static_cast<TColor>(p[2]) << 16);
}

} // namespace

// ---- TFQColorRange ---------------------------------------------------------

// The bounds are left at 0 here on purpose: a range nobody changed keys black.
TFQColorRange::TFQColorRange(TFQColorRanges& collection)
    : TZNLockedPersistent(collection.GetLock()), collection_(&collection) {}

TColor TFQColorRange::GetColor() const {
  TPWLockHold hold = Read();
  return color_;
}

std::int32_t TFQColorRange::GetToleranceRed() const {
  TPWLockHold hold = Read();
  return toleranceRed_;
}

std::int32_t TFQColorRange::GetToleranceGreen() const {
  TPWLockHold hold = Read();
  return toleranceGreen_;
}

std::int32_t TFQColorRange::GetToleranceBlue() const {
  TPWLockHold hold = Read();
  return toleranceBlue_;
}

void TFQColorRange::SetColor(TColor value) {
  TPWLockHold hold = Write();
  if (!hold || value == color_) return;
  color_ = value;
  CalcRange();
}

void TFQColorRange::SetToleranceRed(std::int32_t value) {
  TPWLockHold hold = Write();
  if (!hold || value == toleranceRed_) return;
  toleranceRed_ = value;
  CalcRange();
}

void TFQColorRange::SetToleranceGreen(std::int32_t value) {
  TPWLockHold hold = Write();
  if (!hold || value == toleranceGreen_) return;
  toleranceGreen_ = value;
  CalcRange();
}

void TFQColorRange::SetToleranceBlue(std::int32_t value) {
  TPWLockHold hold = Write();
  if (!hold || value == toleranceBlue_) return;
  toleranceBlue_ = value;
  CalcRange();
}

void TFQColorRange::Assign(const TFQColorRange& source) {
  if (&source == this) return;
  // Read the source first: it may sit under another component's lock.
  TColor color;
  std::int32_t red, green, blue;
  std::uint8_t lower[3], upper[3];
  {
    TPWLockHold hold = source.Read();
    color = source.color_;
    red = source.toleranceRed_, green = source.toleranceGreen_, blue = source.toleranceBlue_;
    std::copy_n(source.lower_, 3, lower);
    std::copy_n(source.upper_, 3, upper);
  }
  TPWLockHold hold = Write();
  if (!hold) return;
  color_ = color;
  toleranceRed_ = red, toleranceGreen_ = green, toleranceBlue_ = blue;
  std::copy_n(lower, 3, lower_);
  std::copy_n(upper, 3, upper_);
}

std::string TFQColorRange::GetDisplayName() const {
  TPWLockHold hold = Read();
  return ColorName(color_) + " " + std::to_string(toleranceRed_) + ":" + std::to_string(toleranceGreen_) +
         ":" + std::to_string(toleranceBlue_);
}

// Bound k belongs to the colour's byte k (red, green, blue component); the
// red component is widened by the blue tolerance and the blue component by
// the red one. Worked in 64 bits, kept modulo 256.
void TFQColorRange::CalcRange() {
  const std::int64_t c[3] = {FQRed(color_), FQGreen(color_), FQBlue(color_)};
  const std::int64_t t[3] = {toleranceBlue_, toleranceGreen_, toleranceRed_};
  for (int k = 0; k < 3; ++k) {
    lower_[k] = static_cast<std::uint8_t>(c[k] > t[k] ? c[k] - t[k] : 0);
    upper_[k] = static_cast<std::uint8_t>(c[k] < 255 - t[k] ? c[k] + t[k] : 255);
  }
}

void TFQColorRange::DeclareProperties(TPWPropertyList& props) {
  props.Color(
      "Color", [this] { return GetColor(); }, [this](std::uint32_t v) { SetColor(v); }, 0x008000u);
  props.Int<std::int32_t>(
      "ToleranceRed", [this] { return GetToleranceRed(); },
      [this](std::int64_t v) { SetToleranceRed(ClampInt32(v)); }, 5);
  props.Int<std::int32_t>(
      "ToleranceGreen", [this] { return GetToleranceGreen(); },
      [this](std::int64_t v) { SetToleranceGreen(ClampInt32(v)); }, 5);
  props.Int<std::int32_t>(
      "ToleranceBlue", [this] { return GetToleranceBlue(); },
      [this](std::int64_t v) { SetToleranceBlue(ClampInt32(v)); }, 5);
}

// ---- TFQColorRanges --------------------------------------------------------

TFQColorRanges::TFQColorRanges(TPWComponent& owner, IPWLock& lock)
    : TZNLockedPersistent(lock), owner_(&owner) {}

TFQColorRanges::~TFQColorRanges() = default;

TFQColorRange* TFQColorRanges::Add() {
  TPWLockHold hold = Write();
  if (!hold) return nullptr;
  items_.push_back(std::make_unique<TFQColorRange>(*this));
  return items_.back().get();
}

TFQColorRange* TFQColorRanges::GetItem(int index) const {
  TPWLockHold hold = Read();
  return GetIntItem(index);
}

TFQColorRange* TFQColorRanges::GetIntItem(int index) const {
  if (index < 0 || index >= static_cast<int>(items_.size())) return nullptr;
  return items_[static_cast<std::size_t>(index)].get();
}

void TFQColorRanges::SetItem(int index, const TFQColorRange& value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  if (TFQColorRange* item = GetIntItem(index)) item->Assign(value);
}

int TFQColorRanges::GetCount() const {
  TPWLockHold hold = Read();
  return static_cast<int>(items_.size());
}

void TFQColorRanges::Clear() {
  TPWLockHold hold = Write();
  if (hold) items_.clear();
}

bool TFQColorRanges::InRage(TColor value) const {
  for (const auto& item : items_)
    if (item->InRage(value)) return true;
  return false;
}

void TFQColorRanges::Assign(const TFQColorRanges& source) {
  if (&source == this) return;
  // Copies made under the source's lock first, then swapped in under ours,
  // so the two locks are never held together.
  std::vector<std::unique_ptr<TFQColorRange>> copies;
  for (int i = 0, n = source.GetCount(); i < n; ++i) {
    const TFQColorRange* item = source.GetItem(i);
    if (item == nullptr) break;
    copies.push_back(std::make_unique<TFQColorRange>(*this));
    copies.back()->Assign(*item);
  }
  TPWLockHold hold = Write();
  if (hold) items_.swap(copies);
}

// ---- TFQTransparentColor ---------------------------------------------------

TFQTransparentColor::TFQTransparentColor()
    : InputPin(this, "InputPin"), BackgroundInputPin(this, "BackgroundInputPin"),
      EnablePin(
          this, "EnablePin", [this](TPWBoolStatePin& pin, bool state) { OnEnableEvent(pin, state); }, true),
      TransparentColors(*this, GetLock()) {
  // The main picture is picture 1, the background picture 2.
  AddInputPin(InputPin);
  OutputPin.AddFunctionSink(InputPin);
  AddInputPin(BackgroundInputPin);
  OutputPin.AddFunctionSink(BackgroundInputPin);
}

TFQTransparentColor::~TFQTransparentColor() = default;

void TFQTransparentColor::SetEnabled(bool value) {
  if (TPWLockHold hold = GetLock().Write()) enabled_.store(value, std::memory_order_release);
}

void TFQTransparentColor::OnEnableEvent(TPWPin& Sender, bool State) {
  (void)Sender;
  enabled_.store(State, std::memory_order_release);
}

void TFQTransparentColor::DeclareProperties(TPWPropertyList& props) {
  TFQCommonCombine::DeclareProperties(props);
  props.Collection(
      "TransparentColors", [this] { return TransparentColors.GetCount(); },
      [this](int index) -> IPWPersistent* { return TransparentColors.GetItem(index); },
      [this]() -> IPWPersistent* { return TransparentColors.Add(); }, [this] { TransparentColors.Clear(); });
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
}

void TFQTransparentColor::DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2,
                                      unsigned Src2Step, unsigned char* Dst, unsigned DstStep,
                                      const SIZE& Size, unsigned BytesPerPixel) {
  (void)BytesPerPixel;
  if (Src1 == nullptr || Src2 == nullptr || Dst == nullptr || Size.cx <= 0 || Size.cy <= 0) return;
  const TFQVideoFormat format = FormatInUse();

  if (!GetEnabled()) {
    // Switched off: the main picture as it is, alpha included. Deliberately
    // plain; nothing of the background shows through.
    const IppiSize roi{Size.cx, Size.cy};
    const int s1 = static_cast<int>(Src1Step), sd = static_cast<int>(DstStep);
    if (format == vfGrey)
      ippiCopy_8u_C1R(Src1, s1, Dst, sd, roi);
    else if (format == vf32Bit)
      ippiCopy_8u_C4R(Src1, s1, Dst, sd, roi);
    else
      ippiCopy_8u_C3R(Src1, s1, Dst, sd, roi);
    return;
  }

  const TFQColorRanges& ranges = TransparentColors;
  for (int y = 0; y < Size.cy; ++y) {
    const unsigned char* m = Src1 + static_cast<std::size_t>(y) * Src1Step;
    const unsigned char* b = Src2 + static_cast<std::size_t>(y) * Src2Step;
    unsigned char* o = Dst + static_cast<std::size_t>(y) * DstStep;
    if (format == vfGrey) {
      for (int x = 0; x < Size.cx; ++x) o[x] = ranges.InRage(FQRGB(m[x], m[x], m[x])) ? b[x] : m[x];
    } else if (format == vf32Bit) {
      for (int x = 0; x < Size.cx; ++x, m += 4, b += 4, o += 4) {
        const unsigned a = m[3];
        if (a == 0 || ranges.InRage(PixelColor(m))) {
          std::copy_n(b, 3, o);
        } else if (a == 255) {
          std::copy_n(m, 3, o);
        } else {
          const float f = static_cast<float>(a) / 255.0f;
          for (int k = 0; k < 3; ++k)
            o[k] = static_cast<unsigned char>(
                std::nearbyint(static_cast<float>(m[k]) * f + (1.0f - f) * static_cast<float>(b[k])));
        }
        o[3] = static_cast<unsigned char>(std::min(255u, a + b[3]));
      }
    } else {
      // Only the three colour bytes are tested, so nothing past the row's
      // last pixel is read.
      for (int x = 0; x < Size.cx; ++x, m += 3, b += 3, o += 3)
        std::copy_n(ranges.InRage(PixelColor(m)) ? b : m, 3, o);
    }
  }
}

namespace Fqtransparentcolor {
void Register() { RegisterComponents("Framquist", {FQClass<TFQTransparentColor>("TFQTransparentColor")}); }
} // namespace Fqtransparentcolor

} // namespace framquist
