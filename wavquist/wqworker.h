// TWQWorker: the thread machinery shared by the clocks and notify threads.
//
// One thread runs the callback when woken (Wake) and, with an interval > 0,
// also on a drift-free grid (start + n * interval on steady_clock). Wakes that
// arrive while the callback runs coalesce into one further run, and a wake
// after the callback started is never lost. Late grid ticks are skipped, not
// burst: at most one tick fires late, then the grid resumes.
//
// Start() launches the thread (no-op while running); Stop() returns once no
// callback runs and none will. RequestStop() only tells the thread to end,
// without waiting: code holding a lock that a callback may be waiting for
// uses it, and waits (Stop) after releasing the lock. A callback that had
// to wait for such a lock checks StopRequested() once it has it. Stop() or the destructor from inside the
// callback only flags the thread, which ends after the callback returns: the
// thread keeps its own copy of the callback and shared state, never `this`.
//
//   TWQWorker w([] { Poll(); }, 10'000); // every 1 ms, plus on Wake()
//   w.Start(); w.Wake(); w.Stop();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace framquist {

class TWQWorker {
public:
  // interval in 100-ns units; 0 = run on Wake() only. The caller clamps.
  explicit TWQWorker(std::function<void()> callback, int64_t interval = 0);
  TWQWorker(const TWQWorker&) = delete;
  TWQWorker& operator=(const TWQWorker&) = delete;
  ~TWQWorker();

  void Start();
  void Stop();
  void RequestStop();
  bool Running() const;
  // Inside a callback: true once its worker was told to stop.
  static bool StopRequested();
  // Requests one run; ignored while stopped.
  void Wake();
  // The next grid tick moves to the previous tick + interval.
  void SetInterval(int64_t interval);
  int64_t GetInterval() const;

private:
  struct State;
  static void Run(std::shared_ptr<State> state, std::function<void()> callback);

  mutable std::mutex control_; // guards the members below, never held during a callback
  std::function<void()> callback_;
  int64_t interval_;
  std::shared_ptr<State> state_;     // of the current (or last) thread
  std::thread thread_;               // empty once joined or detached
  std::vector<std::thread> retired_; // told to stop, restarted before Stop() waited
};

} // namespace framquist
