#include <gtest/gtest.h>

#include <vector>

#include "filters/colour/fqtransparentcolor.h"
#include "frame/fqform.h"
#include "frame/fqregistry.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;
using Bytes = std::vector<std::uint8_t>;

struct Chain : test::CombineChain<TFQTransparentColor> {
  Chain() : CombineChain("InputPin", "BackgroundInputPin") {}
  TFQTransparentColor& Key() { return *combiner; }
};

// One row of pixels given byte by byte (blue, green, red[, alpha]).
IFQImageBuffer Row(TFQVideoFormat format, const std::vector<Bytes>& pixels) {
  auto frame = IFQImageBuffer::Create(static_cast<int>(pixels.size()), 1, format);
  for (int x = 0; x < frame.GetWidth(); ++x) test::SetPixel(frame, x, 0, pixels[static_cast<std::size_t>(x)]);
  return frame;
}

// Which pixels of out came from the background (else they must be main's).
std::vector<bool> Keyed(const IFQImageBuffer& out, const IFQImageBuffer& main, const IFQImageBuffer& back) {
  std::vector<bool> keyed;
  for (int x = 0; x < out.GetWidth(); ++x) {
    const auto px = PixelAt(out, x, 0);
    EXPECT_TRUE(px == PixelAt(main, x, 0) || px == PixelAt(back, x, 0)) << "pixel " << x;
    keyed.push_back(px == PixelAt(back, x, 0));
  }
  return keyed;
}

TEST(TransparentColor, WithoutRangesTheMainPicturePasses) {
  for (TFQVideoFormat format : {vf24Bit, vfGrey}) {
    Chain chain;
    const auto main = RandomFrame(13, 7, format, 1), back = RandomFrame(13, 7, format, 2);
    std::string why;
    EXPECT_TRUE(SameFrame(chain.Run(main, back), main, &why)) << int(format) << ": " << why;
  }
}

// 32-bit: alpha 0 and keyed pixels show the background, 255 the main
// picture, anything between blends; the alphas add up, saturating.
TEST(TransparentColor, AlphaBlendsAndAddsUp) {
  Chain chain;
  const auto main = Row(vf32Bit, {{10, 20, 30, 0}, {10, 20, 30, 255}, {100, 0, 255, 128}, {0, 0, 0, 255}});
  const auto back = Row(vf32Bit, {{1, 2, 3, 7}, {1, 2, 3, 1}, {200, 255, 0, 100}, {4, 5, 6, 9}});
  // 100 * 128/255 + 200 * 127/255 = 149.8; 255 * 128/255 = 128.
  const auto expected = Row(vf32Bit, {{1, 2, 3, 7}, {10, 20, 30, 255}, {150, 127, 128, 228}, {0, 0, 0, 255}});
  std::string why;
  EXPECT_TRUE(SameFrame(chain.Run(main, back), expected, &why)) << why;
  chain.Key().TransparentColors.Add(); // keys black
  EXPECT_EQ(PixelAt(chain.Run(main, back), 3, 0), (Bytes{4, 5, 6, 255}));
}

// A range nobody changed has bounds 0; an equal value (the defaults are
// green, tolerance 5) changes nothing, a different one computes them.
TEST(TransparentColor, UntouchedRangeKeysOnlyBlack) {
  Chain chain;
  TFQColorRange* range = chain.Key().TransparentColors.Add();
  ASSERT_NE(range, nullptr);
  const auto main = Row(vf24Bit, {{0, 0, 0}, {0, 128, 0}, {1, 0, 0}, {0, 0, 1}});
  const auto back = Row(vf24Bit, {{9, 9, 9}, {9, 9, 9}, {9, 9, 9}, {9, 9, 9}});
  EXPECT_EQ(Keyed(chain.Run(main, back), main, back), (std::vector<bool>{true, false, false, false}));
  range->SetColor(0x008000);
  range->SetToleranceRed(5);
  EXPECT_EQ(Keyed(chain.Run(main, back), main, back), (std::vector<bool>{true, false, false, false}));
  range->SetToleranceGreen(6);
  EXPECT_EQ(Keyed(chain.Run(main, back), main, back), (std::vector<bool>{false, true, false, false}));

  Chain grey;
  grey.Key().TransparentColors.Add();
  const auto g = Row(vfGrey, {{0}, {1}, {128}}), gb = Row(vfGrey, {{50}, {50}, {50}});
  EXPECT_EQ(Keyed(grey.Run(g, gb), g, gb), (std::vector<bool>{true, false, false}));
}

// Red widened by ToleranceBlue, blue by ToleranceRed.
TEST(TransparentColor, ToleranceOfTheOtherComponent) {
  Chain chain;
  TFQColorRange* red = chain.Key().TransparentColors.Add();
  red->SetColor(0x0000FF);
  red->SetToleranceBlue(10);
  red->SetToleranceRed(0);
  EXPECT_EQ(red->GetDisplayName(), "clRed 0:5:10");
  const auto main =
      Row(vf24Bit, {{0, 0, 245}, {0, 5, 255}, {0, 0, 244}, {0, 6, 250}, {1, 0, 250}, {10, 0, 255}});
  const auto back = RandomFrame(6, 1, vf24Bit, 3);
  EXPECT_EQ(Keyed(chain.Run(main, back), main, back),
            (std::vector<bool>{true, true, false, false, false, false}));

  red->SetColor(0x123456);
  EXPECT_EQ(red->GetDisplayName(), "$00123456 0:5:10");
}

TEST(TransparentColor, EnablePinSwitchesKeyingOff) {
  Chain chain;
  TFQColorRange* all = chain.Key().TransparentColors.Add();
  all->SetColor(0x808080);
  all->SetToleranceRed(200), all->SetToleranceGreen(200), all->SetToleranceBlue(200);
  const auto main = RandomFrame(5, 3, vf24Bit, 4), back = RandomFrame(5, 3, vf24Bit, 5);
  EXPECT_TRUE(SameFrame(chain.Run(main, back), back));
  TPWBoolSourcePin toggle(nullptr, "Toggle");
  ASSERT_TRUE(toggle.Connect(chain.Key().EnablePin));
  toggle.Send(false);
  EXPECT_FALSE(chain.Key().GetEnabled());
  EXPECT_TRUE(SameFrame(chain.Run(main, back), main));
  chain.Key().SetEnabled(true);
  EXPECT_TRUE(SameFrame(chain.Run(main, back), back));
}

// Defaults are not stored, so a loaded range whose properties are all
// default never has its bounds computed.
TEST(TransparentColor, RangesLoadFromAForm) {
  Initialize();
  Fqtransparentcolor::Register();
  auto form = TFQForm::Parse(R"({
    "framquist": 1,
    "components": [{"class": "TFQTransparentColor", "name": "Key", "properties": {
      "TransparentColors": [{}, {"Color": "0x000000FF", "ToleranceRed": 0, "ToleranceBlue": 10}]}}]
  })");
  auto* key = dynamic_cast<TFQTransparentColor*>(form->Find("Key"));
  ASSERT_NE(key, nullptr);
  ASSERT_EQ(key->TransparentColors.GetCount(), 2);
  const TFQColorRange* plain = key->TransparentColors.GetItem(0);
  EXPECT_TRUE(plain->InRage(0));
  EXPECT_FALSE(plain->InRage(0x008000));
  EXPECT_FALSE(plain->InRage(0x010101));
  // Pixel values: blue in the low byte.
  EXPECT_TRUE(key->TransparentColors.GetItem(1)->InRage(0xFA0500));
  EXPECT_FALSE(key->TransparentColors.GetItem(1)->InRage(0xFA0501));
  EXPECT_TRUE(key->TransparentColors.InRage(0));
  EXPECT_NE(form->Save().find("\"ToleranceBlue\": 10"), std::string::npos);
}

} // namespace
} // namespace framquist
