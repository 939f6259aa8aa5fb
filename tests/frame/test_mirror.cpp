#include <gtest/gtest.h>

#include <algorithm>

#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "frame/fqregistry.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;
using Chain = test::FilterChain<TFQMirror>;

// The expected flip, pixel by pixel; 32-bit frames keep each pixel's own
// fourth byte where it was.
IFQImageBuffer Expected(const IFQImageBuffer& in, TFQMirrorType type) {
  const int w = in.GetWidth(), h = in.GetHeight();
  return test::MapPixels(in, [&](std::vector<std::uint8_t>& px, int x, int y) {
    auto from = PixelAt(in, type == mtHorizontal ? x : w - 1 - x, type == mtVertical ? y : h - 1 - y);
    if (px.size() == 4) from[3] = px[3];
    px = from;
  });
}

struct MirrorCase {
  TFQVideoFormat format;
  int width, height;
};

class MirrorFormats : public ::testing::TestWithParam<MirrorCase> {};

TEST_P(MirrorFormats, EveryModeFlipsAndTwiceIsIdentity) {
  const MirrorCase c = GetParam();
  for (TFQMirrorType type : {mtHorizontal, mtVertical, mtBoth}) {
    Chain chain;
    chain.filter->SetMirrorType(type);
    const auto in = RandomFrame(c.width, c.height, c.format, 7u + type);
    const auto out = chain.Run(in);
    std::string why;
    EXPECT_TRUE(SameFrame(out, Expected(in, type), &why)) << "mode " << int(type) << ": " << why;
    EXPECT_TRUE(SameFrame(in, RandomFrame(c.width, c.height, c.format, 7u + type))) << "input changed";
    EXPECT_TRUE(SameFrame(chain.Run(out), in, &why)) << "twice, mode " << int(type) << ": " << why;
  }
}

INSTANTIATE_TEST_SUITE_P(Frames, MirrorFormats,
                         ::testing::Values(MirrorCase{vfGrey, 37, 11}, MirrorCase{vf24Bit, 385, 289},
                                           MirrorCase{vf32Bit, 65, 3}, MirrorCase{vfGrey, 1, 9},
                                           MirrorCase{vf24Bit, 9, 1}, MirrorCase{vf32Bit, 1, 1}));

TEST(Mirror, GreyStaysGreyAndSixteenBitArrivesAs24Bit) {
  Chain chain;
  chain.source->StartStream(8, 6, vf16Bit565, 400000);
  EXPECT_EQ(chain.grabber->GetStreamInfo().Format, vf24Bit); // announced as it will arrive
  const auto in = RandomFrame(8, 6, vf16Bit565, 5);
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(test::Converted(in, vf24Bit), mtHorizontal)));

  Chain grey;
  grey.source->StartStream(8, 6, vfGrey, 400000);
  EXPECT_EQ(grey.grabber->GetStreamInfo().Format, vfGrey);
  EXPECT_EQ(grey.Run(RandomFrame(8, 6, vfGrey, 6)).GetFormat(), vfGrey);
}

TEST(Mirror, PropertyChangeTakesEffectFromTheNextFrame) {
  Chain chain;
  const auto in = RandomFrame(12, 5, vf24Bit, 9);
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(in, mtHorizontal)));
  chain.filter->SetMirrorType(mtVertical);
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(in, mtVertical)));
  chain.filter->SetMirrorType(static_cast<TFQMirrorType>(9)); // out of range clamps
  EXPECT_EQ(chain.filter->GetMirrorType(), mtBoth);
}

TEST(Mirror, DisabledPassesFramesThrough) {
  Chain chain;
  chain.filter->SetEnabled(false);
  const auto in = RandomFrame(12, 5, vf24Bit, 10);
  EXPECT_TRUE(SameFrame(chain.Run(in), in));
  // The enable pin switches it back on.
  TPWBoolSourcePin control(nullptr, "control");
  ASSERT_TRUE(control.Connect(chain.filter->EnablePin));
  control.Send(true);
  EXPECT_TRUE(chain.filter->GetEnabled());
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(in, mtHorizontal)));
}

TEST(Registry, EveryRegisteredClassIsCreatedByItsName) {
  Initialize();
  const auto classes = TFQRegistry::List();
  ASSERT_FALSE(classes.empty());
  for (const auto& info : classes) {
    auto component = TFQRegistry::Create(info.ClassName);
    ASSERT_NE(component, nullptr) << info.ClassName;
    EXPECT_EQ(component->GetClassName(), info.ClassName);
    EXPECT_EQ(info.Page, "Framquist");
  }
  EXPECT_TRUE(TFQRegistry::Contains("TFQMirror"));
  EXPECT_EQ(TFQRegistry::Create("TFQNoSuchThing"), nullptr);
  Initialize(); // counted: one Finalize does not remove the classes
  Finalize();
  EXPECT_TRUE(TFQRegistry::Contains("TFQMirror"));
  Finalize();
  EXPECT_FALSE(TFQRegistry::Contains("TFQMirror"));
  const auto& units = GetPackageInfoTable();
  EXPECT_TRUE(std::any_of(units.begin(), units.end(),
                          [](const TFQPackageUnit& u) { return std::string(u.Name) == "Fqmirror"; }));
}

} // namespace
} // namespace framquist
