#include <gtest/gtest.h>

#include "streams/fqapplyalpha.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

struct Chain : test::CombineChain<TFQApplyAlpha> {
  Chain() : CombineChain("InputPin", "AlphaInputPin") {}
};

// main's colours under the alpha grey's levels give, as a 32-bit frame.
IFQImageBuffer Applied(const IFQImageBuffer& main, const IFQImageBuffer& grey) {
  return test::MapPixels(test::Converted(main, vf32Bit),
                         [&](auto& px, int x, int y) { px[3] = PixelAt(grey, x, y)[0]; });
}

TEST(ApplyAlpha, GreyLevelsBecomeTheAlpha) {
  Chain chain;
  const auto main = RandomFrame(19, 5, vf24Bit, 1), alpha = RandomFrame(19, 5, vfGrey, 2);
  std::string why;
  EXPECT_TRUE(SameFrame(chain.Run(main, alpha), Applied(main, alpha), &why)) << why;
}

// The alpha frame's own alpha bytes, not its colour; where it reaches past
// the main picture it is not drawn.
TEST(ApplyAlpha, ThirtyTwoBitAlphaFramePassesItsAlpha) {
  Chain chain;
  const auto main = RandomFrame(6, 4, vf24Bit, 3), alpha = RandomFrame(8, 5, vf32Bit, 4);
  const auto out = chain.Run(main, alpha);
  ASSERT_EQ(out.GetSize(), (SIZE{8, 5}));
  EXPECT_EQ(test::CountPixels(out,
                              [&](const auto& px, int x, int y) {
                                if (x >= 6 || y >= 4) return false;
                                auto want = PixelAt(main, x, y);
                                want.push_back(PixelAt(alpha, x, y)[3]);
                                return px != want;
                              }),
            0);
  EXPECT_NE(PixelAt(out, 7, 4), PixelAt(alpha, 7, 4));
}

// Two 24-bit inputs: the stream announced downstream is 32-bit from the
// start, the alpha the grey of the alpha frame.
TEST(ApplyAlpha, OutputIsAnnouncedThirtyTwoBit) {
  Chain chain;
  const auto main = RandomFrame(7, 3, vf24Bit, 5), alpha = RandomFrame(7, 3, vf24Bit, 6);
  const auto out = chain.Run(main, alpha);
  EXPECT_EQ(chain.grabber->GetStreamInfo().Format, vf32Bit);
  EXPECT_TRUE(SameFrame(out, Applied(main, test::Converted(alpha, vfGrey))));
}

} // namespace
} // namespace framquist
