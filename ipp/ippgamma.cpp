#include "ipp/ippgamma.h"

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

IppStatus gammaWith(bool ac4, bool inverse, const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                    IppiSize roi) noexcept {
  const IppStatus st = checkTwo(pSrc, srcStep, pDst, dstStep, roi, ac4 ? 4 : 3);
  if (st != ippStsNoErr) return st;
  forRowBands(roi.height, imageBytes(roi, ac4 ? 4 : 3), [&](int y0, int y1) {
    // Three channels are a plain lookup, where the AVX2 shuffle kernels beat
    // loads from the table; AC4 must keep the destination's alpha, which
    // the lookup kernels do not.
    if (!ac4 && currentTarget() >= static_cast<int>(IppTarget::AVX2)) {
      lutKernels().apply[1](bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep,
                            roi.width, y1 - y0, gammaLookup(inverse));
      return;
    }
    const GammaKernels& k = gammaKernels();
    (ac4 ? k.ac4 : k.c3)(bandRow(pSrc, srcStep, y0), srcStep, bandRow(pDst, dstStep, y0), dstStep, roi.width,
                         y1 - y0, inverse);
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
