// labels: threaded
// Splitting a call's rows across threads changes nothing in the result.
#include "ipptest.h"

#include <atomic>
#include <functional>
#include <thread>

namespace fqipptest {
namespace {

// Restores splitting to its previous count.
class ThreadsScope {
public:
  explicit ThreadsScope(int n) : saved_(ippGetNumThreads()) { ippSetNumThreads(n); }
  ~ThreadsScope() { ippSetNumThreads(saved_); }

private:
  int saved_;
};

// Big enough to be split, odd sizes so bands are uneven.
constexpr IppiSize kRoi = {701, 419};

struct Buffers {
  explicit Buffers(int pixelBytes, unsigned seed)
      : step(kRoi.width * pixelBytes + 13), a(Bytes(seed)), b(Bytes(seed + 1)), dst(Bytes(seed + 2)) {}
  std::vector<Ipp8u> Bytes(unsigned seed) const {
    std::mt19937 rng(seed);
    std::vector<Ipp8u> v(static_cast<std::size_t>(step) * kRoi.height);
    for (auto& x : v) x = static_cast<Ipp8u>(rng() % 7 == 0 ? 0 : rng());
    return v;
  }
  int step;
  std::vector<Ipp8u> a, b, dst;
};

using Call = std::function<IppStatus(Buffers&)>;

// fn(a, dst, args...) and fn(a, b, dst, args...) over the whole ROI.
template <class Fn, class... Args>
Call oneSource(Fn fn, Args... args) {
  return [=](Buffers& f) { return fn(f.a.data(), f.step, f.dst.data(), f.step, kRoi, args...); };
}
template <class Fn, class... Args>
Call twoSources(Fn fn, Args... args) {
  return [=](Buffers& f) {
    return fn(f.a.data(), f.step, f.b.data(), f.step, f.dst.data(), f.step, kRoi, args...);
  };
}

struct Case {
  const char* name;
  int pixelBytes;
  Call call;
};

std::vector<Case> Cases() {
  static const Ipp32f twist[3][4] = {{0.5f, 0.2f, 0.1f, 3}, {0.1f, 0.9f, 0, -4}, {0.3f, 0.3f, 0.3f, 7}};
  static const Ipp8u lt[3] = {40, 50, 60}, vlt[3] = {1, 2, 3}, gt[3] = {200, 190, 180}, vgt[3] = {9, 8, 7};
  static std::vector<Ipp32f> xMap, yMap;
  if (xMap.empty())
    for (int y = 0; y < kRoi.height; ++y)
      for (int x = 0; x < kRoi.width; ++x) {
        xMap.push_back(static_cast<Ipp32f>(x) * 0.9f + static_cast<Ipp32f>(y) * 0.05f);
        yMap.push_back(static_cast<Ipp32f>(y) * 0.95f + 1.5f);
      }
  return {
      {"copy C3", 3, oneSource(ippiCopy_8u_C3R)},
      {"mirror C3 vertical", 3, oneSource(ippiMirror_8u_C3R, ippAxsVertical)},
      {"mirror C4 both", 4, oneSource(ippiMirror_8u_C4R, ippAxsBoth)},
      {"threshold C3", 3, oneSource(ippiThreshold_LTValGTVal_8u_C3R, lt, vlt, gt, vgt)},
      {"colour twist AC4", 4, oneSource(ippiColorTwist32f_8u_AC4R, twist)},
      {"divide C3 (zero divisors)", 3, twoSources(ippiDiv_8u_C3RSfs, 0)},
      {"alpha over", 4, twoSources(ippiAlphaComp_8u_AC4R, ippAlphaOver)},
      {"remap C3 linear", 3,
       [](Buffers& f) {
         return ippiRemap_8u_C3R(f.a.data(), kRoi, f.step, {0, 0, kRoi.width, kRoi.height}, xMap.data(),
                                 kRoi.width * 4, yMap.data(), kRoi.width * 4, f.dst.data(), f.step, kRoi,
                                 IPPI_INTER_LINEAR);
       }},
  };
}

TEST(IppThreads, SplitCallsMatchTheSingleThreadedResult) {
  for (const Case& c : Cases()) {
    Buffers one(c.pixelBytes, 5), split(c.pixelBytes, 5);
    IppStatus st1, st2;
    {
      ThreadsScope scope(1);
      st1 = c.call(one);
    }
    {
      ThreadsScope scope(3);
      ASSERT_EQ(ippGetNumThreads(), 3);
      st2 = c.call(split);
    }
    EXPECT_EQ(st1, st2) << c.name;
    EXPECT_TRUE(one.dst == split.dst) << c.name;
  }
}

TEST(IppThreads, CallsFromSeveralThreadsWhileTheCountChanges) {
  ThreadsScope scope(2);
  std::vector<Buffers> expected;
  const std::vector<Case> cases = Cases();
  for (const Case& c : cases) {
    expected.emplace_back(c.pixelBytes, 9);
    ThreadsScope single(1);
    c.call(expected.back());
  }
  std::atomic<bool> done{false};
  std::atomic<int> mismatches{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 3; ++t)
    callers.emplace_back([&, t] {
      for (int round = 0; round < 6; ++round) {
        const std::size_t k = static_cast<std::size_t>(t + round) % cases.size();
        Buffers f(cases[k].pixelBytes, 9);
        cases[k].call(f);
        if (f.dst != expected[k].dst) ++mismatches;
      }
    });
  std::thread changer([&] {
    for (int n = 0; !done.load(); n = (n + 1) % 4) {
      ippSetNumThreads(n + 1);
      std::this_thread::yield();
    }
  });
  for (auto& c : callers) c.join();
  done = true;
  changer.join();
  EXPECT_EQ(mismatches.load(), 0);
}

} // namespace
} // namespace fqipptest
