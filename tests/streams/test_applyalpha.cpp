#include <gtest/gtest.h>

#include "streams/fqapplyalpha.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;

struct Chain : test::CombineChain<TFQApplyAlpha> {
  Chain() : CombineChain("InputPin", "AlphaInputPin") {}
};

// Every pixel of out has main's colour and the alpha alphaOf gives.
template <class AlphaOf>
void ExpectApplied(const IFQImageBuffer& out, const IFQImageBuffer& main, AlphaOf alphaOf) {
  ASSERT_EQ(out.GetFormat(), vf32Bit);
  ASSERT_EQ(out.GetSize(), main.GetSize());
  for (int y = 0; y < out.GetHeight(); ++y)
    for (int x = 0; x < out.GetWidth(); ++x) {
      const auto px = PixelAt(out, x, y), colour = PixelAt(main, x, y);
      ASSERT_EQ(std::vector<std::uint8_t>(px.begin(), px.begin() + 3),
                std::vector<std::uint8_t>(colour.begin(), colour.begin() + 3))
          << x << "," << y;
      ASSERT_EQ(px[3], alphaOf(x, y)) << x << "," << y;
    }
}

TEST(ApplyAlpha, GreyLevelsBecomeTheAlpha) {
  Chain chain;
  const auto main = RandomFrame(19, 5, vf24Bit, 1), alpha = RandomFrame(19, 5, vfGrey, 2);
  ExpectApplied(chain.Run(main, alpha), main, [&](int x, int y) { return PixelAt(alpha, x, y)[0]; });
}

// The alpha frame's own alpha bytes, not its colour; where it reaches past
// the main picture it is not drawn.
TEST(ApplyAlpha, ThirtyTwoBitAlphaFramePassesItsAlpha) {
  Chain chain;
  const auto main = RandomFrame(6, 4, vf24Bit, 3), alpha = RandomFrame(8, 5, vf32Bit, 4);
  const auto out = chain.Run(main, alpha);
  ASSERT_EQ(out.GetSize(), (SIZE{8, 5}));
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) {
      const auto px = PixelAt(out, x, y), colour = PixelAt(main, x, y);
      EXPECT_EQ(std::vector<std::uint8_t>(px.begin(), px.begin() + 3), colour) << x << "," << y;
      EXPECT_EQ(px[3], PixelAt(alpha, x, y)[3]) << x << "," << y;
    }
  EXPECT_NE(PixelAt(out, 7, 4), PixelAt(alpha, 7, 4));
}

// Two 24-bit inputs: the stream announced downstream is 32-bit from the
// start, the alpha the grey of the alpha frame.
TEST(ApplyAlpha, OutputIsAnnouncedThirtyTwoBit) {
  Chain chain;
  const auto main = RandomFrame(7, 3, vf24Bit, 5), alpha = RandomFrame(7, 3, vf24Bit, 6);
  const auto out = chain.Run(main, alpha);
  EXPECT_EQ(chain.grabber->GetStreamInfo().Format, vf32Bit);
  EXPECT_GE(chain.grabber->GetStartCount(), 1);
  IFQImageBuffer grey;
  grey.Assign(alpha);
  grey.SetFormat(vfGrey);
  ExpectApplied(out, main, [&](int x, int y) { return PixelAt(grey, x, y)[0]; });
}

} // namespace
} // namespace framquist
