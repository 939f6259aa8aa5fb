// TFQMultiInput: base of the components with several image inputs and one
// image output (the combiners and the mixer).
//
// It decides three things for its descendants:
//   - when the output starts: once every connected input runs (or at the
//     first input's start when CanStartIfNotAllRunning()), with the inputs'
//     sizes and intervals combined into TFQMultiStartParams;
//   - when an output frame is computed: on every frame of input
//     GetRateChannel(), or (channel -1) once every connected input has a
//     new frame, the fastest input driving when their intervals differ;
//   - when the output stops: with every input stopped (GetStopOnAll()), or
//     kept alive by AfterStop (asZero, asLastFrame) for descendants that go
//     on emitting.
// Every pin handler and every setter takes the component's write lock, so
// frames arriving on several delivery threads are serialised and
// CalculateSendOutput runs inside the lock on the thread of the input whose
// frame completed the set. What it submits (start, frames, stop) is posted
// to OutputPin under the lock and goes out in that order once the lock is
// released; master pumps are settled under the lock and sent upstream after
// it, so a chain of combiners paced from downstream cannot deadlock.
//
// Start and stop requests arriving at OutputPin are passed upstream without
// the lock held: a source that stops waits for its frames in flight, and
// those may be waiting for this lock.
//
// Descendants with a list of inputs build it with InputPinCreator and
// InputPinRemover, so inputs can be added and removed while frames flow.
//
// Properties: AfterStop (asStop), VideoFormat. Pins: OutputPin; the inputs
// are created by the descendants and registered with AddInputPin.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "frame/fqimagepins.h"
#include "pinweave/pwcomponent.h"

namespace framquist {

enum TFQMixerAfterStop : std::uint8_t { asStop, asZero, asLastFrame };

// The output's pixel format: Format 0..7 as TFQVideoFormat; 7 (the default)
// takes the format of the first running input.
class TFQVideoFormatSettings : public TZNLockedPersistent {
public:
  explicit TFQVideoFormatSettings(IPWLock& lock) : TZNLockedPersistent(lock) {}
  TFQVideoFormat GetFormat() const;
  void SetFormat(TFQVideoFormat value); // above 7 becomes 7
  void Assign(const TFQVideoFormatSettings& other);
  // Published: Format (7).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  TFQVideoFormat format_ = vfAny;
};

// An image input that holds frames arriving before the owner used the one
// it has: while the current frame has gone into no output yet, later ones
// wait in a short queue (QueueLimit, oldest dropped beyond it) and step up
// one per output. Inputs of equal rate on different threads thus pair frame
// n with frame n instead of skipping ahead.
class TFQPWQueuedImageSinkPin : public TFQPWImageSinkPin {
public:
  using TFQPWImageSinkPin::TFQPWImageSinkPin;
  static constexpr int QueueLimit = 4;
  // Guarded by the owner's lock.
  std::deque<IFQImageBuffer> Queue;
  bool Used = false; // the current frame went into an output
};

// Start values combined over the running inputs.
struct TFQMultiStartParams {
  int MinWidth = 0, MinHeight = 0, MaxWidth = 0, MaxHeight = 0;
  TFQVideoFormat Format = vf24Bit;
  // Smallest and largest nonzero interval (0 when every input's is unknown).
  std::int64_t MinInterval = 0, MaxInterval = 0;
  // The interval the output runs at: the rate channel's, else the smallest.
  std::int64_t Interval = 0;
  int Rate = 0; // frames per 1000 s, from Interval
  unsigned Flags = 0;
};

class TFQMultiInput : public TPWComponent {
public:
  TFQMultiInput();
  ~TFQMultiInput() override;

  TFQPWImageSourcePin OutputPin;

  TFQMixerAfterStop GetAfterStop() const;
  void SetAfterStop(TFQMixerAfterStop value);
  TFQVideoFormatSettings& GetVideoFormat() { return videoFormat_; }
  void SetVideoFormat(const TFQVideoFormatSettings& value) { videoFormat_.Assign(value); }

  // Stop passes stop requests up through every input and then ends the
  // output for good, whatever AfterStop says.
  void Stop() override;
  void BeforeDestruction() override;

  // Published: Tag, AfterStop, VideoFormat.
  void DeclareProperties(TPWPropertyList& props) override;

  bool SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) override;
  bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) override;

  bool IsStarted() const;
  bool IsOutputRunning() const;

protected:
  // Override points, called holding the write lock.
  virtual void CalculateSendStart(const TFQMultiStartParams& Params);
  virtual void CalculateSendOutput() {}
  virtual void Reconfigure(TFQVideoFormat Format) { outputFormat_ = Format; }
  virtual void PopulateStartParams(TFQMultiStartParams& Params) { (void)Params; }
  virtual int GetRateChannel() { return -1; }
  virtual bool GetStopOnAll() { return true; }
  virtual bool CanStartIfNotAllRunning() { return false; }
  virtual void IntStop(bool Force) { SendStopCommand(Force); }
  virtual void SendStopCommand(bool Force);
  virtual void TrySendStop();
  virtual void MasterPump(const TPWMasterPumpOperation& Operation);

  // The inputs, in order. Descendants register the pins they create.
  void AddInputPin(TFQPWImageSinkPin& pin);
  // Forgets an input (before it is shut down and freed).
  void RemoveInputPin(TFQPWImageSinkPin& pin);
  // Create and remove functions for a TPWPinList of inputs: make(index)
  // builds the pin, which is then registered as an input.
  TPWPinList::TCreate InputPinCreator(std::function<std::unique_ptr<TFQPWImageSinkPin>(int)> make);
  TPWPinList::TRemove InputPinRemover();
  int GetInputCount() const { return static_cast<int>(inputs_.size()); }
  TFQPWImageSinkPin& GetInput(int index) const { return *inputs_[static_cast<std::size_t>(index)]; }

  // The input whose frame completed the set being computed.
  TFQPWImageSinkPin* drivingInput_ = nullptr;
  // Start values recorded by CalculateSendStart.
  bool started_ = false;
  bool outputRunning_ = false;
  std::int64_t outputInterval_ = 0;
  TFQVideoFormat outputFormat_ = vf24Bit;
  int rate_ = 0;
  unsigned flags_ = 0;

private:
  bool StartFrame(TFQPWImageSinkPin& pin, const TPWStartFrameOperation& start);
  void FrameArrived(TFQPWImageSinkPin& pin, IFQImageBuffer buffer);
  // Whether a frame on pin completes a set, and whether every input's
  // new-frame flag is then cleared (else only pin's).
  bool CompletesSet(const TFQPWImageSinkPin& pin, bool& clearAll);
  void PumpInput(TFQPWImageSinkPin& pin, const TPWMasterPumpOperation& op);
  void NegotiateStart();
  std::vector<TFQPWImageSinkPin*> ConnectedInputs() const;

  std::vector<TFQPWImageSinkPin*> inputs_;
  TFQMixerAfterStop afterStop_ = asStop;
  TFQVideoFormatSettings videoFormat_;
};

} // namespace framquist
