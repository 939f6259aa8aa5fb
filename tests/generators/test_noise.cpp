// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "frame/fqendpoints.h"
#include "generators/fqgaussnoise.h"
#include "generators/fquniformnoise.h"
#include "ipp/ipprandom.h"
#include "pinweave/pwproperties.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

// source -> noise -> grabber: filter mode.
template <class T>
struct Chain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<T> noise = Make<T>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Chain() {
    EXPECT_TRUE(source->OutputPin.Connect(noise->InputPin));
    EXPECT_TRUE(noise->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& frame) {
    if (!source->IsStreaming())
      source->StartStream(frame.GetWidth(), frame.GetHeight(), frame.GetFormat(), 400000);
    const long long before = grabber->GetFrameCount();
    EXPECT_TRUE(source->Push(frame));
    EXPECT_EQ(grabber->GetFrameCount(), before + 1);
    return grabber->GetLastFrame();
  }
  void Restart() { source->StopStream(); }
};

// clock -> noise -> grabber: generator mode, one frame per Tick.
template <class T>
struct Gen {
  TPWOwned<TFQTickClock> clock = Make<TFQTickClock>();
  TPWOwned<T> noise = Make<T>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Gen(int w, int h) {
    EXPECT_TRUE(clock->OutputPin.Connect(noise->ClockPin));
    EXPECT_TRUE(noise->OutputPin.Connect(grabber->InputPin));
    noise->SetImageSize(w, h);
  }
  std::vector<IFQImageBuffer> Frames(int n) {
    grabber->Start();
    EXPECT_TRUE(noise->IsGenerating());
    std::vector<IFQImageBuffer> out;
    for (int i = 0; i < n; ++i) {
      clock->Tick();
      out.push_back(grabber->GetLastFrame());
    }
    grabber->Stop();
    return out;
  }
};

bool AllBytes(const IFQImageBuffer& f, int channels, std::uint8_t value) {
  for (int y = 0; y < f.GetHeight(); ++y)
    for (int x = 0; x < f.GetWidth(); ++x) {
      const auto px = PixelAt(f, x, y);
      for (int c = 0; c < channels; ++c)
        if (px[c] != value) return false;
    }
  return true;
}

// What the primitive makes of `in` from seed word `seed`.
IFQImageBuffer Uniform(const IFQImageBuffer& in, Ipp8u low, Ipp8u high, unsigned int& seed) {
  IFQImageBuffer out;
  out.Assign(in);
  Ipp8u* p = out.GetModifyPointer();
  const IppiSize size{in.GetWidth(), in.GetHeight()};
  switch (in.GetFormat()) {
  case vfGrey:
    ippiAddRandUniform_Direct_8u_C1IR(p, out.GetLineStep(), size, low, high, &seed);
    break;
  case vf32Bit:
    ippiAddRandUniform_Direct_8u_AC4IR(p, out.GetLineStep(), size, low, high, &seed);
    break;
  default:
    ippiAddRandUniform_Direct_8u_C3IR(p, out.GetLineStep(), size, low, high, &seed);
    break;
  }
  return out;
}

class NoiseFormats : public ::testing::TestWithParam<TFQVideoFormat> {};

// Zero noise changes nothing, full noise saturates the colour samples and
// leaves alpha; the format is kept; the frames are exactly the primitive's
// from Seed x 65537 on, continuing from frame to frame.
TEST_P(NoiseFormats, FilterAddsThePrimitivesNoise) {
  const TFQVideoFormat format = GetParam();
  const int colour = format == vfGrey ? 1 : 3;
  Chain<TFQUniformNoise> chain;
  const auto in = RandomFrame(37, 9, format, 3);
  chain.noise->SetHigh(0);
  auto out = chain.Run(in);
  EXPECT_EQ(out.GetFormat(), format);
  EXPECT_TRUE(SameFrame(out, in));
  chain.noise->SetLow(255);
  out = chain.Run(in);
  EXPECT_TRUE(AllBytes(out, colour, 255));
  if (format == vf32Bit) {
    for (int x = 0; x < 37; ++x) EXPECT_EQ(PixelAt(out, x, 4)[3], PixelAt(in, x, 4)[3]);
  }

  chain.Restart();
  chain.noise->SetLow(10);
  chain.noise->SetHigh(60);
  chain.noise->SetSeed(777);
  unsigned int seed = 777u * 65537u;
  for (int i = 0; i < 3; ++i) {
    std::string why;
    EXPECT_TRUE(SameFrame(chain.Run(in), Uniform(in, 10, 60, seed), &why)) << "frame " << i << ": " << why;
    EXPECT_EQ(chain.noise->GetSeed(), seed >> 16) << "Seed is the state's high half";
  }
}

INSTANTIATE_TEST_SUITE_P(Frames, NoiseFormats, ::testing::Values(vfGrey, vf24Bit, vf32Bit));

TEST(Noise, SixteenBitFramesArriveAs24Bit) {
  Chain<TFQGaussNoise> chain;
  EXPECT_EQ(chain.Run(RandomFrame(8, 4, vf16Bit565, 1)).GetFormat(), vf24Bit);
}

TEST(Noise, PairedLimitsPushEachOther) {
  auto noise = Make<TFQUniformNoise>();
  EXPECT_EQ(noise->GetLow(), 0);
  EXPECT_EQ(noise->GetHigh(), 255);
  noise->SetHigh(100);
  noise->SetLow(200);
  EXPECT_EQ(noise->GetLow(), 200);
  EXPECT_EQ(noise->GetHigh(), 200);
  noise->SetLow(100);
  noise->SetHigh(50);
  EXPECT_EQ(noise->GetLow(), 50);
  EXPECT_EQ(noise->GetHigh(), 50);
  // Streamed values beyond a byte clamp.
  const auto props = PWDeclaredProperties(*noise);
  props.Find("High")->Set(std::int64_t{300});
  EXPECT_EQ(noise->GetHigh(), 255);
  props.Find("Seed")->Set(std::int64_t{-4});
  EXPECT_EQ(noise->GetSeed(), 0);
}

TEST(Noise, DeclaredDefaults) {
  auto uniform = Make<TFQUniformNoise>();
  auto gauss = Make<TFQGaussNoise>();
  const auto u = PWDeclaredProperties(*uniform);
  const auto g = PWDeclaredProperties(*gauss);
  EXPECT_EQ(std::get<std::int64_t>(*u.Find("Low")->Default), 0);
  EXPECT_EQ(std::get<std::int64_t>(*u.Find("High")->Default), 255);
  EXPECT_EQ(std::get<std::int64_t>(*u.Find("Seed")->Default), 31192);
  EXPECT_EQ(std::get<std::int64_t>(*g.Find("Mean")->Default), 0);
  EXPECT_EQ(std::get<std::int64_t>(*g.Find("StDev")->Default), 100);
  EXPECT_EQ(std::get<std::int64_t>(*g.Find("Seed")->Default), 31192);
  ASSERT_NE(g.Find("BackgroundColor"), nullptr);
  ASSERT_NE(g.Find("ROI"), nullptr);
  EXPECT_EQ(gauss->GetSeed(), 31192);
  EXPECT_EQ(gauss->GetStDev(), 100);
}

// Generated frames are 32-bit and noise reaches the alpha byte too.
TEST(Noise, GeneratorMakesNoisedBackground) {
  Gen<TFQUniformNoise> gen(21, 5);
  gen.noise->SetBackgroundColor(FQRGB(1, 2, 3) | 0x04000000u);
  gen.noise->SetHigh(0);
  auto frame = gen.Frames(1).at(0);
  EXPECT_EQ(frame.GetFormat(), vf32Bit);
  EXPECT_EQ(PixelAt(frame, 20, 4), (std::vector<std::uint8_t>{3, 2, 1, 4}));
  EXPECT_TRUE(AllBytes(frame, 1, 3));
  gen.noise->SetLow(255);
  EXPECT_TRUE(AllBytes(gen.Frames(1).at(0), 4, 255));

  Gen<TFQGaussNoise> gauss(16, 16);
  gauss.noise->SetStDev(0);
  gauss.noise->SetMean(9);
  EXPECT_TRUE(AllBytes(gauss.Frames(1).at(0), 4, 9)); // black, alpha 0, plus 9
}

// Equal seeds give equal sequences; Seed moves while running, and the next
// start restarts from where it moved to.
TEST(Noise, SeedRestartsAndMoves) {
  Gen<TFQGaussNoise> gen(33, 7);
  gen.noise->SetSeed(4242);
  const auto first = gen.Frames(3);
  const Ipp16u moved = gen.noise->GetSeed();
  EXPECT_NE(moved, 4242);
  EXPECT_FALSE(SameFrame(first[0], first[1]));
  gen.noise->SetSeed(4242);
  const auto second = gen.Frames(3);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(SameFrame(first[i], second[i])) << "frame " << i;
  const auto third = gen.Frames(1); // from the moved Seed, not 4242
  EXPECT_FALSE(SameFrame(first[0], third[0]));

  // Setting Seed while running does not disturb the running seed: the
  // frames go on as without it, only the high half changed.
  Chain<TFQGaussNoise> a, b;
  const auto in = RandomFrame(16, 4, vf24Bit, 8);
  a.Run(in), b.Run(in);
  b.noise->SetSeed(a.noise->GetSeed());
  EXPECT_TRUE(SameFrame(a.Run(in), b.Run(in)));
}

TEST(Noise, RegionOfInterestOnly) {
  Chain<TFQUniformNoise> chain;
  chain.noise->SetLow(255);
  chain.noise->ROI.SetRect(3, 2, 5, 4);
  const auto in = RandomFrame(12, 9, vf24Bit, 4);
  const auto out = chain.Run(in);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) {
      const bool inside = x >= 3 && x < 8 && y >= 2 && y < 6;
      const std::vector<std::uint8_t> white{255, 255, 255};
      EXPECT_EQ(PixelAt(out, x, y), inside ? white : PixelAt(in, x, y)) << x << "," << y;
    }
  // Outside the frame: nothing changes, and the seed does not move.
  chain.noise->ROI.SetRect(40, 40, 5, 5);
  const Ipp16u seed = chain.noise->GetSeed();
  EXPECT_TRUE(SameFrame(chain.Run(in), in));
  EXPECT_EQ(chain.noise->GetSeed(), seed);
}

// Another thread flips the limits between "none" and "full" while frames
// flow: every frame is wholly one or the other, never a mix.
TEST(NoiseThreads, EveryFrameSeesOneSetting) {
  Gen<TFQUniformNoise> gen(64, 32);
  gen.noise->SetHigh(0);
  std::atomic<int> mixed{0}, frames{0};
  gen.grabber->SetOnFrame([&](const IFQImageBuffer& f) {
    ++frames;
    if (!AllBytes(f, 4, 0) && !AllBytes(f, 4, 255)) ++mixed;
  });
  gen.grabber->Start();
  std::atomic<bool> done{false};
  std::thread setter([&] {
    for (int i = 0; !done; ++i) {
      if (i % 2 != 0)
        gen.noise->SetLow(255); // pushes High up with it
      else
        gen.noise->SetHigh(0); // pulls Low down with it
      gen.noise->SetSeed(static_cast<Ipp16u>(i));
    }
  });
  for (int i = 0; i < 400; ++i) gen.clock->Tick();
  done = true;
  setter.join();
  gen.grabber->Stop();
  EXPECT_EQ(frames.load(), 400);
  EXPECT_EQ(mixed.load(), 0);

  // Filter mode: a Gauss shift of Mean with StDev 0, changed while frames
  // come from a second thread.
  Chain<TFQGaussNoise> chain;
  chain.noise->SetStDev(0);
  const auto in = RandomFrame(40, 20, vf32Bit, 6);
  chain.source->StartStream(40, 20, vf32Bit, 400000);
  done = false;
  std::thread shifter([&] {
    for (int i = 0; !done; ++i) chain.noise->SetMean(static_cast<Ipp8u>(i % 2 != 0 ? 50 : 0));
  });
  int bad = 0;
  for (int i = 0; i < 300; ++i) {
    chain.source->Push(in);
    const auto out = chain.grabber->GetLastFrame();
    const int shift = PixelAt(out, 0, 0)[0] - PixelAt(in, 0, 0)[0];
    unsigned int unused = 0;
    IFQImageBuffer expected;
    expected.Assign(in);
    ippiAddRandGauss_Direct_8u_AC4IR(expected.GetModifyPointer(), expected.GetLineStep(), {40, 20},
                                     static_cast<Ipp8u>(shift > 0 ? 50 : 0), 0, &unused);
    if (!SameFrame(out, expected)) ++bad;
  }
  done = true;
  shifter.join();
  EXPECT_EQ(bad, 0);
}

} // namespace
} // namespace framquist
