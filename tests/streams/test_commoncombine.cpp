// How two pictures are laid out into one frame.
#include <gtest/gtest.h>

#include "streams/fqcombine.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using Bytes = std::vector<std::uint8_t>;

IFQImageBuffer Solid(int w, int h, TFQVideoFormat format, std::uint8_t level) {
  return test::SolidFrame(w, h, format, FQRGB(level, level, level) | 0xff000000u);
}

// Combine adds the overlap, so picture 1 (10), picture 2 (100) and the
// overlap (110) tell apart at a glance.
struct Rig : test::CombineChain<TFQCombine> {
  Rig() : CombineChain("InputPins[0]", "InputPins[1]") {}
  IFQImageBuffer Run(int w1, int h1, int w2, int h2, TFQVideoFormat format = vf24Bit) {
    return CombineChain::Run(Solid(w1, h1, format, 10), Solid(w2, h2, format, 100));
  }
};

// The level of each column of row y (first byte of each pixel).
Bytes Row(const IFQImageBuffer& f, int y) {
  Bytes row;
  for (int x = 0; x < f.GetWidth(); ++x) row.push_back(PixelAt(f, x, y)[0]);
  return row;
}

// Picture 2's size is unknown (0 x 0) until its input starts: apart, no
// size yet; once it starts, the pictures touch through a zero-wide overlap.
TEST(CommonCombine, TouchingPicturesLieSideBySideOnceTheLateInputJoins) {
  Rig rig;
  rig.combiner->Offset.SetHorizontal(8); // picture 1 starts where picture 2 ends
  rig.source1->StartStream(6, 4, vf24Bit, 400000);
  EXPECT_EQ(rig.grabber->GetStreamInfo().Width, 0);
  rig.source2->StartStream(8, 4, vf24Bit, 400000);
  EXPECT_EQ(rig.grabber->GetStreamInfo().Width, 14);
  const IFQImageBuffer out = rig.Run(6, 4, 8, 4);
  ASSERT_EQ(out.GetSize(), (SIZE{14, 4}));
  EXPECT_TRUE(rig.combiner->GetOverlapping()); // touching counts as overlapping
  const Bytes expected = {100, 100, 100, 100, 100, 100, 100, 100, 10, 10, 10, 10, 10, 10};
  for (int y = 0; y < 4; ++y) EXPECT_EQ(Row(out, y), expected);
}

TEST(CommonCombine, SeparatePicturesOnAFreshComponentGiveAnEmptyOutput) {
  Rig rig;
  rig.combiner->Offset.SetHorizontal(9);
  const IFQImageBuffer out = rig.Run(6, 4, 8, 4);
  EXPECT_FALSE(rig.combiner->GetOverlapping());
  EXPECT_EQ(out.GetSize(), (SIZE{0, 0}));
  EXPECT_EQ(rig.grabber->GetStreamInfo().Width, 0);
}

TEST(CommonCombine, SeparatePicturesKeepTheOutputOfTheLastOverlap) {
  Rig rig;
  rig.combiner->Offset.SetHorizontal(2);
  ASSERT_EQ(rig.Run(6, 4, 8, 4).GetSize(), (SIZE{8, 4}));
  rig.combiner->Offset.SetHorizontal(-10); // picture 2 starts 10 right of picture 1
  const IFQImageBuffer out = rig.Run(6, 4, 8, 4);
  ASSERT_EQ(out.GetSize(), (SIZE{8, 4}));
  // Picture 1 at 0 (6 wide), background, picture 2 would start at 10: hidden.
  EXPECT_EQ(Row(out, 0), (Bytes{10, 10, 10, 10, 10, 10, 0, 0}));
}

TEST(CommonCombine, IntersectKeepsItsSizeWhenTheOffsetChangesWhileRunning) {
  Rig rig;
  rig.combiner->FrameSize.SetSizeMode(smIntersect);
  rig.combiner->Offset.SetHorizontal(10);
  IFQImageBuffer out = rig.Run(32, 2, 32, 2);
  ASSERT_EQ(out.GetSize(), (SIZE{22, 2}));
  EXPECT_EQ(Row(out, 0), Bytes(22, 110));
  const int starts = rig.grabber->GetStartCount();

  rig.combiner->Offset.SetHorizontal(12);
  EXPECT_FALSE(rig.combiner->GetPanesValid());
  out = rig.Run(32, 2, 32, 2);
  ASSERT_EQ(out.GetSize(), (SIZE{22, 2})); // fixed at start
  Bytes expected(12, 100);                 // picture 2's left band
  expected.resize(22, 110);                // the overlap, cut at the right
  EXPECT_EQ(Row(out, 1), expected);
  EXPECT_EQ(rig.grabber->GetStartCount(), starts);
}

TEST(CommonCombine, EverySetterCallLaysOutAgainEvenWithTheSameValue) {
  Rig rig;
  rig.Run(8, 8, 8, 8);
  ASSERT_TRUE(rig.combiner->GetPanesValid());
  rig.combiner->Offset.SetHorizontal(rig.combiner->Offset.GetHorizontal());
  EXPECT_FALSE(rig.combiner->GetPanesValid());
  rig.Run(8, 8, 8, 8);
  rig.combiner->FrameSize.SetWidth(rig.combiner->FrameSize.GetWidth());
  EXPECT_FALSE(rig.combiner->GetPanesValid());
}

TEST(CommonCombine, CornersNeitherPictureCoversShowTheBackgroundInEachFormat) {
  struct Case {
    TFQVideoFormat format;
    Bytes pixel;
  };
  // Bits 16-23 first, then 8-15, 0-7 and alpha; grey takes the first byte only.
  for (const Case& c :
       {Case{vf24Bit, {0x11, 0x22, 0x33}}, Case{vf32Bit, {0x11, 0x22, 0x33, 0x44}}, Case{vfGrey, {0x11}}}) {
    Rig rig;
    rig.combiner->SetBackgroundColor(0x44112233u);
    rig.combiner->Offset.SetHorizontal(2);
    rig.combiner->Offset.SetVertical(2);
    const IFQImageBuffer out = rig.Run(8, 8, 8, 8, c.format);
    ASSERT_EQ(out.GetSize(), (SIZE{10, 10}));
    EXPECT_EQ(PixelAt(out, 9, 0), c.pixel) << int(c.format);
    EXPECT_EQ(PixelAt(out, 0, 9), c.pixel) << int(c.format);
    EXPECT_EQ(PixelAt(out, 0, 0)[0], 100); // picture 2's corner
    EXPECT_EQ(PixelAt(out, 9, 9)[0], 10);  // picture 1's corner
    EXPECT_EQ(PixelAt(out, 5, 5)[0], 110);
  }
}

TEST(CommonCombine, CustomSizeBeyondTheLayoutLeavesTheRestBlankAndSmallerCrops) {
  Rig rig;
  rig.combiner->FrameSize.SetSizeMode(smCustom);
  rig.combiner->FrameSize.SetWidth(12);
  rig.combiner->FrameSize.SetHeight(10);
  IFQImageBuffer out = rig.Run(8, 8, 8, 8);
  ASSERT_EQ(out.GetSize(), (SIZE{12, 10}));
  EXPECT_EQ(Row(out, 0), (Bytes{110, 110, 110, 110, 110, 110, 110, 110, 0, 0, 0, 0}));
  EXPECT_EQ(Row(out, 9), Bytes(12, 0));

  Rig small;
  small.combiner->FrameSize.SetSizeMode(smCustom);
  small.combiner->FrameSize.SetWidth(5);
  small.combiner->FrameSize.SetHeight(3);
  small.combiner->Offset.SetHorizontal(-3); // picture 1 sticks out 3 to the left
  out = small.Run(8, 8, 8, 8);
  ASSERT_EQ(out.GetSize(), (SIZE{5, 3}));
  EXPECT_EQ(Row(out, 2), (Bytes{10, 10, 10, 110, 110}));
  EXPECT_EQ(small.combiner->GetPane(2, 3).PicToShow, psNone);
}

TEST(CommonCombine, AStoppedInputIsReplacedByTheBackground) {
  Rig rig;
  rig.combiner->SetBackgroundColor(FQRGB(5, 5, 5));
  rig.Run(4, 4, 4, 4);
  rig.source2->StopStream();
  const long long before = rig.grabber->GetFrameCount();
  rig.source1->Push(Solid(4, 4, vf24Bit, 10));
  EXPECT_EQ(rig.grabber->GetFrameCount(), before + 1);
  EXPECT_EQ(Row(rig.grabber->GetLastFrame(), 0), Bytes(4, 15)); // 10 + background 5
}

} // namespace
} // namespace framquist
