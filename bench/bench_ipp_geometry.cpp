// Mirror, copy and set of a 1920x1080 frame on the reference kernels, the
// portable ones and the best ones of this CPU, with memcpy of the same number
// of bytes as the yardstick. Bytes/s counts one frame's bytes per call.
#include "ipp/ipp.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace framquist;

using namespace framquist::bench;

using MirrorFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, IppiAxis);
using MirrorInPlaceFn = IppStatus (*)(Ipp8u*, int, IppiSize, IppiAxis);
using CopyFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);

struct Layout {
  const char* name;
  int pixelBytes;
  MirrorFn mirror;
  MirrorInPlaceFn mirrorInPlace;
  CopyFn copy;
};

const Layout kLayouts[] = {
    {"C1", 1, ippiMirror_8u_C1R, ippiMirror_8u_C1IR, ippiCopy_8u_C1R},
    {"C3", 3, ippiMirror_8u_C3R, ippiMirror_8u_C3IR, ippiCopy_8u_C3R},
    {"C4", 4, ippiMirror_8u_C4R, ippiMirror_8u_C4IR, ippiCopy_8u_C4R},
    {"AC4", 4, ippiMirror_8u_AC4R, ippiMirror_8u_AC4IR, ippiCopy_8u_AC4R},
};

const Ipp8u kValue[4] = {10, 20, 30, 40};

IppStatus setFrame(const Layout& l, Frames& f) {
  switch (l.pixelBytes) {
  case 1:
    return ippiSet_8u_C1R(kValue[0], f.dst.data(), f.step, kFrame);
  case 3:
    return ippiSet_8u_C3R(kValue, f.dst.data(), f.step, kFrame);
  default:
    return l.mirror == ippiMirror_8u_AC4R ? ippiSet_8u_AC4R(kValue, f.dst.data(), f.step, kFrame)
                                          : ippiSet_8u_C4R(kValue, f.dst.data(), f.step, kFrame);
  }
}

void add(const std::string& name, int pixelBytes, const Op& op) {
  for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
    benchmark::RegisterBenchmark((name + "/" + ippTargetName(t)).c_str(), [=](benchmark::State& s) {
      runOp(s, pixelBytes, t, op);
    })->Unit(benchmark::kMicrosecond);
}

const int kRegistered = [] {
  for (int pb : {1, 3, 4})
    benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B").c_str(), [=](benchmark::State& s) {
      memcpyFrame(s, pb);
    })->Unit(benchmark::kMicrosecond);
  const char* axisNames[] = {"Horizontal", "Vertical", "Both"};
  for (const Layout& l : kLayouts) {
    for (int a = 0; a < 3; ++a) {
      const auto axis = static_cast<IppiAxis>(a);
      add(std::string("Mirror_") + l.name + "/" + axisNames[a], l.pixelBytes,
          [l, axis](Frames& f) { l.mirror(f.src.data(), f.step, f.dst.data(), f.step, kFrame, axis); });
      add(std::string("MirrorInPlace_") + l.name + "/" + axisNames[a], l.pixelBytes,
          [l, axis](Frames& f) { l.mirrorInPlace(f.dst.data(), f.step, kFrame, axis); });
    }
    add(std::string("Copy_") + l.name, l.pixelBytes,
        [l](Frames& f) { l.copy(f.src.data(), f.step, f.dst.data(), f.step, kFrame); });
    add(std::string("Set_") + l.name, l.pixelBytes, [l](Frames& f) { setFrame(l, f); });
  }
  add("Copy_C4CR_alpha", 4,
      [](Frames& f) { ippiCopy_8u_C4CR(f.src.data() + 3, f.step, f.dst.data() + 3, f.step, kFrame); });
  // A one-channel frame (the first quarter of src) into the alpha of dst.
  add("Copy_C1C4R_alpha", 4,
      [](Frames& f) { ippiCopy_8u_C1C4R(f.src.data(), kFrame.width, f.dst.data() + 3, f.step, kFrame); });
  return 0;
}();

} // namespace
