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
using test::SameFrame;

int NonZeroCells(const TFQRipple& r) {
  int n = 0;
  for (double v : r.GetCurrentWaves()) n += v != 0;
  return n;
}

TEST(Ripple, SettersClampAndPush) {
  auto r = Make<TFQRipple>();
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

using Chain = test::FilterChain<TFQRipple>;
using test::CountPixels;

// Drops a wave by hand, under the lock as the component's own rain does.
void Drop(TFQRipple& r, int x, int y, int radius, float depth) {
  TPWLockHold hold = r.GetLock().Write();
  r.DropAt(x, y, radius, depth);
}

TEST(Ripple, StillWaterPassesThePictureWithoutRemap) {
  Chain chain;
  chain.filter->Rain.SetEnabled(false);
  const IFQImageBuffer in = RandomFrame(23, 17, vf24Bit, 5);
  // The picture with a flat 127 shading in the fourth byte.
  const IFQImageBuffer still = test::MapPixels(test::Converted(in, vf32Bit), [](auto& px) { px[3] = 127; });
  for (int i = 0; i < 3; ++i) {
    std::string why;
    ASSERT_TRUE(SameFrame(chain.Run(in), still, &why)) << why;
  }
  EXPECT_EQ(chain.filter->GetRemapCount(), 0);

  Drop(*chain.filter, 11, 8, 6, 300.0f);
  chain.filter->SetInterpolationType(itNearestNeighbor);
  const IFQImageBuffer out = chain.Run(in);
  EXPECT_EQ(chain.filter->GetRemapCount(), 1);
  EXPECT_GT(CountPixels(out, [](const auto& p) { return p[3] != 127; }), 0); // shaded
  EXPECT_GT(CountPixels(out,
                        [&](const auto& p, int x, int y) { // moved
                          return !std::equal(p.begin(), p.begin() + 3, PixelAt(in, x, y).begin());
                        }),
            0);
}

TEST(Ripple, ShadingStaysInsideTheRegion) {
  Chain chain;
  chain.filter->Rain.SetEnabled(false);
  chain.filter->ROI.SetRect(0, 0, 10, 17);
  const IFQImageBuffer in = RandomFrame(23, 17, vf32Bit, 9);
  chain.Run(in); // starts the stream (and the field)
  Drop(*chain.filter, 12, 8, 8, 300.0f);
  const IFQImageBuffer out = chain.Run(in);
  EXPECT_GT(CountPixels(out, [](const auto& p, int x, int) { return x < 10 && p[3] != 127; }), 0);
  EXPECT_EQ(CountPixels(out, [](const auto& p, int x, int) { return x >= 10 && p[3] != 127; }), 0);
}

TEST(Ripple, GeneratesGreyShading) {
  test::GenChain<TFQRipple> chain(32, 24);
  chain.gen->Rain.SetEnabled(false);
  chain.gen->Start();
  chain.clock->Tick();
  const IFQImageBuffer flat = chain.grabber->GetLastFrame();
  ASSERT_EQ(flat.GetFormat(), vfGrey);
  EXPECT_EQ(CountPixels(flat, [](const auto& p) { return p[0] == 127; }), 32 * 24);
  Drop(*chain.gen, 16, 12, 5, 200.0f);
  chain.clock->Tick();
  // The slope from left to right: brighter where the surface falls to the right.
  const IFQImageBuffer frame = chain.grabber->GetLastFrame();
  EXPECT_GT(CountPixels(frame, [](const auto& p) { return p[0] < 127; }), 0);
  EXPECT_GT(CountPixels(frame, [](const auto& p) { return p[0] > 127; }), 0);
  chain.gen->Stop();
}

TEST(Ripple, PropertiesChangeWhileFramesFlow) {
  Chain chain;
  chain.filter->Rain.SetProbability(1);
  const IFQImageBuffer in = RandomFrame(48, 32, vf32Bit, 3);
  std::atomic<bool> done{false};
  std::thread setter([&] {
    unsigned i = 0;
    while (!done.load()) {
      ++i;
      chain.filter->SetDampingFactor(0.01f * static_cast<float>(i % 50));
      chain.filter->SetSmoothing(1 + i % 16);
      chain.filter->SetInterpolationType(static_cast<TFQInterpolationType>(i % 3));
      chain.filter->Rain.SetMinRadius(1 + i % 5);
      chain.filter->Rain.SetMaxRadius(1 + i % 9);
      chain.filter->Rain.SetMaxDepth(static_cast<float>(i % 400));
      chain.filter->Rain.SetNumDrops(1 + i % 3);
      chain.filter->Rain.SetEnabled(i % 7 != 0);
      chain.filter->ROI.SetRect(static_cast<int>(i % 20), 0, 30, 30);
    }
  });
  for (int f = 0; f < 150; ++f) {
    const IFQImageBuffer out = chain.Run(in);
    EXPECT_EQ(out.GetFormat(), vf32Bit);
    EXPECT_EQ(out.GetSize(), (SIZE{48, 32}));
    if (HasFailure()) break; // still join the setter below
  }
  done = true;
  setter.join();
  EXPECT_EQ(chain.grabber->GetFrameCount(), 150);
  EXPECT_LE(chain.filter->Rain.GetMinRadius(), chain.filter->Rain.GetMaxRadius());
}

} // namespace
} // namespace framquist
