#include <gtest/gtest.h>

#include "frame/fqendpoints.h"
#include "frame/fqgeometricfilter.h"
#include "frame/fqmatrixfilter.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;

// Writes, for each region pixel, the sum of its neighbourhood's first
// channel modulo 256 into every colour channel; the alpha is left to the base.
class TNeighbourSum : public TFQCommonROIMatrixFilterIntermidiate {
public:
  std::string_view GetClassName() const override { return "TNeighbourSum"; }
  int changes = 0;
  void SetVideoFormat(IFQImageBuffer& Buffer) override {
    if (Buffer.GetFormat() == vf32Bit) return;
    TFQCommonROIMatrixFilterIntermidiate::SetVideoFormat(Buffer);
  }

protected:
  void Changed() override { ++changes; }
  bool PerformFilter(const unsigned char* src, int srcStep, unsigned char* dst, int dstStep, SIZE size,
                     SIZE m, TPoint anchor, TFQVideoFormat) override {
    for (int y = 0; y < size.cy; ++y)
      for (int x = 0; x < size.cx; ++x) {
        unsigned sum = 0;
        for (int j = 0; j < m.cy; ++j)
          for (int i = 0; i < m.cx; ++i) sum += src[(y + j - anchor.Y) * srcStep + (x + i - anchor.X) * 4];
        for (int c = 0; c < 4; ++c) dst[y * dstStep + x * 4 + c] = static_cast<unsigned char>(sum);
      }
    return false; // the base carries the input's alpha over
  }
};

TEST(MatrixFilter, NeighbourhoodsStayInsideTheFrameAndAlphaIsCarried) {
  test::FilterChain<TNeighbourSum> chain;
  auto& filter = chain.filter;
  filter->MatrixSize.SetWidth(3);
  filter->MatrixSize.SetHeight(2); // anchor (1, 1): one row above, none below
  EXPECT_EQ(filter->changes, 1);
  filter->MatrixSize.SetHeight(0); // clamped to 1, a change
  filter->MatrixSize.SetHeight(2);
  EXPECT_EQ(filter->GetAnchor(), (TPoint{1, 1}));

  const auto in = RandomFrame(6, 4, vf32Bit, 11);
  const auto expected = test::MapPixels(in, [&](std::vector<std::uint8_t>& px, int x, int y) {
    if (x < 1 || x > 4 || y < 1) return; // border: 1 column each side, the top row
    unsigned sum = 0;
    for (int j = -1; j <= 0; ++j)
      for (int i = -1; i <= 1; ++i) sum += PixelAt(in, x + i, y + j)[0];
    std::fill_n(px.begin(), 3, static_cast<std::uint8_t>(sum));
  });
  std::string why;
  EXPECT_TRUE(test::SameFrame(chain.Run(in), expected, &why)) << why;

  // A matrix larger than the frame leaves it untouched.
  filter->MatrixSize.SetWidth(9);
  EXPECT_TRUE(test::SameFrame(chain.Run(in), in));
}

// Output twice the input's width: a transform whose bounding box grows.
class TWiden : public TFQGeometricTransfromFilter {
public:
  std::string_view GetClassName() const override { return "TWiden"; }
  std::atomic<int> factor{2};

protected:
  TRect GetBoundingRect(int w, int h) override { return {0, 0, w * factor, h}; }
  TRect GetMaxBoundingRect(int w, int h) override { return {0, 0, w * 4, h}; }
  void FilterInternalOperation(IFQImageBuffer In, IFQImageBuffer& Out) override {
    const SIZE s = GetOutputSize(In.GetWidth(), In.GetHeight());
    Out = IFQImageBuffer::Create(s.cx, s.cy, In.GetFormat());
    Out.FillColor(GetBackgroundColor(), 0);
  }
};

TEST(GeometricFilter, OutputSizeFollowsTheBoundingRectAndIsReannounced) {
  test::FilterChain<TWiden> chain;
  auto& [source, widen, grabber] = chain;
  widen->SetBackgroundColor(FQRGB(1, 2, 3));
  source->StartStream(10, 5, vf24Bit, 0);
  EXPECT_EQ(grabber->GetStreamInfo().Width, 20);
  source->Push(RandomFrame(10, 5, vf24Bit, 1));
  EXPECT_EQ(grabber->GetLastFrame().GetWidth(), 20);
  EXPECT_EQ(PixelAt(grabber->GetLastFrame(), 19, 4), (std::vector<std::uint8_t>{3, 2, 1}));

  widen->factor = 3; // the stream is announced again before the next frame
  source->Push(RandomFrame(10, 5, vf24Bit, 1));
  EXPECT_EQ(grabber->GetStartCount(), 2);
  EXPECT_EQ(grabber->GetStreamInfo().Width, 30);

  widen->SetOutputSizeMode(osmMaxBoundingRect);
  source->Push(RandomFrame(10, 5, vf24Bit, 1));
  EXPECT_EQ(grabber->GetStreamInfo().Width, 40);

  widen->SetInterpolationType(itCubic);
  EXPECT_EQ(widen->GetInterpolationCode(false), 4u);
  widen->SetInterpolationType(itNearestNeighbor);
  EXPECT_EQ(widen->GetInterpolationCode(true), 1u | kFQSmoothEdgeFlag);
}

} // namespace
} // namespace framquist
