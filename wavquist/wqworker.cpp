#include "wavquist/wqworker.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <vector>

namespace framquist {

namespace {
using Clock = std::chrono::steady_clock;

// The worker whose callback this thread is running.
thread_local const std::atomic<bool>* tStopFlag = nullptr;

Clock::duration ToDuration(int64_t interval) {
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>(interval));
}
} // namespace

// Shared by the object and its thread, so either may go first.
struct TWQWorker::State {
  std::mutex mutex;
  std::condition_variable changed;
  bool stop = false;
  std::atomic<bool> stopFlag{false}; // stop, readable by the callback without the mutex
  bool pending = false;
  bool finished = false; // the thread has dropped its callback and is leaving
  int64_t interval = 0;
  Clock::time_point next; // next grid tick while interval > 0
  std::thread::id worker; // guarded by the owner's control_, not by mutex
};

TWQWorker::TWQWorker(std::function<void()> callback, int64_t interval)
    : callback_(callback ? std::move(callback) : [] {}), interval_(std::max<int64_t>(interval, 0)) {}

TWQWorker::~TWQWorker() { Stop(); }

void TWQWorker::Run(std::shared_ptr<State> s, std::function<void()> callback) {
  tStopFlag = &s->stopFlag;
  std::unique_lock lock(s->mutex);
  while (!s->stop) {
    const bool periodic = s->interval > 0;
    const auto now = periodic ? Clock::now() : Clock::time_point{};
    const bool due = periodic && now >= s->next;
    if (!s->pending && !due) {
      if (periodic) {
        const auto until = s->next;
        s->changed.wait_until(lock, until);
      } else {
        s->changed.wait(lock);
      }
      continue;
    }
    // A wake and a due tick coalesce into this one run.
    s->pending = false;
    if (due) {
      const auto period = ToDuration(s->interval);
      const auto late = now - s->next;
      if (late >= period) s->next += (late / period) * period; // skip, don't burst
      s->next += period;
    }
    lock.unlock();
    callback();
    lock.lock();
  }
  // Captures die before Stop() returns rather than on whoever drops State last.
  lock.unlock();
  callback = nullptr;
  lock.lock();
  s->finished = true;
  s->changed.notify_all();
  tStopFlag = nullptr;
}

void TWQWorker::Start() {
  std::lock_guard guard(control_);
  if (state_) {
    std::lock_guard lock(state_->mutex);
    if (!state_->stop) return;
  }
  // A self-stopped thread may still be finishing its callback; it owns its
  // state, so a fresh one starts beside it.
  auto s = std::make_shared<State>();
  s->interval = interval_;
  s->next = Clock::now() + ToDuration(interval_);
  // A thread told to stop but not yet waited for is waited for by Stop().
  if (thread_.joinable()) retired_.push_back(std::move(thread_));
  thread_ = std::thread(&TWQWorker::Run, s, callback_);
  s->worker = thread_.get_id();
  state_ = std::move(s);
}

bool TWQWorker::StopRequested() { return tStopFlag != nullptr && tStopFlag->load(std::memory_order_acquire); }

void TWQWorker::RequestStop() {
  std::lock_guard guard(control_);
  if (!state_) return;
  {
    std::lock_guard lock(state_->mutex);
    state_->stop = true;
    state_->stopFlag.store(true, std::memory_order_release);
  }
  state_->changed.notify_all();
}

void TWQWorker::Stop() {
  std::shared_ptr<State> s;
  std::thread thread;
  {
    std::vector<std::thread> retired;
    {
      std::lock_guard guard(control_);
      retired.swap(retired_);
    }
    for (std::thread& t : retired) {
      if (t.get_id() == std::this_thread::get_id())
        t.detach();
      else
        t.join();
    }
  }
  {
    std::lock_guard guard(control_);
    s = state_;
    if (!s) return;
    {
      std::lock_guard lock(s->mutex);
      s->stop = true;
      s->stopFlag.store(true, std::memory_order_release);
    }
    s->changed.notify_all();
    if (s->worker == std::this_thread::get_id()) {
      // From the callback: joining would deadlock; the thread leaves once the
      // callback returns.
      if (thread_.joinable()) thread_.detach();
      return;
    }
    thread = std::move(thread_);
  }
  // control_ is free here, so the callback may still call into this object.
  if (thread.joinable()) {
    thread.join();
  } else { // another Stop() joins it, or it was detached by a self-stop
    std::unique_lock lock(s->mutex);
    s->changed.wait(lock, [&] { return s->finished; });
  }
  std::lock_guard guard(control_);
  if (state_ == s) state_.reset();
}

bool TWQWorker::Running() const {
  std::lock_guard guard(control_);
  if (!state_) return false;
  std::lock_guard lock(state_->mutex);
  return !state_->stop;
}

void TWQWorker::Wake() {
  std::lock_guard guard(control_);
  if (!state_) return;
  {
    std::lock_guard lock(state_->mutex);
    if (state_->stop) return;
    state_->pending = true;
  }
  state_->changed.notify_all();
}

void TWQWorker::SetInterval(int64_t interval) {
  interval = std::max<int64_t>(interval, 0);
  std::lock_guard guard(control_);
  interval_ = interval;
  if (!state_) return;
  {
    State& s = *state_;
    std::lock_guard lock(s.mutex);
    const auto previous = s.interval > 0 ? s.next - ToDuration(s.interval) : Clock::now();
    s.next = previous + ToDuration(interval);
    s.interval = interval;
  }
  state_->changed.notify_all();
}

int64_t TWQWorker::GetInterval() const {
  std::lock_guard guard(control_);
  return interval_;
}

} // namespace framquist
