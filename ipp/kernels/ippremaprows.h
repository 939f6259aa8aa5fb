// Per-pixel remap loops with the layout known at compile time: the
// portable kernels, and the tails of the vector kernels. Same arithmetic as
// the reference (ippremapkernels.h). Private to the library; internal
// linkage, so each target's unit keeps its own build of these loops.
#pragma once

#include "ipp/kernels/ippremapkernels.h"

namespace framquist::ipp_detail::remaprows {
namespace {

template <int Bytes, int Channels>
inline void nearestPixel(const RemapArgs& a, float xs, float ys, Ipp8u* d) {
  const int x = std::min(static_cast<int>(std::floor(xs + 0.5f)), a.right);
  const int y = std::min(static_cast<int>(std::floor(ys + 0.5f)), a.bottom);
  const Ipp8u* s =
      a.src + static_cast<std::ptrdiff_t>(y) * a.srcStep + static_cast<std::ptrdiff_t>(x) * Bytes;
  for (int c = 0; c < Channels; ++c) d[c] = s[c];
}

template <int Bytes, int Channels>
inline void linearPixel(const RemapArgs& a, float xs, float ys, Ipp8u* d) {
  const float fx0 = std::floor(xs), fy0 = std::floor(ys);
  const int x = static_cast<int>(fx0), y = static_cast<int>(fy0);
  const float tx = xs - fx0, ty = ys - fy0;
  // xs <= right, so only the second neighbour can fall off the edge.
  const std::ptrdiff_t dx = x < a.right ? Bytes : 0;
  const std::ptrdiff_t dy = y < a.bottom ? a.srcStep : 0;
  const Ipp8u* s =
      a.src + static_cast<std::ptrdiff_t>(y) * a.srcStep + static_cast<std::ptrdiff_t>(x) * Bytes;
  for (int c = 0; c < Channels; ++c) {
    const float top = lerp2(s[c], s[dx + c], tx);
    const float bottom = lerp2(s[dy + c], s[dy + dx + c], tx);
    d[c] = remapRound(lerp2(top, bottom, ty));
  }
}

template <int Bytes, int Channels>
inline void cubicPixel(const RemapArgs& a, float xs, float ys, Ipp8u* d) {
  const float fx0 = std::floor(xs), fy0 = std::floor(ys);
  const int x = static_cast<int>(fx0), y = static_cast<int>(fy0);
  float wx[4], wy[4];
  cubicWeights(xs - fx0, wx);
  cubicWeights(ys - fy0, wy);
  std::ptrdiff_t cols[4];
  const Ipp8u* rows[4];
  for (int k = 0; k < 4; ++k) {
    cols[k] = static_cast<std::ptrdiff_t>(std::clamp(x - 1 + k, a.left, a.right)) * Bytes;
    rows[k] = a.src + static_cast<std::ptrdiff_t>(std::clamp(y - 1 + k, a.top, a.bottom)) * a.srcStep;
  }
  for (int c = 0; c < Channels; ++c) {
    float r[4];
    for (int k = 0; k < 4; ++k)
      r[k] =
          cubic4(wx, rows[k][cols[0] + c], rows[k][cols[1] + c], rows[k][cols[2] + c], rows[k][cols[3] + c]);
    d[c] = remapRound(cubic4(wy, r[0], r[1], r[2], r[3]));
  }
}

// Destination pixels x0..x1-1 of row y.
template <int Bytes, int Channels, void (*Pixel)(const RemapArgs&, float, float, Ipp8u*)>
inline void remapSpan(const RemapArgs& a, int y, int x0, int x1) {
  const Ipp32f* xm = mapRow(a.xMap, a.xMapStep, y);
  const Ipp32f* ym = mapRow(a.yMap, a.yMapStep, y);
  Ipp8u* d = a.dst + static_cast<std::ptrdiff_t>(y) * a.dstStep;
  for (int x = x0; x < x1; ++x)
    if (remapInside(a, xm[x], ym[x])) Pixel(a, xm[x], ym[x], d + x * Bytes);
}

template <int Bytes, int Channels, void (*Pixel)(const RemapArgs&, float, float, Ipp8u*)>
void remapAll(const RemapArgs& a) {
  for (int y = 0; y < a.height; ++y) remapSpan<Bytes, Channels, Pixel>(a, y, 0, a.width);
}

} // namespace
} // namespace framquist::ipp_detail::remaprows
