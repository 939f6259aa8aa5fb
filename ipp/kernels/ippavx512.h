// Helpers shared by the AVX-512 kernel translation units (internal linkage,
// see ipprows.h).
#pragma once

#include "ipp/kernels/ipprows.h"

#include <immintrin.h>

namespace framquist::ipp_detail {
namespace {

inline __m512i load512(const u8* p) { return _mm512_loadu_si512(p); }
inline void store512(u8* p, __m512i v) { _mm512_storeu_si512(p, v); }

constexpr __mmask64 kAllBytes = ~0ull;
constexpr __mmask64 kColourBytes = 0x7777777777777777ull;  // bytes 0-2 of each 4-byte pixel
constexpr __mmask64 kChannelBytes = 0x1111111111111111ull; // byte 0 of each 4-byte pixel

// Mask of the first n bytes of a 64-byte vector.
inline __mmask64 firstBytes(int n) { return n >= 64 ? ~0ull : (1ull << n) - 1; }

} // namespace
} // namespace framquist::ipp_detail
