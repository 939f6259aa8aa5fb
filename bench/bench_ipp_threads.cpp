// Splitting one call's rows across threads (ippSetNumThreads): the same
// 1920x1080 primitives on 1 and 2 threads, best kernel target.
#include <string>
#include <vector>

#include "benchsupport.h"

namespace {

using namespace framquist;
using namespace framquist::bench;

struct Named {
  std::string name;
  int pixelBytes;
  Op op;
};

std::vector<Named> ops() {
  static const Ipp32f kTwist[3][4] = {{0.5f, 0.2f, 0.1f, 3}, {0.1f, 0.9f, 0, -4}, {0.3f, 0.3f, 0.3f, 7}};
  static const Ipp8u lt[3] = {40, 50, 60}, vlt[3] = {1, 2, 3}, gt[3] = {200, 190, 180}, vgt[3] = {9, 8, 7};
  static std::vector<Ipp32f> xMap, yMap;
  if (xMap.empty())
    for (int y = 0; y < kFrame.height; ++y)
      for (int x = 0; x < kFrame.width; ++x) {
        xMap.push_back(static_cast<Ipp32f>(x) * 0.9f + static_cast<Ipp32f>(y) * 0.05f);
        yMap.push_back(static_cast<Ipp32f>(y) * 0.95f + 1.5f);
      }
  return {
      {"Copy_C3", 3, [](Frames& f) { ippiCopy_8u_C3R(f.src.data(), f.step, f.dst.data(), f.step, kFrame); }},
      {"Mirror_C3_Vertical", 3,
       [](Frames& f) {
         ippiMirror_8u_C3R(f.src.data(), f.step, f.dst.data(), f.step, kFrame, ippAxsVertical);
       }},
      {"Threshold_LTValGTVal_C3", 3,
       [](Frames& f) {
         ippiThreshold_LTValGTVal_8u_C3R(f.src.data(), f.step, f.dst.data(), f.step, kFrame, lt, vlt, gt,
                                         vgt);
       }},
      {"GammaFwd_C3", 3,
       [](Frames& f) { ippiGammaFwd_8u_C3R(f.src.data(), f.step, f.dst.data(), f.step, kFrame); }},
      {"ColorTwist32f_C3", 3,
       [](Frames& f) {
         ippiColorTwist32f_8u_C3R(f.src.data(), f.step, f.dst.data(), f.step, kFrame, kTwist);
       }},
      {"Div_C3", 3,
       [](Frames& f) {
         ippiDiv_8u_C3RSfs(f.src.data(), f.step, f.src.data(), f.step, f.dst.data(), f.step, kFrame, 0);
       }},
      {"AlphaComp_Over_AC4", 4,
       [](Frames& f) {
         ippiAlphaComp_8u_AC4R(f.src.data(), f.step, f.src.data(), f.step, f.dst.data(), f.step, kFrame,
                               ippAlphaOver);
       }},
      {"Remap_Linear_C3", 3,
       [](Frames& f) {
         ippiRemap_8u_C3R(f.src.data(), kFrame, f.step, {0, 0, kFrame.width, kFrame.height}, xMap.data(),
                          kFrame.width * 4, yMap.data(), kFrame.width * 4, f.dst.data(), f.step, kFrame,
                          IPPI_INTER_LINEAR);
       }},
  };
}

const int kRegistered = [] {
  for (const Named& n : ops())
    for (int threads : {1, 2}) {
      const std::string name = n.name + "/threads:" + std::to_string(threads);
      benchmark::RegisterBenchmark(name.c_str(),
                                   [n, threads](benchmark::State& s) {
                                     const int saved = ippGetNumThreads();
                                     ippSetNumThreads(threads);
                                     runOp(s, n.pixelBytes, ippGetBestTarget(), n.op);
                                     ippSetNumThreads(saved);
                                   })
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
    }
  return 0;
}();

} // namespace
