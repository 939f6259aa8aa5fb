#include "ipp/ippjaehne.h"

#include "ipp/kernels/ippparallel.h"
#include "ipp/kernels/ipppolarkernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace framquist::ipp_builtin {

IppStatus ippiImageJaehne_8u_C3R(Ipp8u* pDst, int dstStep, IppiSize roiSize) {
  if (pDst == nullptr) return ippStsNullPtrErr;
  if (dstStep < 1) return ippStsStepErr;
  if (roiSize.width < 1 || roiSize.height < 1) return ippStsSizeErr;
  const double cx = 0.5 * (roiSize.width - 1);
  const double cy = 0.5 * (roiSize.height - 1);
  const double q = 4.0 * roiSize.height;
  for (int y = 0; y < roiSize.height; ++y) {
    Ipp8u* row = pDst + static_cast<std::ptrdiff_t>(y) * dstStep;
    const double dy2 = (y - cy) * (y - cy);
    for (int x = 0; x < roiSize.width; ++x) {
      const double a = 2.0 * std::numbers::pi * ((x - cx) * (x - cx) + dy2) / q;
      // 127.99999 rather than 128 so that sin = 1 still gives 255.
      const auto v = static_cast<Ipp8u>((std::sin(a) + 1.0) * 127.99999);
      row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = v;
    }
  }
  return ippStsNoErr;
}

IppStatus ippsPolarToCart_64f(const Ipp64f* pSrcMagn, const Ipp64f* pSrcPhase, Ipp64f* pDstRe, Ipp64f* pDstIm,
                              int len) {
  if (pSrcMagn == nullptr || pSrcPhase == nullptr || pDstRe == nullptr || pDstIm == nullptr)
    return ippStsNullPtrErr;
  if (len < 1) return ippStsSizeErr;
  // The array is cut into runs that stand in for the rows of an image; each
  // element's outputs depend on that element alone.
  constexpr std::ptrdiff_t kRun = 4096;
  const std::ptrdiff_t n = len;
  ipp_detail::forRowBands(static_cast<int>((n + kRun - 1) / kRun), static_cast<std::size_t>(n) * 32,
                          [&](int r0, int r1) {
                            const std::ptrdiff_t i0 = r0 * kRun, i1 = std::min(n, r1 * kRun);
                            ipp_detail::polarKernels().toCart(pSrcMagn + i0, pSrcPhase + i0, pDstRe + i0,
                                                              pDstIm + i0, static_cast<int>(i1 - i0));
                          });
  return ippStsNoErr;
}

} // namespace framquist::ipp_builtin
