// Remap of a 1920x1080 frame through a gentle ripple-like displacement
// (every coordinate inside the source), per layout and interpolation, on
// the reference kernels, the portable ones and the best ones of this CPU,
// with memcpy of one frame as the yardstick. Bytes/s counts one frame's
// bytes per call. Also one 640x480 refracted TFQRipple frame with rain.
#include "ipp/ipp.h"
#include "ipp/ippremap.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "frame/fqendpoints.h"
#include "generators/fqripple.h"

namespace {

using namespace framquist;

constexpr IppiSize kFrame = {1920, 1080};

struct Frames {
  explicit Frames(int pixelBytes)
      : step(kFrame.width * pixelBytes), src(static_cast<std::size_t>(step) * kFrame.height), dst(src.size()),
        xMap(static_cast<std::size_t>(kFrame.width) * kFrame.height), yMap(xMap.size()) {
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Ipp8u>(i * 131 + 7);
    for (int y = 0; y < kFrame.height; ++y)
      for (int x = 0; x < kFrame.width; ++x) {
        const std::size_t i = static_cast<std::size_t>(y) * kFrame.width + x;
        xMap[i] = std::clamp(x + 3.0f * std::sin(y * 0.05f), 0.0f, kFrame.width - 1.0f);
        yMap[i] = std::clamp(y + 3.0f * std::cos(x * 0.05f), 0.0f, kFrame.height - 1.0f);
      }
  }
  int step;
  std::vector<Ipp8u> src, dst;
  std::vector<Ipp32f> xMap, yMap;
};

using RemapFn = IppStatus (*)(const Ipp8u*, IppiSize, int, IppiRect, const Ipp32f*, int, const Ipp32f*, int,
                              Ipp8u*, int, IppiSize, int);

struct Layout {
  const char* name;
  int pixelBytes;
  RemapFn remap;
};

const Layout kLayouts[] = {
    {"C1", 1, ippiRemap_8u_C1R},
    {"C3", 3, ippiRemap_8u_C3R},
    {"C4", 4, ippiRemap_8u_C4R},
    {"AC4", 4, ippiRemap_8u_AC4R},
};

void remapFrame(benchmark::State& state, const Layout& l, int mode, IppTarget target) {
  Frames f(l.pixelBytes);
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  const int mapStep = kFrame.width * 4;
  for (auto _ : state) {
    l.remap(f.src.data(), kFrame, f.step, {0, 0, kFrame.width, kFrame.height}, f.xMap.data(), mapStep,
            f.yMap.data(), mapStep, f.dst.data(), f.step, kFrame, mode);
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(f.src.size()));
}

// One refracted 640x480 frame: wave step, maps and the remap.
void rippleFrame(benchmark::State& state) {
  auto source = Make<TFQImageSource>();
  auto ripple = Make<TFQRipple>();
  auto grabber = Make<TFQImageGrabber>();
  source->OutputPin.Connect(ripple->InputPin);
  ripple->OutputPin.Connect(grabber->InputPin);
  ripple->Rain.SetProbability(1);
  ripple->SetInterpolationType(itLinear);
  IFQImageBuffer frame = IFQImageBuffer::Create(640, 480, vf32Bit);
  frame.FillColor(FQRGB(40, 120, 200), 0);
  source->StartStream(640, 480, vf32Bit, 400000);
  for (auto _ : state) source->Push(frame);
  source->StopStream();
  state.SetItemsProcessed(state.iterations());
}

const int kRegistered = [] {
  for (int pb : {1, 3, 4})
    benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B").c_str(),
                                 [=](benchmark::State& s) { bench::memcpyFrame(s, pb); });
  const std::pair<const char*, int> modes[] = {
      {"NN", IPPI_INTER_NN}, {"Linear", IPPI_INTER_LINEAR}, {"Cubic", IPPI_INTER_CUBIC}};
  for (const Layout& l : kLayouts)
    for (auto [modeName, mode] : modes)
      for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
        benchmark::RegisterBenchmark(
            (std::string("Remap_") + l.name + "/" + modeName + "/" + ippTargetName(t)).c_str(),
            [=, &l](benchmark::State& s) { remapFrame(s, l, mode, t); });
  benchmark::RegisterBenchmark("RippleFrame640x480", rippleFrame)->Unit(benchmark::kMillisecond);
  return 0;
}();

} // namespace
