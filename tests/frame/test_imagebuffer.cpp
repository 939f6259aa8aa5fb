// labels: threaded
#include <gtest/gtest.h>

#include <thread>

#include "frame/fqimagebuffer.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

TEST(ImageBuffer, RowsAreAlignedAndUnlistedFormatsAre24Bit) {
  for (TFQVideoFormat f : {0, 3, 4, 5, 6, 7, 9, 200}) {
    auto b = IFQImageBuffer::Create(37, 5, static_cast<TFQVideoFormat>(f));
    const int bpp = f == 3 ? 4 : f == 6 ? 1 : (f == 4 || f == 5) ? 2 : 3;
    EXPECT_EQ(b.GetBytesPerPixel(), bpp) << int(f);
    EXPECT_EQ(b.GetLineStep() % 64, 0);
    EXPECT_GE(b.GetLineStep(), 37 * bpp);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.GetReadPointer()) % 64, 0u);
  }
  EXPECT_EQ(IFQImageBuffer::Create(2, 2, 7).GetFormat(), vf24Bit);
  EXPECT_EQ(IFQImageBuffer::Create(2, 2, 9).GetFormat(), vf24Bit);
}

TEST(ImageBuffer, AssignSharesPixelsUntilOneSideWrites) {
  auto a = RandomFrame(16, 4, vf24Bit, 1);
  a.SetTimes(100, 200);
  IFQImageBuffer b;
  b.Assign(a);
  EXPECT_EQ(a.GetReadPointer(), b.GetReadPointer());
  EXPECT_TRUE(b.SharesPixels());
  EXPECT_EQ(b.GetStartTime(), 100);
  EXPECT_EQ(b.GetEndTime(), 200);

  // Modify keeps contents and leaves the other frame alone.
  const auto before = PixelAt(a, 3, 2);
  std::uint8_t* p = b.GetModifyPointer();
  EXPECT_NE(p, a.GetReadPointer());
  EXPECT_TRUE(SameFrame(a, b));
  p[0] ^= 0xff;
  EXPECT_EQ(PixelAt(a, 0, 0)[0], static_cast<std::uint8_t>(p[0] ^ 0xff));
  EXPECT_EQ(PixelAt(a, 3, 2), before);

  // A sole owner writes in place.
  EXPECT_FALSE(b.SharesPixels());
  EXPECT_EQ(b.GetModifyPointer(), p);
  EXPECT_EQ(b.GetWritePointer(), p);

  // Write drops shared contents unless asked to preserve them.
  IFQImageBuffer c, d;
  c.Assign(a);
  EXPECT_NE(c.GetWritePointer(), a.GetReadPointer());
  d.SetPreserveOnWrite(true);
  d.Assign(a);
  d.GetWritePointer();
  EXPECT_TRUE(SameFrame(a, d));

  // Copied handles are the same frame object, not shared pixels.
  IFQImageBuffer alias = a;
  alias.SetFormat(vf32Bit);
  EXPECT_EQ(a.GetFormat(), vf32Bit);
  EXPECT_TRUE(alias.SameObject(a));
}

TEST(ImageBuffer, FormatConversions) {
  auto rgb = IFQImageBuffer::Create(3, 1, vf24Bit);
  std::uint8_t* p = rgb.GetWritePointer();
  const std::uint8_t px[9] = {0, 0, 255, 0, 255, 0, 255, 0, 0}; // red, green, blue (stored b, g, r)
  std::copy(px, px + 9, p);

  IFQImageBuffer grey;
  grey.Assign(rgb);
  grey.SetFormat(vfGrey);
  // Rounded 0.299 R + 0.587 G + 0.114 B.
  EXPECT_EQ(PixelAt(grey, 0, 0)[0], 76);
  EXPECT_EQ(PixelAt(grey, 1, 0)[0], 150);
  EXPECT_EQ(PixelAt(grey, 2, 0)[0], 29);
  EXPECT_EQ(PixelAt(rgb, 0, 0), (std::vector<std::uint8_t>{0, 0, 255})); // source untouched

  grey.SetFormat(vf24Bit);
  EXPECT_EQ(PixelAt(grey, 1, 0), (std::vector<std::uint8_t>{150, 150, 150}));

  IFQImageBuffer rgba;
  rgba.Assign(rgb);
  rgba.SetFormat(vf32Bit);
  EXPECT_EQ(PixelAt(rgba, 2, 0), (std::vector<std::uint8_t>{255, 0, 0, 255}));
  rgba.SetFormat(vf24Bit);
  EXPECT_TRUE(SameFrame(rgba, rgb));

  // 16-bit forms keep colours whose low bits they can hold.
  for (TFQVideoFormat f : {vf16Bit565, vf16Bit555}) {
    IFQImageBuffer c;
    c.Assign(rgb);
    c.SetFormat(f);
    c.SetFormat(vf24Bit);
    EXPECT_TRUE(SameFrame(c, rgb)) << int(f);
  }
  IFQImageBuffer c565;
  c565.Assign(rgb);
  c565.SetFormat(vf16Bit565);
  EXPECT_EQ(PixelAt(c565, 0, 0), (std::vector<std::uint8_t>{0x00, 0xf8})); // red: 11111 000000 00000
}

TEST(ImageBuffer, FillColorUsesPixelByteOrderAndAlphaBits) {
  const TColor c = FQRGB(10, 20, 30) | 0x80000000u;
  auto a = IFQImageBuffer::Create(5, 3, vf32Bit);
  a.FillColor(c, 0);
  EXPECT_EQ(PixelAt(a, 4, 2), (std::vector<std::uint8_t>{30, 20, 10, 0x80}));
  auto b = IFQImageBuffer::Create(5, 3, vf24Bit);
  b.FillColor(c, 0);
  EXPECT_EQ(PixelAt(b, 4, 2), (std::vector<std::uint8_t>{30, 20, 10}));
  auto g = IFQImageBuffer::Create(5, 3, vfGrey);
  g.FillColor(FQRGB(255, 255, 255), 0);
  EXPECT_EQ(PixelAt(g, 4, 2)[0], 255);
  g.Clear();
  EXPECT_EQ(PixelAt(g, 2, 1)[0], 0);
}

TEST(ImageBuffer, CopiesOnDifferentThreadsAreIndependent) {
  auto source = RandomFrame(64, 64, vf24Bit, 3);
  const auto reference = RandomFrame(64, 64, vf24Bit, 3);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&source, t] {
      for (int i = 0; i < 200; ++i) {
        IFQImageBuffer mine;
        mine.Assign(source);
        mine.GetModifyPointer()[i % 64] = static_cast<std::uint8_t>(t);
      }
    });
  for (auto& th : threads) th.join();
  EXPECT_TRUE(SameFrame(source, reference));
}

} // namespace
} // namespace framquist
