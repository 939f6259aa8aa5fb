// Application endpoints: use the library without writing a component.
//
// TFQImageSource: the application starts a stream (size, format, interval),
//   pushes frames and stops it. Frames are sent on the caller's thread; the
//   source sends a frame object of its own, so the caller may reuse its
//   buffer at once. Frames whose times are both 0 are stamped from the
//   interval. A master pump from downstream calls the OnPump callback.
//   Pins: OutputPin.
// TFQImageGrabber: an image sink that hands every frame to a callback (on
//   the delivering thread, holding the grabber's lock) and keeps the last
//   KeepCount frames (1 by default). With SetPacesStream(true) it answers
//   pump requests (it will pace the stream) and Pump() asks upstream for one
//   frame with a master pump, each carrying the next tick. Pins: InputPin.
// TFQTickClock: a clock the caller ticks. Connected to a generator's
//   ClockPin, one Tick() produces exactly one frame, synchronously, on the
//   caller's thread. Pins: OutputPin (clock).
//
//   source->StartStream(640, 480, vf24Bit, 400000);  // 25 frames per second
//   source->Push(frame);
//   source->StopStream();
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "frame/fqimagepins.h"
#include "frame/fqsinkfilter.h"
#include "pinweave/pwcomponent.h"

namespace framquist {

class TFQImageSource : public TPWComponent {
public:
  TFQImageSource();
  ~TFQImageSource() override;
  std::string_view GetClassName() const override { return "TFQImageSource"; }

  TFQPWImageSourcePin OutputPin;

  void StartStream(int width, int height, TFQVideoFormat format, std::int64_t interval);
  // False when no stream is started.
  bool Push(const IFQImageBuffer& frame);
  void StopStream();
  bool IsStreaming() const;

  // A start request from downstream restarts the last stream; a stop request stops it.
  void Start() override;
  void Stop() override;
  bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) override;

  void SetOnPump(std::function<void()> onPump);

private:
  mutable std::mutex mutex_;
  bool streaming_ = false;
  bool configured_ = false;
  int width_ = 0, height_ = 0;
  TFQVideoFormat format_ = vf24Bit;
  std::int64_t interval_ = 0;
  std::int64_t index_ = 0;
  std::function<void()> onPump_;
};

class TFQImageGrabber : public TFQSinkFilter {
public:
  using TOnFrame = std::function<void(const IFQImageBuffer&)>;

  TFQImageGrabber();
  ~TFQImageGrabber() override;
  std::string_view GetClassName() const override { return "TFQImageGrabber"; }

  // Published: Tag, KeepCount (1).
  void DeclareProperties(TPWPropertyList& props) override;

  void SetOnFrame(TOnFrame onFrame);
  void SetKeepCount(int count); // at least 0
  int GetKeepCount() const;

  long long GetFrameCount() const;
  int GetStartCount() const;
  int GetStopCount() const;
  std::vector<IFQImageBuffer> GetFrames() const; // oldest first
  IFQImageBuffer GetLastFrame() const;           // an empty frame when none
  void Clear();
  // Waits until at least `count` frames have arrived in all.
  bool WaitForFrames(long long count, std::chrono::milliseconds timeout) const;

  void SetPacesStream(bool value) { paces_.store(value, std::memory_order_release); }
  bool GetPacesStream() const { return paces_.load(std::memory_order_acquire); }
  // Sends one master pump upstream; false when nothing answered it.
  bool Pump();

  bool SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) override;

protected:
  void ProcessImage(IFQImageBuffer Buffer) override;
  void IntStart(int Width, int Height) override;
  void StreamStop() override;

private:
  mutable std::mutex mutex_;
  mutable std::condition_variable arrived_;
  TOnFrame onFrame_;
  int keep_ = 1;
  std::deque<IFQImageBuffer> frames_;
  long long count_ = 0;
  int starts_ = 0;
  int stops_ = 0;
  std::atomic<bool> paces_{false};
  std::atomic<std::int64_t> tick_{0};
};

class TFQTickClock : public TPWComponent {
public:
  TFQTickClock();
  std::string_view GetClassName() const override { return "TFQTickClock"; }

  TPWClockSourcePin OutputPin;

  // Sends one clock event; the time advances by the interval per tick.
  void Tick();
  void SetInterval(std::int64_t interval) { interval_.store(std::max<std::int64_t>(interval, 0)); }
  std::int64_t GetInterval() const { return interval_.load(); }
  // Published: Tag, Interval (400000, in 100-ns units).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  std::atomic<std::int64_t> interval_{400000};
  std::atomic<std::int64_t> time_{0};
};

namespace Fqendpoints {
void Register();
}

} // namespace framquist
