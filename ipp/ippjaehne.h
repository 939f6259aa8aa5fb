// Built-in primitives that the package's dispatchers install when the name
// cannot be resolved in the process (generators/fqjaehnedispatcher.h,
// generators/fqsdispatcher.h). Same interfaces and results as the
// primitives they stand in for.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist::ipp_builtin {

// A zone plate in grey: concentric rings whose frequency grows with the
// distance from the centre, written to all three bytes of each pixel:
//   a = 2 pi ((x - cx)^2 + (y - cy)^2) / (4 H),  cx = (W - 1) / 2, cy = (H - 1) / 2
//   sample = trunc((sin a + 1) * 127.99999)
// The denominator uses the height alone, also for wide frames. Errors, with
// nothing written: ippStsNullPtrErr (-8), ippStsStepErr (-14) for a step
// below 1, ippStsSizeErr (-6) for an empty size, checked in that order.
IppStatus ippiImageJaehne_8u_C3R(Ipp8u* pDst, int dstStep, IppiSize roiSize);

// Re = magnitude * cos(phase), Im = magnitude * sin(phase), element by
// element. ippStsNullPtrErr if a pointer is null, ippStsSizeErr if len < 1.
IppStatus ippsPolarToCart_64f(const Ipp64f* pSrcMagn, const Ipp64f* pSrcPhase, Ipp64f* pDstRe, Ipp64f* pDstIm,
                              int len);

} // namespace framquist::ipp_builtin
