// Splitting one primitive call across threads.
//
// Off by default: inside the frame flow every component already runs on
// its own delivery thread, so a second level of threads mostly competes
// with the first. An application that processes large frames on one thread
// (a batch converter, a benchmark) can turn it on: the rows of each call
// are then cut into one band per thread, the calling thread doing the
// first. Calls on frames under about a quarter of a megabyte stay on the
// caller, where handing out bands would cost more than it saves. The
// environment variable FRAMQUIST_IPP_THREADS sets the initial count.
//
// Split: copy, set, mirror (not in place), thresholds, lookups, gamma,
// colour twist, arithmetic and logic, MulCScale, alpha compositing, palette,
// remap and polar to Cartesian (in runs of elements). Not split: the random-noise primitives (each sample
// depends on the sequence before it), in-place mirrors and the Gauss filter.
#pragma once

namespace framquist {

// n threads per call (the caller included); 1 turns splitting off, 0 means
// one per hardware thread. Clamped to 1..64. Returns the count now in force.
int ippSetNumThreads(int n) noexcept;
int ippGetNumThreads() noexcept;

} // namespace framquist
