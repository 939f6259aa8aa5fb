// The primitives of the fire generator on a 1920x1080 frame (palette
// lookup, Gaussian smoothing, alpha composition) on the reference kernels,
// the portable ones and the best ones of this CPU, with memcpy of one 32-bit
// frame as the yardstick. Bytes/s counts one 32-bit frame per call.
#include "frame/fqendpoints.h"
#include "generators/fqfire.h"
#include "ipp/ipp.h"
#include "ipp/ippalpha.h"
#include "ipp/ippfilter.h"
#include "ipp/ipppalette.h"

#include <benchmark/benchmark.h>

#include "benchsupport.h"

#include <cstring>
#include <vector>

namespace {

using namespace framquist;

constexpr IppiSize kFrame = {1920, 1080};
constexpr int kStep = kFrame.width * 4;
constexpr std::size_t kBytes = static_cast<std::size_t>(kStep) * kFrame.height;

struct Frames {
  Frames() : heat(kBytes / 4), a(kBytes), b(kBytes), dst(kBytes) {
    for (std::size_t i = 0; i < a.size(); ++i)
      a[i] = static_cast<Ipp8u>(i * 131 + 7), b[i] = static_cast<Ipp8u>(i * 71);
    for (std::size_t i = 0; i < heat.size(); ++i) heat[i] = static_cast<Ipp8u>(i * 13);
    for (int i = 0; i < 256; ++i) table[i] = 0x01010101u * static_cast<Ipp32u>(i);
  }
  std::vector<Ipp8u> heat, a, b, dst;
  Ipp32u table[256];
};

template <class Op>
void run(benchmark::State& state, IppTarget target, Op op) {
  Frames f;
  bench::timeAtTarget(state, target, kBytes, f.dst.data(), [&] { op(f); });
}

void Memcpy32(benchmark::State& state) {
  Frames f;
  for (auto _ : state) {
    std::memcpy(f.dst.data(), f.a.data(), kBytes);
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kBytes));
}

void Palette(benchmark::State& state, IppTarget t) {
  run(state, t, [](Frames& f) {
    ippiLUTPalette_8u32u_C1R(f.heat.data(), kFrame.width, reinterpret_cast<Ipp32u*>(f.dst.data()), kStep,
                             kFrame, f.table, 8);
  });
}

void Gauss(benchmark::State& state, IppTarget t, IppiMaskSize mask) {
  run(state, t, [mask](Frames& f) {
    const int border = mask == ippMskSize3x3 ? 1 : 2;
    ippiFilterGauss_8u_AC4R(f.a.data() + border * kStep + 4 * border, kStep,
                            f.dst.data() + border * kStep + 4 * border, kStep,
                            {kFrame.width - 2 * border, kFrame.height - 2 * border}, mask);
  });
}

void Alpha(benchmark::State& state, IppTarget t, IppiAlphaType type) {
  run(state, t, [type](Frames& f) {
    ippiAlphaComp_8u_AC4R(f.a.data(), kStep, f.b.data(), kStep, f.dst.data(), kStep, kFrame, type);
  });
}

BENCHMARK(Memcpy32);
BENCHMARK_CAPTURE(Palette, reference, IppTarget::Reference);
BENCHMARK_CAPTURE(Palette, portable, IppTarget::Portable);
BENCHMARK_CAPTURE(Palette, best, IppTarget::AVX512);
BENCHMARK_CAPTURE(Gauss, 3x3_reference, IppTarget::Reference, ippMskSize3x3);
BENCHMARK_CAPTURE(Gauss, 3x3_portable, IppTarget::Portable, ippMskSize3x3);
BENCHMARK_CAPTURE(Gauss, 3x3_best, IppTarget::AVX512, ippMskSize3x3);
BENCHMARK_CAPTURE(Gauss, 5x5_reference, IppTarget::Reference, ippMskSize5x5);
BENCHMARK_CAPTURE(Gauss, 5x5_portable, IppTarget::Portable, ippMskSize5x5);
BENCHMARK_CAPTURE(Gauss, 5x5_best, IppTarget::AVX512, ippMskSize5x5);
BENCHMARK_CAPTURE(Alpha, atop_reference, IppTarget::Reference, ippAlphaATop);
BENCHMARK_CAPTURE(Alpha, atop_portable, IppTarget::Portable, ippAlphaATop);
BENCHMARK_CAPTURE(Alpha, atop_best, IppTarget::AVX512, ippAlphaATop);
BENCHMARK_CAPTURE(Alpha, over_best, IppTarget::AVX512, ippAlphaOver);

// One generated 640x480 fire frame, end to end: simulation step, palette,
// smoothing, through the pins to a grabber; one tick of a caller clock.
void FireFrame640x480(benchmark::State& state) {
  auto clock = Make<TFQTickClock>();
  auto fire = Make<TFQFire>();
  auto grabber = Make<TFQImageGrabber>();
  clock->OutputPin.Connect(fire->ClockPin);
  fire->OutputPin.Connect(grabber->InputPin);
  fire->SetImageSize(640, 480);
  fire->Start();
  for (int i = 0; i < 50; ++i) clock->Tick(); // let the flames rise first
  for (auto _ : state) clock->Tick();
  fire->Stop();
}
BENCHMARK(FireFrame640x480)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
