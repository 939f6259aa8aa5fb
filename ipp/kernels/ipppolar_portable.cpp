// Portable polar-to-Cartesian kernel, written for the loop vectoriser:
// blocks of elements are copied to local arrays (the outputs may alias the
// inputs), converted branch-free, patched through the C library where a
// phase is out of range, and copied out.
#include "ipp/kernels/ipppolarkernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace framquist::ipp_detail {

namespace {

using polar::inRange;
using polar::SinCos;
using polar::sinCosReduced;

constexpr int kBlock = 16;
constexpr std::uint64_t kOne = 1;

void polarToCartPortable(const Ipp64f* magn, const Ipp64f* phase, Ipp64f* re, Ipp64f* im, int len) {
  alignas(16) double m[kBlock], p[kBlock], x[kBlock], y[kBlock];
  for (int i = 0; i < len; i += kBlock) {
    const int n = std::min(kBlock, len - i);
    // A short last block runs on zeros past its end; only n are written.
    std::fill(m + n, m + kBlock, 0.0);
    std::fill(p + n, p + kBlock, 0.0);
    std::copy(magn + i, magn + i + n, m);
    std::copy(phase + i, phase + i + n, p);
    for (int j = 0; j < kBlock; ++j) {
      const SinCos<double> sc = sinCosReduced(p[j]);
      const std::uint64_t q = std::bit_cast<std::uint64_t>(sc.roundedK);
      const std::uint64_t swap = std::uint64_t{0} - (q & kOne); // all ones in odd quadrants
      const std::uint64_t s = std::bit_cast<std::uint64_t>(sc.sin), c = std::bit_cast<std::uint64_t>(sc.cos);
      const std::uint64_t cosX = ((c & ~swap) | (s & swap)) ^ (((q + kOne) & 2) << 62);
      const std::uint64_t sinX = ((s & ~swap) | (c & swap)) ^ ((q & 2) << 62);
      x[j] = m[j] * std::bit_cast<double>(cosX);
      y[j] = m[j] * std::bit_cast<double>(sinX);
    }
    // Checked apart: a test in the loop above stops it being vectorised.
    for (int j = 0; j < n; ++j)
      if (!inRange(p[j])) {
        x[j] = m[j] * std::cos(p[j]);
        y[j] = m[j] * std::sin(p[j]);
      }
    std::copy(x, x + n, re + i);
    std::copy(y, y + n, im + i);
  }
}

} // namespace

const PolarKernels kPolarPortable = {polarToCartPortable};

} // namespace framquist::ipp_detail
