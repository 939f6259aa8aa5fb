// TWQClockGen and TWQClockThread: callbacks on a clock, each on its own thread.
//
// TWQClockGen calls its callback every interval (100-ns units), scheduled at
// start + n * interval on steady_clock so it does not drift; when a callback
// overruns by more than an interval the missed ticks are skipped, not burst.
// TWQClockThread runs its callback on every Tick() and, with an interval > 0,
// periodically as well; ticks that arrive while it runs coalesce into one
// further run, and a Tick() after a run began always causes another.
//
// Start() launches the thread (no-op while running). Stop() returns once no
// callback runs and none will; from inside the callback it (and the
// destructor) only flags the thread, which ends after the callback returns.
// The destructor stops. Callbacks must not throw.
//
// A component stops a clock from code that holds its lock (a stop handler)
// with WQRetireClock: the clock is told to stop at once and is waited for
// and freed only once the lock is released, so a tick that is waiting for
// the lock can finish. Such a tick checks Cancelled() once it has the lock.
//
//   TWQClockGen clock([&] { SendFrame(); }, 400'000); // 25 per second
//   clock.Start(); ... clock.Stop();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "pinweave/pwlock.h"
#include "wavquist/wqworker.h"

namespace framquist {

// Interval limits in 100-ns units. A sleeping thread keeps no finer time than
// about a millisecond; beyond a day is surely a mistake, and the cap keeps the
// steady_clock arithmetic far from overflow.
inline constexpr int64_t kWQMinInterval = 10'000;
inline constexpr int64_t kWQMaxInterval = 864'000'000'000;

class TWQClockGen {
public:
  // interval is clamped to [kWQMinInterval, kWQMaxInterval].
  TWQClockGen(std::function<void()> callback, int64_t interval);

  void Start() { worker_.Start(); }
  void Stop() { worker_.Stop(); }
  void RequestStop() { worker_.RequestStop(); }
  bool Running() const { return worker_.Running(); }
  // Inside a tick: true once the clock was told to stop.
  static bool Cancelled() { return TWQWorker::StopRequested(); }
  // The next tick comes one new interval after the previous one. Clamped.
  void SetInterval(int64_t interval);
  int64_t GetInterval() const { return worker_.GetInterval(); }

private:
  TWQWorker worker_;
};

class TWQClockThread {
public:
  // interval 0 (or less) runs the callback only on Tick(); others are clamped.
  explicit TWQClockThread(std::function<void()> callback, int64_t interval = 0);

  void Start() { worker_.Start(); }
  void Stop() { worker_.Stop(); }
  void RequestStop() { worker_.RequestStop(); }
  bool Running() const { return worker_.Running(); }
  static bool Cancelled() { return TWQWorker::StopRequested(); }
  // Wakes the thread now; ignored while stopped.
  void Tick() { worker_.Wake(); }
  void SetInterval(int64_t interval);
  int64_t GetInterval() const { return worker_.GetInterval(); }

private:
  TWQWorker worker_;
};

// Stops and frees `clock` (a TWQClockGen, TWQClockThread or anything with
// RequestStop and Stop) without waiting for its thread under `lock`: told to
// stop now, waited for once this thread releases its write hold (at once
// when it holds none).
template <class TClock>
void WQRetireClock(IPWLock& lock, std::unique_ptr<TClock> clock) {
  if (!clock) return;
  clock->RequestStop();
  std::shared_ptr<TClock> retired(std::move(clock));
  lock.RunAfterRelease([retired] { retired->Stop(); });
}

} // namespace framquist
