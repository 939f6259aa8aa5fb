// labels: threaded
#include <gtest/gtest.h>

#include <thread>

#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "pinweave/pwcomponent.h"
#include "pinweave/pwlock.h"
#include "pinweave/pwpin.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;

TEST(Lock, SameThreadReentersAndNestsReadsInWrites) {
  TPWLock lock;
  auto w1 = lock.Write();
  auto w2 = lock.Write();
  auto r = lock.Read();
  EXPECT_TRUE(w1 && w2 && r);
  r.Release();
  w2.Release();
  EXPECT_TRUE(lock.IsWriteHeld()); // the outer hold still counts
  w1.Release();
  EXPECT_FALSE(lock.IsHeld());
}

TEST(Lock, WriterExcludesOthersAndTryWriteTimesOut) {
  TPWLock lock;
  auto w = lock.Write();
  std::thread other([&] {
    EXPECT_FALSE(lock.TryWrite(20ms));
    EXPECT_FALSE(lock.TryRead(20ms));
  });
  other.join();
  w.Release();
  std::thread again([&] { EXPECT_TRUE(lock.TryWrite(1s)); });
  again.join();
}

TEST(Lock, UpgradeSucceedsForASoleReaderAndFailsWhenOthersRead) {
  TPWLock lock;
  auto mine = lock.Read();
  EXPECT_TRUE(lock.Write()); // sole reader: upgraded
  std::atomic<bool> otherReads{false}, release{false};
  std::thread other([&] {
    auto r = lock.Read();
    otherReads = true;
    while (!release) std::this_thread::yield();
  });
  while (!otherReads) std::this_thread::yield();
  EXPECT_FALSE(lock.Write()); // would deadlock: empty hold instead
  release = true;
  other.join();
}

TEST(Lock, ConcurrentWritersSerialise) {
  TPWLock lock;
  int counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        auto w = lock.Write();
        auto nested = lock.Write();
        ++counter;
      }
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(counter, 8000);
}

// A component that counts what reaches its pins.
class TProbe : public TPWComponent {
public:
  std::string_view GetClassName() const override { return "TProbe"; }
  TFQPWImageSinkPin In{this, "In"};
  TFQPWImageSourcePin Out{this, "Out"};
  std::atomic<int> down{0};
  std::atomic<int> slow{0};
  TProbe() { Out.AddFunctionSink(In); }
  bool SinkDispatch(TPWSinkPin&, const TPWOperation&) override {
    ++down;
    if (slow) std::this_thread::sleep_for(std::chrono::milliseconds(slow.load()));
    return true;
  }
};

TEST(Pins, UpstreamOperationsClimbThroughFunctionSinks) {
  auto top = Make<TFQImageSource>();
  auto a = Make<TProbe>();
  auto b = Make<TProbe>();
  top->OutputPin.Connect(a->In);
  a->Out.Connect(b->In);
  std::atomic<int> pumps{0};
  top->SetOnPump([&] { ++pumps; });
  EXPECT_TRUE(b->In.SendUpstream(std::make_shared<TPWMasterPumpOperation>()));
  EXPECT_EQ(pumps, 1);
  a->Out.RemoveFunctionSink(a->In);
  EXPECT_FALSE(b->In.SendUpstream(std::make_shared<TPWMasterPumpOperation>()));
  EXPECT_EQ(pumps, 1);
}

TEST(Pins, NotifyReachesEverySinkAndNoneAfterDisconnect) {
  TFQPWImageSourcePin source(nullptr, "s");
  auto a = Make<TProbe>(), b = Make<TProbe>();
  source.Connect(a->In);
  source.Connect(b->In);
  EXPECT_EQ(source.GetSinkCount(), 2);
  source.SendStop();
  EXPECT_EQ(a->down + b->down, 2);
  source.Disconnect(a->In);
  source.SendStop();
  EXPECT_EQ(a->down, 1);
  EXPECT_EQ(b->down, 2);
}

// Destroying a component waits for the delivery running inside it and
// keeps every later one out: ASan would catch a use after free.
TEST(Pins, DestructionWaitsForRunningDeliveries) {
  TFQPWImageSourcePin source(nullptr, "s");
  for (int round = 0; round < 20; ++round) {
    auto probe = Make<TProbe>();
    probe->slow = 1;
    source.Connect(probe->In);
    std::atomic<bool> stop{false};
    std::thread sender([&] {
      while (!stop) source.SendStop();
    });
    while (probe->down == 0) std::this_thread::yield();
    probe.reset();
    stop = true;
    sender.join();
    EXPECT_EQ(source.GetSinkCount(), 0);
  }
}

TEST(Pins, PinListKeepsItsLimits) {
  auto owner = Make<TProbe>();
  int removed = 0;
  TPWPinList list(
      owner.get(), "Inputs", 3, 1,
      [&](TPWPinList&, int index) {
        return std::make_unique<TFQPWImageSinkPin>(owner.get(), "Input" + std::to_string(index));
      },
      [&](TPWPinList&, TPWPin&) { ++removed; });
  EXPECT_EQ(list.GetCount(), 1);
  list.SetCount(10);
  EXPECT_EQ(list.GetCount(), 3);
  EXPECT_EQ(list.Add(), nullptr);
  EXPECT_NE(owner->FindPin("Input2"), nullptr);
  list.SetCount(0);
  EXPECT_EQ(list.GetCount(), 1);
  EXPECT_EQ(removed, 2);
  EXPECT_EQ(owner->FindPin("Input2"), nullptr);
  EXPECT_FALSE(list.Remove(0));
}

} // namespace
} // namespace framquist
