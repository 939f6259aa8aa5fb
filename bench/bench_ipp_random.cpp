// Uniform and Gaussian noise on a 1920x1080 frame, in place, on the
// reference kernels, the portable ones and the best ones of this CPU, with
// memcpy of the same number of bytes as the yardstick. Bytes/s counts one
// frame's bytes per call.
#include "ipp/ippdispatch.h"
#include "ipp/ipprandom.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

using namespace framquist;

constexpr IppiSize kFrame = {1920, 1080};

using NoiseFn = IppStatus (*)(Ipp8u*, int, IppiSize, Ipp8u, Ipp8u, unsigned int*);

void runNoise(benchmark::State& state, int pixelBytes, IppTarget target, NoiseFn fn, Ipp8u a, Ipp8u b) {
  const int step = kFrame.width * pixelBytes;
  std::vector<Ipp8u> frame(static_cast<std::size_t>(step) * kFrame.height, 100);
  unsigned int seed = 31192u * 65537u;
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  for (auto _ : state) {
    fn(frame.data(), step, kFrame, a, b, &seed);
    benchmark::DoNotOptimize(frame.data());
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(frame.size()));
}

void memcpyFrame(benchmark::State& state, int pixelBytes) {
  const std::size_t bytes = static_cast<std::size_t>(kFrame.width) * pixelBytes * kFrame.height;
  std::vector<Ipp8u> src(bytes, 1), dst(bytes);
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), bytes);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

struct Form {
  const char* name;
  int pixelBytes;
  NoiseFn uniform, gauss;
};

const Form kForms[] = {
    {"C1", 1, ippiAddRandUniform_Direct_8u_C1IR, ippiAddRandGauss_Direct_8u_C1IR},
    {"C3", 3, ippiAddRandUniform_Direct_8u_C3IR, ippiAddRandGauss_Direct_8u_C3IR},
    {"C4", 4, ippiAddRandUniform_Direct_8u_C4IR, ippiAddRandGauss_Direct_8u_C4IR},
    {"AC4", 4, ippiAddRandUniform_Direct_8u_AC4IR, ippiAddRandGauss_Direct_8u_AC4IR},
};

int registerAll() {
  const IppTarget targets[] = {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()};
  for (const Form& f : kForms) {
    benchmark::RegisterBenchmark((std::string("Memcpy_") + f.name).c_str(), memcpyFrame, f.pixelBytes);
    for (IppTarget t : targets) {
      const std::string suffix = std::string(f.name) + "/" + ippTargetName(t);
      benchmark::RegisterBenchmark(("AddRandUniform_" + suffix).c_str(), runNoise, f.pixelBytes, t, f.uniform,
                                   Ipp8u{0}, Ipp8u{255});
      benchmark::RegisterBenchmark(("AddRandGauss_" + suffix).c_str(), runNoise, f.pixelBytes, t, f.gauss,
                                   Ipp8u{0}, Ipp8u{100});
    }
  }
  return 0;
}

const int kRegistered = registerAll();

} // namespace
