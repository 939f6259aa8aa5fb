// Pixel-layout conversions of a 1920x1080 frame on the reference kernels,
// the portable ones and each vector target of this CPU, with memcpy of the
// destination's bytes as the yardstick. Bytes/s counts the destination
// frame's bytes per call.
#include "ipp/ippconvert.h"
#include "ipp/ippdispatch.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <string>
#include <vector>

namespace {

using namespace framquist;
using namespace framquist::bench;

struct Conversion {
  const char* name;
  int from, fromBytes, to, toBytes;
};

const Conversion kConversions[] = {
    {"24_to_32", 0, 3, 3, 4},   {"32_to_24", 3, 4, 0, 3},  {"24_to_grey", 0, 3, 6, 1},
    {"grey_to_24", 6, 1, 0, 3}, {"565_to_24", 4, 2, 0, 3}, {"555_to_24", 5, 2, 0, 3},
};

void convertFrame(benchmark::State& state, Conversion c, IppTarget target) {
  Frames src(c.fromBytes), dst(c.toBytes);
  timeAtTarget(state, target, dst.dst.size(), dst.dst.data(), [&] {
    fqiConvertFormat_8u(src.src.data(), src.step, c.from, dst.dst.data(), dst.step, c.to, kFrame);
  });
}

const int kRegistered = [] {
  for (int pb : {1, 3, 4})
    benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B").c_str(), memcpyFrame, pb)
        ->Unit(benchmark::kMicrosecond);
  std::vector<IppTarget> targets = {IppTarget::Reference, IppTarget::Portable};
  for (IppTarget t : {IppTarget::AVX2, IppTarget::AVX512})
    if (static_cast<int>(t) <= static_cast<int>(ippGetBestTarget())) targets.push_back(t);
  for (const Conversion& c : kConversions)
    for (IppTarget t : targets)
      benchmark::RegisterBenchmark((std::string("Convert_") + c.name + "/" + ippTargetName(t)).c_str(),
                                   convertFrame, c, t)
          ->Unit(benchmark::kMicrosecond);
  return 0;
}();

} // namespace
