#include "generators/fqfire.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

#include "frame/fqregistry.h"
#include "ipp/ippalpha.h"
#include "ipp/ippfilter.h"
#include "ipp/ipppalette.h"

namespace framquist {

namespace {
// A 32-bit linear congruential generator; the top bits of state x N pick
// the value, so small ranges stay uniform.
std::atomic<std::uint32_t> g_randSeed{0x2545f491u};

std::uint32_t nextState() {
  std::uint32_t s = g_randSeed.load(std::memory_order_relaxed);
  std::uint32_t n;
  do {
    n = s * 134775813u + 1u;
  } while (!g_randSeed.compare_exchange_weak(s, n, std::memory_order_relaxed));
  return n;
}

const TPWEnumType kFireColors{"TZNFireColor", {"fcRed", "fcGreen", "fcBlue"}};
const TPWEnumType kMaskSizes{"TFQFixedMaskSize", {"fms3x3", "fms5x5"}};
} // namespace

std::int32_t FQRandom(std::int32_t n) {
  if (n == 0) return 0;
  const std::uint64_t r = static_cast<std::uint64_t>(nextState());
  if (n > 0) return static_cast<std::int32_t>((r * static_cast<std::uint64_t>(n)) >> 32);
  return -static_cast<std::int32_t>((r * static_cast<std::uint64_t>(-static_cast<std::int64_t>(n))) >> 32);
}

void FQRandSeed(std::uint32_t seed) { g_randSeed.store(seed, std::memory_order_relaxed); }

// ---- TFQFireSmooth ----------------------------------------------------------

bool TFQFireSmooth::GetEnabled() const {
  TPWLockHold hold = Read();
  return enabled_;
}
void TFQFireSmooth::SetEnabled(bool value) {
  if (TPWLockHold hold = Write()) enabled_ = value;
}
TFQFixedMaskSize TFQFireSmooth::GetMaskSize() const {
  TPWLockHold hold = Read();
  return maskSize_;
}
void TFQFireSmooth::SetMaskSize(TFQFixedMaskSize value) {
  if (TPWLockHold hold = Write()) maskSize_ = value;
}
void TFQFireSmooth::Assign(const TFQFireSmooth& other) {
  if (&other == this) return;
  const bool enabled = other.GetEnabled();
  const TFQFixedMaskSize mask = other.GetMaskSize();
  if (TPWLockHold hold = Write()) enabled_ = enabled, maskSize_ = mask;
}
void TFQFireSmooth::DeclareProperties(TPWPropertyList& props) {
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
  props.Enum(
      "MaskSize", kMaskSizes, [this] { return static_cast<int>(GetMaskSize()); },
      [this](int v) { SetMaskSize(static_cast<TFQFixedMaskSize>(v)); }, fms3x3);
}

// ---- TZNFireSimulator -------------------------------------------------------

TZNFireSimulator::TZNFireSimulator(IPWLock& lock) : Smooth(lock), lock_(lock), palette_(256) {
  CreatePalette();
}

// Setters store under the write lock; getters read under the read lock.
#define FQ_FIRE_GET(Type, Name, field)                                                                       \
  Type TZNFireSimulator::Get##Name() const {                                                                 \
    TPWLockHold hold = lock_.Read();                                                                         \
    return field;                                                                                            \
  }
FQ_FIRE_GET(TZNFireColor, FireColor, fireColor_)
FQ_FIRE_GET(std::uint32_t, Flammability, flammability_)
FQ_FIRE_GET(std::int32_t, IncreaseStep, increaseStep_)
FQ_FIRE_GET(std::uint32_t, Smoothness, smoothness_)
FQ_FIRE_GET(std::uint32_t, Decay, decay_)
FQ_FIRE_GET(std::uint32_t, IgnitionPeriod, ignitionPeriod_)
FQ_FIRE_GET(std::uint32_t, ReignitionPeriod, reignitionPeriod_)
FQ_FIRE_GET(std::uint32_t, Distribution, distribution_)
FQ_FIRE_GET(std::uint32_t, MinFire, minFire_)
FQ_FIRE_GET(std::uint32_t, LeftOffset, leftOffset_)
FQ_FIRE_GET(std::uint32_t, RightOffset, rightOffset_)
FQ_FIRE_GET(std::uint32_t, Iterations, iterations_)
FQ_FIRE_GET(std::uint32_t, Transparency, transparency_)
FQ_FIRE_GET(std::uint32_t, CornerSmooth, cornerSmooth_)
FQ_FIRE_GET(std::int32_t, Wind, wind_)
FQ_FIRE_GET(std::uint32_t, HeatLimit, heatLimit_)
#undef FQ_FIRE_GET

void TZNFireSimulator::SetFireColor(TZNFireColor v) {
  if (v > fcBlue) v = fcBlue;
  TPWLockHold hold = lock_.Write();
  if (hold && v != fireColor_) {
    fireColor_ = v;
    CreatePalette();
  }
}
void TZNFireSimulator::SetFlammability(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) flammability_ = std::max(v, 1u);
}
void TZNFireSimulator::SetIncreaseStep(std::int32_t v) {
  if (TPWLockHold hold = lock_.Write()) increaseStep_ = v;
}
void TZNFireSimulator::SetSmoothness(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) smoothness_ = v;
}
void TZNFireSimulator::SetDecay(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) decay_ = std::clamp(v, 1u, 100u);
}
void TZNFireSimulator::SetIgnitionPeriod(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) ignitionPeriod_ = v;
}
void TZNFireSimulator::SetReignitionPeriod(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) reignitionPeriod_ = std::max(v, 1u);
}
void TZNFireSimulator::SetDistribution(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) distribution_ = std::min(v, 10u);
}
void TZNFireSimulator::SetMinFire(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) minFire_ = v;
}
void TZNFireSimulator::SetLeftOffset(std::uint32_t v) {
  TPWLockHold hold = lock_.Write();
  if (hold && v != leftOffset_) {
    leftOffset_ = v;
    Calculate();
  }
}
void TZNFireSimulator::SetRightOffset(std::uint32_t v) {
  TPWLockHold hold = lock_.Write();
  if (hold && v != rightOffset_) {
    rightOffset_ = v;
    Calculate();
  }
}
void TZNFireSimulator::SetIterations(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) iterations_ = std::clamp(v, 1u, 100u);
}
void TZNFireSimulator::SetTransparency(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) {
    transparency_ = std::min(v, 100u);
    CreatePalette();
  }
}
void TZNFireSimulator::SetCornerSmooth(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) cornerSmooth_ = v;
}
void TZNFireSimulator::SetWind(std::int32_t v) {
  v = std::clamp(v, -10, 10);
  TPWLockHold hold = lock_.Write();
  if (hold && v != wind_) {
    wind_ = v;
    Calculate();
  }
}
void TZNFireSimulator::SetHeatLimit(std::uint32_t v) {
  if (TPWLockHold hold = lock_.Write()) heatLimit_ = std::clamp(v, 1u, 255u);
}

void TZNFireSimulator::InitFire(int width, int height) {
  width = std::max(width, 1);
  height = std::max(height, 1);
  previousContour_.clear();
  width_ = width;
  lineLength_ = width;
  height_ = height;
  activeHeight_ = height;
  fuelLine_.assign(static_cast<std::size_t>(width), 0);
  CreatePalette();
  heatMap_ = IFQImageBuffer::Create(width, height, vfGrey);
  heatData_ = heatMap_.GetWritePointer();
  heatStep_ = heatMap_.GetLineStep();
  for (int y = 0; y < height; ++y) std::memset(HeatRow(y), 0, static_cast<std::size_t>(width));
  Calculate();
}

void TZNFireSimulator::Calculate() {
  spanStart_ = static_cast<int>(std::min<std::int64_t>(leftOffset_, lineLength_ - 1));
  spanEnd_ = static_cast<int>(
      std::min<std::int64_t>(static_cast<std::int64_t>(lineLength_) - rightOffset_, lineLength_));
  if (spanEnd_ < spanStart_) spanEnd_ = spanStart_;
  span_ = spanEnd_ - spanStart_;
}

void TZNFireSimulator::CreatePalette() {
  static constexpr int kStarts[3][3] = {
      {767, 511, 255}, {511, 767, 255}, {255, 511, 767}}; // red, green, blue
  const int* s = kStarts[fireColor_];
  const auto ramp = [](int start, int i) { return std::min(255, std::max(0, start - 4 * (255 - i))); };
  palette_.resize(256);
  for (int i = 0; i < 256; ++i) {
    TZNRGBStruct& e = palette_[static_cast<std::size_t>(i)];
    e.Red = static_cast<std::uint8_t>(ramp(s[0], i));
    e.Green = static_cast<std::uint8_t>(ramp(s[1], i));
    e.Blue = static_cast<std::uint8_t>(ramp(s[2], i));
    e.Alpha = static_cast<std::uint8_t>((100 - static_cast<int>(transparency_)) * ramp(767, i) / 100);
  }
}

float TZNFireSimulator::DecayFactor() const {
  return static_cast<float>(decay_) * (1.0f - std::log10(static_cast<float>(height_) / 100.0f));
}

bool TZNFireSimulator::Cold(std::int64_t x) const {
  return x < static_cast<std::int64_t>(spanStart_) + distribution_ ||
         x >= static_cast<std::int64_t>(spanEnd_) - distribution_;
}

void TZNFireSimulator::BurnPoint(std::uint8_t* dest, const std::uint8_t* source, int d, int x) {
  int o = FQRandom(static_cast<std::int32_t>(distribution_) + 1);
  const int v = *source - FQRandom(d + 1);
  if (FQRandom(20) >= wind_ + 10) o = -o;
  std::uint8_t* target = (-o <= x && width_ - x - 1 >= o) ? dest + o : dest;
  // A negative decay (maps above 1000 rows) can push v past 255: stored as a byte.
  *target = static_cast<std::uint8_t>(v > 16 ? v : 16);
}

void TZNFireSimulator::Render() {
  if (heatData_ == nullptr) return;
  // 1. The fuel line into the map.
  if (contour_.empty()) {
    for (int x = 0; x < lineLength_; ++x) {
      if (Cold(x)) fuelLine_[static_cast<std::size_t>(x)] = 16;
      HeatRow(height_ - 1)[x] = fuelLine_[static_cast<std::size_t>(x)];
    }
  } else {
    if (static_cast<int>(contour_.size()) != lineLength_) {
      std::vector<std::uint8_t> line(contour_.size(), 16);
      for (std::size_t i = 0; i < contour_.size(); ++i)
        for (std::size_t j = 0; j < previousContour_.size() && j < fuelLine_.size(); ++j)
          if (previousContour_[j].X == contour_[i].X) line[i] = fuelLine_[j];
      fuelLine_ = std::move(line);
      lineLength_ = static_cast<int>(contour_.size());
      previousContour_ = contour_;
      Calculate();
    }
    std::memset(HeatRow(height_ - 1), 16, static_cast<std::size_t>(width_));
    for (int i = 0; i < lineLength_; ++i) {
      if (Cold(i)) fuelLine_[static_cast<std::size_t>(i)] = 16;
      const TPoint p = contour_[static_cast<std::size_t>(i)];
      if (p.X >= 0 && p.X < width_ && p.Y >= 0 && p.Y < height_)
        HeatRow(p.Y)[p.X] = fuelLine_[static_cast<std::size_t>(i)];
    }
  }
  // 2-3. Heat moves one row up; the fractional decay is dithered over rows.
  const float f = DecayFactor();
  const int whole = static_cast<int>(f);
  const float frac = f - static_cast<float>(whole);
  float a = frac;
  for (int y = height_ - activeHeight_ + 1; y <= height_ - 1; ++y) {
    const int d = whole + static_cast<int>(a);
    while (a > 1.0f) a -= 1.0f;
    a += frac;
    std::uint8_t* dest = HeatRow(y - 1);
    const std::uint8_t* source = HeatRow(y);
    if (FQRandom(2) == 0)
      for (int x = 0; x < width_; ++x) BurnPoint(dest + x, source + x, d, x);
    else
      for (int x = width_ - 1; x >= 0; --x) BurnPoint(dest + x, source + x, d, x);
  }
  // 4. Feeding the fuel line.
  for (std::int64_t x = static_cast<std::int64_t>(spanStart_) + distribution_;
       x < static_cast<std::int64_t>(spanEnd_) - distribution_; ++x) {
    int v = fuelLine_[static_cast<std::size_t>(x)];
    if (v < static_cast<std::int64_t>(minFire_)) {
      if (v > 10) v += FQRandom(static_cast<std::int32_t>(flammability_));
    } else {
      v += FQRandom(static_cast<std::int32_t>(reignitionPeriod_)) + increaseStep_;
    }
    fuelLine_[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(std::min(v, 255));
  }
  // 5. Ignition.
  if (ignitionPeriod_ > 0 && FQRandom(static_cast<std::int32_t>(ignitionPeriod_)) == 0) {
    if (span_ < 5)
      FillLine(static_cast<std::int64_t>(spanStart_) + FQRandom(span_), span_, 255);
    else
      FillLine(static_cast<std::int64_t>(spanStart_) + FQRandom(span_ - 5), 5, 255);
  }
  PostProcess();
}

// Fills cells of the fuel line; cells that fall outside it are skipped.
void TZNFireSimulator::FillLine(std::int64_t start, std::int64_t count, std::uint8_t value) {
  for (std::int64_t x = std::max<std::int64_t>(start, 0); x < start + count && x < lineLength_; ++x)
    fuelLine_[static_cast<std::size_t>(x)] = value;
}

void TZNFireSimulator::PostProcess() {
  if (fuelLine_.empty()) return;
  const int k = static_cast<int>(std::min<std::int64_t>(span_ / 2, cornerSmooth_));
  for (auto& c : fuelLine_) c = static_cast<std::uint8_t>(std::min<std::uint32_t>(heatLimit_, c));
  for (int i = 0; i < k; ++i) {
    std::uint8_t& l = fuelLine_[static_cast<std::size_t>(spanStart_ + i)];
    l = static_cast<std::uint8_t>(std::min(i * 195 / k + 60, static_cast<int>(l)));
    std::uint8_t& r = fuelLine_[static_cast<std::size_t>(spanEnd_ - 1 - i)];
    r = static_cast<std::uint8_t>(std::min(i * 195 / k + 60, static_cast<int>(r)));
  }
  const std::int64_t s = smoothness_;
  if (s > 0) {
    // In place, left to right: each average already sees smoothed cells on
    // its left, and the divisor stays 2S+1 near the ends.
    for (std::int64_t x = spanStart_ + s; x <= spanEnd_ - s - 1; ++x) {
      std::int64_t sum = 0;
      for (std::int64_t i = std::max<std::int64_t>(0, x - s);
           i < std::min<std::int64_t>(lineLength_, x + s + 1); ++i)
        sum += fuelLine_[static_cast<std::size_t>(i)];
      fuelLine_[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(sum / (2 * s + 1));
    }
  }
}

void TZNFireSimulator::PourWater(std::uint32_t count, std::uint32_t size) {
  TPWLockHold hold = lock_.Write();
  if (!hold) return;
  for (std::uint32_t i = 0; i < count; ++i)
    FillLine(spanStart_ + FQRandom(static_cast<std::int32_t>(span_ - static_cast<std::int64_t>(size))), size,
             16);
  PostProcess();
}

void TZNFireSimulator::Spark(std::uint32_t count, std::uint32_t size) {
  TPWLockHold hold = lock_.Write();
  if (!hold) return;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::int64_t range = span_ - 2 * static_cast<std::int64_t>(cornerSmooth_) - size;
    FillLine(spanStart_ + static_cast<std::int64_t>(cornerSmooth_) +
                 FQRandom(static_cast<std::int32_t>(range)),
             size, 255);
  }
  PostProcess();
}

void TZNFireSimulator::PourWaterAt(std::uint32_t position, std::uint32_t size) {
  TPWLockHold hold = lock_.Write();
  if (!hold) return;
  // No lower clamp: a start below zero loses the cells before the line.
  FillLine(std::min<std::int64_t>(static_cast<std::int64_t>(position) - size / 2,
                                  static_cast<std::int64_t>(lineLength_) - size - 1),
           size, 16);
  PostProcess();
}

void TZNFireSimulator::SparkAt(std::uint32_t position, std::uint32_t size) {
  TPWLockHold hold = lock_.Write();
  if (!hold) return;
  FillLine(std::min<std::int64_t>(static_cast<std::int64_t>(position) - size / 2,
                                  static_cast<std::int64_t>(lineLength_) - size - 1),
           size, 255);
  PostProcess();
}

void TZNFireSimulator::DrawFire(IFQImageBuffer& buffer) {
  const int w = buffer.GetWidth(), h = buffer.GetHeight();
  if (w < 1 || h < 1) return;
  if (heatData_ == nullptr || w != width_ || h != height_) InitFire(w, h);
  for (std::uint32_t i = 0; i < iterations_; ++i) Render();
  std::uint8_t* out = buffer.GetWritePointer();
  const int step = buffer.GetLineStep();
  static_assert(sizeof(TZNRGBStruct) == 4);
  Ipp32u table[256];
  std::memcpy(table, palette_.data(), sizeof table);
  ippiLUTPalette_8u32u_C1R(heatData_, heatStep_, reinterpret_cast<Ipp32u*>(out), step, {w, h}, table, 8);
  if (Smooth.GetEnabled()) {
    // A packed copy (no row padding) with a margin before and after: shifted
    // by bytes, the mask reaches across row ends into the neighbouring rows'
    // pixels, as on a packed frame, never into the frame's undefined row
    // padding, and at the first and last rows a few bytes past the frame.
    constexpr std::ptrdiff_t kPad = 8;
    const int packed = 4 * w;
    std::vector<std::uint8_t> padded(
        static_cast<std::size_t>(static_cast<std::ptrdiff_t>(packed) * h + 2 * kPad), 0);
    for (int y = 0; y < h; ++y)
      std::memcpy(padded.data() + kPad + static_cast<std::ptrdiff_t>(y) * packed,
                  out + static_cast<std::ptrdiff_t>(y) * step, static_cast<std::size_t>(packed));
    const std::uint8_t* copy = padded.data() + kPad;
    // Advanced by bytes, not pixels: the three smoothed channels are green,
    // red and alpha; blue stays as coloured.
    const bool small = Smooth.GetMaskSize() == fms3x3;
    const int b = small ? 1 : 2;
    ippiFilterGauss_8u_AC4R(copy + static_cast<std::ptrdiff_t>(b) * packed + b, packed,
                            out + static_cast<std::ptrdiff_t>(b) * step + b, step, {w - 2 * b, h - 2 * b},
                            small ? ippMskSize3x3 : ippMskSize5x5);
  }
}

// ---- TZNFireControls / TFQFire ---------------------------------------------

TZNFireControls::TZNFireControls(IPWLock& lock) : sim_(std::make_unique<TZNFireSimulator>(lock)) {}
TZNFireControls::~TZNFireControls() = default;

void TZNFireControls::DeclareFireProperties(TPWPropertyList& props, std::uint32_t offsetDefault) {
  using C = TZNFireControls;
  props.Enum(
      "FireColor", kFireColors, [this] { return static_cast<int>(GetFireColor()); },
      [this](int v) { SetFireColor(static_cast<TZNFireColor>(v)); }, fcRed);
  const auto u = [&](const char* name, std::uint32_t (C::*get)() const, void (C::*set)(std::uint32_t),
                     std::uint32_t def) -> TPWProperty& {
    return props.Int<std::uint32_t>(
        name, [this, get] { return static_cast<std::int64_t>((this->*get)()); },
        [this, set](std::int64_t v) { (this->*set)(static_cast<std::uint32_t>(v)); }, def);
  };
  u("Flammability", &C::GetFlammability, &C::SetFlammability, 3).AtLeast(1);
  props.Int<std::int32_t>(
      "IncreaseStep", [this] { return GetIncreaseStep(); },
      [this](std::int64_t v) { SetIncreaseStep(static_cast<std::int32_t>(v)); }, 1);
  u("Smoothness", &C::GetSmoothness, &C::SetSmoothness, 2);
  u("Decay", &C::GetDecay, &C::SetDecay, 5).Range(1, 100);
  u("IgnitionPeriod", &C::GetIgnitionPeriod, &C::SetIgnitionPeriod, 5);
  u("ReignitionPeriod", &C::GetReignitionPeriod, &C::SetReignitionPeriod, 20).AtLeast(1);
  u("Distribution", &C::GetDistribution, &C::SetDistribution, 1).Range(0, 10);
  u("MinFire", &C::GetMinFire, &C::SetMinFire, 50);
  u("LeftOffset", &C::GetLeftOffset, &C::SetLeftOffset, offsetDefault);
  u("RightOffset", &C::GetRightOffset, &C::SetRightOffset, offsetDefault);
  u("Iterations", &C::GetIterations, &C::SetIterations, 1).Range(1, 100);
  u("Transparency", &C::GetTransparency, &C::SetTransparency, 0).Range(0, 100);
  u("CornerSmooth", &C::GetCornerSmooth, &C::SetCornerSmooth, 20);
  props
      .Int<std::int32_t>(
          "Wind", [this] { return GetWind(); },
          [this](std::int64_t v) {
            SetWind(static_cast<std::int32_t>(std::clamp<std::int64_t>(v, -10, 10)));
          },
          0)
      .Range(-10, 10);
  u("HeatLimit", &C::GetHeatLimit, &C::SetHeatLimit, 255).Range(1, 255);
  props.Object("Smooth", sim_->Smooth);
}

TFQFire::TFQFire() : TZNFireControls(GetLock()) {}
TFQFire::~TFQFire() = default;

void TFQFire::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIGenFilter::DeclareProperties(props);
  DeclareFireProperties(props, 10);
}

void TFQFire::SetVideoFormat(IFQImageBuffer& Buffer) {
  // The composition needs the frame's alpha: everything becomes 32-bit.
  if (Buffer.GetFormat() == vf32Bit) return;
  IFQImageBuffer converted;
  converted.Assign(Buffer);
  converted.SetFormat(vf32Bit);
  Buffer = converted;
}

void TFQFire::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                          unsigned& IntervalLow, unsigned& IntervalHigh) {
  TFQCommonROIGenFilter::SetSizeRate(Width, Height, Format, Rate, Flags, IntervalLow, IntervalHigh);
  sim_->InitFire(Width, Height);
}

void TFQFire::IntStart() {
  TPWLockHold hold = GetLock().Write();
  const SIZE size = ImageSize.GetSize();
  sim_->InitFire(size.cx, size.cy);
  TFQCommonROIGenFilter::IntStart();
}

void TFQFire::GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) {
  Buffer.SetFormat(vf32Bit);
  sim_->DrawFire(Buffer);
}

void TFQFire::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  SIZE size = OutBuffer.GetSize();
  IFQImageBuffer fire = IFQImageBuffer::Create(size.cx, size.cy, vf32Bit);
  sim_->DrawFire(fire);
  unsigned char* firePtr = fire.GetModifyPointer();
  unsigned char* framePtr = OutBuffer.GetModifyPointer();
  ReclaculateRoiAndOffset(size, firePtr, OutBuffer, framePtr, vf32Bit);
  ippiAlphaComp_8u_AC4R(firePtr, fire.GetLineStep(), framePtr, OutBuffer.GetLineStep(), framePtr,
                        OutBuffer.GetLineStep(), {size.cx, size.cy}, ippAlphaATop);
}

namespace Fqfire {
void Register() { RegisterComponents("Framquist", {FQClass<TFQFire>("TFQFire")}); }
} // namespace Fqfire

} // namespace framquist
