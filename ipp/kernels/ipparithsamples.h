// One sample of each two-source operation, as the primitives define it.
// The reference kernels are loops over these; the fast kernels use them for
// row ends and for the scale factors they do not vectorise. Internal
// linkage throughout (see ipprows.h).
#pragma once

#include "ipp/ippdefs.h"

namespace framquist::ipp_detail {
namespace {

inline Ipp8u saturate8u(long long v) { return static_cast<Ipp8u>(v < 0 ? 0 : v > 255 ? 255 : v); }

// v * 2^-scaleFactor rounded to the nearest integer, halves to the even
// one. |v| < 2^17 here, so shifts beyond 40 change nothing but overflow.
inline long long scaleRound(long long v, int scaleFactor) {
  if (scaleFactor == 0) return v;
  if (scaleFactor < 0) return v * (1LL << (scaleFactor < -40 ? 40 : -scaleFactor));
  if (scaleFactor > 40) return 0;
  const long long q = v >> scaleFactor; // floor
  const long long rem = v - q * (1LL << scaleFactor);
  const long long half = 1LL << (scaleFactor - 1);
  return rem > half || (rem == half && (q & 1) != 0) ? q + 1 : q;
}

inline Ipp8u addSample(Ipp8u s1, Ipp8u s2, int sf) { return saturate8u(scaleRound(s1 + s2, sf)); }
inline Ipp8u subSample(Ipp8u s1, Ipp8u s2, int sf) { return saturate8u(scaleRound(s2 - s1, sf)); }
inline Ipp8u mulSample(Ipp8u s1, Ipp8u s2, int sf) { return saturate8u(scaleRound(s1 * s2, sf)); }

// s2 / s1 as an exact fraction, scaled, then rounded halves to even.
inline Ipp8u divSample(Ipp8u s1, Ipp8u s2, int sf) {
  if (s1 == 0) return s2 == 0 ? 0 : 255;
  const int up = sf < 0 ? (sf < -40 ? 40 : -sf) : 0;
  const int down = sf > 0 ? (sf > 40 ? 40 : sf) : 0;
  const long long num = static_cast<long long>(s2) << up;
  const long long den = static_cast<long long>(s1) << down;
  const long long q = num / den, rem = num % den;
  const long long twice = 2 * rem;
  return saturate8u(twice > den || (twice == den && (q & 1) != 0) ? q + 1 : q);
}

inline Ipp8u orSample(Ipp8u s1, Ipp8u s2, int) { return static_cast<Ipp8u>(s1 | s2); }
inline Ipp8u andSample(Ipp8u s1, Ipp8u s2, int) { return static_cast<Ipp8u>(s1 & s2); }
inline Ipp8u xorSample(Ipp8u s1, Ipp8u s2, int) { return static_cast<Ipp8u>(s1 ^ s2); }
inline Ipp8u absDiffSample(Ipp8u s1, Ipp8u s2, int) {
  return static_cast<Ipp8u>(s1 > s2 ? s1 - s2 : s2 - s1);
}

} // namespace
} // namespace framquist::ipp_detail
