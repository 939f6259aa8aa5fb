// The MulCScale kernels over a vector width, shared by the fast kernel
// sets. A set supplies vector traits V (T, kBytes, load, store, zero,
// unpackLo, unpackHi, mul16, mulHi16 (unsigned), add16, set16, packUs) and
// instantiates MulCScaleTable<V>. Internal linkage throughout (see
// ipprows.h).
//
// Samples are widened to 16-bit lanes; for t = s * v <= 65025, round(t /
// 255) is ((t + 128) + ((t + 128) >> 8)) >> 8, which equals the high half of
// (t + 128) * 257; no step leaves 16 bits.
#pragma once

#include "ipp/kernels/ippmulcscalekernels.h"
#include "ipp/kernels/ipprows.h"

namespace framquist::ipp_detail {
namespace {

template <class V>
struct MulCScaleRows {
  using T = typename V::T;
  static constexpr int N = V::kBytes;
  // The factors repeat every three vectors: a multiple of the vector and of
  // every pixel size (1, 3, 4 bytes), so three vectors cover any layout in
  // phase.
  static constexpr int kPeriod = 3 * N;

  struct Factors {
    // 16-bit factors built with the same in-lane unpacks as the samples, so
    // they line up whatever order those leave the lanes in.
    T lo[3], hi[3];
    u8 bytes[kPeriod];
  };

  static T divide255(T t) { return V::mulHi16(V::add16(t, V::set16(128)), V::set16(257)); }

  static void scaleVector(u8* p, const Factors& f, int j) {
    const T z = V::zero(), s = V::load(p);
    const T lo = divide255(V::mul16(V::unpackLo(s, z), f.lo[j]));
    const T hi = divide255(V::mul16(V::unpackHi(s, z), f.hi[j]));
    V::store(p, V::packUs(lo, hi));
  }

  // In place, so every byte is visited once: no overlapping last vector.
  static void scaleRow(u8* d, int n, const Factors& f) {
    int i = 0;
    for (; i + kPeriod <= n; i += kPeriod) {
      scaleVector(d + i, f, 0);
      scaleVector(d + i + N, f, 1);
      scaleVector(d + i + 2 * N, f, 2);
    }
    for (int j = 0; i + N <= n; i += N, ++j) scaleVector(d + i, f, j);
    for (; i < n; ++i) d[i] = mulCScaleSample(d[i], f.bytes[i % kPeriod]);
  }

  template <int Channels>
  static void run(const u8* value, u8* image, int step, int width, int height) {
    Factors f;
    for (int i = 0; i < kPeriod; ++i) f.bytes[i] = value[i % Channels];
    const T z = V::zero();
    for (int j = 0; j < 3; ++j) {
      const T v = V::load(f.bytes + N * j);
      f.lo[j] = V::unpackLo(v, z);
      f.hi[j] = V::unpackHi(v, z);
    }
    int n = width * Channels;
    if (contiguous(step, n, height)) {
      n *= height;
      height = 1;
    }
    for (int y = 0; y < height; ++y) scaleRow(rowAt(image, step, y), n, f);
  }
};

template <class V>
constexpr MulCScaleKernels MulCScaleTable() {
  using R = MulCScaleRows<V>;
  return {{R::template run<1>, R::template run<3>, R::template run<4>}};
}

} // namespace
} // namespace framquist::ipp_detail
