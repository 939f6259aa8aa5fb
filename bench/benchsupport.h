// The frame pair and timing loop the primitive benchmarks share: a
// 1920x1080 source and destination, one kernel target forced per run, and
// bytes/s counted as one frame per call.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <vector>

#include "ipp/ipp.h"

namespace framquist::bench {

inline constexpr IppiSize kFrame = {1920, 1080};

struct Frames {
  explicit Frames(int pixelBytes)
      : step(kFrame.width * pixelBytes), src(static_cast<std::size_t>(step) * kFrame.height),
        dst(src.size()) {
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Ipp8u>(i * 131 + 7);
  }
  int step;
  std::vector<Ipp8u> src, dst;
};

// Times body() with one kernel target forced, counting `bytes` per call;
// `written` is what the compiler must not optimise away.
template <class Body>
void timeAtTarget(benchmark::State& state, IppTarget target, std::size_t bytes, const void* written,
                  Body&& body) {
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  for (auto _ : state) {
    body();
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

using Op = std::function<void(Frames&)>;

inline void runOp(benchmark::State& state, int pixelBytes, IppTarget target, const Op& op) {
  Frames f(pixelBytes);
  timeAtTarget(state, target, f.src.size(), f.dst.data(), [&] { op(f); });
}

// An S-curve of five points per channel for the lookup primitives; with
// perChannel each channel's curve is shifted a little.
struct LutCurves {
  explicit LutCurves(bool perChannel) {
    for (int c = 0; c < 4; ++c) {
      const int shift = perChannel ? 10 * c : 0;
      values[c] = {0, 40 + shift, 128, 215 - shift, 255};
      levels[c] = {0, 64, 128, 192, 256};
      pv[c] = values[c].data();
      pl[c] = levels[c].data();
      n[c] = 5;
    }
  }
  std::vector<Ipp32s> values[4], levels[4];
  const Ipp32s* pv[4];
  const Ipp32s* pl[4];
  int n[4];
};

// The yardstick: memcpy of the same bytes.
inline void memcpyFrame(benchmark::State& state, int pixelBytes) {
  Frames f(pixelBytes);
  for (auto _ : state) {
    std::memcpy(f.dst.data(), f.src.data(), f.src.size());
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(f.src.size()));
}

} // namespace framquist::bench
