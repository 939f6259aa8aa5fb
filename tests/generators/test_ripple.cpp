// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "frame/fqendpoints.h"
#include "generators/fqripple.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;

int NonZeroCells(const TFQRipple& r) {
  int n = 0;
  for (double v : r.GetCurrentWaves()) n += v != 0;
  return n;
}

TEST(Ripple, SettersClampAndPush) {
  auto r = Make<TFQRipple>();
  EXPECT_FLOAT_EQ(r->GetDampingFactor(), 0.07f);
  EXPECT_EQ(r->GetSmoothing(), 8u);
  EXPECT_EQ(r->GetInterpolationType(), itCubic);
  r->SetDampingFactor(0.0f);
  EXPECT_FLOAT_EQ(r->GetDampingFactor(), 1e-6f);
  r->SetDampingFactor(3.0f);
  EXPECT_FLOAT_EQ(r->GetDampingFactor(), 1.0f);
  r->SetSmoothing(0);
  EXPECT_EQ(r->GetSmoothing(), 1u);

  TFQRain& rain = r->Rain;
  rain.SetMinRadius(0);
  EXPECT_EQ(rain.GetMinRadius(), 1u);
  rain.SetMinRadius(30); // pushes MaxRadius (20) up
  EXPECT_EQ(rain.GetMaxRadius(), 30u);
  rain.SetMaxRadius(5); // pulls MinRadius down
  EXPECT_EQ(rain.GetMinRadius(), 5u);
  rain.SetMaxDepth(10.0f);
  EXPECT_FLOAT_EQ(rain.GetMinDepth(), 10.0f);
  rain.SetMinDepth(70.0f);
  EXPECT_FLOAT_EQ(rain.GetMaxDepth(), 70.0f);
  rain.SetProbability(0);
  EXPECT_EQ(rain.GetProbability(), 1u);
}

TEST(Ripple, NumDropsSetsProbability) {
  auto r = Make<TFQRipple>();
  r->Rain.SetNumDrops(5);
  EXPECT_EQ(r->Rain.GetProbability(), 5u);
  EXPECT_EQ(r->Rain.GetNumDrops(), 1u);
  r->Rain.SetNumDrops(0);
  EXPECT_EQ(r->Rain.GetProbability(), 1u);
  // Loading NumDrops goes through the same setter.
  const TPWPropertyList props = PWDeclaredProperties(r->Rain);
  props.Find("NumDrops")->Set(TPWValue{std::int64_t{7}});
  EXPECT_EQ(r->Rain.GetProbability(), 7u);
  EXPECT_EQ(r->Rain.GetNumDrops(), 1u);
}

TEST(Ripple, DepthStreamsAsAList) {
  auto r = Make<TFQRipple>();
  EXPECT_FALSE(PWDefinedProperties(r->Rain).Find("Depth")->HasData); // defaults are not stored
  r->Rain.SetMaxDepth(250.5f);
  r->Rain.SetMinDepth(12.25f);
  const TPWFiler filer = PWDefinedProperties(r->Rain);
  const TPWExtraProperty* depth = filer.Find("Depth");
  ASSERT_NE(depth, nullptr);
  EXPECT_TRUE(depth->HasData);
  TPWWriter w;
  depth->Write(w);
  ASSERT_EQ(w.Items().size(), 4u);
  EXPECT_EQ(w.Items()[0].Kind, TPWStreamItem::ListBegin);
  EXPECT_EQ(w.Items()[1].FloatValue, 12.25);
  EXPECT_EQ(w.Items()[2].FloatValue, 250.5);
  EXPECT_EQ(w.Items()[3].Kind, TPWStreamItem::ListEnd);
  EXPECT_EQ(PWDeclaredProperties(r->Rain).Find("MinDepth"), nullptr);

  auto back = Make<TFQRipple>();
  TPWReader reader(w.Items());
  PWDefinedProperties(back->Rain).Find("Depth")->Read(reader);
  EXPECT_FLOAT_EQ(back->Rain.GetMinDepth(), 12.25f);
  EXPECT_FLOAT_EQ(back->Rain.GetMaxDepth(), 250.5f);
}

TEST(Ripple, DropsLandOnTheBorderedGrid) {
  auto r = Make<TFQRipple>();
  r->InitWave(5, 4);
  const int row = 7;
  r->DropAt(2, 3, 1, 100.0f); // radius 1: only d = 0 is inside
  EXPECT_TRUE(r->IsActive());
  EXPECT_EQ(NonZeroCells(*r), 1);
  EXPECT_DOUBLE_EQ(r->GetCurrentWaves()[2 + 3 * row], -100.0);
  // Radius 2: the centre and its four edge neighbours (d = 1 < 2), with
  // -Depth cos(pi / 2) there; overwritten, not added.
  r->DropAt(2, 3, 2, 50.0f);
  EXPECT_DOUBLE_EQ(r->GetCurrentWaves()[2 + 3 * row], -50.0);
  EXPECT_NEAR(r->GetCurrentWaves()[3 + 3 * row], 0.0, 1e-12);
  // The last column and row still count (px <= Width), beyond them nothing.
  r->InitWave(5, 4);
  r->DropAt(5, 4, 1, 10.0f);
  r->DropAt(6, 4, 1, 10.0f);
  r->DropAt(-1, 0, 1, 10.0f);
  EXPECT_EQ(NonZeroCells(*r), 1);
  EXPECT_DOUBLE_EQ(r->GetCurrentWaves()[5 + 4 * row], -10.0);
}

TEST(Ripple, WaveStepAndDamping) {
  auto r = Make<TFQRipple>();
  r->Rain.SetEnabled(false);
  r->SetDampingFactor(0.5f);
  r->InitWave(5, 5);
  const int row = 7, c = 3 + 3 * row;
  r->DropAt(3, 3, 1, 36.0f); // cell (3, 3) = -36
  r->ProcessWaves();
  const auto& w = r->GetCurrentWaves();
  EXPECT_DOUBLE_EQ(w[c], 0.0);                   // its own neighbours were flat
  EXPECT_DOUBLE_EQ(w[c + 1], -36.0 / 3.6 * 0.5); // edge neighbour
  EXPECT_DOUBLE_EQ(w[c + row + 1], -0.6 * 36.0 / 3.6 * 0.5);
  EXPECT_EQ(NonZeroCells(*r), 8);
  EXPECT_TRUE(r->IsActive());

  // Damping 1 kills every wave in one step; the next step finds still water.
  r->SetDampingFactor(1.0f);
  r->ProcessWaves();
  EXPECT_EQ(NonZeroCells(*r), 0);
  EXPECT_TRUE(r->IsActive());
  r->ProcessWaves(); // the older buffer still held the drop
  r->ProcessWaves();
  EXPECT_FALSE(r->IsActive());
  for (int i = 0; i < 7; ++i) EXPECT_EQ(r->GetCurrentWaves()[i], 0.0); // the border stays 0
}

TEST(Ripple, RainWithEqualRadiiDropsThatRadius) {
  auto r = Make<TFQRipple>();
  r->Rain.SetProbability(1); // a drop every step
  r->Rain.SetMaxRadius(1);
  r->Rain.SetMinDepth(100.0f);
  r->Rain.SetMaxDepth(100.0f);
  r->InitWave(40, 30);
  r->ProcessWaves();
  // One cell of radius 1 was dropped, then spread to at most its 8 neighbours.
  EXPECT_GT(NonZeroCells(*r), 0);
  EXPECT_LE(NonZeroCells(*r), 8);
  r->Rain.SetEnabled(false);
  r->InitWave(40, 30);
  r->ProcessWaves();
  EXPECT_EQ(NonZeroCells(*r), 0);
  EXPECT_FALSE(r->IsActive());
}

struct Chain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<TFQRipple> ripple = Make<TFQRipple>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Chain() {
    EXPECT_TRUE(source->OutputPin.Connect(ripple->InputPin));
    EXPECT_TRUE(ripple->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& frame) {
    if (!source->IsStreaming())
      source->StartStream(frame.GetWidth(), frame.GetHeight(), frame.GetFormat(), 400000);
    EXPECT_TRUE(source->Push(frame));
    return grabber->GetLastFrame();
  }
};

TEST(Ripple, StillWaterPassesThePictureWithoutRemap) {
  Chain chain;
  chain.ripple->Rain.SetEnabled(false);
  const IFQImageBuffer in = RandomFrame(23, 17, vf24Bit, 5);
  for (int i = 0; i < 3; ++i) {
    const IFQImageBuffer out = chain.Run(in);
    ASSERT_EQ(out.GetFormat(), vf32Bit);
    for (int y = 0; y < 17; ++y)
      for (int x = 0; x < 23; ++x) {
        const auto p = PixelAt(out, x, y), q = PixelAt(in, x, y);
        ASSERT_EQ(p, (std::vector<std::uint8_t>{q[0], q[1], q[2], 127})) << x << "," << y;
      }
  }
  EXPECT_EQ(chain.ripple->GetRemapCount(), 0);

  {
    TPWLockHold hold = chain.ripple->GetLock().Write();
    chain.ripple->DropAt(11, 8, 6, 300.0f);
  }
  chain.ripple->SetInterpolationType(itNearestNeighbor);
  const IFQImageBuffer out = chain.Run(in);
  EXPECT_EQ(chain.ripple->GetRemapCount(), 1);
  int shaded = 0, moved = 0;
  for (int y = 0; y < 17; ++y)
    for (int x = 0; x < 23; ++x) {
      const auto p = PixelAt(out, x, y);
      shaded += p[3] != 127;
      // Nearest sampling: every colour is some input pixel's colour.
      const auto q = PixelAt(in, x, y);
      moved += !(p[0] == q[0] && p[1] == q[1] && p[2] == q[2]);
    }
  EXPECT_GT(shaded, 0);
  EXPECT_GT(moved, 0);
}

TEST(Ripple, ShadingStaysInsideTheRegion) {
  Chain chain;
  chain.ripple->Rain.SetEnabled(false);
  chain.ripple->ROI.SetRect(0, 0, 10, 17);
  const IFQImageBuffer in = RandomFrame(23, 17, vf32Bit, 9);
  chain.Run(in); // starts the stream (and the field)
  {
    TPWLockHold hold = chain.ripple->GetLock().Write();
    chain.ripple->DropAt(12, 8, 8, 300.0f);
  }
  const IFQImageBuffer out = chain.Run(in);
  int inside = 0;
  for (int y = 0; y < 17; ++y)
    for (int x = 0; x < 23; ++x) {
      const auto p = PixelAt(out, x, y);
      if (x >= 10) {
        ASSERT_EQ(p[3], 127) << x << "," << y;
      } else {
        inside += p[3] != 127;
      }
    }
  EXPECT_GT(inside, 0);
}

TEST(Ripple, GeneratesGreyShading) {
  auto clock = Make<TFQTickClock>();
  auto ripple = Make<TFQRipple>();
  auto grabber = Make<TFQImageGrabber>();
  clock->OutputPin.Connect(ripple->ClockPin);
  ripple->OutputPin.Connect(grabber->InputPin);
  ripple->SetImageSize(32, 24);
  ripple->Rain.SetEnabled(false);
  ripple->Start();
  clock->Tick();
  IFQImageBuffer frame = grabber->GetLastFrame();
  ASSERT_EQ(frame.GetFormat(), vfGrey);
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 32; ++x) ASSERT_EQ(PixelAt(frame, x, y)[0], 127);
  {
    TPWLockHold hold = ripple->GetLock().Write();
    ripple->DropAt(16, 12, 5, 200.0f);
  }
  clock->Tick();
  frame = grabber->GetLastFrame();
  // The slope from left to right: brighter where the surface falls to the right.
  int darker = 0, brighter = 0;
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 32; ++x) {
      const int v = PixelAt(frame, x, y)[0];
      darker += v < 127;
      brighter += v > 127;
    }
  EXPECT_GT(darker, 0);
  EXPECT_GT(brighter, 0);
  ripple->Stop();
}

TEST(Ripple, PropertiesChangeWhileFramesFlow) {
  Chain chain;
  chain.ripple->Rain.SetProbability(1);
  const IFQImageBuffer in = RandomFrame(48, 32, vf32Bit, 3);
  std::atomic<bool> done{false};
  std::thread setter([&] {
    unsigned i = 0;
    while (!done.load()) {
      ++i;
      chain.ripple->SetDampingFactor(0.01f * static_cast<float>(i % 50));
      chain.ripple->SetSmoothing(1 + i % 16);
      chain.ripple->SetInterpolationType(static_cast<TFQInterpolationType>(i % 3));
      chain.ripple->Rain.SetMinRadius(1 + i % 5);
      chain.ripple->Rain.SetMaxRadius(1 + i % 9);
      chain.ripple->Rain.SetMaxDepth(static_cast<float>(i % 400));
      chain.ripple->Rain.SetNumDrops(1 + i % 3);
      chain.ripple->Rain.SetEnabled(i % 7 != 0);
      chain.ripple->ROI.SetRect(static_cast<int>(i % 20), 0, 30, 30);
    }
  });
  for (int f = 0; f < 150; ++f) {
    const IFQImageBuffer out = chain.Run(in);
    EXPECT_EQ(out.GetFormat(), vf32Bit);
    EXPECT_EQ(out.GetSize(), (SIZE{48, 32}));
    if (HasFailure()) break;
  }
  done = true;
  setter.join();
  EXPECT_EQ(chain.grabber->GetFrameCount(), 150);
  EXPECT_LE(chain.ripple->Rain.GetMinRadius(), chain.ripple->Rain.GetMaxRadius());
}

} // namespace
} // namespace framquist
