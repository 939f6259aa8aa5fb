// Two-source arithmetic and logic on a 1920x1080 frame: reference kernels,
// portable ones and the best of this CPU, with memcpy of one frame as the
// yardstick. Bytes/s counts one frame's bytes per call (two are read). The
// in-place AC4 forms work on the second source.
#include "ipp/ipp.h"
#include "ipp/ipparith.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace framquist;

constexpr IppiSize kFrame = {1920, 1080};

struct Frames {
  explicit Frames(int pixelBytes)
      : step(kFrame.width * pixelBytes), src1(static_cast<std::size_t>(step) * kFrame.height),
        src2(src1.size()), dst(src1.size()) {
    for (std::size_t i = 0; i < src1.size(); ++i) {
      src1[i] = static_cast<Ipp8u>(i * 131 + 7);
      src2[i] = static_cast<Ipp8u>(i * 71 + 3);
    }
  }
  int step;
  std::vector<Ipp8u> src1, src2, dst;
};

using SfsFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using PlainFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize);

struct Form {
  const char* name;
  int pixelBytes;
  SfsFn sfs;
  PlainFn plain;
};

const Form kForms[] = {
    {"Add_C1", 1, ippiAdd_8u_C1RSfs, nullptr},   {"Add_C3", 3, ippiAdd_8u_C3RSfs, nullptr},
    {"Add_AC4", 4, ippiAdd_8u_AC4RSfs, nullptr}, {"Sub_C1", 1, ippiSub_8u_C1RSfs, nullptr},
    {"Sub_C3", 3, ippiSub_8u_C3RSfs, nullptr},   {"Sub_AC4", 4, ippiSub_8u_AC4RSfs, nullptr},
    {"Mul_C1", 1, ippiMul_8u_C1RSfs, nullptr},   {"Mul_C3", 3, ippiMul_8u_C3RSfs, nullptr},
    {"Mul_AC4", 4, ippiMul_8u_AC4RSfs, nullptr}, {"Div_C1", 1, ippiDiv_8u_C1RSfs, nullptr},
    {"Div_C3", 3, ippiDiv_8u_C3RSfs, nullptr},   {"Div_AC4", 4, ippiDiv_8u_AC4RSfs, nullptr},
    {"Or_C1", 1, nullptr, ippiOr_8u_C1R},        {"Or_C3", 3, nullptr, ippiOr_8u_C3R},
    {"Or_AC4", 4, nullptr, ippiOr_8u_AC4R},      {"And_C1", 1, nullptr, ippiAnd_8u_C1R},
    {"And_C3", 3, nullptr, ippiAnd_8u_C3R},      {"And_AC4", 4, nullptr, ippiAnd_8u_AC4R},
    {"Xor_C1", 1, nullptr, ippiXor_8u_C1R},      {"Xor_C3", 3, nullptr, ippiXor_8u_C3R},
    {"Xor_AC4", 4, nullptr, ippiXor_8u_AC4R},    {"AbsDiff_C1", 1, nullptr, ippiAbsDiff_8u_C1R},
};

using InPlaceSfsFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using InPlacePlainFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);

struct InPlaceForm {
  const char* name;
  InPlaceSfsFn sfs;
  InPlacePlainFn plain;
};

const InPlaceForm kInPlaceForms[] = {
    {"Add_AC4I", ippiAdd_8u_AC4IRSfs, nullptr}, {"Sub_AC4I", ippiSub_8u_AC4IRSfs, nullptr},
    {"Mul_AC4I", ippiMul_8u_AC4IRSfs, nullptr}, {"Div_AC4I", ippiDiv_8u_AC4IRSfs, nullptr},
    {"Or_AC4I", nullptr, ippiOr_8u_AC4IR},      {"And_AC4I", nullptr, ippiAnd_8u_AC4IR},
    {"Xor_AC4I", nullptr, ippiXor_8u_AC4IR},
};

void runInPlaceForm(benchmark::State& state, const InPlaceForm& f, IppTarget target) {
  Frames fr(4);
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  for (auto _ : state) {
    if (f.sfs != nullptr)
      f.sfs(fr.src1.data(), fr.step, fr.src2.data(), fr.step, kFrame, 0);
    else
      f.plain(fr.src1.data(), fr.step, fr.src2.data(), fr.step, kFrame);
    benchmark::DoNotOptimize(fr.src2.data());
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fr.src1.size()));
}

void runForm(benchmark::State& state, const Form& f, IppTarget target, int sf) {
  Frames fr(f.pixelBytes);
  const IppTarget saved = ippGetTarget();
  state.SetLabel(ippTargetName(ippSetTarget(target)));
  for (auto _ : state) {
    if (f.sfs != nullptr)
      f.sfs(fr.src1.data(), fr.step, fr.src2.data(), fr.step, fr.dst.data(), fr.step, kFrame, sf);
    else
      f.plain(fr.src1.data(), fr.step, fr.src2.data(), fr.step, fr.dst.data(), fr.step, kFrame);
    benchmark::DoNotOptimize(fr.dst.data());
    benchmark::ClobberMemory();
  }
  ippSetTarget(saved);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fr.src1.size()));
}

void memcpyFrame(benchmark::State& state, int pixelBytes) {
  Frames f(pixelBytes);
  for (auto _ : state) {
    std::memcpy(f.dst.data(), f.src1.data(), f.src1.size());
    benchmark::DoNotOptimize(f.dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(f.src1.size()));
}

const int kRegistered = [] {
  for (int pb : {1, 3, 4})
    benchmark::RegisterBenchmark(("Memcpy/" + std::to_string(pb) + "B").c_str(), [=](benchmark::State& s) {
      memcpyFrame(s, pb);
    })->Unit(benchmark::kMicrosecond);
  for (const Form& f : kForms)
    for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
      benchmark::RegisterBenchmark((std::string(f.name) + "/" + ippTargetName(t)).c_str(),
                                   [f, t](benchmark::State& s) { runForm(s, f, t, 0); })
          ->Unit(benchmark::kMicrosecond);
  for (const InPlaceForm& f : kInPlaceForms)
    for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, ippGetBestTarget()})
      benchmark::RegisterBenchmark((std::string(f.name) + "/" + ippTargetName(t)).c_str(),
                                   [f, t](benchmark::State& s) { runInPlaceForm(s, f, t); })
          ->Unit(benchmark::kMicrosecond);
  // A scale factor other than 0 takes the per-sample path on every target.
  benchmark::RegisterBenchmark("Add_C3_sf1/best", [](benchmark::State& s) {
    runForm(s, kForms[1], ippGetBestTarget(), 1);
  })->Unit(benchmark::kMicrosecond);
  return 0;
}();

} // namespace
