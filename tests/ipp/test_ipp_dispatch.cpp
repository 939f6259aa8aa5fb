// labels: threaded
#include "ipptest.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include <unistd.h>

namespace fqipptest {
namespace {

TEST(Dispatch, SetTargetClampsToTheCpu) {
  TargetScope restore(ippGetTarget());
  const IppTarget best = ippGetBestTarget();
  for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, IppTarget::AVX2, IppTarget::AVX512}) {
    const IppTarget expected = targetAvailable(t) ? t : best;
    EXPECT_EQ(ippSetTarget(t), expected) << ippTargetName(t);
    EXPECT_EQ(ippGetTarget(), expected);
  }
  EXPECT_EQ(ippSetTarget(static_cast<IppTarget>(42)), best);
  EXPECT_STREQ(ippTargetName(IppTarget::AVX512), "avx512");
  EXPECT_STREQ(ippTargetName(static_cast<IppTarget>(42)), "unknown");
}

// FRAMQUIST_IPP_TARGET is read when the library loads, so it is checked in
// a child process: this same program, running only the test below.
TEST(Dispatch, EnvironmentPicksTheStartTarget) {
  if (const char* expected = std::getenv("FQ_IPP_EXPECTED_TARGET")) {
    EXPECT_STREQ(ippTargetName(ippGetTarget()), expected);
    return;
  }
  struct Case {
    const char* env;
    IppTarget expected;
  };
  const Case cases[] = {
      {"reference", IppTarget::Reference},
      {"PORTABLE", IppTarget::Portable},
      {"avx512", targetAvailable(IppTarget::AVX512) ? IppTarget::AVX512 : ippGetBestTarget()},
      {"nonsense", ippGetBestTarget()}};
  char self[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
  for (const Case& c : cases) {
    const std::string cmd = std::string("FRAMQUIST_IPP_TARGET=") + c.env +
                            " FQ_IPP_EXPECTED_TARGET=" + ippTargetName(c.expected) + " '" + self +
                            "' --gtest_filter=Dispatch.EnvironmentPicksTheStartTarget >/dev/null 2>&1";
    EXPECT_EQ(std::system(cmd.c_str()), 0) << c.env;
  }
}

// Switching targets while other threads mirror must never give a wrong
// result: each call runs with one complete kernel set.
TEST(Dispatch, SwitchingWhileRunningIsSafe) {
  TargetScope restore(ippGetTarget());
  std::mt19937 rng(1);
  const Image src = makeImage(3, {97, 13}, true, rng);
  Image expected = makeImage(3, src.roi, false, rng);
  ASSERT_EQ(ippiMirror_8u_C3R(src.at(), src.step, expected.at(), expected.step, src.roi, ippAxsBoth),
            ippStsNoErr);

  std::atomic<bool> stop{false};
  std::atomic<int> calls{0}, wrong{0};
  std::vector<std::thread> workers;
  for (int i = 0; i < 3; ++i)
    workers.emplace_back([&] {
      Image dst = expected;
      while (!stop.load()) {
        std::fill(dst.data.begin(), dst.data.end(), Ipp8u{0});
        ippiMirror_8u_C3R(src.at(), src.step, dst.at(), dst.step, src.roi, ippAxsBoth);
        if (dst.data != expected.data) ++wrong;
        ++calls;
      }
    });
  const std::vector<IppTarget> targets = availableTargets();
  for (std::size_t i = 0; calls.load() < 3000; ++i) ippSetTarget(targets[i % targets.size()]);
  stop = true;
  for (auto& w : workers) w.join();
  EXPECT_EQ(wrong.load(), 0);
}

} // namespace
} // namespace fqipptest
