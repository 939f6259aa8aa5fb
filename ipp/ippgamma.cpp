#include "ipp/ippgamma.h"

#include <algorithm>
#include <array>

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippgammakernels.h"
#include "ipp/kernels/ipplutkernels.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

// The curve as a one-table lookup call; the vector lookup kernels read only
// the tables, so the curves stay empty.
const LutCall& gammaLookup(bool inverse) noexcept {
  static const std::array<LutCall, 2> calls = [] {
    std::array<LutCall, 2> made{};
    for (int k = 0; k < 2; ++k) {
      made[k].mode = LutMode::Step;
      made[k].channels = 3;
      for (int c = 0; c < 3; ++c)
        for (int s = 0; s < 256; ++s) made[k].table[c][s] = gammaTable(k == 1)[s];
      made[k].sameTables = true;
    }
    return made;
  }();
  return calls[inverse ? 1 : 0];
}

// AC4 through the shuffle lookups: each span of pixels is looked up as
// plain bytes into a buffer that stays in L1, then copied in keeping the
// destination's alpha (which also makes work in place safe).
void gammaAC4ByLookup(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
                      bool inverse) noexcept {
  const LutCall& call = gammaLookup(inverse);
  const LutFn lookup = lutKernels().apply[0];
  const CopyFn keepAlpha = copyKernels().copy[kAC4];
  constexpr int kSpan = 1024;
  alignas(64) Ipp8u span[kSpan * 4];
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; x += kSpan) {
      const int n = std::min(kSpan, width - x);
      lookup(bandRow(src, srcStep, y) + 4 * x, srcStep, span, kSpan * 4, 4 * n, 1, call);
      keepAlpha(span, kSpan * 4, bandRow(dst, dstStep, y) + 4 * x, dstStep, n, 1);
    }
}

IppStatus gammaWith(bool ac4, bool inverse, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                    IppiSize roi) noexcept {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  forRowBands(roi.height, imageBytes(roi, ac4 ? 4 : 3), [&](int y0, int y1) {
    const Ipp8u* src = bandRow(pSrc, srcStep, y0);
    Ipp8u* dst = bandRow(pDst, dstStep, y0);
    // With AVX2 the shuffle lookups beat loads from the table.
    if (currentTarget() >= static_cast<int>(IppTarget::AVX2)) {
      if (ac4)
        gammaAC4ByLookup(src, srcStep, dst, dstStep, roi.width, y1 - y0, inverse);
      else
        lutKernels().apply[1](src, srcStep, dst, dstStep, roi.width, y1 - y0, gammaLookup(inverse));
      return;
    }
    const GammaKernels& k = gammaKernels();
    (ac4 ? k.ac4 : k.c3)(src, srcStep, dst, dstStep, roi.width, y1 - y0, inverse);
  });
  return st;
}

} // namespace

IppStatus ippiGammaFwd_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(false, false, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaFwd_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(true, false, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaInv_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(false, true, pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiGammaInv_8u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  return gammaWith(true, true, pSrc, srcStep, pDst, dstStep, roiSize);
}

} // namespace framquist
