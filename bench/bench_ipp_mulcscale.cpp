// In-place multiplication by a fraction of 255 on a 1920x1080 frame: the
// reference kernels, the portable ones and the best of this CPU, with memcpy
// of the same bytes as the yardstick. Bytes/s counts one frame per call.
#include "ipp/ippmulcscale.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <string>

namespace {

using namespace framquist;
using namespace framquist::bench;

const Ipp8u kValue[4] = {200, 128, 64, 255};

IppStatus mulCScale(int pixelBytes, Frames& f) {
  switch (pixelBytes) {
  case 1:
    return ippiMulCScale_8u_C1IR(kValue[0], f.src.data(), f.step, kFrame);
  case 3:
    return ippiMulCScale_8u_C3IR(kValue, f.src.data(), f.step, kFrame);
  default:
    return ippiMulCScale_8u_C4IR(kValue, f.src.data(), f.step, kFrame);
  }
}

const int kRegistered = [] {
  for (int pb : {1, 3, 4}) {
    const std::string layout = pb == 1 ? "C1" : pb == 3 ? "C3" : "C4";
    benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B").c_str(), [=](benchmark::State& s) {
      memcpyFrame(s, pb);
    })->Unit(benchmark::kMicrosecond);
    for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
      benchmark::RegisterBenchmark(
          ("MulCScale_" + layout + "I/" + ippTargetName(t)).c_str(),
          [=](benchmark::State& s) { runOp(s, pb, t, [pb](Frames& f) { mulCScale(pb, f); }); })
          ->Unit(benchmark::kMicrosecond);
  }
  return 0;
}();

} // namespace
