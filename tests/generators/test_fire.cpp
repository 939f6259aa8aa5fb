// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "frame/fqendpoints.h"
#include "generators/fqfire.h"
#include "pinweave/pwlock.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

struct Sim {
  TPWLock lock;
  TZNFireSimulator sim{lock};
  TPWLockHold hold = lock.Write(); // the operations expect the lock held
};

TEST(FireSimulator, PerRowDecayFollowsTheHeight) {
  Sim s;
  s.sim.SetDecay(7);
  s.sim.InitFire(8, 100);
  EXPECT_FLOAT_EQ(s.sim.DecayFactor(), 7.0f);
  s.sim.InitFire(8, 1000);
  EXPECT_NEAR(s.sim.DecayFactor(), 0.0f, 1e-6f);
  s.sim.InitFire(8, 2000);
  EXPECT_LT(s.sim.DecayFactor(), -2.0f); // the fire grows upward; kept as is
}

// At height 1000 nothing decays and, without drift, every row takes the
// row below it unchanged (cold cells stay 16).
TEST(FireSimulator, NoDecayAtHeight1000MovesRowsUp) {
  Sim s;
  s.sim.SetDistribution(0);
  s.sim.SetIgnitionPeriod(0);
  s.sim.InitFire(6, 1000);
  for (int y = 0; y < 1000; ++y)
    for (int x = 0; x < 6; ++x) s.sim.HeatRow(y)[x] = static_cast<std::uint8_t>(16 + (3 * x + y) % 200);
  std::vector<std::uint8_t> before(6 * 1000);
  for (int y = 0; y < 1000; ++y) std::memcpy(&before[6 * y], s.sim.HeatRow(y), 6);
  s.sim.Render();
  for (int y = 1; y < 999; ++y)
    for (int x = 0; x < 6; ++x) ASSERT_EQ(s.sim.HeatRow(y - 1)[x], before[6 * y + x]) << x << "," << y;
}

TEST(FireSimulator, ZeroSpanBurnsNothing) {
  Sim s;
  s.sim.SetLeftOffset(6);
  s.sim.SetRightOffset(6);
  s.sim.InitFire(10, 40);
  EXPECT_EQ(s.sim.GetSpan(), 0);
  for (int i = 0; i < 200; ++i) s.sim.Render();
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 10; ++x) ASSERT_EQ(s.sim.HeatRow(y)[x], 16) << x << "," << y;
}

TEST(FireSimulator, PaletteEnds) {
  Sim s;
  const auto& p = s.sim.GetPalette();
  EXPECT_TRUE(p[255].Red == 255 && p[255].Green == 255 && p[255].Blue == 255 && p[255].Alpha == 255);
  EXPECT_EQ(p[63].Alpha, 0);
  EXPECT_EQ(p[64].Alpha, 3);
  EXPECT_EQ(p[0].Red, 0);
  EXPECT_EQ(p[150].Red, 255);
  EXPECT_EQ(p[150].Green, 511 - 4 * 105);
  EXPECT_EQ(p[150].Blue, 0);
  s.sim.SetFireColor(fcBlue);
  EXPECT_EQ(s.sim.GetPalette()[150].Blue, 255);
  EXPECT_EQ(s.sim.GetPalette()[150].Red, 0);
  s.sim.SetTransparency(50);
  EXPECT_EQ(s.sim.GetPalette()[255].Alpha, 127);
  s.sim.SetTransparency(250);
  EXPECT_EQ(s.sim.GetTransparency(), 100u);
  for (const auto& e : s.sim.GetPalette()) ASSERT_EQ(e.Alpha, 0);
}

TEST(FireSimulator, SettersClamp) {
  Sim s;
  s.sim.SetWind(50);
  EXPECT_EQ(s.sim.GetWind(), 10);
  s.sim.SetWind(-50);
  EXPECT_EQ(s.sim.GetWind(), -10);
  s.sim.SetDecay(0);
  EXPECT_EQ(s.sim.GetDecay(), 1u);
  s.sim.SetDecay(101);
  EXPECT_EQ(s.sim.GetDecay(), 100u);
  s.sim.SetIterations(0);
  EXPECT_EQ(s.sim.GetIterations(), 1u);
  s.sim.SetHeatLimit(0);
  EXPECT_EQ(s.sim.GetHeatLimit(), 1u);
  s.sim.SetDistribution(11);
  EXPECT_EQ(s.sim.GetDistribution(), 10u);
  s.sim.SetFlammability(0);
  s.sim.SetReignitionPeriod(0);
  EXPECT_EQ(s.sim.GetFlammability(), 1u);
  EXPECT_EQ(s.sim.GetReignitionPeriod(), 1u);
}

// The fuel line's shaping: heat limit, tapered ends of the span, cold
// margins, and water and sparks at a position (no lower clamp).
TEST(FireSimulator, FuelLineShaping) {
  Sim s;
  s.sim.SetSmoothness(0);
  s.sim.SetCornerSmooth(4);
  s.sim.SetHeatLimit(200);
  s.sim.InitFire(40, 10); // span 10..30
  auto& line = s.sim.FuelLine();
  std::fill(line.begin(), line.end(), 255);
  s.sim.PostProcess();
  EXPECT_EQ(line[0], 200);
  EXPECT_EQ(line[10], 60);
  EXPECT_EQ(line[11], 195 / 4 + 60);
  EXPECT_EQ(line[29], 60);
  EXPECT_EQ(line[20], 200);
  s.sim.SparkAt(1, 10);    // starts at -4
  EXPECT_EQ(line[5], 200); // sparks then meet the heat limit
  s.sim.PourWaterAt(20, 4);
  EXPECT_EQ(line[18], 16);
  EXPECT_EQ(line[21], 16);
  EXPECT_EQ(line[22], 200);
}

// Smoothing is offset by one byte: blue stays exactly as coloured, and the
// one-pixel frame is not smoothed at all.
TEST(FireSimulator, SmoothingLeavesBlueAndBorder) {
  Sim s;
  s.sim.SetFireColor(fcBlue);
  s.sim.SetIterations(30);
  IFQImageBuffer frame = IFQImageBuffer::Create(48, 32, vf32Bit);
  FQRandSeed(1);
  s.sim.DrawFire(frame);
  const auto& pal = s.sim.GetPalette();
  int smoothed = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 48; ++x) {
      const TZNRGBStruct e = pal[s.sim.HeatRow(y)[x]];
      const auto px = PixelAt(frame, x, y);
      ASSERT_EQ(px[0], e.Blue) << x << "," << y;
      if (x == 0 || y == 0 || x == 47 || y == 31) {
        ASSERT_EQ(px[1], e.Green);
        ASSERT_EQ(px[3], e.Alpha);
      } else if (px[1] != e.Green || px[3] != e.Alpha) {
        ++smoothed;
      }
    }
  EXPECT_GT(smoothed, 0);
}

TEST(Fire, GeneratesRepeatableFramesFromASeed) {
  IFQImageBuffer runs[2];
  for (auto& last : runs) {
    test::GenChain<TFQFire> c(64, 48);
    c.gen->GetSmooth().SetEnabled(false);
    FQRandSeed(42);
    last = c.Frames(40).back();
    EXPECT_EQ(last.GetFormat(), vf32Bit);
    // The palette alpha reaches the output.
    EXPECT_GT(test::CountPixels(last, [](const auto& px, int, int y) { return y == 47 && px[3] > 0; }), 0);
  }
  std::string why;
  EXPECT_TRUE(SameFrame(runs[0], runs[1], &why)) << why;
}

// As a filter, fully transparent fire leaves the frame as it was; an
// opaque one changes it only inside the region of interest.
TEST(Fire, FilterCompositesInsideTheRegion) {
  test::FilterChain<TFQFire> chain;
  auto& fire = chain.filter;
  fire->SetTransparency(100);
  // Opaque frames: ATop keeps a frame's colours only where it is opaque.
  IFQImageBuffer in = RandomFrame(40, 30, vf24Bit, 3);
  in.SetFormat(vf32Bit);
  IFQImageBuffer opaqueIn = IFQImageBuffer::Create(40, 30, vf32Bit);
  opaqueIn.FillColor(0xff102030u, 0);
  for (int i = 0; i < 5; ++i) {
    std::string why;
    EXPECT_TRUE(SameFrame(chain.Run(in), in, &why)) << why;
  }
  fire->SetTransparency(0);
  fire->SetIterations(40);
  fire->ROI.SetRect(0, 10, 40, 20);
  const IFQImageBuffer out = chain.Run(opaqueIn);
  auto changed = [&](const auto& px, int x, int y) { return px != PixelAt(opaqueIn, x, y); };
  EXPECT_EQ(test::CountPixels(out, [&](const auto& px, int x, int y) { return y < 10 && changed(px, x, y); }),
            0);
  EXPECT_GT(test::CountPixels(out, changed), 0);
  // The frame's alpha is kept.
  EXPECT_EQ(test::CountPixels(out, [](const auto& px) { return px[3] == 255; }), 40 * 30);
}

// Another thread flips the palette family while frames flow: each frame is
// coloured by one palette, never a mix.
TEST(Fire, PropertiesChangeBetweenFramesOnly) {
  test::GenChain<TFQFire> c(64, 48);
  c.gen->GetSmooth().SetEnabled(false);
  c.gen->SetIterations(5);
  c.grabber->SetKeepCount(400);
  c.gen->Start();
  std::atomic<bool> done{false};
  std::thread setter([&] {
    for (int i = 0; !done.load(); ++i) {
      c.gen->SetFireColor(i % 2 != 0 ? fcBlue : fcRed);
      c.gen->SetWind(i % 21 - 10);
      c.gen->Spark(1, 3);
      c.gen->PourWaterAt(static_cast<std::uint32_t>(i % 64), 2);
      std::this_thread::yield();
    }
  });
  for (int i = 0; i < 300; ++i) c.clock->Tick();
  done = true;
  setter.join();
  c.gen->Stop();
  const auto frames = c.grabber->GetFrames();
  EXPECT_EQ(std::count_if(frames.begin(), frames.end(), test::MixesRedAndBlue), 0);
}

} // namespace
} // namespace framquist
