#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "frame/fqregistry.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

// source -> mirror -> grabber, driven the way applications drive it.
struct Chain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<TFQMirror> mirror = Make<TFQMirror>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Chain() {
    EXPECT_TRUE(source->OutputPin.Connect(mirror->InputPin));
    EXPECT_TRUE(mirror->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& frame) {
    if (!source->IsStreaming())
      source->StartStream(frame.GetWidth(), frame.GetHeight(), frame.GetFormat(), 400000);
    const long long before = grabber->GetFrameCount();
    EXPECT_TRUE(source->Push(frame));
    EXPECT_EQ(grabber->GetFrameCount(), before + 1);
    return grabber->GetLastFrame();
  }
};

// The expected flip, pixel by pixel; 32-bit frames keep each pixel's own
// fourth byte where it was.
IFQImageBuffer Expected(const IFQImageBuffer& in, TFQMirrorType type) {
  IFQImageBuffer out = IFQImageBuffer::Create(in.GetWidth(), in.GetHeight(), in.GetFormat());
  const int w = in.GetWidth(), h = in.GetHeight(), bpp = in.GetBytesPerPixel();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int sx = type == mtHorizontal ? x : w - 1 - x;
      const int sy = type == mtVertical ? y : h - 1 - y;
      auto px = PixelAt(in, sx, sy);
      if (bpp == 4) px[3] = PixelAt(in, x, y)[3];
      std::memcpy(out.GetModifyPointer() + static_cast<long>(y) * out.GetLineStep() + x * bpp, px.data(),
                  static_cast<size_t>(bpp));
    }
  return out;
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
    chain.mirror->SetMirrorType(type);
    const auto in = RandomFrame(c.width, c.height, c.format, 7u + type);
    const auto out = chain.Run(in);
    std::string why;
    EXPECT_TRUE(SameFrame(out, Expected(in, type), &why)) << "mode " << int(type) << ": " << why;
    EXPECT_TRUE(SameFrame(chain.Run(out), in, &why)) << "twice, mode " << int(type) << ": " << why;
  }
}

INSTANTIATE_TEST_SUITE_P(Frames, MirrorFormats,
                         ::testing::Values(MirrorCase{vfGrey, 37, 11}, MirrorCase{vf24Bit, 385, 289},
                                           MirrorCase{vf32Bit, 65, 3}, MirrorCase{vfGrey, 1, 9},
                                           MirrorCase{vf24Bit, 9, 1}, MirrorCase{vf32Bit, 1, 1}));

TEST(Mirror, DegenerateAxesLeaveTheFrameAlone) {
  Chain chain;
  const auto row = RandomFrame(17, 1, vf24Bit, 3);
  EXPECT_TRUE(SameFrame(chain.Run(row), row)); // mtHorizontal on height 1
  Chain vertical;
  vertical.mirror->SetMirrorType(mtVertical);
  const auto column = RandomFrame(1, 17, vf32Bit, 4);
  EXPECT_TRUE(SameFrame(vertical.Run(column), column));
}

TEST(Mirror, GreyStaysGreyAndSixteenBitArrivesAs24Bit) {
  Chain chain;
  chain.source->StartStream(8, 6, vf16Bit565, 400000);
  EXPECT_EQ(chain.grabber->GetStreamInfo().Format, vf24Bit); // announced as it will arrive
  auto in = RandomFrame(8, 6, vf16Bit565, 5);
  auto out = chain.Run(in);
  EXPECT_EQ(out.GetFormat(), vf24Bit);
  IFQImageBuffer in24;
  in24.Assign(in);
  in24.SetFormat(vf24Bit);
  EXPECT_TRUE(SameFrame(out, Expected(in24, mtHorizontal)));

  Chain grey;
  grey.source->StartStream(8, 6, vfGrey, 400000);
  EXPECT_EQ(grey.grabber->GetStreamInfo().Format, vfGrey);
  EXPECT_EQ(grey.Run(RandomFrame(8, 6, vfGrey, 6)).GetFormat(), vfGrey);
}

TEST(Mirror, InputFrameIsNeverChanged) {
  Chain chain;
  chain.mirror->SetMirrorType(mtBoth);
  const auto in = RandomFrame(33, 7, vf32Bit, 8);
  const auto copy = RandomFrame(33, 7, vf32Bit, 8);
  chain.Run(in);
  EXPECT_TRUE(SameFrame(in, copy));
}

TEST(Mirror, PropertyChangeTakesEffectFromTheNextFrame) {
  Chain chain;
  const auto in = RandomFrame(12, 5, vf24Bit, 9);
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(in, mtHorizontal)));
  chain.mirror->SetMirrorType(mtVertical);
  EXPECT_EQ(chain.mirror->GetMirrorType(), mtVertical);
  EXPECT_TRUE(SameFrame(chain.Run(in), Expected(in, mtVertical)));
  chain.mirror->SetMirrorType(static_cast<TFQMirrorType>(9)); // out of range clamps
  EXPECT_EQ(chain.mirror->GetMirrorType(), mtBoth);
}

TEST(Mirror, DisabledPassesFramesThrough) {
  Chain chain;
  chain.mirror->SetEnabled(false);
  const auto in = RandomFrame(12, 5, vf24Bit, 10);
  EXPECT_TRUE(SameFrame(chain.Run(in), in));
  // The enable pin switches it back on.
  TPWBoolSourcePin control(nullptr, "control");
  ASSERT_TRUE(control.Connect(chain.mirror->EnablePin));
  control.Send(true);
  EXPECT_TRUE(chain.mirror->GetEnabled());
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
