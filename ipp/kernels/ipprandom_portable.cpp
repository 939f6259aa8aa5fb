// Portable noise kernels: each row's draws are made eight sequences at a
// time into a row of offsets (written for the loop vectoriser), then added
// to the row with saturation.
#include "ipp/kernels/ipprandomkernels.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace framquist::ipp_detail {
namespace {

constexpr int kLanes = 8;
constexpr RandJump kJump = randJump(kLanes);

// Lane k holds the state of draw k + 1 after `state`.
void seedLanes(Ipp32u (&lane)[kLanes], Ipp32u state) {
  for (int k = 0; k < kLanes; ++k) lane[k] = state = randStep(state);
}

// n draws as offsets low .. high; state moves on by n draws.
void drawUniform(Ipp8u* plus, int n, Ipp32u& state, Ipp8u low, Ipp8u high) {
  const Ipp32u span = static_cast<Ipp32u>(high - low) + 1;
  Ipp32u lane[kLanes];
  seedLanes(lane, state);
  Ipp32u last = state;
  int i = 0;
  for (; i + kLanes <= n; i += kLanes) {
    for (int k = 0; k < kLanes; ++k) plus[i + k] = static_cast<Ipp8u>(low + uniformPick(lane[k], span));
    last = lane[kLanes - 1];
    for (int k = 0; k < kLanes; ++k) lane[k] = kJump(lane[k]);
  }
  for (int k = 0; i < n; ++i, ++k) {
    plus[i] = static_cast<Ipp8u>(low + uniformPick(lane[k], span));
    last = lane[k];
  }
  state = last;
}

// n draws as mean + offset, split into the part to add and the part to
// subtract, each clamped to a byte: adding one and then taking the other
// away (both saturating) equals adding their difference.
void drawGauss(Ipp8u* plus, Ipp8u* minus, int n, Ipp32u& state, Ipp8u mean, Ipp8u stdev) {
  const Ipp16s* table = gaussOffsetTable(stdev);
  Ipp32u lane[kLanes];
  seedLanes(lane, state);
  Ipp32u last = state;
  int i = 0;
  auto put = [&](int at, Ipp32u s) {
    const int t = mean + table[s >> 16];
    plus[at] = static_cast<Ipp8u>(std::clamp(t, 0, 255));
    minus[at] = static_cast<Ipp8u>(std::clamp(-t, 0, 255));
  };
  for (; i + kLanes <= n; i += kLanes) {
    for (int k = 0; k < kLanes; ++k) put(i + k, lane[k]);
    last = lane[kLanes - 1];
    for (int k = 0; k < kLanes; ++k) lane[k] = kJump(lane[k]);
  }
  for (int k = 0; i < n; ++i, ++k) {
    put(i, lane[k]);
    last = lane[k];
  }
  state = last;
}

template <int PixelBytes, int Channels>
void applyRow(Ipp8u* row, int width, const Ipp8u* plus, const Ipp8u* minus) {
  if constexpr (PixelBytes == Channels) {
    const int n = width * PixelBytes;
    for (int i = 0; i < n; ++i) row[i] = static_cast<Ipp8u>(std::min(row[i] + plus[i], 255));
    if (minus != nullptr)
      for (int i = 0; i < n; ++i) row[i] = static_cast<Ipp8u>(std::max(row[i] - minus[i], 0));
  } else {
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) {
        Ipp8u& s = row[x * PixelBytes + c];
        int v = std::min(s + plus[x * Channels + c], 255);
        if (minus != nullptr) v = std::max(v - minus[x * Channels + c], 0);
        s = static_cast<Ipp8u>(v);
      }
  }
}

template <int PixelBytes, int Channels>
void uniformPortable(Ipp8u* image, int step, int width, int height, Ipp8u low, Ipp8u high,
                     unsigned int* seed) {
  const int n = width * Channels;
  std::vector<Ipp8u> plus(static_cast<std::size_t>(n));
  Ipp32u state = *seed;
  for (int y = 0; y < height; ++y) {
    drawUniform(plus.data(), n, state, low, high);
    applyRow<PixelBytes, Channels>(image + static_cast<std::ptrdiff_t>(y) * step, width, plus.data(),
                                   nullptr);
  }
  *seed = state;
}

template <int PixelBytes, int Channels>
void gaussPortable(Ipp8u* image, int step, int width, int height, Ipp8u mean, Ipp8u stdev,
                   unsigned int* seed) {
  const int n = width * Channels;
  std::vector<Ipp8u> plus(static_cast<std::size_t>(n)), minus(static_cast<std::size_t>(n));
  Ipp32u state = *seed;
  for (int y = 0; y < height; ++y) {
    drawGauss(plus.data(), minus.data(), n, state, mean, stdev);
    applyRow<PixelBytes, Channels>(image + static_cast<std::ptrdiff_t>(y) * step, width, plus.data(),
                                   minus.data());
  }
  *seed = state;
}

} // namespace

const RandomKernels kRandomPortable = {
    {uniformPortable<1, 1>, uniformPortable<3, 3>, uniformPortable<4, 4>, uniformPortable<4, 3>},
    {gaussPortable<1, 1>, gaussPortable<3, 3>, gaussPortable<4, 4>, gaussPortable<4, 3>},
};

} // namespace framquist::ipp_detail
