#include "ipp/ippjaehne.h"

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
  for (int i = 0; i < len; ++i) {
    // Read both inputs first: the outputs may alias them.
    const double m = pSrcMagn[i], p = pSrcPhase[i];
    pDstRe[i] = m * std::cos(p);
    pDstIm[i] = m * std::sin(p);
  }
  return ippStsNoErr;
}

} // namespace framquist::ipp_builtin
