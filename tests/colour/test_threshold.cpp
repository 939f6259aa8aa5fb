// labels: threaded
#include <gtest/gtest.h>

#include <cstring>

#include "filters/colour/fqthreshold.h"
#include "frame/fqendpoints.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

using Chain = test::FilterChain<TFQThreshold>;

struct Rule {
  TColor threshold, value;
  bool enabled;
};

// The rule worked byte by byte: colour byte k (red first) against pixel
// byte k; alpha untouched.
IFQImageBuffer Expected(const IFQImageBuffer& in, Rule top, Rule bottom) {
  return test::MapPixels(in, [&](std::vector<std::uint8_t>& px) {
    for (int k = 0; k < 3; ++k) {
      const int shift = 8 * k;
      if (bottom.enabled && px[k] < static_cast<int>((bottom.threshold >> shift) & 0xff))
        px[k] = static_cast<std::uint8_t>(bottom.value >> shift);
      else if (top.enabled && px[k] > static_cast<int>((top.threshold >> shift) & 0xff))
        px[k] = static_cast<std::uint8_t>(top.value >> shift);
    }
  });
}

void Apply(TFQThresholdValue& v, Rule r) {
  v.SetThreshold(r.threshold);
  v.SetValue(r.value);
  v.SetEnabled(r.enabled);
}

TEST(Threshold, DefaultsClipAbove128ToBlack) {
  Chain chain;
  auto in = IFQImageBuffer::Create(4, 1, vf24Bit);
  const std::uint8_t bytes[12] = {129, 128, 0, 255, 127, 1, 128, 129, 128, 0, 0, 0};
  std::memcpy(in.GetWritePointer(), bytes, sizeof bytes);
  const auto out = chain.Run(in);
  const std::uint8_t want[12] = {0, 128, 0, 0, 127, 1, 128, 0, 128, 0, 0, 0};
  EXPECT_EQ(std::memcmp(out.GetReadPointer(), want, sizeof want), 0);
}

struct Case {
  const char* name;
  Rule top, bottom;
};

// Per-channel levels, single rules, crossing levels and both rules off, on
// 24-bit, 32-bit and grey (which arrives as 24-bit) frames.
TEST(Threshold, RulesPerChannelOnEveryFormat) {
  const Case cases[] = {
      {"per channel", {FQRGB(200, 100, 50), FQRGB(1, 2, 3), true}, {FQRGB(20, 40, 60), FQRGB(7, 8, 9), true}},
      {"upper only", {FQRGB(90, 150, 30), FQRGB(250, 0, 77), true}, {FQRGB(255, 255, 255), 0, false}},
      {"lower only", {0, 0, false}, {FQRGB(90, 150, 30), FQRGB(11, 22, 33), true}},
      {"crossing", {FQRGB(50, 50, 50), FQRGB(255, 255, 255), true}, {FQRGB(200, 100, 10), 0, true}},
      {"both off", {0, 0, false}, {FQRGB(255, 255, 255), 0, false}},
  };
  for (TFQVideoFormat format : {vf24Bit, vf32Bit, vfGrey})
    for (const Case& c : cases) {
      Chain chain;
      Apply(chain.filter->ThresholdTop(), c.top);
      Apply(chain.filter->ThresholdBottom(), c.bottom);
      auto in = RandomFrame(67, 5, format, 11);
      const auto out = chain.Run(in);
      if (format == vfGrey) in.SetFormat(vf24Bit);
      std::string why;
      EXPECT_TRUE(SameFrame(out, Expected(in, c.top, c.bottom), &why))
          << c.name << " format " << int(format) << ": " << why;
    }
}

// The red byte of a colour goes with the first byte of each pixel, even
// though pixels store blue first.
TEST(Threshold, RedByteGoesWithFirstPixelByte) {
  Chain chain;
  Apply(chain.filter->ThresholdTop(), {FQRGB(10, 255, 255), FQRGB(99, 0, 0), true});
  auto in = IFQImageBuffer::Create(1, 1, vf32Bit);
  const std::uint8_t px[4] = {200, 200, 200, 42};
  std::memcpy(in.GetWritePointer(), px, 4);
  EXPECT_EQ(PixelAt(chain.Run(in), 0, 0), (std::vector<std::uint8_t>{99, 200, 200, 42}));
}

TEST(Threshold, SetThresholdCopiesTheRule) {
  TPWLock lock;
  TFQThresholdValueBottom rule(lock);
  Apply(rule, {FQRGB(1, 2, 3), FQRGB(4, 5, 6), false});
  Chain chain;
  chain.filter->SetThresholdTop(rule);
  EXPECT_EQ(chain.filter->ThresholdTop().GetThreshold(), FQRGB(1, 2, 3));
  EXPECT_EQ(chain.filter->ThresholdTop().GetValue(), FQRGB(4, 5, 6));
  EXPECT_FALSE(chain.filter->ThresholdTop().GetEnabled());
  rule.SetValue(0); // a copy, not a reference
  EXPECT_EQ(chain.filter->ThresholdTop().GetValue(), FQRGB(4, 5, 6));
}

// Another thread swaps whole rules while frames flow: each frame shows one
// rule or the other, never a mixture, and the last one set holds from the
// next frame.
TEST(Threshold, RuleSetFromAnotherThreadIsSeenWhole) {
  const Rule a = {FQRGB(60, 70, 80), FQRGB(255, 255, 255), true};
  const Rule b = {FQRGB(180, 20, 140), FQRGB(0, 9, 1), true};
  const Rule bottom = {0, 0, true};
  TPWLock lock;
  TFQThresholdValueTop ruleA(lock), ruleB(lock);
  Apply(ruleA, a);
  Apply(ruleB, b);
  Chain chain;
  chain.filter->SetThresholdTop(ruleA);
  const auto in = RandomFrame(96, 24, vf32Bit, 5);
  const auto wantA = Expected(in, a, bottom), wantB = Expected(in, b, bottom);
  EXPECT_EQ(test::MixedFrames(chain, in, 300,
                              [&](int i) { chain.filter->SetThresholdTop(i % 2 ? ruleA : ruleB); },
                              {wantA, wantB}),
            0);
  chain.filter->SetThresholdTop(ruleB);
  EXPECT_TRUE(SameFrame(chain.Run(in), wantB));
}

} // namespace
} // namespace framquist
