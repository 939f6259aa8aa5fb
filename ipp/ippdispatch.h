// Run-time choice of the kernel set the image primitives use.
//
// Every primitive has a plain scalar Reference kernel, a Portable one for
// any x86-64 (baseline SSE2 / generic C++) and, where the CPU has them,
// AVX2 and AVX-512 kernels. All give bit-identical results; the target only
// changes speed. At load the best target of the CPU is chosen, unless the
// environment variable FRAMQUIST_IPP_TARGET names another one
// ("reference", "portable", "avx2" or "avx512"; case does not matter).
//
// The target is process-wide and may be changed at any time from any thread;
// a call already running finishes with the kernels it started with.
#pragma once

namespace framquist {

enum class IppTarget : int { Reference = 0, Portable = 1, AVX2 = 2, AVX512 = 3 };

// The best target this CPU can run (AVX512 needs the F, BW, VL and DQ
// extensions).
IppTarget ippGetBestTarget() noexcept;

// The target in force.
IppTarget ippGetTarget() noexcept;

// Asks for a target; one the CPU cannot run is lowered to the best it can.
// Returns the target now in force.
IppTarget ippSetTarget(IppTarget target) noexcept;

// "reference", "portable", "avx2", "avx512"; "unknown" for other values.
const char* ippTargetName(IppTarget target) noexcept;

} // namespace framquist
