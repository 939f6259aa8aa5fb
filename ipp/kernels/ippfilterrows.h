// Row loops of the fixed Gaussian filters, written for the loop vectoriser
// (portable target). Internal linkage only, see ipprows.h.
//
// Every output row is made in two passes over all four bytes of each pixel:
// a vertical pass folds the mask rows into 16-bit sums per byte (the 5x5
// mask is symmetric, so rows +-2 and +-1 are added before weighting), and a
// horizontal pass weights those sums at byte distances of 4 and 8 (one and
// two pixels). Alpha is computed too and then left as it was.
#pragma once

#include "ipp/kernels/ipprows.h"

#include <cstdint>

namespace framquist::ipp_detail {
namespace {

// Scratch rows of n values each, freed on scope exit.
template <class T>
struct ScratchRows {
  ScratchRows(int rows, int n) : p(new T[static_cast<std::size_t>(n) * rows]), n_(n) {}
  ~ScratchRows() { delete[] p; }
  ScratchRows(const ScratchRows&) = delete;
  ScratchRows& operator=(const ScratchRows&) = delete;
  T* row(int k) { return p + static_cast<std::ptrdiff_t>(k) * n_; }
  T* p;
  int n_;
};

// Writes the three colour bytes of each pixel, keeping the fourth.
inline void storeColour(u8* d, int bytes, const std::uint32_t* values) {
  for (int b = 0; b < bytes; ++b) d[b] = (b & 3) == 3 ? d[b] : static_cast<u8>(values[b]);
}

void gauss3x3Rows(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  const int n = 4 * (width + 2);
  const int bytes = 4 * width;
  ScratchRows<std::uint16_t> scratch(1, n);
  ScratchRows<std::uint32_t> outRow(1, bytes);
  std::uint16_t* v = scratch.row(0);
  std::uint32_t* out = outRow.row(0);
  for (int y = 0; y < height; ++y) {
    const u8* a = rowAt(src, srcStep, y - 1) - 4;
    const u8* b = rowAt(src, srcStep, y) - 4;
    const u8* c = rowAt(src, srcStep, y + 1) - 4;
    for (int i = 0; i < n; ++i) v[i] = static_cast<std::uint16_t>(a[i] + 2 * b[i] + c[i]);
    for (int i = 0; i < bytes; ++i)
      out[i] = (static_cast<std::uint32_t>(v[i] + 2 * v[i + 4] + v[i + 8]) + 8) >> 4;
    storeColour(rowAt(dst, dstStep, y), bytes, out);
  }
}

void gauss5x5Rows(const u8* src, int srcStep, u8* dst, int dstStep, int width, int height) {
  const int n = 4 * (width + 4);
  const int bytes = 4 * width;
  ScratchRows<std::uint16_t> scratch(3, n);
  ScratchRows<std::uint32_t> outRow(1, bytes);
  std::uint16_t* v0 = scratch.row(0);
  std::uint16_t* v1 = scratch.row(1);
  std::uint16_t* v2 = scratch.row(2);
  std::uint32_t* out = outRow.row(0);
  for (int y = 0; y < height; ++y) {
    const u8* r0 = rowAt(src, srcStep, y - 2) - 8;
    const u8* r1 = rowAt(src, srcStep, y - 1) - 8;
    const u8* r2 = rowAt(src, srcStep, y) - 8;
    const u8* r3 = rowAt(src, srcStep, y + 1) - 8;
    const u8* r4 = rowAt(src, srcStep, y + 2) - 8;
    for (int i = 0; i < n; ++i) {
      v0[i] = static_cast<std::uint16_t>(r0[i] + r4[i]);
      v1[i] = static_cast<std::uint16_t>(r1[i] + r3[i]);
      v2[i] = r2[i];
    }
    for (int i = 0; i < bytes; ++i) {
      const std::uint32_t far0 = v0[i] + v0[i + 16], near0 = v0[i + 4] + v0[i + 12];
      const std::uint32_t far1 = v1[i] + v1[i + 16], near1 = v1[i + 4] + v1[i + 12];
      const std::uint32_t far2 = v2[i] + v2[i + 16], near2 = v2[i + 4] + v2[i + 12];
      const std::uint32_t sum = 2 * far0 + 7 * near0 + 12 * v0[i + 8] + 7 * far1 + 31 * near1 +
                                52 * v1[i + 8] + 12 * far2 + 52 * near2 + 127 * v2[i + 8];
      out[i] = (sum + 285) / 571;
    }
    storeColour(rowAt(dst, dstStep, y), bytes, out);
  }
}

} // namespace
} // namespace framquist::ipp_detail
