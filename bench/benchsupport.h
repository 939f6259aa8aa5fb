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

using Op = std::function<void(Frames&)>;

inline void runOp(benchmark::State& state, int pixelBytes, IppTarget target, const Op& op) {
  Frames f(pixelBytes);
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  for (auto _ : state) {
    op(f);
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(f.src.size()));
}

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
