// labels: threaded
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "wavquist/wqclock.h"
#include "wavquist/wqnotify.h"
#include "wavquist/wqoperationlist.h"

using namespace framquist;
using namespace std::chrono_literals;

namespace {

// Polls instead of sleeping a fixed time, so slow (sanitized) runs still pass.
template <class Pred>
bool WaitFor(Pred pred, std::chrono::milliseconds limit = 5s) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!pred()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TPWOperation Clock(int64_t time) { return std::make_shared<TPWClockOperation>(time); }
int64_t TimeOf(const TPWOperation& op) {
  const auto* clock = OpAs<TPWClockOperation>(op);
  return clock ? clock->Time : -1;
}

} // namespace

TEST(WQOperationList, FifoEmptyAndNestedLocking) {
  TPWLock lock;
  TWQOperationList list(lock);
  EXPECT_EQ(list.Pop(), nullptr);
  {
    TPWLockHold hold = lock.Write(); // callers already holding the lock must not deadlock
    for (int i = 1; i <= 3; ++i) list.Push(Clock(i));
    list.Push(nullptr);
    EXPECT_EQ(list.ItemsCount(), 3);
  }
  EXPECT_EQ(TimeOf(list.Pop()), 1);
  EXPECT_EQ(TimeOf(list.Pop()), 2);
  list.Clear();
  EXPECT_EQ(list.ItemsCount(), 0);
  EXPECT_EQ(list.Pop(), nullptr);
}

TEST(WQOperationList, PushStillHappensWhenTheWriteHoldIsRefused) {
  TPWLock lock;
  TWQOperationList list(lock);
  std::promise<void> reading, done;
  std::thread other([&] {
    TPWLockHold hold = lock.Read();
    reading.set_value();
    done.get_future().wait();
  });
  reading.get_future().wait();
  TPWLockHold hold = lock.Read(); // a second reader cannot upgrade: the write hold is empty
  list.Push(Clock(7));
  done.set_value();
  other.join();
  EXPECT_EQ(TimeOf(list.Pop()), 7);
}

TEST(WQOperationList, ConcurrentPushPopConservesCount) {
  TPWLock lock;
  TWQOperationList list(lock);
  constexpr int kPerThread = 2000;
  std::atomic<int> popped{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kPerThread; ++i) list.Push(Clock(i));
    });
    threads.emplace_back([&] {
      for (int i = 0; i < kPerThread; ++i)
        if (list.Pop()) ++popped;
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(popped + list.ItemsCount(), 2 * kPerThread);
}

TEST(WQClockGen, TicksWithinWindowAndNoneAfterStop) {
  std::atomic<int> ticks{0};
  std::atomic<bool> inside{false};
  TWQClockGen clock(
      [&] {
        inside = true;
        std::this_thread::sleep_for(10ms); // Stop() often lands mid-callback
        ++ticks;
        inside = false;
      },
      200'000); // 20 ms
  clock.Start();
  EXPECT_TRUE(clock.Running());
  std::this_thread::sleep_for(300ms);
  clock.Stop();
  EXPECT_FALSE(inside);
  const int stopped = ticks;
  EXPECT_GE(stopped, 5);
  EXPECT_LE(stopped, 30);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(ticks, stopped);
}

TEST(WQClockGen, OverrunSkipsTicksInsteadOfBursting) {
  std::atomic<int> ticks{0};
  TWQClockGen clock(
      [&] {
        if (ticks++ == 0) std::this_thread::sleep_for(200ms); // twenty intervals
      },
      100'000);
  clock.Start();
  std::this_thread::sleep_for(260ms);
  clock.Stop();
  // Bursting would make up all ~25 grid ticks; skipping leaves about 7.
  EXPECT_LE(ticks, 15);
}

TEST(WQWorkerThreads, StopAndDestroyFromInsideTheCallback) {
  std::atomic<int> ticks{0};
  TWQClockGen clock(
      [&] {
        if (++ticks == 3) clock.Stop();
      },
      10'000);
  clock.Start();
  ASSERT_TRUE(WaitFor([&] { return !clock.Running(); }));
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(ticks, 3);

  // The destructor terminates: from inside it must neither join itself nor touch freed state.
  std::unique_ptr<TWQNotifyThread> owned;
  std::atomic<bool> destroyed{false};
  owned = std::make_unique<TWQNotifyThread>([&] {
    owned.reset();
    destroyed = true;
  });
  owned->Notify();
  EXPECT_TRUE(WaitFor([&] { return destroyed.load(); }));
}

// Notifies after the run began must not be lost, and many make only one more run.
TEST(WQNotifyThread, NotifiesDuringARunCoalesceIntoOneMoreRun) {
  std::atomic<int> runs{0};
  std::promise<void> started, release;
  std::shared_future<void> gate = release.get_future().share();
  TWQNotifyThread thread([&] {
    if (runs++ == 0) {
      started.set_value();
      gate.wait();
    }
  });
  thread.Notify();
  started.get_future().wait();
  for (int i = 0; i < 10; ++i) thread.Notify();
  release.set_value();
  ASSERT_TRUE(WaitFor([&] { return runs == 2; }));
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(runs, 2);
}

TEST(WQClockThread, RunsOnTickAndPeriodically) {
  std::atomic<int> runs{0};
  TWQClockThread thread([&] { ++runs; });
  thread.Start();
  thread.Tick();
  ASSERT_TRUE(WaitFor([&] { return runs == 1; }));
  thread.SetInterval(50'000); // 5 ms
  EXPECT_TRUE(WaitFor([&] { return runs >= 5; }));
  thread.Stop();
}

class WQMainThread : public ::testing::Test {
protected:
  void TearDown() override { TWQMainThread::Reset(); }
};

TEST_F(WQMainThread, CallerLoopRunsPendingInOrderOnTheCallingThread) {
  TWQMainThread::UseCallerLoop();
  std::vector<int> order;
  const auto caller = std::this_thread::get_id();
  for (int i = 0; i < 3; ++i)
    TWQMainThread::Post([&, i] {
      order.push_back(std::this_thread::get_id() == caller ? i : -1);
      if (i == 0) TWQMainThread::Post([&] { order.push_back(99); }); // waits for the next call
    });
  EXPECT_EQ(TWQMainThread::ProcessPending(), 3);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(TWQMainThread::ProcessPending(), 1);
  EXPECT_EQ(TWQMainThread::ProcessPending(), 0);
}

// A notify from inside the callback runs it again; dropping the queue or the
// notifier cancels the pending run, and a notifier may destroy itself.
TEST_F(WQMainThread, NotifyCoalescesReRunsAndCancels) {
  TWQMainThread::UseCallerLoop();
  int runs = 0;
  std::unique_ptr<TWQMainThreadNotify> notify;
  notify = std::make_unique<TWQMainThreadNotify>([&] {
    if (++runs == 1) notify->Notify();
  });
  for (int i = 0; i < 3; ++i) notify->Notify();
  EXPECT_EQ(TWQMainThread::ProcessPending(), 1);
  EXPECT_EQ(TWQMainThread::ProcessPending(), 1);
  EXPECT_EQ(TWQMainThread::ProcessPending(), 0);
  notify->Notify();
  TWQMainThread::Reset(); // drops the queued run; the notifier must be able to post again
  TWQMainThread::UseCallerLoop();
  notify->Notify();
  EXPECT_EQ(TWQMainThread::ProcessPending(), 1);
  notify->Notify();
  notify.reset();
  EXPECT_EQ(TWQMainThread::ProcessPending(), 0);
  EXPECT_EQ(runs, 3);

  std::unique_ptr<TWQMainThreadNotify> self;
  self = std::make_unique<TWQMainThreadNotify>([&] {
    ++runs;
    self.reset();
  });
  self->Notify();
  EXPECT_EQ(TWQMainThread::ProcessPending(), 1);
  EXPECT_EQ(runs, 4);
}

// By default callbacks run on the library's thread, and destroying a
// notifier waits for the callback it is running.
TEST_F(WQMainThread, DefaultModeRunsOnTheLibraryThreadAndDestructorWaits) {
  char name[16] = {};
  std::atomic<bool> inside{false}, finished{false};
  auto notify = std::make_unique<TWQMainThreadNotify>([&] {
    pthread_getname_np(pthread_self(), name, sizeof name);
    inside = true;
    std::this_thread::sleep_for(50ms);
    finished = true;
  });
  notify->Notify();
  ASSERT_TRUE(WaitFor([&] { return inside.load(); }));
  notify.reset();
  EXPECT_TRUE(finished);
  EXPECT_STREQ(name, "framquist main");
}
