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

template <class T>
using Chain = test::FilterChain<T>;
template <class T>
using Gen = test::GenChain<T>;

// Whether the first `channels` bytes of every pixel are `value`.
bool AllBytes(const IFQImageBuffer& f, int channels, std::uint8_t value) {
  return test::CountPixels(f, [&](const auto& px) {
           return std::all_of(px.begin(), px.begin() + channels, [&](auto b) { return b == value; });
         }) == f.GetWidth() * f.GetHeight();
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
  chain.filter->SetHigh(0);
  auto out = chain.Run(in);
  EXPECT_EQ(out.GetFormat(), format);
  EXPECT_TRUE(SameFrame(out, in));
  chain.filter->SetLow(255);
  out = chain.Run(in);
  EXPECT_TRUE(AllBytes(out, colour, 255));
  if (format == vf32Bit) {
    for (int x = 0; x < 37; ++x) EXPECT_EQ(PixelAt(out, x, 4)[3], PixelAt(in, x, 4)[3]);
  }

  chain.source->StopStream();
  chain.filter->SetLow(10);
  chain.filter->SetHigh(60);
  chain.filter->SetSeed(777);
  unsigned int seed = 777u * 65537u;
  for (int i = 0; i < 3; ++i) {
    std::string why;
    EXPECT_TRUE(SameFrame(chain.Run(in), Uniform(in, 10, 60, seed), &why)) << "frame " << i << ": " << why;
    EXPECT_EQ(chain.filter->GetSeed(), seed >> 16) << "Seed is the state's high half";
  }
}

INSTANTIATE_TEST_SUITE_P(Frames, NoiseFormats, ::testing::Values(vfGrey, vf24Bit, vf32Bit));

TEST(Noise, SixteenBitFramesArriveAs24Bit) {
  Chain<TFQGaussNoise> chain;
  EXPECT_EQ(chain.Run(RandomFrame(8, 4, vf16Bit565, 1)).GetFormat(), vf24Bit);
}

TEST(Noise, PairedLimitsPushEachOther) {
  auto noise = Make<TFQUniformNoise>();
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

// Generated frames are 32-bit and noise reaches the alpha byte too.
TEST(Noise, GeneratorMakesNoisedBackground) {
  Gen<TFQUniformNoise> chain(21, 5);
  chain.gen->SetBackgroundColor(FQRGB(1, 2, 3) | 0x04000000u);
  chain.gen->SetHigh(0);
  auto frame = chain.Frames(1).at(0);
  EXPECT_EQ(frame.GetFormat(), vf32Bit);
  EXPECT_EQ(PixelAt(frame, 20, 4), (std::vector<std::uint8_t>{3, 2, 1, 4}));
  EXPECT_TRUE(AllBytes(frame, 1, 3));
  chain.gen->SetLow(255);
  EXPECT_TRUE(AllBytes(chain.Frames(1).at(0), 4, 255));

  Gen<TFQGaussNoise> gauss(16, 16);
  gauss.gen->SetStDev(0);
  gauss.gen->SetMean(9);
  EXPECT_TRUE(AllBytes(gauss.Frames(1).at(0), 4, 9)); // black, alpha 0, plus 9
}

// Equal seeds give equal sequences; Seed moves while running, and the next
// start restarts from where it moved to.
TEST(Noise, SeedRestartsAndMoves) {
  Gen<TFQGaussNoise> chain(33, 7);
  chain.gen->SetSeed(4242);
  const auto first = chain.Frames(3);
  const Ipp16u moved = chain.gen->GetSeed();
  EXPECT_NE(moved, 4242);
  EXPECT_FALSE(SameFrame(first[0], first[1]));
  chain.gen->SetSeed(4242);
  const auto second = chain.Frames(3);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(SameFrame(first[i], second[i])) << "frame " << i;
  const auto third = chain.Frames(1); // from the moved Seed, not 4242
  EXPECT_FALSE(SameFrame(first[0], third[0]));

  // Setting Seed while running does not disturb the running seed: the
  // frames go on as without it, only the high half changed.
  Chain<TFQGaussNoise> a, b;
  const auto in = RandomFrame(16, 4, vf24Bit, 8);
  a.Run(in), b.Run(in);
  b.filter->SetSeed(a.filter->GetSeed());
  EXPECT_TRUE(SameFrame(a.Run(in), b.Run(in)));
}

TEST(Noise, RegionOfInterestOnly) {
  Chain<TFQUniformNoise> chain;
  chain.filter->SetLow(255);
  chain.filter->ROI.SetRect(3, 2, 5, 4);
  const auto in = RandomFrame(12, 9, vf24Bit, 4);
  const auto out = chain.Run(in);
  std::string why;
  EXPECT_TRUE(SameFrame(out,
                        test::MapPixels(in,
                                        [](auto& px, int x, int y) {
                                          if (x >= 3 && x < 8 && y >= 2 && y < 6) px = {255, 255, 255};
                                        }),
                        &why))
      << why;
  // Outside the frame: nothing changes, and the seed does not move.
  chain.filter->ROI.SetRect(40, 40, 5, 5);
  const Ipp16u seed = chain.filter->GetSeed();
  EXPECT_TRUE(SameFrame(chain.Run(in), in));
  EXPECT_EQ(chain.filter->GetSeed(), seed);
}

// Another thread flips the limits between "none" and "full" while frames
// flow: every frame is wholly one or the other, never a mix.
TEST(NoiseThreads, EveryFrameSeesOneSetting) {
  Gen<TFQUniformNoise> generator(64, 32);
  generator.gen->SetHigh(0);
  std::atomic<int> mixed{0}, frames{0};
  generator.grabber->SetOnFrame([&](const IFQImageBuffer& f) {
    ++frames;
    if (!AllBytes(f, 4, 0) && !AllBytes(f, 4, 255)) ++mixed;
  });
  generator.grabber->Start();
  std::atomic<bool> done{false};
  std::thread setter([&] {
    for (int i = 0; !done; ++i) {
      if (i % 2 != 0)
        generator.gen->SetLow(255); // pushes High up with it
      else
        generator.gen->SetHigh(0); // pulls Low down with it
      generator.gen->SetSeed(static_cast<Ipp16u>(i));
    }
  });
  for (int i = 0; i < 400; ++i) generator.clock->Tick();
  done = true;
  setter.join();
  generator.grabber->Stop();
  EXPECT_EQ(frames.load(), 400);
  EXPECT_EQ(mixed.load(), 0);

  // Filter mode: a Gauss shift of Mean with StDev 0, changed while frames
  // come from a second thread.
  Chain<TFQGaussNoise> chain;
  chain.filter->SetStDev(0);
  const auto in = RandomFrame(40, 20, vf32Bit, 6);
  IFQImageBuffer shifted;
  shifted.Assign(in);
  unsigned int unused = 0;
  ippiAddRandGauss_Direct_8u_AC4IR(shifted.GetModifyPointer(), shifted.GetLineStep(), {40, 20}, 50, 0,
                                   &unused);
  EXPECT_EQ(test::MixedFrames(chain, in, 300,
                              [&](int i) { chain.filter->SetMean(static_cast<Ipp8u>(i % 2 != 0 ? 50 : 0)); },
                              {in, shifted}),
            0);
}

} // namespace
} // namespace framquist
