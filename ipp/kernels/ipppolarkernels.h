// Kernel table of the polar-to-Cartesian primitive, and the sine/cosine
// algorithm its vector kernels share. Private to the library.
//
// The portable and AVX2 kernels run the same sequence of plain multiplies
// and adds (nothing fused), so they give bit-identical results on every
// CPU; the reference is the C library's cos and sin. The algorithm:
//   k = nearest integer to x * 2/pi, the quadrant is k mod 4;
//   x - k * pi/2 as a double r and a small tail, with pi/2 in four parts so
//       that the first three products are exact and the rounding errors of
//       the differences are carried in the tail - the reduced angle keeps
//       full relative precision even where x lies within a rounding error
//       of a multiple of pi/2;
//   sin and cos of it by minimax polynomials in r on [-pi/4, pi/4], the
//   tail entering as a first-order correction;
//   the quadrant swaps sin and cos and sets the signs.
// Phases beyond kPolarLimit, infinities and NaN go through the C library.
#pragma once

#include "ipp/kernels/ippkernels.h"

#include <cmath>

namespace framquist::ipp_detail {

// outputs may alias the inputs of the same element; len >= 1.
using PolarToCartFn = void (*)(const Ipp64f* magn, const Ipp64f* phase, Ipp64f* re, Ipp64f* im, int len);

struct PolarKernels {
  PolarToCartFn toCart;
};

extern const PolarKernels kPolarReference;
extern const PolarKernels kPolarPortable;
extern const PolarKernels kPolarAvx2;

// AVX-512 CPUs run the AVX2 kernel: eight-lane doubles would need a third
// variant of the algorithm for at most a memory-bound gain.
inline const PolarKernels& polarKernels() noexcept {
  static constexpr const PolarKernels* tables[kTargetCount] = {&kPolarReference, &kPolarPortable, &kPolarAvx2,
                                                               &kPolarAvx2};
  return *tables[currentTarget()];
}

namespace polar {

// |k| stays below 2^17 up to here, so k times a 36-bit part of pi/2 is exact.
inline constexpr double kPolarLimit = 131072.0;

inline constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;
// Adding 1.5 * 2^52 rounds to an integer (ties to even) and leaves it, modulo
// 2^51, in the low bits of the sum.
inline constexpr double kRoundInt = 0x1.8p52;
// pi/2 = kPio2a + kPio2b + kPio2c + kPio2d to about 2^-166; a, b and c have at
// most 36 significant bits.
inline constexpr double kPio2a = 0x1.921fb54440000p+0;
inline constexpr double kPio2b = 0x1.68c234c4c0000p-39;
inline constexpr double kPio2c = 0x1.98a2e03700000p-77;
inline constexpr double kPio2d = 0x1.cd129024e088ap-115;

// Minimax coefficients on [-pi/4, pi/4] as published with fdlibm.
inline constexpr double kS1 = -1.66666666666666324348e-01;
inline constexpr double kS2 = 8.33333333332248946124e-03;
inline constexpr double kS3 = -1.98412698298579493134e-04;
inline constexpr double kS4 = 2.75573137070700676789e-06;
inline constexpr double kS5 = -2.50507602534068634195e-08;
inline constexpr double kS6 = 1.58969099521155010221e-10;
inline constexpr double kC1 = 4.16666666666666019037e-02;
inline constexpr double kC2 = -1.38888888888741095749e-03;
inline constexpr double kC3 = 2.48015872894767294178e-05;
inline constexpr double kC4 = -2.75573143513906633035e-07;
inline constexpr double kC5 = 2.08757232129817482790e-09;
inline constexpr double kC6 = -1.13596475577881948265e-11;

// True where the fast path is exact enough; false also for NaN.
inline bool inRange(double phase) { return std::fabs(phase) <= kPolarLimit; }

// V is double or a vector of doubles with +, - and * (and construction from
// a double); every step is written out so both kernels round alike.
template <class V>
struct SinCos {
  V sin, cos;
  V roundedK; // kRoundInt + k: the quadrant is in its low bits
};

// Always inlined: a call would pass the vectors through memory and stop the
// portable loop from being vectorised.
template <class V>
[[gnu::always_inline]] inline SinCos<V> sinCosReduced(V x) {
  // Rounded by adding and taking away 1.5 * 2^52: a rounding instruction
  // gives -0 for small negative x, which would lose the sign of a zero phase.
  const V kd = x * V(kTwoOverPi) + V(kRoundInt);
  const V k = kd - V(kRoundInt);
  // Exact: k * kPio2a has at most 53 bits and lies within a factor 2 of x.
  const V t = x - k * V(kPio2a);
  // r - negTail = t - k kPio2b - k kPio2c - k kPio2d, with the rounding
  // errors of the first two differences carried in negTail: |k kPio2b| <
  // 2^-22 and |k kPio2c| < 2^-59, so each difference is either exact or has
  // its first operand the larger one, as the two-term sums need. r is not
  // renormalised: the polynomials start from it without waiting for the tail.
  const V w = k * V(kPio2b);
  const V v = k * V(kPio2c);
  const V hi = t - w;
  const V r = hi - v;
  const V lo = (t - hi) - w;
  const V lo2 = (hi - r) - v;
  const V negTail = (k * V(kPio2d) - lo) - lo2;

  // Polynomials in z = r^2, their terms paired to shorten the chains.
  const V z = r * r;
  const V z2 = z * z;
  const V z4 = z2 * z2;
  const V hz = V(0.5) * z;
  // sin(r - negTail) ~ r + r^3 S(z) - negTail (1 - z / 2); subtracting the
  // negated correction keeps the sign of a zero phase.
  const V sp = (V(kS1) + z * V(kS2)) + z2 * (V(kS3) + z * V(kS4)) + z4 * (V(kS5) + z * V(kS6));
  const V s = r - ((negTail - hz * negTail) - (z * r) * sp);
  // cos(r - negTail) ~ 1 - z / 2 + z^2 C(z) + r negTail, the leading
  // difference split so that its rounding error is kept.
  const V cp = z2 * (V(kC1) + z * V(kC2)) + z4 * (V(kC3) + z * V(kC4)) + (z4 * z2) * (V(kC5) + z * V(kC6));
  const V one = V(1.0) - hz;
  const V c = one + (cp + (((V(1.0) - one) - hz) + r * negTail));
  return {s, c, kd};
}

} // namespace polar
} // namespace framquist::ipp_detail
