// Reference lookup kernels: every sample evaluated from the control points,
// straight from the definition. The fast kernels are tested against these.
#include "ipp/kernels/ipplutkernels.h"

#include <cmath>
#include <cstddef>

namespace framquist::ipp_detail {

namespace {

// Halves round up; the tolerance keeps an exact half that the cubic's
// arithmetic put a hair below it from rounding down.
Ipp8u saturate(double v) {
  const double r = std::floor(v + 0.5 + 1e-9);
  if (r <= 0) return 0;
  if (r >= 255) return 255;
  return static_cast<Ipp8u>(r);
}

// The interval holding s: the first k with levels[k] <= s < levels[k+1], or -1.
int intervalOf(const LutCurve& c, int s) {
  for (int k = 0; k + 1 < c.n; ++k)
    if (c.levels[k] <= s && s < c.levels[k + 1]) return k;
  return -1;
}

// The cubic through points k-1..k+2, the window moved inside the curve at its
// ends; a point whose level repeats one already taken is left out (it
// would make the polynomial undefined).
double cubicAt(const LutCurve& c, int k, int s) {
  int first = k - 1;
  const int count = c.n < 4 ? c.n : 4;
  if (first > c.n - count) first = c.n - count;
  if (first < 0) first = 0;
  double x[4], y[4];
  int m = 0;
  for (int i = first; i < first + count; ++i) {
    bool repeated = false;
    for (int j = 0; j < m; ++j) repeated = repeated || x[j] == c.levels[i];
    if (repeated) continue;
    x[m] = c.levels[i];
    y[m] = c.values[i];
    ++m;
  }
  double sum = 0;
  for (int i = 0; i < m; ++i) {
    double term = y[i];
    for (int j = 0; j < m; ++j)
      if (j != i) term *= (s - x[j]) / (x[i] - x[j]);
    sum += term;
  }
  return sum;
}

template <int Channels>
void lutRef(const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep, int width, int height,
            const LutCall& call) {
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s = src + static_cast<std::ptrdiff_t>(y) * srcStep;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width * Channels; ++x) d[x] = lutEvaluate(call.mode, call.curve[x % Channels], s[x]);
  }
}

} // namespace

Ipp8u lutEvaluate(LutMode mode, const LutCurve& c, int s) noexcept {
  const int k = intervalOf(c, s);
  if (k < 0) return static_cast<Ipp8u>(s);
  switch (mode) {
  case LutMode::Step:
    return saturate(c.values[k]);
  case LutMode::Linear: {
    // The formula's value with its fraction taken down, worked in integers
    // so that no rounding creeps in: (0, 255) to (256, 0) inverts exactly.
    const long long span = static_cast<long long>(c.levels[k + 1]) - c.levels[k];
    const long long rise =
        static_cast<long long>(s - c.levels[k]) * (static_cast<long long>(c.values[k + 1]) - c.values[k]);
    long long step = rise / span;
    if (rise % span != 0 && rise < 0) --step; // span > 0: the quotient moves down, not towards zero
    const long long v = c.values[k] + step;
    return static_cast<Ipp8u>(v <= 0 ? 0 : v >= 255 ? 255 : v);
  }
  case LutMode::Cubic:
    return saturate(cubicAt(c, k, s));
  }
  return static_cast<Ipp8u>(s);
}

const LutKernels kLutReference = {{lutRef<1>, lutRef<3>, lutRef<4>}};

} // namespace framquist::ipp_detail
