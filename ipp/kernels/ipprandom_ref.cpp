// Reference noise kernels: one draw per sample, in memory order, added
// with saturation. Also home of the Gaussian quantile tables.
#include "ipp/kernels/ipprandomkernels.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace framquist::ipp_detail {

namespace {

// Inverse of the standard normal distribution function: a rational
// approximation (relative error about 1e-9) polished by one Halley step on
// erfc, which leaves it exact to double precision for our purposes.
double normalQuantile(double p) {
  static constexpr double a[] = {-3.969683028665376e+01, 2.209460984245205e+02,  -2.759285104469687e+02,
                                 1.383577518672690e+02,  -3.066479806614716e+01, 2.506628277459239e+00};
  static constexpr double b[] = {-5.447609879822406e+01, 1.615858368580409e+02, -1.556989798598866e+02,
                                 6.680131188771972e+01, -1.328068155288572e+01};
  static constexpr double c[] = {-7.784894002430293e-03, -3.223964580411365e-01, -2.400758277161838e+00,
                                 -2.549732539343734e+00, 4.374664141464968e+00,  2.938163982698783e+00};
  static constexpr double d[] = {7.784695709041462e-03, 3.224671290700398e-01, 2.445134137142996e+00,
                                 3.754408661907416e+00};
  constexpr double pLow = 0.02425;
  double x;
  if (p < pLow) {
    const double q = std::sqrt(-2 * std::log(p));
    x = (((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
        ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
  } else if (p <= 1 - pLow) {
    const double q = p - 0.5, r = q * q;
    x = (((((a[0] * r + a[1]) * r + a[2]) * r + a[3]) * r + a[4]) * r + a[5]) * q /
        (((((b[0] * r + b[1]) * r + b[2]) * r + b[3]) * r + b[4]) * r + 1);
  } else {
    const double q = std::sqrt(-2 * std::log(1 - p));
    x = -(((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
        ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
  }
  const double e = 0.5 * std::erfc(-x / std::sqrt(2.0)) - p;
  const double u = e * std::sqrt(2 * std::numbers::pi) * std::exp(x * x / 2);
  return x - u / (1 + x * u / 2);
}

const double* quantileTable() {
  static const std::vector<double> table = [] {
    std::vector<double> t(65536);
    for (int i = 0; i < 32768; ++i) {
      t[i] = normalQuantile((i + 0.5) / 65536.0);
      t[65535 - i] = -t[i]; // exactly symmetric
    }
    return t;
  }();
  return table.data();
}

Ipp8u saturate(int v) { return static_cast<Ipp8u>(std::clamp(v, 0, 255)); }

template <int PixelBytes, int Channels>
void uniformRef(Ipp8u* image, int step, int width, int height, Ipp8u low, Ipp8u high, unsigned int* seed) {
  Ipp32u state = *seed;
  const Ipp32u span = static_cast<Ipp32u>(high - low) + 1;
  for (int y = 0; y < height; ++y) {
    Ipp8u* row = image + static_cast<std::ptrdiff_t>(y) * step;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) {
        state = randStep(state);
        Ipp8u& s = row[x * PixelBytes + c];
        s = saturate(s + low + static_cast<int>(uniformPick(state, span)));
      }
  }
  *seed = state;
}

template <int PixelBytes, int Channels>
void gaussRef(Ipp8u* image, int step, int width, int height, Ipp8u mean, Ipp8u stdev, unsigned int* seed) {
  Ipp32u state = *seed;
  for (int y = 0; y < height; ++y) {
    Ipp8u* row = image + static_cast<std::ptrdiff_t>(y) * step;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) {
        state = randStep(state);
        Ipp8u& s = row[x * PixelBytes + c];
        s = saturate(s + mean + gaussOffset(stdev, state >> 16));
      }
  }
  *seed = state;
}

} // namespace

int gaussOffset(Ipp8u stdev, Ipp32u u) noexcept {
  return static_cast<int>(std::lround(stdev * quantileTable()[u & 0xffffu]));
}

const Ipp16s* gaussOffsetTable(Ipp8u stdev) noexcept {
  // |offset| <= 255 * 4.4, so 16 bits hold it. Racing builders are
  // harmless: the loser frees its copy.
  static std::atomic<Ipp16s*> tables[256] = {};
  Ipp16s* t = tables[stdev].load(std::memory_order_acquire);
  if (t != nullptr) return t;
  auto* built = new Ipp16s[65537];
  for (Ipp32u u = 0; u < 65536; ++u) built[u] = static_cast<Ipp16s>(gaussOffset(stdev, u));
  built[65536] = built[65535];
  if (tables[stdev].compare_exchange_strong(t, built, std::memory_order_acq_rel)) return built;
  delete[] built;
  return t;
}

const RandomKernels kRandomReference = {
    {uniformRef<1, 1>, uniformRef<3, 3>, uniformRef<4, 4>, uniformRef<4, 3>},
    {gaussRef<1, 1>, gaussRef<3, 3>, gaussRef<4, 4>, gaussRef<4, 3>},
};

} // namespace framquist::ipp_detail
