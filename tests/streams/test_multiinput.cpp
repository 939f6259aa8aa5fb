// When a component with several inputs starts, computes and stops.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/fqendpoints.h"
#include "streams/fqmultiinput.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

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

  struct TSet {
    int Driver;
    std::vector<std::int64_t> Times;
  };
  std::vector<TSet> Sets; // guarded by the lock
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
    TSet set{drivingInput_ == pins_[0].get() ? 0 : 1, {}};
    for (auto& pin : pins_)
      set.Times.push_back(pin->Stream.CurrentFrame.IsEmpty() ? -1 : pin->Stream.CurrentFrame.GetStartTime());
    Sets.push_back(set);
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
  void Push(int input, std::int64_t time) {
    IFQImageBuffer f = IFQImageBuffer::Create(2, 2, vf24Bit);
    f.SetTimes(time, time + 1);
    sources[static_cast<std::size_t>(input)]->Push(f);
  }
  TPWOwned<TProbe> probe;
  std::vector<TPWOwned<TFQImageSource>> sources;
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
};

TEST(MultiInput, OneInputAtRateChannelMinusOneGivesOneOutputPerFrame) {
  Rig rig(false, 1);
  rig.sources[0]->StartStream(2, 2, vf24Bit, 400000);
  for (int i = 1; i <= 5; ++i) rig.Push(0, i);
  EXPECT_EQ(rig.grabber->GetFrameCount(), 5);
  EXPECT_EQ(rig.grabber->GetStartCount(), 1);
  rig.sources[0]->StopStream();
  EXPECT_EQ(rig.grabber->GetStopCount(), 1);
}

TEST(MultiInput, WaitsForEveryInputThenTheFasterOneDrives) {
  Rig rig;
  rig.sources[0]->StartStream(2, 2, vf24Bit, 800000); // 12.5 per second
  EXPECT_EQ(rig.grabber->GetStartCount(), 0);         // input 1 is connected but not running
  rig.Push(0, 1);
  rig.sources[1]->StartStream(2, 2, vf24Bit, 400000); // 25 per second
  EXPECT_EQ(rig.grabber->GetStartCount(), 1);
  EXPECT_EQ(rig.grabber->GetStreamInfo().Interval, 400000); // the faster input's pace
  rig.Push(1, 10);
  rig.Push(1, 11);
  rig.Push(0, 2);
  rig.Push(0, 3);
  rig.Push(1, 12);
  TPWLockHold hold = rig.probe->GetLock().Read();
  ASSERT_EQ(rig.probe->Sets.size(), 3u);
  for (const auto& set : rig.probe->Sets) EXPECT_EQ(set.Driver, 1);
  EXPECT_EQ(rig.probe->Sets[0].Times, (std::vector<std::int64_t>{1, 10}));
  EXPECT_EQ(rig.probe->Sets[1].Times, (std::vector<std::int64_t>{1, 11})); // the slow frame is reused
  EXPECT_EQ(rig.probe->Sets[2].Times, (std::vector<std::int64_t>{3, 12}));
}

TEST(MultiInput, EqualRatesPairFramesAndQueuedInputsPairThemInOrder) {
  for (const bool queued : {false, true}) {
    Rig rig(queued);
    rig.sources[0]->StartStream(2, 2, vf24Bit, 400000);
    rig.sources[1]->StartStream(2, 2, vf24Bit, 400000);
    rig.Push(0, 1);
    rig.Push(0, 2); // input 0 runs ahead
    rig.Push(1, 11);
    rig.Push(1, 12);
    TPWLockHold hold = rig.probe->GetLock().Read();
    if (queued) {
      ASSERT_EQ(rig.probe->Sets.size(), 2u);
      EXPECT_EQ(rig.probe->Sets[0].Times, (std::vector<std::int64_t>{1, 11}));
      EXPECT_EQ(rig.probe->Sets[1].Times, (std::vector<std::int64_t>{2, 12}));
    } else { // a plain input keeps only its newest frame, so one pair is lost
      ASSERT_EQ(rig.probe->Sets.size(), 1u);
      EXPECT_EQ(rig.probe->Sets[0].Times, (std::vector<std::int64_t>{2, 11}));
    }
  }
}

TEST(MultiInput, OutputStopsWithTheLastInputUnlessAfterStopKeepsItAlive) {
  for (const TFQMixerAfterStop mode : {asStop, asZero, asLastFrame}) {
    Rig rig;
    rig.probe->SetAfterStop(mode);
    rig.sources[0]->StartStream(2, 2, vf24Bit, 400000);
    rig.sources[1]->StartStream(2, 2, vf24Bit, 400000);
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
  auto pump = [&] { rig.grabber->InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>()); };

  // Output interval 0: every input is pumped exactly once per request.
  rig.sources[0]->StartStream(2, 2, vf24Bit, 0);
  rig.sources[1]->StartStream(2, 2, vf24Bit, 0);
  ASSERT_EQ(rig.probe->OutputInterval(), 0);
  for (int i = 0; i < 3; ++i) pump();
  EXPECT_EQ(pumped[0], 3);
  EXPECT_EQ(pumped[1], 3);

  // An input twice as slow as the output is pumped every second time.
  rig.sources[0]->StartStream(2, 2, vf24Bit, 800000);
  rig.sources[1]->StartStream(2, 2, vf24Bit, 400000);
  ASSERT_EQ(rig.probe->OutputInterval(), 400000);
  pumped[0] = pumped[1] = 0;
  for (int i = 0; i < 6; ++i) pump();
  EXPECT_EQ(pumped[0], 3);
  EXPECT_EQ(pumped[1], 6);
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
