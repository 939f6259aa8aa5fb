// TFQThreadedSource: base of the sources that read frames on a thread of
// their own (video files, pipes).
//
// Start() prepares the input on the caller's thread (OpenInput: a failure is
// reported with ReportError and nothing is sent), announces the stream when
// the input already knows its size, and then runs ReadInput on the reader
// thread, which sends the frames. When ReadInput returns the input is closed
// and a stop is sent, provided a start-frame went out. Stop() ends the
// thread and returns once the stop is sent; called from a delivery of the
// source itself (a downstream callback) it only flags the thread, which
// stops after the delivery returns. A Start() from the source's own
// deliveries is ignored. Upstream start and stop requests at OutputPin call
// Start() and Stop(); master pumps are not taken (the thread sets the pace).
//
// Pins: OutputPin. Destroy through Make<T>() (or call BeforeDestruction()),
// never from one of the source's own deliveries.
//
//   source->Start();
//   source->WaitUntilFinished(std::chrono::seconds(10));
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "frame/fqimagepins.h"
#include "pinweave/pwcomponent.h"

namespace framquist {

class TFQThreadedSource : public TPWComponent {
public:
  TFQThreadedSource();
  ~TFQThreadedSource() override;

  TFQPWImageSourcePin OutputPin;

  void Start() override;
  void Stop() override;
  // True from Start() until the stop went out (or the start failed).
  bool IsStreaming() const;
  // Frames sent since the last Start().
  long long GetFramesSent() const { return framesSent_.load(std::memory_order_relaxed); }
  // Waits until the stream has ended; true when it has (or never started).
  bool WaitUntilFinished(std::chrono::milliseconds timeout) const;

  bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) override;
  void BeforeDestruction() override;

protected:
  struct TStreamStart {
    int Width = 0; // 0: the reader thread announces the stream itself
    int Height = 0;
    TFQVideoFormat Format = vf24Bit;
    std::int64_t Interval = 0; // 100-ns units, 0 when unknown
  };

  // On the caller's thread of Start(). False (after ReportError) cancels.
  virtual bool OpenInput(TStreamStart& start) = 0;
  // On the reader thread: sends frames until the input ends or
  // StopRequested(), which blocking reads must look at now and then.
  // Announce() sends a start-frame when it differs from the last one.
  virtual void ReadInput() = 0;
  // After ReadInput, or after a start cancelled by Stop(); on either thread.
  virtual void CloseInput() {}

  bool StopRequested() const { return stopRequested_.load(std::memory_order_acquire); }
  void Announce(const TStreamStart& start);
  // Sends one frame; false once a stop has been requested.
  bool Deliver(IFQImageBuffer frame);
  // Sleeps until `when`; false (at once) when a stop is requested.
  bool SleepUntil(std::chrono::steady_clock::time_point when);
  // Ends the thread for good; derived destructors call it first.
  void Shutdown();

private:
  enum class TState { Idle, Starting, Running, Stopping };
  void Run();
  void Finish(); // closes, sends the stop, goes idle

  mutable std::mutex control_; // guards the state below; never held while sending
  mutable std::condition_variable changed_;
  TState state_ = TState::Idle;
  unsigned long long generation_ = 0; // counts starts, so a stop waits for its own stream only
  std::thread thread_;
  std::thread::id starter_; // the thread inside Start(), while Starting
  std::atomic<bool> stopRequested_{false};
  std::atomic<long long> framesSent_{0};
  // Only the thread that owns the stream (starter, then reader) touches these.
  bool announced_ = false;
  TStreamStart last_;
};

} // namespace framquist
