// What the component frame costs on top of the work it carries.
//
// PassChain/N: image source -> N pass-through filters -> grabber (keeping
// nothing) at 64x48, 24-bit, so the pixels cost nothing and what is left is
// pins, locks, operation objects and frame handles. ns_per_hop divides the
// time per frame by the N + 1 links a frame crosses; the difference between
// N = 10 and N = 0, divided by 10, is what one component adds.
//
// ColourChain: source -> threshold -> colour lookup -> colour twist ->
// grabber at 1920x1080, 24-bit, with settings that make every filter work.
// "Shared" pushes one frame over and over through TFQImageSource, whose own
// frame object shares the caller's pixels for as long as the frame travels.
// "Owned" sends prepared frames whose only handle moves into the frame
// operation, so the chain holds the pixels alone. ColourPrimitives runs the
// three primitives alone on preallocated frames: the floor the chain cannot
// beat. InPlaceOwned feeds an in-place filter frames the chain owns alone
// and counts the frames it still had to copy; InPlaceAlone is its loop on a
// frame of its own. GeneratorChain ticks a 1080p test pattern through the
// colour chain, the way a rendered video runs.
//
// SetFormat/from/to converts a 1080p frame object of its own (sharing the
// source's pixels, as a receiver's frame does) to another format; MemcpyFrame
// copies the larger of the two frames' bytes, the yardstick.
//
// pixel_allocs_per_frame counts pixel memory the frames took from the
// allocator rather than from the pool of released frames (the frames a
// benchmark prepares with the clock stopped are not counted): 0 once a
// stream has settled.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "filters/colour/fqcolorlookup.h"
#include "filters/colour/fqcolortwist.h"
#include "filters/colour/fqthreshold.h"
#include "frame/fqcommonfilter.h"
#include "frame/fqendpoints.h"
#include "frame/fqimagebuffer.h"
#include "generators/fqtestpattern.h"
#include "ipp/ippcolortwist.h"
#include "ipp/ipplut.h"
#include "ipp/ippthreshold.h"

namespace {

using namespace framquist;

constexpr std::int64_t kInterval = 400000;

// The base's FilterInternalOperation passes the frame on by Assign: the
// smallest component the frame can run.
class TBenchPass final : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TBenchPass"; }
};

// An in-place filter: inverts every byte of the frame it was given. Counts
// the frames whose pixels were still shared when it asked to modify them,
// which costs a copy of the whole frame.
class TBenchInvert final : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TBenchInvert"; }
  bool CanInline() override { return true; }
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override {
    (void)InBuffer;
    if (OutBuffer.SharesPixels()) ++copies;
    std::uint8_t* p = OutBuffer.GetModifyPointer();
    const std::size_t bytes = static_cast<std::size_t>(OutBuffer.GetLineStep()) * OutBuffer.GetHeight();
    for (std::size_t i = 0; i < bytes; ++i) p[i] = static_cast<std::uint8_t>(~p[i]);
  }
  long long copies = 0;
};

// A source that hands its frame over: the moved handle is the only one, so
// the frame operation owns the pixels alone.
class TBenchHandOver final : public TPWComponent {
public:
  TBenchHandOver() : OutputPin(this, "OutputPin") {}
  std::string_view GetClassName() const override { return "TBenchHandOver"; }
  TFQPWImageSourcePin OutputPin;
};

IFQImageBuffer PatternFrame(int width, int height, std::uint32_t seed) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, vf24Bit);
  std::uint8_t* p = frame.GetWritePointer();
  const int step = frame.GetLineStep();
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width * 3; ++x)
      p[static_cast<std::ptrdiff_t>(y) * step + x] =
          static_cast<std::uint8_t>((x * 131 + y * 71 + seed) >> 1);
  return frame;
}

// Minor page faults so far: a fresh frame-sized allocation that the
// allocator took from the system faults in its pages when first written.
long MinorFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

void SetFaults(benchmark::State& state, long faults) {
  state.counters["faults_per_frame"] =
      benchmark::Counter(static_cast<double>(faults), benchmark::Counter::kAvgIterations);
}

std::uint64_t PixelAllocs() { return FQGetPixelPoolStats().Allocated; }

void SetAllocs(benchmark::State& state, std::uint64_t allocs) {
  state.counters["pixel_allocs_per_frame"] =
      benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
}

void SetPerLink(benchmark::State& state, int links) {
  state.SetItemsProcessed(state.iterations());
  // Seconds per link crossed; printed with its SI prefix (ns).
  state.counters["ns_per_hop"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * links,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void PassChain(benchmark::State& state) {
  const int filters = static_cast<int>(state.range(0));
  auto source = Make<TFQImageSource>();
  auto grabber = Make<TFQImageGrabber>();
  grabber->SetKeepCount(0);
  std::vector<TPWOwned<TBenchPass>> chain;
  TFQPWImageSourcePin* out = &source->OutputPin;
  for (int i = 0; i < filters; ++i) {
    chain.push_back(Make<TBenchPass>());
    out->Connect(chain.back()->InputPin);
    out = &chain.back()->OutputPin;
  }
  out->Connect(grabber->InputPin);

  const IFQImageBuffer frame = PatternFrame(64, 48, 1);
  source->StartStream(64, 48, vf24Bit, kInterval);
  for (auto _ : state) source->Push(frame);
  source->StopStream();
  if (grabber->GetFrameCount() != static_cast<long long>(state.iterations()))
    state.SkipWithError("frames went missing");
  SetPerLink(state, filters + 1);
}
BENCHMARK(PassChain)->Arg(0)->Arg(1)->Arg(10)->Arg(20);

constexpr int kW = 1920, kH = 1080;

// Clip to the video range, an S-curve per channel (each a little different)
// and a saturation boost with a warm offset: every filter touches every byte.
const TColor kLow = FQRGB(16, 16, 16), kHigh = FQRGB(235, 235, 235);
const std::vector<std::vector<std::int32_t>> kCurveLevels = {
    {0, 64, 128, 192, 256}, {0, 64, 128, 192, 256}, {0, 64, 128, 192, 256}};
const std::vector<std::vector<std::int32_t>> kCurveValues = {
    {0, 40, 128, 215, 256}, {0, 50, 128, 205, 256}, {0, 30, 120, 220, 256}};
const float kTwist[3][4] = {
    {1.3f, -0.2f, -0.1f, 4.0f}, {-0.15f, 1.25f, -0.1f, 0.0f}, {-0.1f, -0.25f, 1.35f, -4.0f}};

struct ColourChain {
  TPWOwned<TFQThreshold> threshold = Make<TFQThreshold>();
  TPWOwned<TFQColorLookup> lookup = Make<TFQColorLookup>();
  TPWOwned<TFQColorTwist> twist = Make<TFQColorTwist>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();

  explicit ColourChain(TFQPWImageSourcePin& from) {
    threshold->ThresholdBottom().SetThreshold(kLow);
    threshold->ThresholdBottom().SetValue(kLow);
    threshold->ThresholdTop().SetThreshold(kHigh);
    threshold->ThresholdTop().SetValue(kHigh);
    TFQLookupTables& tables = *lookup->GetLookupTables();
    tables.SetLookupMode(clmCubic);
    for (int k = 0; k < 3; ++k)
      for (std::size_t i = 0; i < kCurveLevels[k].size(); ++i)
        tables.GetColorChannel(k)->Add(kCurveLevels[k][i], kCurveValues[k][i]);
    TFQColorChannelTwist* rows[3] = {&twist->ColorTwists().RedTwist(), &twist->ColorTwists().GreenTwist(),
                                     &twist->ColorTwists().BlueTwist()};
    for (int k = 0; k < 3; ++k)
      for (int i = 0; i < 4; ++i) rows[k]->SetItem(i, kTwist[k][i]);
    grabber->SetKeepCount(0);
    from.Connect(threshold->InputPin);
    threshold->OutputPin.Connect(lookup->InputPin);
    lookup->OutputPin.Connect(twist->InputPin);
    twist->OutputPin.Connect(grabber->InputPin);
  }

  void Check(benchmark::State& state, long long extra = 0) const {
    if (grabber->GetFrameCount() != static_cast<long long>(state.iterations()) + extra)
      state.SkipWithError("frames went missing");
    state.SetItemsProcessed(state.iterations());
  }
};

void ColourChainShared(benchmark::State& state) {
  auto source = Make<TFQImageSource>();
  ColourChain chain(source->OutputPin);
  const IFQImageBuffer frame = PatternFrame(kW, kH, 1);
  source->StartStream(kW, kH, vf24Bit, kInterval);
  source->Push(frame); // the first frame fills the pool
  const long faults = MinorFaults();
  const std::uint64_t allocs = PixelAllocs();
  for (auto _ : state) source->Push(frame);
  SetFaults(state, MinorFaults() - faults);
  SetAllocs(state, PixelAllocs() - allocs);
  source->StopStream();
  chain.Check(state, 1);
}
BENCHMARK(ColourChainShared)->Unit(benchmark::kMillisecond);

void GeneratorChain(benchmark::State& state) {
  auto clock = Make<TFQTickClock>();
  auto bars = Make<TFQTestPattern>();
  bars->SetImageSize(kW, kH);
  clock->OutputPin.Connect(bars->ClockPin);
  ColourChain chain(bars->OutputPin);
  bars->Start();
  clock->Tick();
  const long faults = MinorFaults();
  const std::uint64_t allocs = PixelAllocs();
  for (auto _ : state) clock->Tick();
  SetFaults(state, MinorFaults() - faults);
  SetAllocs(state, PixelAllocs() - allocs);
  bars->Stop();
  chain.Check(state, 1);
}
BENCHMARK(GeneratorChain)->Unit(benchmark::kMillisecond);

void ColourChainOwned(benchmark::State& state) {
  // A ring of prepared frames, refilled with the clock stopped: filling one
  // costs about as much as the chain, so it must stay out of the time, and a
  // ring makes the pause rare.
  constexpr int kRing = 8;
  auto source = Make<TBenchHandOver>();
  ColourChain chain(source->OutputPin);
  std::vector<IFQImageBuffer> ring;
  auto refill = [&] {
    ring.clear();
    for (int i = 0; i < kRing; ++i) ring.push_back(PatternFrame(kW, kH, static_cast<std::uint32_t>(i)));
  };
  source->OutputPin.SendStart(kW, kH, kInterval, vf24Bit, 25);
  refill();
  std::int64_t n = 0;
  long faults = MinorFaults();
  long refillFaults = 0;
  const std::uint64_t allocs = PixelAllocs();
  std::uint64_t refillAllocs = 0;
  for (auto _ : state) {
    if (ring.empty()) {
      state.PauseTiming();
      const long before = MinorFaults();
      const std::uint64_t allocsBefore = PixelAllocs();
      refill();
      refillFaults += MinorFaults() - before;
      refillAllocs += PixelAllocs() - allocsBefore;
      state.ResumeTiming();
    }
    IFQImageBuffer frame = std::move(ring.back());
    ring.pop_back();
    frame.SetTimes(n * kInterval, (n + 1) * kInterval);
    ++n;
    source->OutputPin.SendFrame(std::move(frame));
  }
  SetFaults(state, MinorFaults() - faults - refillFaults);
  SetAllocs(state, PixelAllocs() - allocs - refillAllocs);
  source->OutputPin.SendStop();
  chain.Check(state);
}
BENCHMARK(ColourChainOwned)->Unit(benchmark::kMillisecond);

// The in-place filter fed frames the chain owns alone, against its loop
// on a frame of its own: any difference is the copy the frame made.
void InPlaceOwned(benchmark::State& state) {
  constexpr int kRing = 8;
  auto source = Make<TBenchHandOver>();
  auto invert = Make<TBenchInvert>();
  auto grabber = Make<TFQImageGrabber>();
  grabber->SetKeepCount(0);
  source->OutputPin.Connect(invert->InputPin);
  invert->OutputPin.Connect(grabber->InputPin);
  std::vector<IFQImageBuffer> ring;
  source->OutputPin.SendStart(kW, kH, kInterval, vf24Bit, 25);
  const std::uint64_t allocs = PixelAllocs();
  std::uint64_t refillAllocs = 0;
  for (auto _ : state) {
    if (ring.empty()) {
      state.PauseTiming();
      const std::uint64_t before = PixelAllocs();
      for (int i = 0; i < kRing; ++i) ring.push_back(PatternFrame(kW, kH, static_cast<std::uint32_t>(i)));
      refillAllocs += PixelAllocs() - before;
      state.ResumeTiming();
    }
    IFQImageBuffer frame = std::move(ring.back());
    ring.pop_back();
    source->OutputPin.SendFrame(std::move(frame));
  }
  source->OutputPin.SendStop();
  SetAllocs(state, PixelAllocs() - allocs - refillAllocs);
  state.counters["copied_frames"] =
      benchmark::Counter(static_cast<double>(invert->copies), benchmark::Counter::kAvgIterations);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(InPlaceOwned)->Unit(benchmark::kMillisecond);

void InPlaceAlone(benchmark::State& state) {
  IFQImageBuffer frame = PatternFrame(kW, kH, 1);
  for (auto _ : state) {
    std::uint8_t* p = frame.GetModifyPointer();
    const std::size_t bytes = static_cast<std::size_t>(frame.GetLineStep()) * kH;
    for (std::size_t i = 0; i < bytes; ++i) p[i] = static_cast<std::uint8_t>(~p[i]);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(InPlaceAlone)->Unit(benchmark::kMillisecond);

// The three primitives alone, each on its own preallocated output, in the
// order the chain runs them. range(0): 0 all three, 1..3 one of them.
void ColourPrimitives(benchmark::State& state) {
  const int which = static_cast<int>(state.range(0));
  const IFQImageBuffer in = PatternFrame(kW, kH, 1);
  IFQImageBuffer a = IFQImageBuffer::Create(kW, kH, vf24Bit);
  IFQImageBuffer b = IFQImageBuffer::Create(kW, kH, vf24Bit);
  IFQImageBuffer c = IFQImageBuffer::Create(kW, kH, vf24Bit);
  const int step = in.GetLineStep();
  const IppiSize roi{kW, kH};
  // The filter hands over its colours' bytes red first; equal grey levels here.
  const Ipp8u lo[3] = {16, 16, 16}, hi[3] = {235, 235, 235};
  const Ipp32s* values[4];
  const Ipp32s* levels[4];
  int counts[4];
  static const Ipp32s kIdentity[2] = {0, 256};
  for (int k = 0; k < 4; ++k) {
    values[k] = k < 3 ? kCurveValues[k].data() : kIdentity;
    levels[k] = k < 3 ? kCurveLevels[k].data() : kIdentity;
    counts[k] = k < 3 ? static_cast<int>(kCurveLevels[k].size()) : 2;
  }
  const Ipp8u* src = in.GetReadPointer();
  Ipp8u* pa = a.GetWritePointer();
  Ipp8u* pb = b.GetWritePointer();
  Ipp8u* pc = c.GetWritePointer();
  const long faults = MinorFaults();
  for (auto _ : state) {
    if (which == 0 || which == 1) ippiThreshold_LTValGTVal_8u_C3R(src, step, pa, step, roi, lo, lo, hi, hi);
    if (which == 0 || which == 2)
      ippiLUT_Cubic_8u_C3R(which == 0 ? pa : src, step, pb, step, roi, values, levels, counts);
    if (which == 0 || which == 3)
      ippiColorTwist32f_8u_C3R(which == 0 ? pb : src, step, pc, step, roi, kTwist);
    benchmark::DoNotOptimize(pc);
    benchmark::ClobberMemory();
  }
  SetFaults(state, MinorFaults() - faults);
  state.SetItemsProcessed(state.iterations());
  state.SetLabel(which == 0 ? "all three" : which == 1 ? "threshold" : which == 2 ? "lookup" : "twist");
}
BENCHMARK(ColourPrimitives)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

IFQImageBuffer FormatFrame(TFQVideoFormat format) {
  IFQImageBuffer frame = IFQImageBuffer::Create(kW, kH, format);
  std::uint8_t* p = frame.GetWritePointer();
  const std::size_t bytes = static_cast<std::size_t>(frame.GetLineStep()) * kH;
  for (std::size_t i = 0; i < bytes; ++i) p[i] = static_cast<std::uint8_t>(i * 2654435761u >> 13);
  return frame;
}

void SetFormat(benchmark::State& state) {
  const auto from = static_cast<TFQVideoFormat>(state.range(0)),
             to = static_cast<TFQVideoFormat>(state.range(1));
  const IFQImageBuffer source = FormatFrame(from);
  const std::uint64_t allocs = PixelAllocs();
  for (auto _ : state) {
    IFQImageBuffer frame;
    frame.Assign(source);
    frame.SetFormat(to);
    benchmark::DoNotOptimize(frame.GetReadPointer());
  }
  SetAllocs(state, PixelAllocs() - allocs);
  state.SetItemsProcessed(state.iterations());
  const char* names[] = {"24", "", "", "32", "565", "555", "grey"};
  state.SetLabel(std::string(names[from]) + " -> " + names[to]);
}
BENCHMARK(SetFormat)
    ->Args({vf24Bit, vf32Bit})
    ->Args({vf32Bit, vf24Bit})
    ->Args({vf24Bit, vfGrey})
    ->Args({vfGrey, vf24Bit})
    ->Args({vf16Bit565, vf24Bit})
    ->Args({vf16Bit555, vf24Bit})
    ->Unit(benchmark::kMicrosecond);

void MemcpyFrame(benchmark::State& state) {
  const std::size_t bytes = static_cast<std::size_t>(state.range(0)) * kW * kH;
  std::vector<std::uint8_t> a(bytes, 1), b(bytes);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel(std::to_string(state.range(0)) + " bytes per pixel");
}
BENCHMARK(MemcpyFrame)->Arg(3)->Arg(4)->Unit(benchmark::kMicrosecond);

} // namespace
