// labels: threaded
#include <gtest/gtest.h>

#include <thread>

#include "frame/fqcommongen.h"
#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "ipp/ippcopy.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;
using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

// Paints its region of interest with one grey level.
class TPaintROI : public TFQCommonROIFilter {
public:
  std::string_view GetClassName() const override { return "TPaintROI"; }
  void SetVideoFormat(IFQImageBuffer& Buffer) override {
    if (Buffer.GetFormat() == vfGrey || Buffer.GetFormat() == vf32Bit) return;
    TFQCommonROIFilter::SetVideoFormat(Buffer);
  }
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override {
    OutBuffer.Assign(InBuffer);
    SIZE size = InBuffer.GetSize();
    auto* in = const_cast<unsigned char*>(InBuffer.GetReadPointer());
    unsigned char* out = OutBuffer.GetWritePointer();
    ReclaculateRoiAndOffset(size, in, OutBuffer, out, InBuffer.GetFormat());
    const Ipp8u v[3] = {200, 200, 200};
    const IppiSize roi{size.cx, size.cy};
    if (InBuffer.GetFormat() == vfGrey)
      ippiSet_8u_C1R(200, out, OutBuffer.GetLineStep(), roi);
    else if (InBuffer.GetFormat() == vf32Bit) {
      ippiSet_8u_AC4R(v, out, OutBuffer.GetLineStep(), roi);
      ippiCopy_8u_C4CR(in + 3, InBuffer.GetLineStep(), out + 3, OutBuffer.GetLineStep(), roi);
    } else
      ippiSet_8u_C3R(v, out, OutBuffer.GetLineStep(), roi);
  }
};

// Fills each frame with the number of frames it made before.
class TCountingGen : public TFQCommonGen {
public:
  std::string_view GetClassName() const override { return "TCountingGen"; }
  std::atomic<int> starts{0}, stops{0};
  TFQVideoFormat format = vf24Bit;

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) override {
    const auto n = static_cast<std::uint8_t>(made_++);
    Buffer.FillColor(FQRGB(n, n, n), 0);
  }
  void IntStart() override {
    made_ = 0;
    ++starts;
  }
  void IntStop() override { ++stops; }
  TFQVideoFormat GetVideoFormat() override { return format; }

private:
  int made_ = 0;
};

TEST(FrameFlow, StartValuesAndStopReachTheEndOfAChain) {
  auto source = Make<TFQImageSource>();
  auto m1 = Make<TFQMirror>();
  auto m2 = Make<TFQMirror>();
  auto grabber = Make<TFQImageGrabber>();
  ASSERT_TRUE(TPWPin::Connect(source->OutputPin, m1->InputPin));
  ASSERT_TRUE(TPWPin::Connect(m2->InputPin, m1->OutputPin)); // either order
  ASSERT_TRUE(m2->OutputPin.Connect(grabber->InputPin));
  source->StartStream(320, 240, vf32Bit, 333667);
  const TFQStreamInfo info = grabber->GetStreamInfo();
  EXPECT_EQ(info.Width, 320);
  EXPECT_EQ(info.Height, 240);
  EXPECT_EQ(info.Format, vf32Bit);
  EXPECT_EQ(info.Interval, 333667);
  EXPECT_TRUE(info.Running);
  EXPECT_EQ(grabber->GetStartCount(), 1);

  auto frame = RandomFrame(320, 240, vf32Bit, 1);
  source->Push(frame);
  source->Push(frame);
  const auto frames = grabber->GetFrames();
  ASSERT_EQ(frames.size(), 1u); // keeps the last one by default
  EXPECT_EQ(frames[0].GetStartTime(), 333667);
  EXPECT_EQ(frames[0].GetEndTime(), 2 * 333667);
  EXPECT_TRUE(SameFrame(frames[0], frame)); // two flips

  source->StopStream();
  EXPECT_EQ(grabber->GetStopCount(), 1);
  EXPECT_FALSE(grabber->GetStreamInfo().Running);
  EXPECT_FALSE(source->Push(frame));

  // A start request from the far end climbs the chain to the source.
  grabber->Start();
  EXPECT_TRUE(source->IsStreaming());
  EXPECT_EQ(grabber->GetStartCount(), 2);
  grabber->Stop();
  EXPECT_FALSE(source->IsStreaming());
}

TEST(FrameFlow, PinsConnectOnlyMatchingKinds) {
  auto source = Make<TFQImageSource>();
  auto clock = Make<TFQTickClock>();
  auto gen = Make<TCountingGen>();
  auto grabber = Make<TFQImageGrabber>();
  EXPECT_FALSE(TPWPin::Connect(clock->OutputPin, grabber->InputPin));
  EXPECT_FALSE(TPWPin::Connect(source->OutputPin, gen->OutputPin));
  EXPECT_FALSE(TPWPin::Connect(grabber->InputPin, grabber->InputPin));
  EXPECT_TRUE(TPWPin::Connect(clock->OutputPin, gen->ClockPin));
  // A sink has one source: connecting it elsewhere moves it.
  ASSERT_TRUE(source->OutputPin.Connect(grabber->InputPin));
  ASSERT_TRUE(gen->OutputPin.Connect(grabber->InputPin));
  EXPECT_FALSE(source->OutputPin.IsConnected());
  EXPECT_EQ(grabber->InputPin.GetSourceUnsafe(), &gen->OutputPin);
  EXPECT_EQ(grabber->FindPin("InputPin"), &grabber->InputPin);
}

struct RoiCase {
  const char* name;
  int x, y, w, h;
  TRect painted; // expected painted rectangle, empty when none
};

TEST(FrameFlow, RegionOfInterestIsClippedToTheFrame) {
  const RoiCase cases[] = {
      {"inside", 2, 1, 3, 2, {2, 1, 5, 3}},
      {"partly outside", 6, 3, 10, 10, {6, 3, 8, 5}},
      {"negative origin", -2, -1, 4, 3, {0, 0, 2, 2}},
      {"wholly outside", 20, 20, 5, 5, {}},
      {"off", 0, 0, 0, 0, {0, 0, 8, 5}},
  };
  for (TFQVideoFormat format : {vfGrey, vf24Bit, vf32Bit})
    for (const RoiCase& c : cases) {
      test::FilterChain<TPaintROI> chain;
      if (std::string(c.name) != "off") chain.filter->ROI.SetRect(c.x, c.y, c.w, c.h);
      const auto in = RandomFrame(8, 5, format, 3);
      const auto expected = test::MapPixels(in, [&](std::vector<std::uint8_t>& px, int x, int y) {
        if (x >= c.painted.Left && x < c.painted.Right && y >= c.painted.Top && y < c.painted.Bottom)
          std::fill_n(px.begin(), std::min<size_t>(px.size(), 3), 200);
      });
      std::string why;
      EXPECT_TRUE(SameFrame(chain.Run(in), expected, &why))
          << c.name << " format " << int(format) << ": " << why;
    }
}

TEST(FrameFlow, CallerTickedGeneratorMakesOneFramePerTick) {
  test::GenChain<TCountingGen> chain(16, 8);
  auto& [clock, gen, grabber] = chain;
  grabber->SetKeepCount(10);
  gen->SetRate(50);
  gen->Start();
  EXPECT_EQ(grabber->GetStreamInfo().Interval, 200000);
  EXPECT_EQ(grabber->GetStreamInfo().Width, 16);
  for (int i = 1; i <= 5; ++i) {
    clock->Tick();
    ASSERT_EQ(grabber->GetFrameCount(), i); // synchronous, exactly one
  }
  std::this_thread::sleep_for(50ms); // no clock thread of its own runs
  EXPECT_EQ(grabber->GetFrameCount(), 5);
  const auto frames = grabber->GetFrames();
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(PixelAt(frames[i], 15, 7)[0], i);
    EXPECT_EQ(frames[i].GetStartTime(), i * 200000LL);
  }
  gen->Stop();
  clock->Tick();
  EXPECT_EQ(grabber->GetFrameCount(), 5);
  EXPECT_EQ(grabber->GetStopCount(), 1);
  EXPECT_EQ(gen->starts, 1);
  EXPECT_EQ(gen->stops, 1);
}

TEST(FrameFlow, GeneratorReannouncesWhenItsSizeChanges) {
  test::GenChain<TCountingGen> chain(0, -5); // clamped to 1 x 1
  auto& [clock, gen, grabber] = chain;
  EXPECT_EQ(gen->GetImageSize(), (SIZE{1, 1}));
  gen->format = vf32Bit;
  grabber->Start(); // a start request reaches the generator
  ASSERT_TRUE(gen->IsRunning());
  clock->Tick();
  gen->SetImageSize(4, 3);
  clock->Tick();
  EXPECT_EQ(grabber->GetStartCount(), 2);
  EXPECT_EQ(grabber->GetStreamInfo().Width, 4);
  EXPECT_EQ(grabber->GetLastFrame().GetSize(), (SIZE{4, 3}));
  EXPECT_EQ(grabber->GetLastFrame().GetFormat(), vf32Bit);
  gen->Stop();
}

TEST(FrameFlow, MasterPumpsPullFramesInPullMode) {
  auto gen = Make<TCountingGen>();
  auto grabber = Make<TFQImageGrabber>();
  gen->OutputPin.Connect(grabber->InputPin);
  gen->SetPumpType(ptPull);
  gen->Start();
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(grabber->GetFrameCount(), 0);
  for (int i = 0; i < 3; ++i) grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>());
  EXPECT_EQ(grabber->GetFrameCount(), 3);
  gen->Stop();
}

// Its own clock thread runs until Stop, or until the generator is destroyed
// while running; no frame arrives after either.
TEST(FrameFlow, OwnClockRunsUntilStopOrDestruction) {
  for (const bool destroy : {false, true}) {
    auto grabber = Make<TFQImageGrabber>();
    auto gen = Make<TCountingGen>();
    gen->OutputPin.Connect(grabber->InputPin);
    gen->SetRate(destroy ? 1000 : 200);
    gen->Start();
    EXPECT_TRUE(grabber->WaitForFrames(3, 5s));
    destroy ? gen.reset() : gen->Stop();
    const long long n = grabber->GetFrameCount();
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(grabber->GetFrameCount(), n) << "destroyed: " << destroy;
    if (!destroy) {
      EXPECT_EQ(grabber->GetStopCount(), 1);
    }
  }
}

// Generates a 32-bit frame of one colour alone; over an input, paints the
// input's region of interest.
class TGenOrPaint : public TFQCommonROIGenFilter {
public:
  std::string_view GetClassName() const override { return "TGenOrPaint"; }
  std::atomic<bool> allowStart{true};
  std::atomic<int> enabledChanges{0};

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) override {
    Buffer.SetFormat(vf32Bit);
    Buffer.FillColor(FQRGB(9, 8, 7), 0);
  }
  void FilterInternalOperation(IFQImageBuffer In, IFQImageBuffer& Out) override {
    Out.Assign(In);
    Out.FillColor(FQRGB(1, 1, 1), 0);
  }
  bool CanStart() override { return allowStart; }
  void EnabledChanged() override { ++enabledChanges; }
};

TEST(FrameFlow, RoiGenFilterGeneratesWhileItsInputIsUnconnected) {
  test::GenChain<TGenOrPaint> chain(5, 4);
  auto& [clock, gen, grabber] = chain;
  grabber->Start(); // no input: the request starts the generator
  ASSERT_TRUE(gen->IsGenerating());
  clock->Tick();
  ASSERT_EQ(grabber->GetFrameCount(), 1);
  EXPECT_EQ(PixelAt(grabber->GetLastFrame(), 4, 3), (std::vector<std::uint8_t>{7, 8, 9, 0}));
  gen->SetEnabled(false); // a disabled generator makes nothing
  clock->Tick();
  EXPECT_EQ(grabber->GetFrameCount(), 1);
  EXPECT_EQ(gen->enabledChanges, 1);
  gen->SetEnabled(true);
  gen->Stop();
  EXPECT_FALSE(gen->IsGenerating());

  // With an input it is a filter; a start it may not pass on stays back.
  auto source = Make<TFQImageSource>();
  source->OutputPin.Connect(gen->InputPin);
  gen->allowStart = false;
  source->StartStream(3, 3, vf24Bit, 0);
  EXPECT_EQ(grabber->GetStartCount(), 1);
  source->Push(RandomFrame(3, 3, vf24Bit, 2));
  EXPECT_EQ(PixelAt(grabber->GetLastFrame(), 2, 2), (std::vector<std::uint8_t>{1, 1, 1}));
  clock->Tick(); // the clock no longer drives it
  EXPECT_EQ(grabber->GetFrameCount(), 2);
}

// Starts and stops race clock events and each other; every stream the
// grabber sees must be well formed: frames only between a start and a stop.
TEST(FrameFlow, StartStopRaceClockEvents) {
  test::GenChain<TCountingGen> chain(16, 8);
  auto& [clock, gen, grabber] = chain;
  std::atomic<bool> bad{false}, done{false};
  grabber->SetOnFrame([&](const IFQImageBuffer&) {
    if (!grabber->GetStreamInfo().Running) bad = true;
  });
  std::thread ticker([&] {
    while (!done) clock->Tick();
  });
  std::thread toggler([&] {
    for (int i = 0; i < 300; ++i) gen->Stop(), gen->Start();
  });
  for (int i = 0; i < 300; ++i) gen->Start(), gen->Stop();
  toggler.join();
  done = true;
  ticker.join();
  gen->Stop();
  EXPECT_FALSE(bad);
  EXPECT_EQ(grabber->GetStartCount(), grabber->GetStopCount());
  EXPECT_EQ(gen->starts.load(), gen->stops.load());
}

// Another thread keeps connecting, disconnecting and changing the mirror
// while frames flow; every frame that arrives must be whole and correct for
// one of the two settings.
TEST(FrameFlow, ConnectDisconnectAndSetWhileFramesFlow) {
  auto source = Make<TFQImageSource>();
  auto mirror = Make<TFQMirror>();
  auto grabber = Make<TFQImageGrabber>();
  source->OutputPin.Connect(mirror->InputPin);
  const auto in = RandomFrame(24, 16, vf24Bit, 4);
  test::FilterChain<TFQMirror> model;
  const IFQImageBuffer flippedH = model.Run(in);
  model.filter->SetMirrorType(mtVertical);
  const IFQImageBuffer flippedV = model.Run(in);
  std::atomic<bool> bad{false};
  grabber->SetOnFrame([&](const IFQImageBuffer& f) {
    if (!SameFrame(f, flippedH) && !SameFrame(f, flippedV)) bad = true;
  });
  source->StartStream(24, 16, vf24Bit, 0);
  std::atomic<bool> done{false};
  std::thread pusher([&] {
    for (int i = 0; i < 3000; ++i) source->Push(in);
    done = true;
  });
  std::thread changer([&] {
    for (int i = 0; !done; ++i) {
      mirror->SetMirrorType(i % 2 ? mtVertical : mtHorizontal);
      if (i % 3 == 0) mirror->OutputPin.Connect(grabber->InputPin);
      if (i % 5 == 0) mirror->OutputPin.Disconnect(grabber->InputPin);
    }
  });
  pusher.join();
  changer.join();
  EXPECT_FALSE(bad);
}

} // namespace
} // namespace framquist
