// Reference gamma kernels: the BT.709 curve evaluated for every sample.
// The table kernels are tested against these.
#include "ipp/kernels/ippgammakernels.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace framquist::ipp_detail {

Ipp8u gammaSample(Ipp8u v, bool inverse) noexcept {
  const double x = v / 255.0;
  double y;
  if (!inverse)
    y = x < 0.018 ? 4.5 * x : 1.099 * std::pow(x, 0.45) - 0.099;
  else
    y = x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1.0 / 0.45);
  const double scaled = std::floor(y * 255.0 + 0.5);
  return static_cast<Ipp8u>(scaled < 0 ? 0 : scaled > 255 ? 255 : scaled);
}

const Ipp8u* gammaTable(bool inverse) noexcept {
  using Table = std::array<Ipp8u, 256>;
  static const std::array<Table, 2> tables = [] {
    std::array<Table, 2> t{};
    for (int v = 0; v < 256; ++v) {
      t[0][v] = gammaSample(static_cast<Ipp8u>(v), false);
      t[1][v] = gammaSample(static_cast<Ipp8u>(v), true);
    }
    return t;
  }();
  return tables[inverse ? 1 : 0].data();
}

namespace {

template <int PixelBytes>
void gammaRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height, bool inverse) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep + x * PixelBytes;
      Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep + x * PixelBytes;
      for (int c = 0; c < 3; ++c) d[c] = gammaSample(s[c], inverse);
    }
}

} // namespace

const GammaKernels kGammaReference = {gammaRef<3>, gammaRef<4>};

} // namespace framquist::ipp_detail
