// Gamma kernels by table: one lookup per colour sample.
#include "ipp/kernels/ippgammakernels.h"

#include <cstddef>

namespace framquist::ipp_detail {
namespace {

void gammaC3(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height, bool inverse) {
  const Ipp8u* t = gammaTable(inverse);
  const int rowBytes = width * 3;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int i = 0; i < rowBytes; ++i) d[i] = t[s[i]];
  }
}

void gammaAC4(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height, bool inverse) {
  const Ipp8u* t = gammaTable(inverse);
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x, s += 4, d += 4) {
      d[0] = t[s[0]];
      d[1] = t[s[1]];
      d[2] = t[s[2]];
    }
  }
}

} // namespace

const GammaKernels kGammaPortable = {gammaC3, gammaAC4};

} // namespace framquist::ipp_detail
