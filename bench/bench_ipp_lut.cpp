// The lookup primitives on a 1920x1080 frame and on a 320x240 one (which
// stays in cache) on the reference kernels, the portable ones and the best
// ones of this CPU, with memcpy of the same number of bytes as the yardstick.
// Bytes/s counts one frame's bytes per call.
// "Same" curves give every channel one curve (one table for all bytes),
// "Own" curves differ per channel.
#include "ipp/ipp.h"
#include "ipp/ipplut.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace framquist;

struct Frames {
  Frames(IppiSize frame, int pixelBytes)
      : size(frame), step(frame.width * pixelBytes), src(static_cast<std::size_t>(step) * frame.height),
        dst(src.size()) {
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Ipp8u>(i * 131 + 7);
  }
  IppiSize size;
  int step;
  std::vector<Ipp8u> src, dst;
};

using Curves = bench::LutCurves;

using Op = std::function<void(Frames&, Curves&)>;

void runOp(benchmark::State& state, IppiSize frame, int pixelBytes, bool own, IppTarget target,
           const Op& op) {
  Frames f(frame, pixelBytes);
  Curves c(own);
  bench::timeAtTarget(state, target, f.src.size(), f.dst.data(), [&] { op(f, c); });
}

void memcpyFrame(benchmark::State& state, IppiSize frame, int pixelBytes) {
  Frames f(frame, pixelBytes);
  for (auto _ : state) {
    std::memcpy(f.dst.data(), f.src.data(), f.src.size());
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(f.src.size()));
}

constexpr IppiSize kFrames[] = {{1920, 1080}, {320, 240}};

std::string frameName(IppiSize frame) {
  return std::to_string(frame.width) + "x" + std::to_string(frame.height);
}

void add(const std::string& name, int pixelBytes, bool own, const Op& op) {
  for (IppiSize frame : kFrames)
    for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
      benchmark::RegisterBenchmark((name + "/" + frameName(frame) + "/" + ippTargetName(t)).c_str(),
                                   [=](benchmark::State& s) { runOp(s, frame, pixelBytes, own, t, op); })
          ->Unit(benchmark::kMicrosecond);
}

using Lut1Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s*, const Ipp32s*, int);
using Lut3Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s* [3], const Ipp32s* [3],
                             int[3]);
using Lut4Fn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s* [4], const Ipp32s* [4],
                             int[4]);

struct Mode {
  const char* name;
  Lut1Fn c1;
  Lut3Fn c3;
  Lut4Fn c4;
};

const Mode kModes[] = {
    {"LUT", ippiLUT_8u_C1R, ippiLUT_8u_C3R, ippiLUT_8u_C4R},
    {"LUT_Linear", ippiLUT_Linear_8u_C1R, ippiLUT_Linear_8u_C3R, ippiLUT_Linear_8u_C4R},
    {"LUT_Cubic", ippiLUT_Cubic_8u_C1R, ippiLUT_Cubic_8u_C3R, ippiLUT_Cubic_8u_C4R},
};

const int kRegistered = [] {
  for (IppiSize frame : kFrames)
    for (int pb : {1, 3, 4})
      benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B/" + frameName(frame)).c_str(),
                                   [=](benchmark::State& s) { memcpyFrame(s, frame, pb); })
          ->Unit(benchmark::kMicrosecond);
  for (const Mode& m : kModes) {
    add(std::string(m.name) + "_C1", 1, false, [m](Frames& f, Curves& c) {
      m.c1(f.src.data(), f.step, f.dst.data(), f.step, f.size, c.pv[0], c.pl[0], c.n[0]);
    });
    for (bool own : {false, true}) {
      const std::string curves = own ? "/Own" : "/Same";
      add(std::string(m.name) + "_C3" + curves, 3, own, [m](Frames& f, Curves& c) {
        m.c3(f.src.data(), f.step, f.dst.data(), f.step, f.size, c.pv, c.pl, c.n);
      });
      add(std::string(m.name) + "_C4" + curves, 4, own, [m](Frames& f, Curves& c) {
        m.c4(f.src.data(), f.step, f.dst.data(), f.step, f.size, c.pv, c.pl, c.n);
      });
    }
  }
  return 0;
}();

} // namespace
