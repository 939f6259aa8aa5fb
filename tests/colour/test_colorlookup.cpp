// labels: threaded
#include <gtest/gtest.h>

#include <thread>

#include "filters/colour/fqcolorlookup.h"
#include "frame/fqendpoints.h"
#include "frame/fqform.h"
#include "frame/fqregistry.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

struct Chain : test::FilterChain<TFQColorLookup> {
  TFQLookupTable& Table(int k) { return *filter->GetLookupTables()->GetColorChannel(k); }
  void Mode(TFQColorLookupMode m) { filter->GetLookupTables()->SetLookupMode(m); }
  // The inverting curve 0 -> 255, 256 -> 0 on byte k.
  void Invert(int k) {
    Mode(clmLinear);
    Table(k).Add(0, 255);
    Table(k).Add(256, 0);
  }
};

// Entries (0, 255) and (256, 0) in linear mode invert a level exactly:
// 255 - 255 s / 256 with the fraction taken down.
std::uint8_t Inverted(int s) { return static_cast<std::uint8_t>(255 - s); }

// Two entries of one level keep their order; beyond that the order is the
// selection sort's (exchanges can carry an equal level past another), which
// stored curves depend on, so a "stable" sort would be wrong here.
TEST(ColorLookup, SortFollowsSelectionOrder) {
  TPWLock lock;
  TFQLookupTables tables(lock, nullptr);
  TFQLookupTable& pair = *tables.GetColorChannel(0);
  pair.Add(5, 1);
  pair.Add(5, 2);
  TFQLookupTable& t = *tables.GetColorChannel(1);
  t.Add(5, 1);
  t.Add(9, 7);
  t.Add(5, 2);
  t.Add(3, 9);
  TPWLockHold hold = lock.Write();
  pair.Sort();
  EXPECT_EQ(pair.SortedValues(), (TWQIntArray{1, 2}));
  t.Sort();
  EXPECT_EQ(t.SortedLevels(), (TWQIntArray{3, 5, 5, 9}));
  EXPECT_EQ(t.SortedValues(), (TWQIntArray{9, 2, 1, 7}));
  EXPECT_EQ(t.GetLevel(0), 5) << "the entered order is kept apart from the sorted copy";
}

TEST(ColorLookup, AllTablesEmptyPassesEveryFormatUnchanged) {
  for (TFQVideoFormat format : {vfGrey, vf24Bit, vf32Bit})
    for (TFQColorLookupMode mode : {clmStep, clmLinear, clmCubic}) {
      Chain c;
      c.Mode(mode);
      const IFQImageBuffer in = RandomFrame(37, 11, format, 3);
      std::string why;
      EXPECT_TRUE(SameFrame(c.Run(in), in, &why)) << int(format) << " mode " << int(mode) << ": " << why;
    }
}

TEST(ColorLookup, LinearInvertsGreyAndLeavesEmptyChannelsAlone) {
  std::string why;
  Chain grey;
  grey.Invert(0);
  const IFQImageBuffer in = RandomFrame(64, 8, vfGrey, 5);
  EXPECT_TRUE(SameFrame(grey.Run(in), test::MapPixels(in, [](auto& px) { px[0] = Inverted(px[0]); }), &why))
      << why;

  // 24-bit: only the third byte has a curve.
  Chain colour;
  colour.Invert(2);
  const IFQImageBuffer rgb = RandomFrame(29, 5, vf24Bit, 6);
  EXPECT_TRUE(
      SameFrame(colour.Run(rgb), test::MapPixels(rgb, [](auto& px) { px[2] = Inverted(px[2]); }), &why))
      << why;
}

// Step mode on 32-bit frames: empty channels fall to 0 (the default curve
// holds 0 over 0..255) and the fourth byte goes through table 3.
TEST(ColorLookup, StepMapsFourthByteAndEmptiesChannelsToZero) {
  Chain c;
  c.Mode(clmStep);
  c.Table(1).Add(0, 40);
  c.Table(1).Add(128, 200);
  c.Table(1).Add(256, 0);
  c.Table(3).Add(0, 7);
  c.Table(3).Add(256, 7);
  const IFQImageBuffer in = RandomFrame(19, 3, vf32Bit, 8);
  const auto expected = test::MapPixels(in, [](auto& px) {
    px = {0, std::uint8_t(px[1] < 128 ? 40 : 200), 0, 7};
  });
  std::string why;
  EXPECT_TRUE(SameFrame(c.Run(in), expected, &why)) << why;
}

TEST(ColorLookup, SetValueReachesFramesOnlyAfterTheTableIsResorted) {
  Chain c;
  c.Mode(clmStep);
  c.Table(0).Add(0, 100);
  c.Table(0).Add(256, 100);
  const IFQImageBuffer in = RandomFrame(16, 4, vfGrey, 9);
  EXPECT_EQ(PixelAt(c.Run(in), 3, 2)[0], 100);
  c.Table(0).SetValue(0, 50);
  EXPECT_EQ(c.Table(0).GetValue(0), 50);
  EXPECT_EQ(PixelAt(c.Run(in), 3, 2)[0], 100) << "the sorted copy still holds the old value";
  c.Table(0).SetLevel(0, 0);
  EXPECT_EQ(PixelAt(c.Run(in), 3, 2)[0], 50);
}

TEST(ColorLookup, UpdateBlockNotifiesOnceAndAssignTakesOnlyValues) {
  TPWLock lock;
  int notifications = 0;
  TFQLookupTables tables(lock, [&](TFQLookupTable&) { ++notifications; });
  TFQLookupTable& t = *tables.GetColorChannel(1);
  t.BeginUpdate();
  t.BeginUpdate();
  t.Add(1, 2);
  t.Add(3, 4);
  t.EndUpdate();
  EXPECT_EQ(notifications, 0) << "still inside the outer block";
  t.EndUpdate();
  EXPECT_EQ(notifications, 1);
  t.EndUpdate(); // unbalanced: nothing
  t.AddInt(5, 6);
  EXPECT_EQ(notifications, 1);

  TFQLookupTables copy(lock, nullptr);
  copy.GetColorChannel(1)->Add(99, 99);
  tables.SetLookupMode(clmStep);
  copy.Assign(tables);
  const TFQLookupTable& u = *copy.GetColorChannel(1);
  EXPECT_EQ(copy.GetLookupMode(), clmStep);
  ASSERT_EQ(u.GetCount(), 3);
  EXPECT_EQ(u.GetValue(0), 2);
  EXPECT_EQ(u.GetValue(2), 6);
  EXPECT_EQ(u.GetLevel(0), 0) << "levels are not taken over";
}

// Stored as level, value; read back as value, level.
TEST(ColorLookup, ColorChannelsReadBackWithLevelsAndValuesExchanged) {
  TPWLock lock;
  TFQLookupTables tables(lock, nullptr);
  tables.GetColorChannel(0)->Add(10, 20);
  tables.GetColorChannel(3)->Add(1, 2);
  tables.GetColorChannel(3)->Add(3, 4);
  const TPWFiler filer = PWDefinedProperties(tables);
  const TPWExtraProperty* extra = filer.Find("ColorChannels");
  ASSERT_NE(extra, nullptr);
  ASSERT_TRUE(extra->HasData);
  TPWWriter writer;
  extra->Write(writer);
  // [[10 20] [] [] [1 2 3 4]]
  ASSERT_EQ(writer.Items().size(), 16u);

  TFQLookupTables back(lock, nullptr);
  back.GetColorChannel(1)->Add(7, 7); // cleared by reading
  TPWReader reader(writer.Items());
  PWDefinedProperties(back).Find("ColorChannels")->Read(reader);
  EXPECT_EQ(back.GetColorChannel(0)->GetLevel(0), 20);
  EXPECT_EQ(back.GetColorChannel(0)->GetValue(0), 10);
  EXPECT_EQ(back.GetColorChannel(1)->GetCount(), 0);
  EXPECT_EQ(back.GetColorChannel(3)->GetLevel(1), 4);
  EXPECT_EQ(back.GetColorChannel(3)->GetValue(1), 3);

  Fqcolorlookup::Register();
  TFQForm form;
  auto& lookup = dynamic_cast<TFQColorLookup&>(form.Add("TFQColorLookup"));
  lookup.GetLookupTables()->SetLookupMode(clmLinear);
  lookup.GetLookupTables()->GetColorChannel(0)->Add(10, 20);
  const std::string text = form.Save();
  EXPECT_NE(text.find("ColorChannels"), std::string::npos) << text;
  auto loaded = TFQForm::Parse(text);
  auto* again = dynamic_cast<TFQColorLookup*>(loaded->Components().at(0));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->GetLookupTables()->GetLookupMode(), clmLinear);
  ASSERT_EQ(again->GetLookupTables()->GetColorChannel(0)->GetCount(), 1);
  EXPECT_EQ(again->GetLookupTables()->GetColorChannel(0)->GetLevel(0), 20);
  EXPECT_EQ(again->GetLookupTables()->GetColorChannel(0)->GetValue(0), 10);
}

// Another thread flips the mode and re-enters a level while frames flow;
// every frame must be wholly inverted (linear) or wholly 255 (step).
TEST(ColorLookup, PropertyChangedWhileFramesFlowIsSeenWhole) {
  Chain c;
  c.Invert(0);
  const IFQImageBuffer in = RandomFrame(48, 16, vfGrey, 12);
  const auto inverted = test::MapPixels(in, [](auto& px) { px[0] = Inverted(px[0]); });
  const auto held = test::SolidFrame(48, 16, vfGrey, FQRGB(255, 255, 255));
  EXPECT_EQ(test::MixedFrames(c, in, 300,
                              [&](int i) {
                                c.Mode(i % 2 == 0 ? clmStep : clmLinear);
                                c.Table(0).SetLevel(1, 256);
                                std::this_thread::yield();
                              },
                              {inverted, held}),
            0);
}

} // namespace
} // namespace framquist
