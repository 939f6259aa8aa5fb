// The plain moves of the vector traits the kernel templates take (T,
// kBytes, load, store, zero), one struct per instruction set; each family's
// traits derive from one and add their operations. Internal linkage (see
// ipprows.h). Avx2Vec exists only in files compiled with -mavx2.
#pragma once

#include "ipp/kernels/ipprows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

struct Sse2Vec {
  using T = __m128i;
  static constexpr int kBytes = 16;
  static T load(const u8* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(u8* p, T v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static T zero() { return _mm_setzero_si128(); }
};

#if defined(__AVX2__)
struct Avx2Vec {
  using T = __m256i;
  static constexpr int kBytes = 32;
  static T load(const u8* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static void store(u8* p, T v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static T zero() { return _mm256_setzero_si256(); }
};
#endif

} // namespace
} // namespace framquist::ipp_detail
