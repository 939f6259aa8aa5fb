#include "generators/fqtestpattern.h"

#include <algorithm>

#include "frame/fqregistry.h"
#include "ipp/ippcopy.h"

namespace framquist {

namespace {
const TPWEnumType kPatterns{"TFQTestPatternType", {"tpBars", "tpRamp", "tpCheckers"}};

// White, yellow, cyan, green, magenta, red, blue at 75 %, as blue, green, red.
const Ipp8u kBars[7][3] = {{191, 191, 191}, {0, 191, 191}, {191, 191, 0}, {0, 191, 0},
                           {191, 0, 191},   {0, 0, 191},   {191, 0, 0}};
} // namespace

void TFQTestPattern::SetPattern(TFQTestPatternType value) {
  if (TPWLockHold hold = GetLock().Write())
    pattern_.store(std::min(value, tpCheckers), std::memory_order_relaxed);
}

void TFQTestPattern::SetMotion(bool value) {
  if (TPWLockHold hold = GetLock().Write()) motion_.store(value, std::memory_order_relaxed);
}

void TFQTestPattern::DeclareProperties(TPWPropertyList& props) {
  TFQCommonGen::DeclareProperties(props);
  props.Enum(
      "Pattern", kPatterns, [this] { return static_cast<int>(GetPattern()); },
      [this](int v) { SetPattern(static_cast<TFQTestPatternType>(v)); }, tpBars);
  props.Bool(
      "Motion", [this] { return GetMotion(); }, [this](bool v) { SetMotion(v); }, true);
}

void TFQTestPattern::GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) {
  Buffer.SetFormat(vf24Bit);
  const int w = Buffer.GetWidth(), h = Buffer.GetHeight(), step = Buffer.GetLineStep();
  Ipp8u* p = Buffer.GetWritePointer();
  if (p == nullptr) return;
  for (int y = 0; y < h; ++y) {
    Ipp8u* row = p + static_cast<std::ptrdiff_t>(y) * step;
    for (int x = 0; x < w; ++x) {
      Ipp8u* px = row + 3 * x;
      switch (GetPattern()) {
      case tpRamp: {
        const auto v = static_cast<Ipp8u>(w > 1 ? 255 * x / (w - 1) : 0);
        px[0] = px[1] = px[2] = v;
        break;
      }
      case tpCheckers: {
        const int cell = std::max(1, std::min(w, h) / 8);
        const Ipp8u v = ((x / cell + y / cell) % 2) != 0 ? 235 : 16;
        px[0] = px[1] = px[2] = v;
        break;
      }
      default: {
        // Bars in the top two thirds, a grey ramp below.
        if (y < h * 2 / 3) {
          const Ipp8u* bar = kBars[std::min(6, x * 7 / std::max(w, 1))];
          px[0] = bar[0], px[1] = bar[1], px[2] = bar[2];
        } else {
          px[0] = px[1] = px[2] = static_cast<Ipp8u>(w > 1 ? 255 * x / (w - 1) : 0);
        }
        break;
      }
      }
    }
  }
  if (GetMotion()) {
    // A box an eighth of the height, stepping right and wrapping around.
    const int size = std::max(1, h / 8);
    const int travel = std::max(1, w - size);
    const int left = static_cast<int>((frame_ * std::max(1, w / 64)) % travel);
    const Ipp8u white[3] = {255, 255, 255};
    ippiSet_8u_C3R(white, p + static_cast<std::ptrdiff_t>(h / 2 - size / 2) * step + 3 * left, step,
                   IppiSize{std::min(size, w), std::min(size, h)});
  }
  ++frame_;
}

namespace Fqtestpattern {
void Register() { RegisterComponents("Framquist", {FQClass<TFQTestPattern>("TFQTestPattern")}); }
} // namespace Fqtestpattern

} // namespace framquist
