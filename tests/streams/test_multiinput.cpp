// When a component with several inputs starts, computes and stops.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/fqendpoints.h"
#include "streams/fqmultiinput.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using Times = std::vector<std::vector<std::int64_t>>;

// Records each computed set: which input drove it and the start time of
// every input's current frame.
class TProbe : public TFQMultiInput {
public:
  explicit TProbe(bool queued) {
    for (int i = 0; i < 2; ++i) {
      const std::string name = "Input" + std::to_string(i);
      pins_.push_back(queued ? std::make_unique<TFQPWQueuedImageSinkPin>(this, name)
                             : std::make_unique<TFQPWImageSinkPin>(this, name));
      AddInputPin(*pins_.back());
      OutputPin.AddFunctionSink(*pins_.back());
    }
  }
  std::string_view GetClassName() const override { return "TProbe"; }
  TFQPWImageSinkPin& In(int i) { return *pins_[static_cast<std::size_t>(i)]; }

  std::vector<int> Drivers; // both guarded by the lock
  Times Sets;
  std::int64_t OutputInterval() {
    TPWLockHold hold = GetLock().Read();
    return outputInterval_;
  }

protected:
  void CalculateSendStart(const TFQMultiStartParams& Params) override {
    TFQMultiInput::CalculateSendStart(Params);
    OutputPin.SendStart(Params.MaxWidth, Params.MaxHeight, Params.Interval, Params.Format, Params.Rate);
  }
  void CalculateSendOutput() override {
    Drivers.push_back(drivingInput_ == pins_[0].get() ? 0 : 1);
    auto& times = Sets.emplace_back();
    for (auto& pin : pins_)
      times.push_back(pin->Stream.CurrentFrame.IsEmpty() ? -1 : pin->Stream.CurrentFrame.GetStartTime());
    OutputPin.SendFrame(IFQImageBuffer::Create(2, 2, vf24Bit));
  }

private:
  std::vector<std::unique_ptr<TFQPWImageSinkPin>> pins_;
};

struct Rig {
  explicit Rig(bool queued = false, int inputs = 2) : probe(Make<TProbe>(queued)) {
    for (int i = 0; i < inputs; ++i) {
      sources.push_back(Make<TFQImageSource>());
      EXPECT_TRUE(sources.back()->OutputPin.Connect(probe->In(i)));
    }
    EXPECT_TRUE(probe->OutputPin.Connect(grabber->InputPin));
  }
  void Start(int input, std::int64_t interval = 400000) {
    sources[static_cast<std::size_t>(input)]->StartStream(2, 2, vf24Bit, interval);
  }
  // Pushes one frame per {input, start time}, in order.
  void Push(std::initializer_list<std::pair<int, std::int64_t>> frames) {
    for (const auto& [input, time] : frames) {
      IFQImageBuffer f = IFQImageBuffer::Create(2, 2, vf24Bit);
      f.SetTimes(time, time + 1);
      sources[static_cast<std::size_t>(input)]->Push(f);
    }
  }
  Times Sets() {
    TPWLockHold hold = probe->GetLock().Read();
    return probe->Sets;
  }
  TPWOwned<TProbe> probe;
  std::vector<TPWOwned<TFQImageSource>> sources;
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
};

TEST(MultiInput, OneInputAtRateChannelMinusOneGivesOneOutputPerFrame) {
  Rig rig(false, 1);
  rig.Start(0);
  rig.Push({{0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}});
  EXPECT_EQ(rig.grabber->GetFrameCount(), 5);
  EXPECT_EQ(rig.grabber->GetStartCount(), 1);
  rig.sources[0]->StopStream();
  EXPECT_EQ(rig.grabber->GetStopCount(), 1);
}

TEST(MultiInput, WaitsForEveryInputThenTheFasterOneDrives) {
  Rig rig;
  rig.Start(0, 800000);                       // 12.5 per second
  EXPECT_EQ(rig.grabber->GetStartCount(), 0); // input 1 is connected but not running
  rig.Push({{0, 1}});
  rig.Start(1); // 25 per second
  EXPECT_EQ(rig.grabber->GetStartCount(), 1);
  EXPECT_EQ(rig.grabber->GetStreamInfo().Interval, 400000); // the faster input's pace
  rig.Push({{1, 10}, {1, 11}, {0, 2}, {0, 3}, {1, 12}});
  EXPECT_EQ(rig.Sets(), (Times{{1, 10}, {1, 11}, {3, 12}})); // the slow frame is reused
  TPWLockHold hold = rig.probe->GetLock().Read();
  EXPECT_EQ(rig.probe->Drivers, (std::vector<int>{1, 1, 1}));
}

TEST(MultiInput, EqualRatesPairFramesAndQueuedInputsPairThemInOrder) {
  for (const bool queued : {false, true}) {
    Rig rig(queued);
    rig.Start(0);
    rig.Start(1);
    rig.Push({{0, 1}, {0, 2}, {1, 11}, {1, 12}}); // input 0 runs ahead
    // A plain input keeps only its newest frame, so one pair is lost.
    EXPECT_EQ(rig.Sets(), queued ? (Times{{1, 11}, {2, 12}}) : (Times{{2, 11}}));
  }
}

TEST(MultiInput, OutputStopsWithTheLastInputUnlessAfterStopKeepsItAlive) {
  for (const TFQMixerAfterStop mode : {asStop, asZero, asLastFrame}) {
    Rig rig;
    rig.probe->SetAfterStop(mode);
    rig.Start(0);
    rig.Start(1);
    rig.sources[0]->StopStream();
    EXPECT_EQ(rig.grabber->GetStopCount(), 0);
    rig.sources[1]->StopStream();
    EXPECT_EQ(rig.grabber->GetStopCount(), mode == asStop ? 1 : 0) << int(mode);
    EXPECT_EQ(rig.probe->IsOutputRunning(), mode != asStop);
    rig.probe->Stop(); // a stop asked of the component ends the output whatever AfterStop says
    EXPECT_EQ(rig.grabber->GetStopCount(), 1);
  }
}

TEST(MultiInput, MasterPumpsFollowEachInputsCountdown) {
  Rig rig;
  int pumped[2] = {0, 0};
  rig.sources[0]->SetOnPump([&] { ++pumped[0]; });
  rig.sources[1]->SetOnPump([&] { ++pumped[1]; });
  // Pumps n times; returns how often each input was pumped.
  auto pump = [&](int n) {
    pumped[0] = pumped[1] = 0;
    for (int i = 0; i < n; ++i)
      rig.grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>());
    return std::vector<int>{pumped[0], pumped[1]};
  };
  // Output interval 0: every input is pumped exactly once per request.
  rig.Start(0, 0);
  rig.Start(1, 0);
  ASSERT_EQ(rig.probe->OutputInterval(), 0);
  EXPECT_EQ(pump(3), (std::vector<int>{3, 3}));
  // An input twice as slow as the output is pumped every second time.
  rig.Start(0, 800000);
  rig.Start(1);
  ASSERT_EQ(rig.probe->OutputInterval(), 400000);
  EXPECT_EQ(pump(6), (std::vector<int>{3, 6}));
}

TEST(MultiInput, AStartRequestWithNoInputConnectedAsksDownstreamToPump) {
  auto probe = Make<TProbe>(false);
  auto grabber = Make<TFQImageGrabber>();
  grabber->SetPacesStream(true);
  ASSERT_TRUE(probe->OutputPin.Connect(grabber->InputPin));
  auto request = std::make_shared<TPWPumpRequestOperation>(0, probe.get());
  probe->OutputPin.Notify(request);
  EXPECT_EQ(request->Pumper.load(), grabber.get());
  // The request that a start makes reaches the same place and nothing breaks.
  grabber->InputPin.SendUpstream(std::make_shared<TPWStartOperation>());
  EXPECT_EQ(grabber->GetStartCount(), 0);
}

} // namespace
} // namespace framquist
