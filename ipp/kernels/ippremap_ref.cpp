// Reference remap: one destination pixel and one channel at a time, as the
// primitive is documented.
#include "ipp/kernels/ippremapkernels.h"

namespace framquist::ipp_detail {

namespace {

struct Layout_ {
  int bytes;    // per pixel
  int channels; // written
};

Ipp8u sampleAt(const RemapArgs& a, int bytes, int x, int y, int c) {
  x = std::clamp(x, a.left, a.right);
  y = std::clamp(y, a.top, a.bottom);
  return a.src[static_cast<std::ptrdiff_t>(y) * a.srcStep + static_cast<std::ptrdiff_t>(x) * bytes + c];
}

Ipp8u nearest(const RemapArgs& a, int bytes, float xs, float ys, int c) {
  const int x = static_cast<int>(std::floor(xs + 0.5f));
  const int y = static_cast<int>(std::floor(ys + 0.5f));
  return sampleAt(a, bytes, x, y, c);
}

Ipp8u linear(const RemapArgs& a, int bytes, float xs, float ys, int c) {
  const float fx0 = std::floor(xs), fy0 = std::floor(ys);
  const int x = static_cast<int>(fx0), y = static_cast<int>(fy0);
  const float tx = xs - fx0, ty = ys - fy0;
  const float top = lerp2(sampleAt(a, bytes, x, y, c), sampleAt(a, bytes, x + 1, y, c), tx);
  const float bottom = lerp2(sampleAt(a, bytes, x, y + 1, c), sampleAt(a, bytes, x + 1, y + 1, c), tx);
  return remapRound(lerp2(top, bottom, ty));
}

Ipp8u cubic(const RemapArgs& a, int bytes, float xs, float ys, int c) {
  const float fx0 = std::floor(xs), fy0 = std::floor(ys);
  const int x = static_cast<int>(fx0), y = static_cast<int>(fy0);
  float wx[4], wy[4];
  cubicWeights(xs - fx0, wx);
  cubicWeights(ys - fy0, wy);
  float rows[4];
  for (int k = 0; k < 4; ++k) {
    const int yk = y - 1 + k;
    rows[k] = cubic4(wx, sampleAt(a, bytes, x - 1, yk, c), sampleAt(a, bytes, x, yk, c),
                     sampleAt(a, bytes, x + 1, yk, c), sampleAt(a, bytes, x + 2, yk, c));
  }
  return remapRound(cubic4(wy, rows[0], rows[1], rows[2], rows[3]));
}

template <Ipp8u (*Sample)(const RemapArgs&, int, float, float, int)>
void remapGeneric(const RemapArgs& a, Layout_ layout) {
  for (int y = 0; y < a.height; ++y) {
    const Ipp32f* xm = mapRow(a.xMap, a.xMapStep, y);
    const Ipp32f* ym = mapRow(a.yMap, a.yMapStep, y);
    Ipp8u* d = a.dst + static_cast<std::ptrdiff_t>(y) * a.dstStep;
    for (int x = 0; x < a.width; ++x) {
      if (!remapInside(a, xm[x], ym[x])) continue; // left as it was
      for (int c = 0; c < layout.channels; ++c)
        d[x * layout.bytes + c] = Sample(a, layout.bytes, xm[x], ym[x], c);
    }
  }
}

template <Ipp8u (*Sample)(const RemapArgs&, int, float, float, int), int Bytes, int Channels>
void remapRef(const RemapArgs& a) {
  remapGeneric<Sample>(a, Layout_{Bytes, Channels});
}

} // namespace

const RemapKernels kRemapReference = {{
    {remapRef<nearest, 1, 1>, remapRef<nearest, 3, 3>, remapRef<nearest, 4, 4>, remapRef<nearest, 4, 3>},
    {remapRef<linear, 1, 1>, remapRef<linear, 3, 3>, remapRef<linear, 4, 4>, remapRef<linear, 4, 3>},
    {remapRef<cubic, 1, 1>, remapRef<cubic, 3, 3>, remapRef<cubic, 4, 4>, remapRef<cubic, 4, 3>},
}};

} // namespace framquist::ipp_detail
