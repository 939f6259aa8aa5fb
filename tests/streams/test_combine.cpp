// Combine: the operations, coefficients, 32-bit compositing and the output
// after the inputs stop.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "frame/fqform.h"
#include "frame/fqregistry.h"
#include "streams/fqcombine.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;

struct Rig : test::CombineChain<TFQCombine> {
  Rig() : CombineChain("InputPins[0]", "InputPins[1]") {}
};

// One byte after scaling by a coefficient, worked out plainly.
int Scaled(int byte, double c, int fill) {
  if (c == 1.0) return byte;
  if (c == 0.0) return fill;
  const int v = static_cast<int>(static_cast<long long>(std::nearbyint(c * 255.0)) & 0xff);
  return static_cast<int>(std::lround(byte * v / 255.0));
}

int Apply(TFQCombineOperation op, int a, int b) {
  switch (op) {
  case coAdd:
    return std::min(255, a + b);
  case coSubtract:
    return std::max(0, b - a);
  case coMultiply:
    return std::min(255, a * b);
  case coDivide: {
    if (a == 0) return b == 0 ? 0 : 255;
    int q = b / a;
    const int twice = 2 * (b % a);
    if (twice > a || (twice == a && (q & 1) != 0)) ++q;
    return std::min(q, 255);
  }
  case coOr:
    return a | b;
  case coAnd:
    return a & b;
  case coXor:
    return a ^ b;
  case coAbsDiff:
    return std::abs(a - b);
  case coCopy:
    return b;
  }
  return -1;
}

TEST(Combine, EveryOperationAndCoefficientOnGreyAnd24BitFrames) {
  const TColor background = 0xff306090u; // fill bytes 0x30, 0x60, 0x90
  const int fill[3] = {0x30, 0x60, 0x90};
  for (const TFQVideoFormat format : {vf24Bit, vfGrey}) {
    const IFQImageBuffer p1 = RandomFrame(13, 5, format, 1), p2 = RandomFrame(13, 5, format, 2);
    for (int op = coAdd; op <= coCopy; ++op) {
      for (const double c : {1.0, 0.0, 0.5, 1.5}) {
        Rig rig;
        rig.combiner->SetBackgroundColor(background);
        rig.combiner->SetCombineOperation(static_cast<TFQCombineOperation>(op));
        rig.combiner->SetCoefficient1(c);
        rig.combiner->SetCoefficient2(c == 0.5 ? 1.0 : 0.5);
        const auto expected = test::MapPixels(p1, [&](std::vector<std::uint8_t>& a, int x, int y) {
          const auto b = PixelAt(p2, x, y);
          for (std::size_t k = 0; k < a.size(); ++k) {
            const int sa = Scaled(a[k], c, fill[k]), sb = Scaled(b[k], c == 0.5 ? 1.0 : 0.5, fill[k]);
            a[k] = static_cast<std::uint8_t>(Apply(static_cast<TFQCombineOperation>(op), sa, sb));
          }
        });
        std::string why;
        ASSERT_TRUE(test::SameFrame(rig.Run(p1, p2), expected, &why))
            << "op " << op << " c " << c << " format " << int(format) << ": " << why;
        // The senders' frames are never written.
        ASSERT_TRUE(test::SameFrame(p1, RandomFrame(13, 5, format, 1)));
      }
    }
  }
}

TEST(Combine, ThirtyTwoBitPicture2IsCompositedOverPicture1ByItsAlpha) {
  const TColor p1 = FQRGB(40, 50, 60) | 0xff000000u;
  for (const std::uint32_t alpha : {255u, 0u}) {
    Rig rig;
    rig.combiner->SetCombineOperation(coSubtract);
    const IFQImageBuffer out = rig.Run(test::SolidFrame(4, 2, vf32Bit, p1),
                                       test::SolidFrame(4, 2, vf32Bit, FQRGB(100, 100, 100) | alpha << 24));
    ASSERT_EQ(out.GetFormat(), vf32Bit);
    if (alpha == 255) // the operation's result only: 100 - picture 1
      EXPECT_EQ(PixelAt(out, 3, 1), (std::vector<std::uint8_t>{40, 50, 60, 255}));
    else // picture 2 transparent: picture 1 shows
      EXPECT_EQ(PixelAt(out, 3, 1), (std::vector<std::uint8_t>{60, 50, 40, 255}));
  }
  // Coefficient 0 fills picture 1 with the background, alpha included, but
  // only picture 2's colour: with a transparent picture 2 the background shows.
  Rig rig;
  rig.combiner->SetBackgroundColor(FQRGB(1, 2, 3) | 0xff000000u);
  rig.combiner->SetCoefficient1(0.0);
  const IFQImageBuffer out =
      rig.Run(test::SolidFrame(2, 2, vf32Bit, p1), test::SolidFrame(2, 2, vf32Bit, FQRGB(9, 9, 9)));
  EXPECT_EQ(PixelAt(out, 0, 0), (std::vector<std::uint8_t>{3, 2, 1, 255}));
}

TEST(Combine, RateSourcePicksTheInputThatClocksTheOutput) {
  Rig rig;
  rig.combiner->SetRateSource(frsChannel2);
  rig.source1->StartStream(4, 4, vf24Bit, 400000);
  rig.source2->StartStream(4, 4, vf24Bit, 800000);
  EXPECT_EQ(rig.grabber->GetStreamInfo().Interval, 800000);
  for (int i = 0; i < 3; ++i) rig.source1->Push(test::SolidFrame(4, 4, vf24Bit, 0));
  EXPECT_EQ(rig.grabber->GetFrameCount(), 0);
  rig.source2->Push(test::SolidFrame(4, 4, vf24Bit, 0));
  EXPECT_EQ(rig.grabber->GetFrameCount(), 1);
}

TEST(Combine, AfterStopTheOwnClockSendsTheLastFrameOrBlack) {
  for (const TFQMixerAfterStop mode : {asLastFrame, asZero}) {
    Rig rig;
    rig.combiner->SetAfterStop(mode);
    rig.source1->StartStream(4, 4, vf24Bit, 100000); // 10 ms
    rig.source2->StartStream(4, 4, vf24Bit, 100000);
    rig.source1->Push(test::SolidFrame(4, 4, vf24Bit, FQRGB(20, 20, 20)));
    rig.source2->Push(test::SolidFrame(4, 4, vf24Bit, FQRGB(30, 30, 30)));
    rig.source1->StopStream();
    rig.source2->StopStream();
    EXPECT_TRUE(rig.grabber->WaitForFrames(4, std::chrono::seconds(10)));
    EXPECT_EQ(rig.grabber->GetStopCount(), 0);
    EXPECT_EQ(PixelAt(rig.grabber->GetLastFrame(), 3, 3)[0], mode == asLastFrame ? 50 : 0);
    rig.combiner->Stop();
    EXPECT_EQ(rig.grabber->GetStopCount(), 1);
    const long long count = rig.grabber->GetFrameCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    EXPECT_EQ(rig.grabber->GetFrameCount(), count);
  }
}

TEST(Combine, AfterStopAPacingComponentDownstreamDrivesOneFramePerTick) {
  Rig rig;
  rig.grabber->SetPacesStream(true);
  rig.combiner->SetAfterStop(asZero);
  rig.Run(test::SolidFrame(4, 4, vf24Bit, FQRGB(20, 20, 20)),
          test::SolidFrame(4, 4, vf24Bit, FQRGB(30, 30, 30)));
  rig.source1->StopStream();
  rig.source2->StopStream();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(rig.grabber->GetFrameCount(), 1); // no clock of its own
  rig.grabber->Pump();
  rig.grabber->Pump();
  EXPECT_EQ(rig.grabber->GetFrameCount(), 3);
  EXPECT_EQ(PixelAt(rig.grabber->GetLastFrame(), 0, 0)[0], 0);
  // A repeated tick, or a pump from anyone else, sends nothing.
  rig.grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>(rig.grabber.get(), 7));
  rig.grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>(rig.grabber.get(), 7));
  rig.grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>(nullptr, 8));
  EXPECT_EQ(rig.grabber->GetFrameCount(), 4);
}

TEST(Combine, CoefficientsTravelAsCoefficientValues) {
  Initialize();
  TFQForm form;
  auto& combine = static_cast<TFQCombine&>(form.Add("TFQCombine", "Mix"));
  EXPECT_EQ(form.Save().find("CoefficientValues"), std::string::npos); // both 1: nothing stored
  combine.SetCoefficient1(0.25);
  combine.SetCoefficient2(2.5);
  const std::string saved = form.Save();
  auto loaded = TFQForm::Parse(saved, "saved");
  auto* again = dynamic_cast<TFQCombine*>(loaded->Find("Mix"));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->GetCoefficient1(), 0.25);
  EXPECT_EQ(again->GetCoefficient2(), 2.5);
  EXPECT_EQ(loaded->Save(), saved);
  Finalize();
}

} // namespace
} // namespace framquist
