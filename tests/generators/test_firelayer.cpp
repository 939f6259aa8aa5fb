// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "frame/fqendpoints.h"
#include "generators/fqfirelayer.h"
#include "pinweave/pwlock.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

IFQImageBuffer Mask(const IZNDrawItem& item, int w, int h) {
  IFQImageBuffer grey = IFQImageBuffer::Create(w, h, vfGrey);
  std::memset(grey.GetWritePointer(), 0, static_cast<std::size_t>(grey.GetLineStep()) * h);
  item.Render(grey, 1.0, 1.0);
  return grey;
}
bool In(const IFQImageBuffer& grey, int x, int y) { return PixelAt(grey, x, y)[0] == 255; }
int Area(const IFQImageBuffer& grey) {
  return test::CountPixels(grey, [](const auto& px) { return px[0] == 255; });
}

TEST(DrawItems, ShapesFillByPixelCentres) {
  TPWLock lock;
  TZNDrawRectangle rect(lock);
  rect.SetBounds(-2, 3, 6, 4); // clipped on the left
  IFQImageBuffer g = Mask(rect, 10, 10);
  EXPECT_EQ(Area(g), 4 * 4);
  EXPECT_TRUE(In(g, 0, 3));
  EXPECT_TRUE(In(g, 3, 6));
  EXPECT_FALSE(In(g, 4, 6));
  EXPECT_FALSE(In(g, 3, 7));

  TZNDrawEllipse ellipse(lock);
  ellipse.SetBounds(2, 4, 16, 8);
  g = Mask(ellipse, 20, 16);
  EXPECT_TRUE(In(g, 10, 8));
  EXPECT_TRUE(In(g, 2, 7)); // the ends of the long axis
  EXPECT_TRUE(In(g, 17, 8));
  EXPECT_FALSE(In(g, 2, 4)); // the box's corners
  EXPECT_FALSE(In(g, 17, 11));
  EXPECT_FALSE(In(g, 10, 12)); // below the box
  for (int y = 0; y < 16; ++y) // symmetric about the centre
    for (int x = 0; x < 20; ++x) ASSERT_EQ(In(g, x, y), In(g, 19 - x, 15 - y)) << x << "," << y;

  // Right triangle: centres with x + y + 1 < 10 are inside, on the
  // hypotenuse are out.
  TZNDrawPolygon tri(lock);
  tri.SetPoints({{0, 0}, {10, 0}, {0, 10}});
  g = Mask(tri, 12, 12);
  EXPECT_EQ(Area(g), 45);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(In(g, x, y), x + y <= 8) << x << "," << y;
  tri.SetPoints({{0, 0}, {10, 0}}); // no area
  EXPECT_EQ(Area(Mask(tri, 12, 12)), 0);

  // The polygon's points stream as X, Y pairs.
  tri.SetPoints({{1, 2}, {3, -4}, {5, 6}});
  TPWFiler filer = PWDefinedProperties(tri);
  const TPWExtraProperty* points = filer.Find("Points");
  ASSERT_NE(points, nullptr);
  TPWWriter w;
  points->Write(w);
  TZNDrawPolygon copy(lock);
  TPWReader r(w.Items());
  PWDefinedProperties(copy).Find("Points")->Read(r);
  EXPECT_EQ(copy.GetPoints(), tri.GetPoints());
}

// Each column gives the top of every run and the bottom of the last one; a
// run that reaches the bottom row has no exit.
TEST(FireLayer, OutlineIsColumnEntriesAndLastExit) {
  auto l = Make<TFQFireLayer>();
  TPWLockHold hold = l->GetLock().Write();
  l->Simulator().InitFire(10, 12);
  TZNDrawRectangle rect(l->GetLock());
  rect.SetBounds(2, 3, 3, 5);
  EXPECT_EQ(l->PopulateGetContours(rect),
            (std::vector<TPoint>{{2, 3}, {2, 7}, {3, 3}, {3, 7}, {4, 3}, {4, 7}}));
  rect.SetBounds(8, 9, 5, 20); // clipped right and below
  EXPECT_EQ(l->PopulateGetContours(rect), (std::vector<TPoint>{{8, 9}, {9, 9}}));
  // A "C": two runs in columns 1 and 2 give both tops, then the last
  // run's bottom only.
  TZNDrawPolygon c(l->GetLock());
  c.SetPoints({{0, 1}, {3, 1}, {3, 3}, {1, 3}, {1, 6}, {3, 6}, {3, 9}, {0, 9}});
  EXPECT_EQ(l->PopulateGetContours(c),
            (std::vector<TPoint>{{0, 1}, {0, 8}, {1, 1}, {1, 6}, {1, 8}, {2, 1}, {2, 6}, {2, 8}}));
}

using Chain = test::FilterChain<TFQFireLayer>;

TEST(FireLayer, FeedingInItemOrder) {
  Chain c;
  // Cached outlines are used as they are; disabled items add nothing.
  auto& cached = c.filter->AddItem<TZNDrawRectangle>();
  cached.SetBounds(0, 0, 40, 30);
  cached.SetContours({{5, 5}, {6, 6}});
  auto& off = c.filter->AddItem<TZNDrawEllipse>();
  off.SetBounds(0, 0, 40, 30);
  off.SetEnabled(false);
  c.filter->AddItem<TZNDrawRectangle>().SetBounds(10, 20, 2, 3);
  EXPECT_EQ(c.filter->GetItemCount(), 3);
  EXPECT_EQ(c.Run(RandomFrame(40, 30, vf24Bit, 1)).GetFormat(), vf32Bit);
  {
    TPWLockHold hold = c.filter->GetLock().Read();
    EXPECT_EQ(c.filter->Simulator().ContourPoints(),
              (std::vector<TPoint>{{5, 5}, {6, 6}, {10, 20}, {10, 22}, {11, 20}, {11, 22}}));
  }
  EXPECT_TRUE(c.filter->RemoveItem(off));
  EXPECT_FALSE(c.filter->RemoveItem(off));
  EXPECT_EQ(c.filter->GetItemCount(), 2);
}

// Shapes outside the frame give no outline: the frame passes unchanged.
TEST(FireLayer, ItemsWithoutPointsDrawNothing) {
  Chain c;
  c.filter->SetIterations(30);
  c.filter->AddItem<TZNDrawRectangle>().SetBounds(100, 100, 20, 20);
  c.filter->AddItem<TZNDrawEllipse>(); // empty box
  IFQImageBuffer in = RandomFrame(32, 24, vf24Bit, 7);
  in.SetFormat(vf32Bit);
  for (int i = 0; i < 10; ++i) {
    std::string why;
    ASSERT_TRUE(SameFrame(c.Run(in), in, &why)) << why;
  }
}

// Without items the layer is the plain fire (offsets 0) over the frame,
// frame for frame from the same seed; after an outline has fed the fire,
// removing the items brings the bottom-row fuel line back.
TEST(FireLayer, NoItemsBurnsLikeThePlainFire) {
  IFQImageBuffer in = IFQImageBuffer::Create(48, 36, vf32Bit);
  in.FillColor(0xff203040u, 0);
  std::vector<IFQImageBuffer> fire, layer;
  {
    test::FilterChain<TFQFire> plain;
    plain.filter->SetLeftOffset(0);
    plain.filter->SetRightOffset(0);
    FQRandSeed(9);
    for (int i = 0; i < 40; ++i) fire.push_back(plain.Run(in));
  }
  Chain c;
  FQRandSeed(9);
  for (int i = 0; i < 40; ++i) layer.push_back(c.Run(in));
  bool changed = false;
  for (std::size_t i = 0; i < fire.size(); ++i) {
    std::string why;
    ASSERT_TRUE(SameFrame(fire[i], layer[i], &why)) << i << ": " << why;
    changed |= !SameFrame(layer[i], in);
  }
  EXPECT_TRUE(changed);

  auto& ring = c.filter->AddItem<TZNDrawEllipse>();
  ring.SetBounds(4, 4, 40, 28);
  for (int i = 0; i < 10; ++i) c.Run(in);
  c.filter->ClearItems();
  for (int i = 0; i < 10; ++i) c.Run(in);
  {
    TPWLockHold hold = c.filter->GetLock().Read();
    TZNFireSimulator& sim = c.filter->Simulator();
    EXPECT_TRUE(sim.ContourPoints().empty());
    EXPECT_EQ(sim.FuelLine().size(), 48u);
  }
}

// Another thread changes the shapes and the palette family while frames
// flow: every frame is coloured by one palette, never a mix.
TEST(FireLayer, ItemsAndPropertiesChangeBetweenFramesOnly) {
  Chain c;
  c.filter->GetSmooth().SetEnabled(false);
  c.filter->SetIterations(5);
  c.grabber->SetKeepCount(300);
  IFQImageBuffer in = IFQImageBuffer::Create(40, 30, vf32Bit);
  in.FillColor(0xff000000u, 0);
  c.source->StartStream(40, 30, vf32Bit, 400000);
  std::atomic<bool> done{false};
  std::thread setter([&] {
    for (int i = 0; !done.load(); ++i) {
      c.filter->SetFireColor(i % 2 != 0 ? fcBlue : fcRed);
      if (i % 3 == 0) c.filter->AddItem<TZNDrawEllipse>().SetBounds(i % 20, 5, 20, 20);
      if (i % 5 == 0) {
        auto& p = c.filter->AddItem<TZNDrawPolygon>();
        p.SetPoints({{0, 29}, {20, i % 30}, {39, 29}});
      }
      if (c.filter->GetItemCount() > 6) {
        if (auto first = c.filter->GetItem(0)) c.filter->RemoveItem(*first);
      }
      if (i % 17 == 0) c.filter->ClearItems();
      c.filter->SetWind(i % 21 - 10);
      c.filter->Spark(1, 3);
      std::this_thread::yield();
    }
  });
  for (int i = 0; i < 250; ++i) c.source->Push(in);
  done = true;
  setter.join();
  c.source->StopStream();
  const auto frames = c.grabber->GetFrames();
  ASSERT_EQ(frames.size(), 250u);
  for (const IFQImageBuffer& f : frames) {
    ASSERT_FALSE(test::MixesRedAndBlue(f));
    ASSERT_EQ(test::CountPixels(f, [](const auto& px) { return px[3] == 255; }), 40 * 30); // alpha kept
  }
}

} // namespace
} // namespace framquist
