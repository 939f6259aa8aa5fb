// Generators: TFQCommonGen (no image input) and TFQCommonROIGenFilter (a
// filter that generates its own frames while its input is unconnected).
//
// A started generator sends a start-frame (ImageSize, the interval of Rate,
// GetVideoFormat()) and then one frame per pump. Frames are pumped by:
//   - its own clock thread at Rate frames per second;
//   - a connected ClockPin: one frame per clock event, on the event's thread
//     (a TFQTickClock gives a caller-ticked, deterministic drive);
//   - master pumps from downstream (one frame each).
// PumpType: ptPull (master pumps only), ptPush (clock only), ptAuto (the
// clock, until the first master pump hands the pace to downstream).
// ClockSource: csAuto (ClockPin when connected, else the thread), csThread,
// csPin. A change of ImageSize or format while running re-announces the
// stream before the next frame. Stop ends the clock, waits for frames in
// flight and sends a stop. Frames are generated holding the component's
// lock and go out as it is released; the setters store under it too.
//
// Properties: Enabled (true), ImageSize (640 x 480), Rate (25), PumpType
// (ptAuto), ClockSource (csAuto). Pins: OutputPin, ClockPin.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "frame/fqcommonfilter.h"
#include "frame/fqimagepins.h"
#include "pinweave/pwcomponent.h"
#include "pinweave/pwgate.h"

namespace framquist {

class TWQClockGen;

enum TPWPumpType : std::uint8_t { ptPull, ptPush, ptAuto };
enum TWQClockSource : std::uint8_t { csAuto, csThread, csPin };

// Width and height of generated frames, 1 to 32767 each.
class TFQFilterOutputSize : public TZNLockedPersistent {
public:
  TFQFilterOutputSize(IPWLock& lock, int width, int height);
  int GetWidth() const;
  int GetHeight() const;
  SIZE GetSize() const;
  void SetWidth(int value);
  void SetHeight(int value);
  void Assign(const TFQFilterOutputSize& other);
  // Published: Width, Height (the sizes it was made with).
  void DeclareProperties(TPWPropertyList& props) override;

  static constexpr int kMax = 32767;

private:
  int width_;
  int height_;
  int defaultWidth_;
  int defaultHeight_;
};

// The clocking shared by both generator bases.
class TFQGenPump {
public:
  struct THooks {
    std::function<void()> IntStart;                // called holding the lock
    std::function<void()> IntStop;                 // called holding the lock
    std::function<void(IFQImageBuffer&)> Generate; // called holding the lock
    std::function<TFQVideoFormat()> Format;        // called holding the lock
    std::function<bool()> Enabled;
  };

  TFQGenPump(TPWComponent& owner, TFQPWImageSourcePin& output, TPWClockSinkPin& clockPin,
             const TFQFilterOutputSize& size, THooks hooks);
  ~TFQGenPump();

  void Start();
  void Stop();
  bool IsRunning() const { return state_.load(std::memory_order_acquire) == kRunning; }
  // One frame now; false when not running or disabled.
  bool Pump();
  void MasterPump();
  void ClockEvent();
  // Rate (25), PumpType (ptAuto), ClockSource (csAuto).
  void DeclareProperties(TPWPropertyList& props);

  double GetRate() const { return rate_.load(std::memory_order_relaxed); }
  void SetRate(double fps); // clamped to 0.001 .. 1000; the clock follows at once
  std::int64_t GetInterval() const;
  TPWPumpType GetPumpType() const { return pumpType_.load(std::memory_order_relaxed); }
  void SetPumpType(TPWPumpType value);
  TWQClockSource GetClockSource() const { return clockSource_.load(std::memory_order_relaxed); }
  void SetClockSource(TWQClockSource value);

private:
  bool ClockPinDrives() const;

  TPWComponent& owner_;
  TFQPWImageSourcePin& output_;
  TPWClockSinkPin& clockPin_;
  const TFQFilterOutputSize& size_;
  THooks hooks_;

  enum : int { kStopped, kStarting, kRunning, kStopping };
  std::atomic<int> state_{kStopped};
  std::atomic<bool> stopWhenStarted_{false}; // Stop() came while starting
  std::atomic<bool> pulled_{false};          // downstream sets the pace
  std::atomic<double> rate_{25.0};
  std::atomic<TPWPumpType> pumpType_{ptAuto};
  std::atomic<TWQClockSource> clockSource_{csAuto};
  std::atomic<std::int64_t> frameIndex_{0};
  // Guarded by the owner's lock.
  std::unique_ptr<TWQClockGen> clock_;
  SIZE announcedSize_{};
  TFQVideoFormat announcedFormat_ = vf24Bit;
  TPWGate inFlight_;
};

class TFQCommonGen : public TPWComponent {
public:
  TFQCommonGen();
  ~TFQCommonGen() override;

  TFQPWImageSourcePin OutputPin;
  TPWClockSinkPin ClockPin;
  TFQFilterOutputSize ImageSize;

  void Start() override;
  void Stop() override;
  bool IsRunning() const { return pump_.IsRunning(); }
  void BeforeDestruction() override;

  bool GetEnabled() const { return enabled_.load(std::memory_order_acquire); }
  void SetEnabled(bool value);
  double GetRate() const { return pump_.GetRate(); }
  virtual void SetRate(double fps) { pump_.SetRate(fps); }
  TPWPumpType GetPumpType() const { return pump_.GetPumpType(); }
  void SetPumpType(TPWPumpType value) { pump_.SetPumpType(value); }
  TWQClockSource GetClockSource() const { return pump_.GetClockSource(); }
  void SetClockSource(TWQClockSource value) { pump_.SetClockSource(value); }
  SIZE GetImageSize() const { return ImageSize.GetSize(); }
  void SetImageSize(int width, int height);

  // Produces one frame now (on the caller's thread) if running.
  bool RequestPump() { return pump_.Pump(); }
  bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) override;
  // Published: Tag, Enabled, ImageSize, Rate, PumpType, ClockSource.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  // Buffer arrives allocated at the current size and format; the generator
  // may change its format (SetFormat) and fills it. The flags are unused.
  virtual void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) = 0;
  virtual void IntStart() {}
  virtual void IntStop() {}
  // Format of the buffers handed to GenerateFrame.
  virtual TFQVideoFormat GetVideoFormat() { return vf24Bit; }
  // Upstream operations at OutputPin: start and stop requests, master pumps.
  virtual bool DispatchOperation(const TPWOperation& op);

private:
  std::atomic<bool> enabled_{true};
  TFQGenPump pump_;
};

class TFQCommonROIGenFilter : public TFQCommonROIFilter {
public:
  TFQCommonROIGenFilter();
  ~TFQCommonROIGenFilter() override;

  TPWClockSinkPin ClockPin;
  TFQFilterOutputSize ImageSize;

  // With the input unconnected these start and stop generating; otherwise
  // they ask upstream as any filter does.
  void Start() override;
  void Stop() override;
  bool IsGenerating() const { return pump_.IsRunning(); }
  void BeforeDestruction() override;

  double GetRate() const { return pump_.GetRate(); }
  void SetRate(double fps) { pump_.SetRate(fps); }
  TPWPumpType GetPumpType() const { return pump_.GetPumpType(); }
  void SetPumpType(TPWPumpType value) { pump_.SetPumpType(value); }
  TWQClockSource GetClockSource() const { return pump_.GetClockSource(); }
  void SetClockSource(TWQClockSource value) { pump_.SetClockSource(value); }
  SIZE GetImageSize() const { return ImageSize.GetSize(); }
  void SetImageSize(int width, int height);

  bool RequestPump() { return pump_.Pump(); }
  bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) override;
  // Published: those of TFQCommonROIFilter, ImageSize, Rate, PumpType, ClockSource.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  // Generator mode's per-tick work (see TFQCommonGen::GenerateFrame).
  virtual void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) = 0;
  virtual void IntStart() {}
  virtual void IntStop() {}
  virtual TFQVideoFormat GetVideoFormat() { return vf24Bit; }

private:
  TFQGenPump pump_;
};

} // namespace framquist
