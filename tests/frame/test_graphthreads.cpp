// labels: threaded
// Graphs as applications build them, driven from several threads at once:
// chains of combiners paced from downstream, stops racing clock ticks,
// fan-out to receivers that change their frames, inputs added and removed
// while frames flow. Each runs under a watchdog, so a deadlock fails the
// test instead of hanging the run.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "frame/fqcommongen.h"
#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "generators/fqgaussnoise.h"
#include "generators/fqtestpattern.h"
#include "generators/fquniformnoise.h"
#include "streams/fqcombine.h"
#include "support/fqtestsupport.h"
#include "wavquist/wqclock.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;
using test::RandomFrame;
using test::SameFrame;
using test::Watchdog;

// Inverts every byte in place; records where the pixels it changed were.
class TInvertInPlace : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TInvertInPlace"; }
  bool CanInline() override { return true; }
  void SetVideoFormat(IFQImageBuffer&) override {} // every format as it comes
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override {
    std::uint8_t* p = OutBuffer.GetModifyPointer();
    const int row = InBuffer.GetWidth() * InBuffer.GetBytesPerPixel();
    for (int y = 0; y < InBuffer.GetHeight(); ++y)
      for (int x = 0; x < row; ++x) p[static_cast<std::ptrdiff_t>(y) * InBuffer.GetLineStep() + x] ^= 0xff;
    where.store(p);
  }
  std::atomic<const std::uint8_t*> where{nullptr};
};

// A grabber that turns every frame grey before keeping it.
class TGreyGrabber : public TFQImageGrabber {
protected:
  void SetVideoFormat(IFQImageBuffer& Buffer) override { Buffer.SetFormat(vfGrey); }
};

// The deadlock this guards against: combiner A sent its output into B under
// A's lock and waited for B's, while B's master pump held B's lock and
// pumped upstream into A.
TEST(GraphThreads, CombinerChainWithPacingGrabberNeverStalls) {
  Watchdog dog(40s, "combiner chain with a pacing grabber");
  auto s1 = Make<TFQImageSource>(), s2 = Make<TFQImageSource>(), s3 = Make<TFQImageSource>();
  auto a = Make<TFQCombine>(), b = Make<TFQCombine>();
  auto grabber = Make<TFQImageGrabber>();
  ASSERT_TRUE(s1->OutputPin.Connect(static_cast<TPWSinkPin&>(*a->InputPins[0])));
  ASSERT_TRUE(s2->OutputPin.Connect(static_cast<TPWSinkPin&>(*a->InputPins[1])));
  ASSERT_TRUE(a->OutputPin.Connect(static_cast<TPWSinkPin&>(*b->InputPins[0])));
  ASSERT_TRUE(s3->OutputPin.Connect(static_cast<TPWSinkPin&>(*b->InputPins[1])));
  ASSERT_TRUE(b->OutputPin.Connect(grabber->InputPin));
  grabber->SetPacesStream(true);
  const IFQImageBuffer f1 = RandomFrame(32, 24, vf24Bit, 1), f3 = RandomFrame(32, 24, vf24Bit, 3);
  // Pumps reach the sources, which answer with a frame on the pumping thread.
  s1->SetOnPump([&] { s1->Push(f1); });
  s3->SetOnPump([&] { s3->Push(f3); });
  for (auto* s : {s1.get(), s2.get(), s3.get()}) s->StartStream(32, 24, vf24Bit, 400000);

  std::atomic<bool> done{false};
  std::thread pumper([&] {
    while (!done) grabber->Pump();
  });
  std::thread push12([&] {
    for (int i = 0; !done; ++i) {
      s1->Push(f1);
      s2->Push(RandomFrame(32, 24, vf24Bit, static_cast<std::uint32_t>(i % 5)));
    }
  });
  std::thread push3([&] {
    while (!done) s3->Push(f3);
  });
  // Output must keep coming for the whole run: no window of a second without a frame.
  long long last = 0, stalls = 0;
  for (auto until = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < until;) {
    std::this_thread::sleep_for(1s);
    const long long now = grabber->GetFrameCount();
    stalls += now == last;
    last = now;
  }
  done = true;
  pumper.join();
  push12.join();
  push3.join();
  for (auto* s : {s1.get(), s2.get(), s3.get()}) s->StopStream();
  EXPECT_EQ(stalls, 0);
  EXPECT_GT(last, 100);
  EXPECT_EQ(grabber->GetStopCount(), 1);
}

// A filter that runs a clock of its own while streaming; the clock's tick
// takes the component's lock. The stop does some work under the lock, so
// the tick is waiting for it when the clock is stopped.
class TClockedFilter : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TClockedFilter"; }
  std::atomic<int> ticksAfterStop{0}, ticks{0};

protected:
  void Reset() override {
    stopped_ = false;
    clock_ = std::make_unique<TWQClockGen>([this] { Tick(); }, 10'000); // every millisecond
    clock_->Start();
  }
  void StreamStop() override {
    std::this_thread::sleep_for(5ms); // a tick is waiting for the lock by now
    stopped_ = true;
    WQRetireClock(GetLock(), std::move(clock_));
  }

private:
  void Tick() {
    TPWLockHold hold = GetLock().Write();
    if (TWQClockGen::Cancelled()) return;
    ++ticks;
    if (stopped_) ++ticksAfterStop;
  }
  bool stopped_ = false;
  std::unique_ptr<TWQClockGen> clock_;
};

TEST(GraphThreads, StopWhileTheClockTickWaitsForTheLock) {
  Watchdog dog(20s, "stopping while the clock tick waits for the lock");
  test::FilterChain<TClockedFilter> chain;
  for (int round = 0; round < 20; ++round) {
    chain.Run(RandomFrame(8, 8, vf24Bit, 1));
    const int before = chain.filter->ticks.load();
    while (chain.filter->ticks.load() < before + 2) std::this_thread::yield();
    chain.source->StopStream();
  }
  EXPECT_EQ(chain.filter->ticksAfterStop.load(), 0);
  EXPECT_EQ(chain.grabber->GetStopCount(), 20);
}

// The generator's own clock stopped while its tick waits: starts, stops and
// rate changes race the ticks of a fast clock.
TEST(GraphThreads, GeneratorStopsRacingItsOwnClock) {
  Watchdog dog(30s, "generator stops racing its clock");
  auto gen = Make<TFQTestPattern>();
  auto grabber = Make<TFQImageGrabber>();
  gen->SetImageSize(64, 48);
  gen->SetRate(1000);
  ASSERT_TRUE(gen->OutputPin.Connect(grabber->InputPin));
  std::atomic<bool> bad{false};
  grabber->SetOnFrame([&](const IFQImageBuffer&) {
    if (!grabber->GetStreamInfo().Running) bad = true;
  });
  std::thread rates([&] {
    for (int i = 0; i < 400; ++i) gen->SetRate(500 + i % 500);
  });
  for (int i = 0; i < 200; ++i) {
    gen->Start();
    std::this_thread::sleep_for(std::chrono::microseconds(200 * (i % 5)));
    gen->Stop();
  }
  rates.join();
  EXPECT_FALSE(bad);
  EXPECT_EQ(grabber->GetStartCount(), grabber->GetStopCount());
}

// Every receiver of one send gets a frame of its own: a receiver that
// converts its frame or writes into it changes nothing any other sees.
TEST(GraphThreads, SiblingsOfOnePinSeeTheFrameAsSent) {
  const IFQImageBuffer sent = RandomFrame(33, 17, vf32Bit, 9);
  const IFQImageBuffer kept = test::Converted(sent, vf32Bit); // what the sender still holds
  for (int order = 0; order < 2; ++order) {
    auto source = Make<TFQImageSource>();
    auto plain = Make<TFQImageGrabber>();
    auto grey = Make<TGreyGrabber>();
    auto invert = Make<TInvertInPlace>();
    auto inverted = Make<TFQImageGrabber>();
    invert->OutputPin.Connect(inverted->InputPin);
    // Either the plain grabber first or last among the sinks.
    if (order == 0) source->OutputPin.Connect(plain->InputPin);
    source->OutputPin.Connect(grey->InputPin);
    source->OutputPin.Connect(invert->InputPin);
    if (order == 1) source->OutputPin.Connect(plain->InputPin);
    source->StartStream(33, 17, vf32Bit, 400000);
    source->Push(sent);
    std::string why;
    EXPECT_TRUE(SameFrame(plain->GetLastFrame(), sent, &why)) << why;
    EXPECT_TRUE(SameFrame(sent, kept, &why)) << why;
    EXPECT_EQ(grey->GetLastFrame().GetFormat(), vfGrey);
    EXPECT_TRUE(SameFrame(inverted->GetLastFrame(),
                          test::MapPixels(sent,
                                          [](auto& px) {
                                            for (auto& b : px) b ^= 0xff;
                                          }),
                          &why))
        << why;
  }
}

// A frame nobody else holds is changed in place all along a chain of
// in-place filters, and a steady stream takes its pixels from the pool.
TEST(GraphThreads, InPlaceChainCopiesOnlyWhereTheFrameIsShared) {
  auto source = Make<TFQImageSource>();
  auto first = Make<TInvertInPlace>(), second = Make<TInvertInPlace>();
  auto grabber = Make<TFQImageGrabber>();
  grabber->SetKeepCount(0);
  source->OutputPin.Connect(first->InputPin);
  first->OutputPin.Connect(second->InputPin);
  const std::uint8_t* arrived = nullptr;
  grabber->SetOnFrame([&](const IFQImageBuffer& f) { arrived = f.GetReadPointer(); });
  second->OutputPin.Connect(grabber->InputPin);
  const IFQImageBuffer picture = RandomFrame(320, 240, vf24Bit, 2);
  source->StartStream(320, 240, vf24Bit, 400000);
  for (int i = 0; i < 5; ++i) source->Push(picture); // settle the pool
  const TFQPixelPoolStats before = FQGetPixelPoolStats();
  for (int i = 0; i < 50; ++i) {
    source->Push(picture);
    // The source's frame shares the caller's pixels, so the first filter
    // copies once; the second works on that copy where it is.
    EXPECT_NE(first->where.load(), picture.GetReadPointer());
    EXPECT_EQ(second->where.load(), first->where.load());
    EXPECT_EQ(arrived, second->where.load());
  }
  EXPECT_EQ(FQGetPixelPoolStats().Allocated, before.Allocated);
}

// A two-input component whose inputs come and go: InputPins is a list of
// one to six pins; the output is the driving input's frame.
class TVarInputs : public TFQMultiInput {
public:
  TVarInputs()
      : InputPins(this, "InputPins", 6, 1, InputPinCreator([this](int index) {
                    return std::make_unique<TFQPWImageSinkPin>(this,
                                                               "InputPins[" + std::to_string(index) + "]");
                  }),
                  InputPinRemover()) {
    AddPinList(InputPins);
  }
  std::string_view GetClassName() const override { return "TVarInputs"; }
  TPWPinList InputPins;

protected:
  bool CanStartIfNotAllRunning() override { return true; }
  void CalculateSendStart(const TFQMultiStartParams& Params) override {
    TFQMultiInput::CalculateSendStart(Params);
    OutputPin.PostStart(Params.MaxWidth, Params.MaxHeight, Params.Interval, Params.Format);
  }
  void CalculateSendOutput() override {
    if (drivingInput_ == nullptr) return;
    IFQImageBuffer out;
    out.Assign(drivingInput_->Stream.CurrentFrame);
    OutputPin.PostFrame(std::move(out));
  }
};

TEST(GraphThreads, InputPinsAddedAndRemovedWhileFramesFlow) {
  Watchdog dog(60s, "input pins added and removed while frames flow");
  auto multi = Make<TVarInputs>();
  auto grabber = Make<TFQImageGrabber>();
  multi->OutputPin.Connect(grabber->InputPin);
  std::vector<TPWOwned<TFQImageSource>> sources;
  for (int i = 0; i < 6; ++i) {
    sources.push_back(Make<TFQImageSource>());
    sources.back()->StartStream(16, 8, vf24Bit, 400000);
  }
  std::atomic<bool> done{false};
  std::vector<std::thread> pushers;
  for (int i = 0; i < 3; ++i)
    pushers.emplace_back([&, i] {
      const IFQImageBuffer f = RandomFrame(16, 8, vf24Bit, static_cast<std::uint32_t>(i));
      while (!done)
        for (int k = i; k < 6; k += 3) sources[static_cast<std::size_t>(k)]->Push(f);
    });
  std::mt19937 rng(5);
  for (int step = 0; step < 20000; ++step) {
    const int count = multi->InputPins.GetCount();
    if (rng() % 2 == 0 && count < 6) {
      TFQImageSource& source = *sources[rng() % 6];
      if (TPWPin* pin = multi->InputPins.Add(); pin != nullptr && TPWPin::Connect(source.OutputPin, *pin))
        source.StartStream(16, 8, vf24Bit, 400000); // announced to the new input too
    } else if (count > 1) {
      multi->InputPins.Remove(static_cast<int>(rng() % static_cast<unsigned>(count)));
    }
    // Requests climb through the function sinks, removed ones included if forgotten.
    if (step % 50 == 0) multi->Start();
  }
  done = true;
  for (auto& t : pushers) t.join();
  multi->Stop();
  EXPECT_GT(grabber->GetFrameCount(), 0);
  multi.reset(); // destruction walks the pins that are left
}

// The soak: generators, a filter, two combiners and two grabbers on one
// graph, paced from downstream, while another thread changes properties,
// connects and disconnects pins and starts and stops streams.
TEST(GraphThreads, SoakTwentyThousandFramesThroughAChangingGraph) {
  Watchdog dog(240s, "soak through a changing graph");
  auto noise = Make<TFQUniformNoise>();
  auto bars = Make<TFQTestPattern>();
  auto gauss = Make<TFQGaussNoise>();
  auto mirror = Make<TFQMirror>();
  auto a = Make<TFQCombine>(), b = Make<TFQCombine>();
  auto paced = Make<TFQImageGrabber>(), other = Make<TFQImageGrabber>();
  noise->SetImageSize(48, 32);
  bars->SetImageSize(48, 32);
  gauss->SetImageSize(40, 24);
  ASSERT_TRUE(noise->OutputPin.Connect(mirror->InputPin));
  ASSERT_TRUE(mirror->OutputPin.Connect(static_cast<TPWSinkPin&>(*a->InputPins[0])));
  ASSERT_TRUE(bars->OutputPin.Connect(static_cast<TPWSinkPin&>(*a->InputPins[1])));
  ASSERT_TRUE(a->OutputPin.Connect(static_cast<TPWSinkPin&>(*b->InputPins[0])));
  ASSERT_TRUE(gauss->OutputPin.Connect(static_cast<TPWSinkPin&>(*b->InputPins[1])));
  ASSERT_TRUE(b->OutputPin.Connect(paced->InputPin));
  ASSERT_TRUE(b->OutputPin.Connect(other->InputPin));
  paced->SetPacesStream(true);
  paced->SetKeepCount(0);
  other->SetKeepCount(0);
  std::atomic<long long> malformed{0};
  auto check = [&malformed](TFQImageGrabber& g) {
    return [&malformed, grabber = &g](const IFQImageBuffer& f) {
      const TFQStreamInfo s = grabber->GetStreamInfo();
      if (!s.Running || f.GetWidth() != s.Width || f.GetHeight() != s.Height) ++malformed;
    };
  };
  paced->SetOnFrame(check(*paced));
  other->SetOnFrame(check(*other)); // joins the stream again at every reconnection
  paced->Start();

  std::atomic<bool> done{false};
  std::thread pumper([&] {
    while (!done) paced->Pump();
  });
  std::thread chaos([&] {
    std::mt19937 rng(11);
    for (int i = 0; !done; ++i) {
      switch (rng() % 8) {
      case 0:
        mirror->SetMirrorType(static_cast<TFQMirrorType>(rng() % 3));
        break;
      case 1:
        a->SetCombineOperation(static_cast<TFQCombineOperation>(rng() % 9));
        b->Offset.SetHorizontal(static_cast<std::int32_t>(rng() % 40) - 20);
        break;
      case 2:
        bars->SetRate(100 + rng() % 900);
        noise->SetPumpType(rng() % 2 ? ptAuto : ptPull);
        break;
      case 3:
        b->OutputPin.Disconnect(other->InputPin);
        std::this_thread::yield();
        b->OutputPin.Connect(other->InputPin);
        break;
      case 4:
        mirror->OutputPin.Disconnect(static_cast<TPWSinkPin&>(*a->InputPins[0]));
        mirror->OutputPin.Connect(static_cast<TPWSinkPin&>(*a->InputPins[0]));
        break;
      case 5:
        gauss->Stop();
        gauss->Start();
        break;
      case 6:
        if (i % 16 == 0) {
          paced->Stop();
          paced->Start();
        }
        break;
      default:
        gauss->SetImageSize(40 + static_cast<int>(rng() % 8), 24);
        break;
      }
      std::this_thread::sleep_for(100us);
    }
  });
  long long last = 0;
  int idle = 0;
  while (paced->GetFrameCount() + other->GetFrameCount() < 20000 && idle < 10) {
    std::this_thread::sleep_for(500ms);
    const long long now = paced->GetFrameCount() + other->GetFrameCount();
    idle = now == last ? idle + 1 : 0;
    last = now;
  }
  done = true;
  pumper.join();
  chaos.join();
  paced->Stop();
  EXPECT_LT(idle, 10) << "no frame for five seconds after " << last;
  EXPECT_GE(paced->GetFrameCount() + other->GetFrameCount(), 20000);
  EXPECT_EQ(malformed.load(), 0);
}

} // namespace
} // namespace framquist
