// Fixed Gaussian filters, one sample at a time as documented.
#include "ipp/kernels/ippfilterkernels.h"

#include <cstddef>

namespace framquist::ipp_detail {
namespace {

constexpr int kGauss3[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
constexpr int kGauss5[5][5] = {
    {2, 7, 12, 7, 2}, {7, 31, 52, 31, 7}, {12, 52, 127, 52, 12}, {7, 31, 52, 31, 7}, {2, 7, 12, 7, 2}};

template <int N>
void convolveAC4(const int (&kernel)[N][N], int divisor, const Ipp8u* src, int srcStep, Ipp8u* dst,
                 int dstStep, int width, int height) {
  constexpr int r = N / 2;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < 3; ++c) {
        int sum = 0;
        for (int j = -r; j <= r; ++j)
          for (int i = -r; i <= r; ++i)
            sum += kernel[j + r][i + r] * src[static_cast<std::ptrdiff_t>(y + j) * srcStep + 4 * (x + i) + c];
        dst[static_cast<std::ptrdiff_t>(y) * dstStep + 4 * x + c] =
            static_cast<Ipp8u>((sum + divisor / 2) / divisor);
      }
}

void gauss3x3(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height) {
  convolveAC4(kGauss3, 16, src, srcStep, dst, dstStep, width, height);
}

void gauss5x5(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height) {
  convolveAC4(kGauss5, 571, src, srcStep, dst, dstStep, width, height);
}

} // namespace

const FilterKernels kFilterReference = {gauss3x3, gauss5x5};

} // namespace framquist::ipp_detail
