// The polar-to-cartesian signal primitive, resolved by name when the
// library loads (GetIPPSProcAddress, generators/fqjaehnedispatcher.h), with
// the built-in implementation of ipp/ippjaehne.h installed when nothing in
// the process exports it.
//
//   ippsPolarToCart_64f(magnitude, phase, re, im, n);
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

using TPtr_ippsPolarToCart_64f = IppStatus (*)(const Ipp64f* pSrcMagn, const Ipp64f* pSrcPhase,
                                               Ipp64f* pDstRe, Ipp64f* pDstIm, int len);

// Never null.
extern TPtr_ippsPolarToCart_64f ippsPolarToCart_64f;

namespace Fqsdispatcher {
// Resolves the pointer; runs once however often it is called.
void Initialize();
} // namespace Fqsdispatcher

} // namespace framquist
