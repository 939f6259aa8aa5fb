// labels: threaded
#include <gtest/gtest.h>

#include <cmath>

#include "filters/colour/fqcolortwist.h"
#include "frame/fqendpoints.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

using Chain = test::FilterChain<TFQColorTwist>;

using Rows = float[3][4];

void SetAll(TFQColorTwists& twists, const Rows& m) {
  TFQColorChannelTwist* rows[3] = {&twists.RedTwist(), &twists.GreenTwist(), &twists.BlueTwist()};
  for (int k = 0; k < 3; ++k)
    for (int i = 0; i < 4; ++i) rows[k]->SetItem(i, m[k][i]);
}

// Each output byte from a byte permutation (or a constant) of the input.
IFQImageBuffer Mapped(const IFQImageBuffer& in, int (*byte)(const std::vector<std::uint8_t>&, int)) {
  return test::MapPixels(in, [&](std::vector<std::uint8_t>& px) {
    const auto src = px;
    for (int k = 0; k < 3; ++k) px[k] = static_cast<std::uint8_t>(byte(src, k));
  });
}

const Rows kIdentity = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
const Rows kSwap = {{0, 0, 1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}};

TEST(ColorTwist, NewComponentOutputsBlackKeepingAlpha) {
  Chain chain;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(chain.filter->ColorTwists().GreenTwist().GetItem(i), 0.0f);
  const auto in = RandomFrame(41, 7, vf32Bit, 2);
  std::string why;
  EXPECT_TRUE(SameFrame(chain.Run(in), Mapped(in, [](const auto&, int) { return 0; }), &why)) << why;
}

TEST(ColorTwist, IdentitySwapAndSaturationOnEveryFormat) {
  for (TFQVideoFormat format : {vf24Bit, vf32Bit, vfGrey}) {
    Chain chain;
    auto in = RandomFrame(67, 9, format, 4);
    SetAll(chain.filter->ColorTwists(), kIdentity);
    auto out = chain.Run(in);
    if (format == vfGrey) in.SetFormat(vf24Bit);
    std::string why;
    EXPECT_TRUE(SameFrame(out, in, &why)) << "identity, format " << int(format) << ": " << why;
    SetAll(chain.filter->ColorTwists(), kSwap);
    EXPECT_TRUE(
        SameFrame(chain.Run(in), Mapped(in, [](const auto& s, int k) { return int(s[2 - k]); }), &why))
        << "swap, format " << int(format) << ": " << why;
    // Offset 300 saturates high; -1 x byte 0 saturates low; 0.5 x byte 1 rounds.
    const Rows clip = {{0, 0, 0, 300}, {-1, 0, 0, 0}, {0, 0.5f, 0, 0.25f}};
    SetAll(chain.filter->ColorTwists(), clip);
    EXPECT_TRUE(SameFrame(chain.Run(in),
                          Mapped(in,
                                 [](const auto& s, int k) {
                                   return k == 0   ? 255
                                          : k == 1 ? 0
                                                   : static_cast<int>(std::lround(s[1] * 0.5 + 0.25));
                                 }),
                          &why))
        << "saturation, format " << int(format) << ": " << why;
  }
}

TEST(ColorTwist, AssignCopiesAllCoefficients) {
  TPWLock lock;
  TFQColorTwists twists(lock);
  SetAll(twists, kSwap);
  twists.BlueTwist().SetItem(3, -7.5f);
  Chain chain;
  chain.filter->SetColorTwists(twists);
  EXPECT_EQ(chain.filter->ColorTwists().RedTwist().GetItem(2), 1.0f);
  EXPECT_EQ(chain.filter->ColorTwists().BlueTwist().GetItem(0), 1.0f);
  EXPECT_EQ(chain.filter->ColorTwists().BlueTwist().GetItem(3), -7.5f);
  chain.filter->ColorTwists().SetGreenTwist(twists.RedTwist());
  EXPECT_EQ(chain.filter->ColorTwists().GreenTwist().GetItem(1), 0.0f);
  EXPECT_EQ(chain.filter->ColorTwists().GreenTwist().GetItem(2), 1.0f);
}

// Whole matrices set from another thread: each frame is the identity or
// the swap, never a row of one and a row of the other.
TEST(ColorTwist, MatrixSetFromAnotherThreadIsSeenWhole) {
  TPWLock lock;
  TFQColorTwists identity(lock), swap(lock);
  SetAll(identity, kIdentity);
  SetAll(swap, kSwap);
  Chain chain;
  chain.filter->SetColorTwists(identity);
  const auto in = RandomFrame(72, 16, vf24Bit, 8);
  const auto wantSwap = Mapped(in, [](const auto& s, int k) { return int(s[2 - k]); });
  EXPECT_EQ(test::MixedFrames(chain, in, 300,
                              [&](int i) { chain.filter->SetColorTwists(i % 2 ? identity : swap); },
                              {in, wantSwap}),
            0);
  chain.filter->SetColorTwists(swap);
  EXPECT_TRUE(SameFrame(chain.Run(in), wantSwap));
}

} // namespace
} // namespace framquist
