// The zone-plate primitive, resolved by name when the library loads: an
// image-primitive library already loaded into the process supplies it if it
// exports the name; otherwise the built-in implementation (same interface,
// same result, ipp/ippjaehne.h) is installed.
//
// GetIPPIProcAddress / GetIPPSProcAddress look a primitive up by its C name
// among the symbols already loaded into the process (no library is loaded
// for it); they answer only for names of their own family ("ippi..." and
// "ipps...") and give null when nothing exports the name.
//
//   ippiImageJaehne_8u_C3R(buffer.GetWritePointer(), buffer.GetLineStep(), {w, h});
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

void* GetIPPIProcAddress(const char* name);
void* GetIPPSProcAddress(const char* name);

using TPtr_ippiImageJaehne_8u_C3R = IppStatus (*)(Ipp8u* pDst, int dstStep, IppiSize roiSize);

// Never null: the built-in one until (and unless) resolution finds another.
extern TPtr_ippiImageJaehne_8u_C3R ippiImageJaehne_8u_C3R;

namespace Fqjaehnedispatcher {
// Resolves the pointer; runs once however often it is called (it also runs
// when the library loads).
void Initialize();
} // namespace Fqjaehnedispatcher

} // namespace framquist
