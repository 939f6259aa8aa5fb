// labels: threaded
#include <gtest/gtest.h>

#include <cmath>

#include "filters/colour/fqgammafilter.h"
#include "frame/fqendpoints.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

using Chain = test::FilterChain<TFQGammaFilter>;

// The curve in closed form, in single precision (a different route from
// the primitive's); values near a rounding edge are allowed 1 either way.
int Curve(int v, TFQGammaType type) {
  const float x = static_cast<float>(v) / 255.0f;
  const float y = type == gtForward ? (x < 0.018f ? 4.5f * x : 1.099f * std::pow(x, 0.45f) - 0.099f)
                                    : (x < 0.081f ? x / 4.5f : std::pow((x + 0.099f) / 1.099f, 1.0f / 0.45f));
  return static_cast<int>(std::lround(y * 255.0f));
}

IFQImageBuffer Ramp(TFQVideoFormat format) {
  auto frame = IFQImageBuffer::Create(256, 2, format);
  std::uint8_t* p = frame.GetWritePointer();
  const int bpp = frame.GetBytesPerPixel();
  for (int y = 0; y < 2; ++y)
    for (int v = 0; v < 256; ++v)
      for (int c = 0; c < bpp; ++c)
        p[y * frame.GetLineStep() + v * bpp + c] = static_cast<std::uint8_t>(c == 3 ? 255 - v : v);
  return frame;
}

TEST(Gamma, BothCurvesOnEveryByteValueAndAlphaKept) {
  for (TFQVideoFormat format : {vf24Bit, vf32Bit})
    for (TFQGammaType type : {gtForward, gtInverse}) {
      Chain chain;
      chain.filter->SetGammaType(type);
      const auto in = Ramp(format);
      const auto out = chain.Run(in);
      ASSERT_EQ(out.GetFormat(), format);
      for (int v = 0; v < 256; ++v) {
        const auto px = PixelAt(out, v, 1);
        EXPECT_NEAR(px[0], Curve(v, type), 1) << "byte " << v << " type " << int(type);
        EXPECT_EQ(px[0], px[2]);
        if (format == vf32Bit) {
          EXPECT_EQ(px[3], 255 - v) << "alpha of " << v;
        }
      }
      EXPECT_EQ(PixelAt(out, 0, 0)[1], 0);
      EXPECT_EQ(PixelAt(out, 255, 0)[1], 255);
    }
}

TEST(Gamma, ForwardThenInverseIsWithinOne) {
  Chain forward, inverse;
  inverse.filter->SetGammaType(gtInverse);
  const auto in = Ramp(vf24Bit);
  const auto back = inverse.Run(forward.Run(in));
  for (int v = 0; v < 256; ++v) EXPECT_NEAR(PixelAt(back, v, 0)[1], v, 1) << "byte " << v;
  // Grey frames arrive as 24-bit.
  Chain grey;
  EXPECT_EQ(grey.Run(RandomFrame(8, 3, vfGrey, 1)).GetFormat(), vf24Bit);
}

TEST(Gamma, TypeSetFromAnotherThreadIsSeenWhole) {
  Chain chain, forwardOnly, inverseOnly;
  inverseOnly.filter->SetGammaType(gtInverse);
  const auto in = RandomFrame(80, 20, vf32Bit, 3);
  const auto wantF = forwardOnly.Run(in), wantI = inverseOnly.Run(in);
  EXPECT_EQ(test::MixedFrames(chain, in, 300,
                              [&](int i) { chain.filter->SetGammaType(i % 2 ? gtForward : gtInverse); },
                              {wantF, wantI}),
            0);
  chain.filter->SetGammaType(gtInverse);
  EXPECT_TRUE(SameFrame(chain.Run(in), wantI));
}

} // namespace
} // namespace framquist
