#include "capture/fqthreadedsource.h"

namespace framquist {

TFQThreadedSource::TFQThreadedSource() : OutputPin(this, "OutputPin") {}

TFQThreadedSource::~TFQThreadedSource() { Shutdown(); }

void TFQThreadedSource::Start() {
  std::unique_lock g(control_);
  // A stream that ended by itself leaves its thread to be joined here.
  while (state_ == TState::Idle && thread_.joinable()) {
    if (thread_.get_id() == std::this_thread::get_id()) return;
    std::thread old = std::move(thread_);
    g.unlock();
    old.join();
    g.lock();
  }
  if (state_ != TState::Idle) return;
  state_ = TState::Starting;
  ++generation_;
  starter_ = std::this_thread::get_id();
  stopRequested_.store(false, std::memory_order_release);
  framesSent_.store(0, std::memory_order_relaxed);
  announced_ = false;
  g.unlock();

  TStreamStart start;
  if (!OpenInput(start)) {
    g.lock();
    state_ = TState::Idle;
    starter_ = {};
    g.unlock();
    changed_.notify_all();
    return;
  }
  if (start.Width > 0 && start.Height > 0) Announce(start);

  g.lock();
  starter_ = {};
  if (stopRequested_.load(std::memory_order_acquire)) {
    // Downstream stopped us while it took the start.
    g.unlock();
    Finish();
    return;
  }
  state_ = TState::Running;
  thread_ = std::thread([this] { Run(); });
  g.unlock();
  changed_.notify_all();
}

void TFQThreadedSource::Stop() {
  std::unique_lock g(control_);
  const auto self = std::this_thread::get_id();
  const auto generation = generation_;
  if (state_ != TState::Idle) {
    stopRequested_.store(true, std::memory_order_release);
    changed_.notify_all();
    // From our own deliveries (or from inside Start) only flag: the thread
    // that sends stops after it returns.
    if ((thread_.joinable() && thread_.get_id() == self) || starter_ == self) return;
    changed_.wait(g, [&] { return state_ == TState::Idle || generation_ != generation; });
    // A stream started meanwhile by another thread is not ours to end; its
    // Start() joined the thread of ours.
    if (generation_ != generation) return;
  }
  if (thread_.joinable() && thread_.get_id() != self) {
    std::thread old = std::move(thread_);
    g.unlock();
    old.join();
  }
}

bool TFQThreadedSource::IsStreaming() const {
  std::lock_guard g(control_);
  return state_ != TState::Idle;
}

bool TFQThreadedSource::WaitUntilFinished(std::chrono::milliseconds timeout) const {
  std::unique_lock g(control_);
  return changed_.wait_for(g, timeout, [&] { return state_ == TState::Idle; });
}

bool TFQThreadedSource::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  if (&pin != &OutputPin) return false;
  if (OpAs<TPWStartOperation>(op) != nullptr) {
    Start();
    return true;
  }
  if (OpAs<TPWStopOperation>(op) != nullptr) {
    Stop();
    return true;
  }
  return false; // master pumps: the reader thread sets the pace
}

void TFQThreadedSource::BeforeDestruction() {
  Shutdown();
  TPWComponent::BeforeDestruction();
}

void TFQThreadedSource::Announce(const TStreamStart& start) {
  if (announced_ && start.Width == last_.Width && start.Height == last_.Height &&
      start.Format == last_.Format && start.Interval == last_.Interval)
    return;
  announced_ = true;
  last_ = start;
  const int rate = start.Interval > 0 ? static_cast<int>(10'000'000'000LL / start.Interval) : 0;
  OutputPin.SendStart(start.Width, start.Height, start.Interval, start.Format, rate);
}

bool TFQThreadedSource::Deliver(IFQImageBuffer frame) {
  if (StopRequested()) return false;
  OutputPin.SendFrame(std::move(frame));
  framesSent_.fetch_add(1, std::memory_order_relaxed);
  return !StopRequested();
}

bool TFQThreadedSource::SleepUntil(std::chrono::steady_clock::time_point when) {
  std::unique_lock g(control_);
  return !changed_.wait_until(g, when, [&] { return StopRequested(); });
}

void TFQThreadedSource::Shutdown() {
  Stop();
  std::lock_guard g(control_);
  // Only reachable when destroyed from our own delivery: the thread must not
  // be left joinable, though it may not touch this object any more.
  if (thread_.joinable()) thread_.detach();
}

void TFQThreadedSource::Run() {
  ReadInput();
  Finish();
}

void TFQThreadedSource::Finish() {
  {
    std::lock_guard g(control_);
    state_ = TState::Stopping;
  }
  CloseInput();
  if (announced_) OutputPin.SendStop();
  {
    std::lock_guard g(control_);
    state_ = TState::Idle;
  }
  changed_.notify_all();
}

} // namespace framquist
