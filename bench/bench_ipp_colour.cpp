// Threshold, gamma and colour twist of a 1920x1080 frame on the reference
// kernels, the portable ones and the best ones of this CPU, with memcpy of
// the same number of bytes as the yardstick. Bytes/s counts one frame's
// bytes per call.
#include "ipp/ippcolortwist.h"
#include "ipp/ippdispatch.h"
#include "ipp/ippgamma.h"
#include "ipp/ippthreshold.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace framquist;

using namespace framquist::bench;

const Ipp8u kLT[3] = {20, 30, 40}, kVLT[3] = {0, 0, 0}, kGT[3] = {200, 180, 160}, kVGT[3] = {255, 255, 255};
const Ipp32f kTwist[3][4] = {
    {0.299f, 0.587f, 0.114f, 0}, {-0.169f, -0.331f, 0.5f, 128}, {0.5f, -0.419f, -0.081f, 128}};

struct Named {
  std::string name;
  int pixelBytes;
  Op op;
};

std::vector<Named> ops() {
  auto th = [](bool ac4) -> Op {
    return [ac4](Frames& f) {
      (ac4 ? ippiThreshold_LTValGTVal_8u_AC4R : ippiThreshold_LTValGTVal_8u_C3R)(
          f.src.data(), f.step, f.dst.data(), f.step, kFrame, kLT, kVLT, kGT, kVGT);
    };
  };
  auto gt = [](bool ac4) -> Op {
    return [ac4](Frames& f) {
      (ac4 ? ippiThreshold_GTVal_8u_AC4R : ippiThreshold_GTVal_8u_C3R)(f.src.data(), f.step, f.dst.data(),
                                                                       f.step, kFrame, kGT, kVGT);
    };
  };
  auto lt = [](bool ac4) -> Op {
    return [ac4](Frames& f) {
      (ac4 ? ippiThreshold_LTVal_8u_AC4R : ippiThreshold_LTVal_8u_C3R)(f.src.data(), f.step, f.dst.data(),
                                                                       f.step, kFrame, kLT, kVLT);
    };
  };
  using GammaFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
  auto gamma = [](GammaFn fn) -> Op {
    return [fn](Frames& f) { fn(f.src.data(), f.step, f.dst.data(), f.step, kFrame); };
  };
  auto twist = [](bool ac4) -> Op {
    return [ac4](Frames& f) {
      (ac4 ? ippiColorTwist32f_8u_AC4R : ippiColorTwist32f_8u_C3R)(f.src.data(), f.step, f.dst.data(), f.step,
                                                                   kFrame, kTwist);
    };
  };
  return {
      {"Threshold_LTValGTVal_C3", 3, th(false)},      {"Threshold_LTValGTVal_AC4", 4, th(true)},
      {"Threshold_GTVal_C3", 3, gt(false)},           {"Threshold_GTVal_AC4", 4, gt(true)},
      {"Threshold_LTVal_C3", 3, lt(false)},           {"Threshold_LTVal_AC4", 4, lt(true)},
      {"GammaFwd_C3", 3, gamma(ippiGammaFwd_8u_C3R)}, {"GammaFwd_AC4", 4, gamma(ippiGammaFwd_8u_AC4R)},
      {"GammaInv_C3", 3, gamma(ippiGammaInv_8u_C3R)}, {"GammaInv_AC4", 4, gamma(ippiGammaInv_8u_AC4R)},
      {"ColorTwist32f_C3", 3, twist(false)},          {"ColorTwist32f_AC4", 4, twist(true)},
  };
}

const int kRegistered = [] {
  benchmark::RegisterBenchmark("memcpy/C3", memcpyFrame, 3);
  benchmark::RegisterBenchmark("memcpy/AC4", memcpyFrame, 4);
  for (const Named& n : ops())
    for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()}) {
      const std::string name = n.name + "/" + ippTargetName(t);
      benchmark::RegisterBenchmark(name.c_str(), [n, t](benchmark::State& s) {
        runOp(s, n.pixelBytes, t, n.op);
      })->Unit(benchmark::kMillisecond);
    }
  return 0;
}();

} // namespace
