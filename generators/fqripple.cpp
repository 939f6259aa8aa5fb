#include "generators/fqripple.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <numbers>
#include <random>

#include "frame/fqregistry.h"
#include "ipp/ippremap.h"

namespace framquist {

namespace {

const TPWEnumType kInterpolationTypes{"TFQInterpolationType", {"itNearestNeighbor", "itLinear", "itCubic"}};

// The process-wide generator: a uniform integer in 0..n-1, 0 for n = 0.
unsigned Random(unsigned n) {
  static std::mutex mutex;
  static std::mt19937 engine{std::random_device{}()};
  if (n == 0) return 0;
  std::lock_guard<std::mutex> guard(mutex);
  return std::uniform_int_distribution<unsigned>(0, n - 1)(engine);
}

} // namespace

// ---- TFQRain ---------------------------------------------------------------

bool TFQRain::GetEnabled() const {
  TPWLockHold hold = Read();
  return enabled_;
}
unsigned TFQRain::GetMinRadius() const {
  TPWLockHold hold = Read();
  return minRadius_;
}
unsigned TFQRain::GetMaxRadius() const {
  TPWLockHold hold = Read();
  return maxRadius_;
}
float TFQRain::GetMinDepth() const {
  TPWLockHold hold = Read();
  return minDepth_;
}
float TFQRain::GetMaxDepth() const {
  TPWLockHold hold = Read();
  return maxDepth_;
}
unsigned TFQRain::GetProbability() const {
  TPWLockHold hold = Read();
  return probability_;
}
unsigned TFQRain::GetNumDrops() const {
  TPWLockHold hold = Read();
  return numDrops_;
}

void TFQRain::SetEnabled(bool value) {
  if (TPWLockHold hold = Write()) enabled_ = value;
}

void TFQRain::SetMinRadius(unsigned value) {
  if (TPWLockHold hold = Write()) {
    minRadius_ = std::max(value, 1u);
    if (maxRadius_ < minRadius_) maxRadius_ = minRadius_;
  }
}

void TFQRain::SetMaxRadius(unsigned value) {
  if (TPWLockHold hold = Write()) {
    maxRadius_ = std::max(value, 1u);
    if (maxRadius_ < minRadius_) minRadius_ = maxRadius_;
  }
}

void TFQRain::SetMinDepth(float value) {
  if (TPWLockHold hold = Write()) {
    minDepth_ = value;
    if (maxDepth_ < minDepth_) maxDepth_ = minDepth_;
  }
}

void TFQRain::SetMaxDepth(float value) {
  if (TPWLockHold hold = Write()) {
    maxDepth_ = value;
    if (maxDepth_ < minDepth_) minDepth_ = maxDepth_;
  }
}

void TFQRain::SetProbability(unsigned value) {
  if (TPWLockHold hold = Write()) probability_ = std::max(value, 1u);
}

void TFQRain::SetNumDrops(unsigned value) {
  if (TPWLockHold hold = Write()) probability_ = std::max(value, 1u);
}

void TFQRain::DeclareProperties(TPWPropertyList& props) {
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
  auto unsignedProp = [&](const char* name, unsigned (TFQRain::*get)() const, void (TFQRain::*set)(unsigned),
                          unsigned def) {
    props.Int<std::uint32_t>(
        name, [this, get] { return static_cast<std::int64_t>((this->*get)()); },
        [this, set](std::int64_t v) {
          (this->*set)(static_cast<unsigned>(std::clamp<std::int64_t>(v, 0, UINT32_MAX)));
        },
        def);
  };
  unsignedProp("MinRadius", &TFQRain::GetMinRadius, &TFQRain::SetMinRadius, 1);
  unsignedProp("MaxRadius", &TFQRain::GetMaxRadius, &TFQRain::SetMaxRadius, 20);
  unsignedProp("Probability", &TFQRain::GetProbability, &TFQRain::SetProbability, 2);
  unsignedProp("NumDrops", &TFQRain::GetNumDrops, &TFQRain::SetNumDrops, 1);
}

void TFQRain::DefineProperties(TPWFiler& filer) {
  bool hasData = false;
  {
    TPWLockHold hold = Read();
    hasData = minDepth_ != 50.0f || maxDepth_ != 400.0f;
  }
  filer.DefineProperty(
      "Depth", [this](TPWReader& r) { ReadDepthData(r); }, [this](TPWWriter& w) { WriteDepthData(w); },
      hasData);
}

void TFQRain::ReadDepthData(TPWReader& Reader) {
  // The depths are single-precision: a value beyond that range would become
  // infinite and could not be stored again.
  auto depth = [&Reader] {
    const double v = Reader.ReadFloat();
    if (!(std::fabs(v) <= std::numeric_limits<float>::max()))
      throw TPWStreamError("a depth must be a finite single-precision number");
    return static_cast<float>(v);
  };
  Reader.ReadListBegin();
  const float minDepth = depth();
  const float maxDepth = depth();
  Reader.ReadListEnd();
  // Through the setters, in the streamed order, as any loaded value.
  SetMinDepth(minDepth);
  SetMaxDepth(maxDepth);
}

void TFQRain::WriteDepthData(TPWWriter& Writer) const {
  TPWLockHold hold = Read();
  Writer.WriteListBegin();
  Writer.WriteFloat(minDepth_);
  Writer.WriteFloat(maxDepth_);
  Writer.WriteListEnd();
}

// ---- TFQRipple -------------------------------------------------------------

TFQRipple::TFQRipple() : Rain(GetLock()) {}

void TFQRipple::SetInterpolationType(TFQInterpolationType value) {
  if (value > itCubic) value = itCubic;
  TPWLockHold hold = GetLock().Write();
  if (hold && value != GetInterpolationType()) interpolation_.store(value, std::memory_order_relaxed);
}

void TFQRipple::SetDampingFactor(float value) {
  value = std::clamp(value, 1e-6f, 1.0f);
  if (std::isnan(value)) value = 1e-6f;
  TPWLockHold hold = GetLock().Write();
  if (hold && value != GetDampingFactor()) damping_.store(value, std::memory_order_relaxed);
}

void TFQRipple::SetSmoothing(unsigned value) {
  value = std::max(value, 1u);
  TPWLockHold hold = GetLock().Write();
  if (hold && value != GetSmoothing()) smoothing_.store(value, std::memory_order_relaxed);
}

void TFQRipple::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIGenFilter::DeclareProperties(props);
  props.Enum(
      "InterpolationType", kInterpolationTypes, [this] { return static_cast<int>(GetInterpolationType()); },
      [this](int v) { SetInterpolationType(static_cast<TFQInterpolationType>(std::max(v, 0))); }, itCubic);
  props.Float(
      "DampingFactor", [this] { return static_cast<double>(GetDampingFactor()); },
      [this](double v) { SetDampingFactor(static_cast<float>(v)); }, static_cast<double>(0.07f));
  props.Int<std::uint32_t>(
      "Smoothing", [this] { return static_cast<std::int64_t>(GetSmoothing()); },
      [this](std::int64_t v) {
        SetSmoothing(static_cast<unsigned>(std::clamp<std::int64_t>(v, 0, UINT32_MAX)));
      },
      8);
  props.Object("Rain", Rain);
}

void TFQRipple::InitWave(unsigned Width, unsigned Height) {
  const std::size_t cells = static_cast<std::size_t>(Width + 2) * (Height + 2);
  waves_[0].assign(cells, 0.0);
  waves_[1].assign(cells, 0.0);
  current_ = 0;
  width_ = Width;
  height_ = Height;
  xMap_ = TWQIntegerBuffer(static_cast<std::size_t>(Width) * Height);
  yMap_ = TWQIntegerBuffer(static_cast<std::size_t>(Width) * Height);
}

void TFQRipple::FitWave(int width, int height) {
  if (width < 0 || height < 0) return;
  if (static_cast<unsigned>(width) != width_ || static_cast<unsigned>(height) != height_ || waves_[0].empty())
    InitWave(static_cast<unsigned>(width), static_cast<unsigned>(height));
}

void TFQRipple::DropAt(int X, int Y, int Radius, float Depth) {
  active_ = true;
  if (waves_[current_].empty()) return;
  const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(width_) + 2;
  for (int i = -Radius; i <= Radius; ++i)
    for (int j = -Radius; j <= Radius; ++j) {
      const long long px = static_cast<long long>(X) + i, py = static_cast<long long>(Y) + j;
      if (px < 0 || px > width_ || py < 0 || py > height_) continue;
      const double d = std::sqrt(static_cast<double>(i) * i + static_cast<double>(j) * j);
      // (px, py) index the bordered grid directly, so the drop lands one
      // cell up and left of interior pixel (px, py); saved scenes expect it.
      if (d < Radius)
        waves_[current_][static_cast<std::size_t>(px + py * row)] =
            -static_cast<double>(Depth) * std::cos(std::numbers::pi * d / Radius);
    }
}

void TFQRipple::ProcessWaves() {
  if (waves_[current_].empty()) return;
  if (Rain.enabled_) {
    for (unsigned n = 0; n < Rain.numDrops_; ++n) {
      if (Random(Rain.probability_) != 0) continue;
      const double depth = Rain.minDepth_ + (static_cast<double>(Rain.maxDepth_) - Rain.minDepth_) *
                                                Random(2147483647u) / 2147483647.0;
      const unsigned radius = Random(Rain.maxRadius_ - Rain.minRadius_) + Rain.minRadius_;
      const unsigned y = Random(height_);
      const unsigned x = Random(width_);
      DropAt(static_cast<int>(x), static_cast<int>(y), static_cast<int>(radius), static_cast<float>(depth));
    }
  }
  const int next = (current_ + 1) & 1;
  const double* w = waves_[current_].data();
  double* out = waves_[next].data();
  const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(width_) + 2;
  const double damping = GetDampingFactor();
  bool changed = false;
  for (unsigned y = 1; y <= height_; ++y)
    for (unsigned x = 1; x <= width_; ++x) {
      const std::ptrdiff_t c = static_cast<std::ptrdiff_t>(y) * row + x;
      const double diagonal = w[c - row - 1] + w[c - row + 1] + w[c + row - 1] + w[c + row + 1];
      const double edges = w[c - row] + w[c + row] + w[c - 1] + w[c + 1];
      double v = (0.6 * diagonal + edges) / 3.6 - out[c];
      if (v != 0) {
        v = v - v * damping;
        changed = true;
      }
      out[c] = v;
    }
  active_ = changed;
  current_ = next;
}

TFQRipple::TGradient TFQRipple::Gradient(unsigned x, unsigned y) const {
  const double* w = waves_[current_].data();
  const std::size_t row = width_ + 2;
  const double smoothing = GetSmoothing();
  double gx = (w[(y + 1) * row + x] - w[(y + 1) * row + x + 2]) / smoothing;
  double gy = (w[y * row + x + 1] - w[(y + 2) * row + x + 1]) / smoothing;
  const bool moved = gx != 0 || gy != 0;
  if (x + gx > width_ - 1.0) gx = width_ - x - 1.0;
  if (y + gy > height_ - 1.0) gy = height_ - y - 1.0;
  if (x + gx < 0) gx = -static_cast<double>(x);
  if (y + gy < 0) gy = -static_cast<double>(y);
  return {gx, gy, moved};
}

std::uint8_t TFQRipple::Shade(double gx) {
  // Halves go to even, as the frame's rounding does everywhere.
  return static_cast<std::uint8_t>(std::clamp(std::nearbyint(127.0 - gx), 0.0, 255.0));
}

void TFQRipple::IntStart() {
  const SIZE size = GetImageSize();
  InitWave(static_cast<unsigned>(size.cx), static_cast<unsigned>(size.cy));
}

void TFQRipple::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                            unsigned& IntervalLow, unsigned& IntervalHigh) {
  TFQCommonROIGenFilter::SetSizeRate(Width, Height, Format, Rate, Flags, IntervalLow, IntervalHigh);
  InitWave(static_cast<unsigned>(std::max(Width, 0)), static_cast<unsigned>(std::max(Height, 0)));
}

void TFQRipple::GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) {
  Buffer.SetFormat(vfGrey);
  FitWave(Buffer.GetWidth(), Buffer.GetHeight());
  std::uint8_t* p = Buffer.GetWritePointer();
  if (p == nullptr) return;
  const int step = Buffer.GetLineStep();
  for (unsigned y = 0; y < height_; ++y) std::memset(p + static_cast<std::ptrdiff_t>(y) * step, 127, width_);
  ProcessWaves();
  if (!active_) return;
  for (unsigned y = 0; y < height_; ++y) {
    std::uint8_t* line = p + static_cast<std::ptrdiff_t>(y) * step;
    for (unsigned x = 0; x < width_; ++x) {
      const TGradient g = Gradient(x, y);
      if (g.moved) line[x] = Shade(g.gx); // only the horizontal slope shades
    }
  }
}

void TFQRipple::SetVideoFormat(IFQImageBuffer& Buffer) {
  if (Buffer.GetFormat() == vf32Bit) return;
  TFQCommonROIGenFilter::SetVideoFormat(Buffer);
}

void TFQRipple::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  // The refraction reads and writes four-byte pixels.
  IFQImageBuffer source;
  source.Assign(InBuffer);
  if (source.GetFormat() != vf32Bit) source.SetFormat(vf32Bit);
  FitWave(source.GetWidth(), source.GetHeight());

  ProcessWaves();
  OutBuffer.Assign(source);
  std::uint8_t* out = OutBuffer.GetModifyPointer();
  if (out == nullptr) return;
  const int step = OutBuffer.GetLineStep();
  for (unsigned y = 0; y < height_; ++y) {
    std::uint8_t* line = out + static_cast<std::ptrdiff_t>(y) * step;
    for (unsigned x = 0; x < width_; ++x) line[4 * x + 3] = 127;
  }
  if (!active_) return; // still water: the picture as it came

  const TRect roi = ROI.ClipTo(static_cast<int>(width_), static_cast<int>(height_));
  const bool roiOn = ROI.GetEnabled();
  float* xm = xMap_.GetFloatPointer();
  float* ym = yMap_.GetFloatPointer();
  for (unsigned y = 0; y < height_; ++y) {
    std::uint8_t* line = out + static_cast<std::ptrdiff_t>(y) * step;
    for (unsigned x = 0; x < width_; ++x) {
      const std::size_t i = static_cast<std::size_t>(y) * width_ + x;
      const TGradient g = Gradient(x, y);
      if (!g.moved) {
        xm[i] = static_cast<float>(x);
        ym[i] = static_cast<float>(y);
        continue;
      }
      xm[i] = static_cast<float>(x + g.gx);
      ym[i] = static_cast<float>(y + g.gy);
      const bool inRoi = !roiOn || (static_cast<int>(x) >= roi.Left && static_cast<int>(x) < roi.Right &&
                                    static_cast<int>(y) >= roi.Top && static_cast<int>(y) < roi.Bottom);
      if (inRoi) line[4 * x + 3] = Shade(g.gx);
    }
  }
  const int mapStep = static_cast<int>(width_ * sizeof(float));
  const int code = 1 << static_cast<int>(GetInterpolationType());
  ippiRemap_8u_AC4R(source.GetReadPointer(), IppiSize{static_cast<int>(width_), static_cast<int>(height_)},
                    source.GetLineStep(), IppiRect{roi.Left, roi.Top, roi.Width(), roi.Height()}, xm, mapStep,
                    ym, mapStep, out, step, IppiSize{static_cast<int>(width_), static_cast<int>(height_)},
                    code);
  remaps_.fetch_add(1, std::memory_order_relaxed);
}

namespace Fqripple {
void Register() { RegisterComponents("Framquist", {FQClass<TFQRipple>("TFQRipple")}); }
} // namespace Fqripple

} // namespace framquist
