#include "frame/fqcommongen.h"

#include <algorithm>
#include <cmath>

#include "wavquist/wqclock.h"

namespace framquist {

// ---- TFQFilterOutputSize ---------------------------------------------------

TFQFilterOutputSize::TFQFilterOutputSize(IPWLock& lock, int width, int height)
    : TZNLockedPersistent(lock), width_(std::clamp(width, 1, kMax)), height_(std::clamp(height, 1, kMax)),
      defaultWidth_(width_), defaultHeight_(height_) {}

void TFQFilterOutputSize::DeclareProperties(TPWPropertyList& props) {
  props
      .Int<std::int32_t>(
          "Width", [this] { return GetWidth(); },
          [this](std::int64_t v) { SetWidth(static_cast<int>(std::clamp<std::int64_t>(v, 0, kMax))); },
          defaultWidth_)
      .Range(1, kMax);
  props
      .Int<std::int32_t>(
          "Height", [this] { return GetHeight(); },
          [this](std::int64_t v) { SetHeight(static_cast<int>(std::clamp<std::int64_t>(v, 0, kMax))); },
          defaultHeight_)
      .Range(1, kMax);
}

int TFQFilterOutputSize::GetWidth() const {
  TPWLockHold hold = Read();
  return width_;
}

int TFQFilterOutputSize::GetHeight() const {
  TPWLockHold hold = Read();
  return height_;
}

SIZE TFQFilterOutputSize::GetSize() const {
  TPWLockHold hold = Read();
  return {width_, height_};
}

void TFQFilterOutputSize::SetWidth(int value) {
  if (TPWLockHold hold = Write()) width_ = std::clamp(value, 1, kMax);
}

void TFQFilterOutputSize::SetHeight(int value) {
  if (TPWLockHold hold = Write()) height_ = std::clamp(value, 1, kMax);
}

void TFQFilterOutputSize::Assign(const TFQFilterOutputSize& other) {
  const SIZE s = other.GetSize();
  TPWLockHold hold = Write();
  if (!hold) return;
  width_ = s.cx;
  height_ = s.cy;
}

// ---- TFQGenPump ------------------------------------------------------------

TFQGenPump::TFQGenPump(TPWComponent& owner, TFQPWImageSourcePin& output, TPWClockSinkPin& clockPin,
                       const TFQFilterOutputSize& size, THooks hooks)
    : owner_(owner), output_(output), clockPin_(clockPin), size_(size), hooks_(std::move(hooks)) {}

TFQGenPump::~TFQGenPump() { Stop(); }

std::int64_t TFQGenPump::GetInterval() const { return std::llround(1e7 / GetRate()); }

void TFQGenPump::SetRate(double fps) {
  if (!(fps == fps)) return; // NaN: keep the present rate
  TPWLockHold hold = owner_.GetLock().Write();
  if (!hold) return;
  rate_.store(std::clamp(fps, 0.001, 1000.0), std::memory_order_relaxed);
  if (clock_) clock_->SetInterval(GetInterval());
}

void TFQGenPump::SetPumpType(TPWPumpType value) {
  if (value > ptAuto) value = ptAuto;
  if (TPWLockHold hold = owner_.GetLock().Write()) pumpType_.store(value, std::memory_order_relaxed);
}

void TFQGenPump::SetClockSource(TWQClockSource value) {
  if (value > csPin) value = csAuto;
  if (TPWLockHold hold = owner_.GetLock().Write()) clockSource_.store(value, std::memory_order_relaxed);
}

bool TFQGenPump::ClockPinDrives() const {
  const TWQClockSource source = GetClockSource();
  return source == csPin || (source == csAuto && clockPin_.IsConnected());
}

void TFQGenPump::Start() {
  int expected = kStopped;
  if (!state_.compare_exchange_strong(expected, kStarting, std::memory_order_acq_rel)) return;
  {
    TPWLockHold hold = owner_.GetLock().Write();
    if (hooks_.IntStart) hooks_.IntStart();
    announcedSize_ = size_.GetSize();
    announcedFormat_ = hooks_.Format ? FQNormalizeFormat(hooks_.Format()) : vf24Bit;
    frameIndex_.store(0, std::memory_order_relaxed);
    pulled_.store(GetPumpType() == ptPull, std::memory_order_relaxed);
    // Goes out as the lock is released, before any frame can be pumped.
    output_.PostStart(announcedSize_.cx, announcedSize_.cy, GetInterval(), announcedFormat_,
                      static_cast<int>(std::llround(GetRate() * 1000.0)));
  }
  state_.store(kRunning, std::memory_order_release);
  if (stopWhenStarted_.exchange(false)) {
    Stop();
    return;
  }
  if (GetPumpType() != ptPull && !ClockPinDrives()) {
    TPWLockHold hold = owner_.GetLock().Write();
    if (IsRunning() && !clock_ && !pulled_.load(std::memory_order_acquire)) {
      clock_ = std::make_unique<TWQClockGen>([this] { Pump(); }, GetInterval());
      clock_->Start();
    }
  }
}

void TFQGenPump::Stop() {
  int expected = kRunning;
  if (!state_.compare_exchange_strong(expected, kStopping, std::memory_order_acq_rel)) {
    if (expected == kStarting) stopWhenStarted_ = true;
    return;
  }
  {
    // A tick waiting for the lock finishes (and gives up) before the clock
    // thread is waited for, after the lock is released.
    TPWLockHold hold = owner_.GetLock().Write();
    WQRetireClock(owner_.GetLock(), std::move(clock_));
  }
  inFlight_.Close(); // frames on their way on other threads finish first
  inFlight_.Reopen();
  {
    TPWLockHold hold = owner_.GetLock().Write();
    if (hooks_.IntStop) hooks_.IntStop();
    output_.PostStop();
  }
  state_.store(kStopped, std::memory_order_release);
}

bool TFQGenPump::Pump() {
  TPWGate::Pass pass(inFlight_);
  if (!pass || !IsRunning()) return false;
  if (hooks_.Enabled && !hooks_.Enabled()) return false;
  TPWLockHold hold = owner_.GetLock().Write();
  // A tick of a clock retired while it waited for the lock makes nothing.
  if (TWQClockGen::Cancelled() || !IsRunning()) return false;
  const SIZE size = size_.GetSize();
  const TFQVideoFormat format = hooks_.Format ? FQNormalizeFormat(hooks_.Format()) : vf24Bit;
  IFQImageBuffer buffer = IFQImageBuffer::Create(size.cx, size.cy, format);
  hooks_.Generate(buffer);
  const std::int64_t interval = GetInterval();
  if (!(size == announcedSize_) || format != announcedFormat_) {
    announcedSize_ = size;
    announcedFormat_ = format;
    output_.PostStart(size.cx, size.cy, interval, format, static_cast<int>(std::llround(GetRate() * 1000.0)));
  }
  const std::int64_t index = frameIndex_.fetch_add(1, std::memory_order_relaxed);
  buffer.SetTimes(index * interval, (index + 1) * interval);
  output_.PostFrame(std::move(buffer)); // goes out as the lock is released
  return true;
}

void TFQGenPump::MasterPump() {
  if (!IsRunning() || GetPumpType() == ptPush) return;
  if (!pulled_.exchange(true, std::memory_order_acq_rel)) {
    // Downstream takes over the pace: the own clock stops.
    TPWLockHold hold = owner_.GetLock().Write();
    WQRetireClock(owner_.GetLock(), std::move(clock_));
  }
  Pump();
}

namespace {
const TPWEnumType kPumpTypes{"TPWPumpType", {"ptPull", "ptPush", "ptAuto"}};
const TPWEnumType kClockSources{"TWQClockSource", {"csAuto", "csThread", "csPin"}};
} // namespace

void TFQGenPump::DeclareProperties(TPWPropertyList& props) {
  props
      .Float(
          "Rate", [this] { return GetRate(); }, [this](double v) { SetRate(v); }, 25.0)
      .Range(0.001, 1000.0);
  props.Enum(
      "PumpType", kPumpTypes, [this] { return static_cast<int>(GetPumpType()); },
      [this](int v) { SetPumpType(static_cast<TPWPumpType>(v)); }, ptAuto);
  props.Enum(
      "ClockSource", kClockSources, [this] { return static_cast<int>(GetClockSource()); },
      [this](int v) { SetClockSource(static_cast<TWQClockSource>(v)); }, csAuto);
}

void TFQGenPump::ClockEvent() {
  if (!IsRunning() || GetPumpType() == ptPull || pulled_.load(std::memory_order_acquire)) return;
  if (GetClockSource() == csThread) return;
  Pump();
}

// ---- TFQCommonGen ----------------------------------------------------------

namespace {
TPWSinkHandler ClockHandler(TFQGenPump& pump) {
  return [&pump](TPWSinkPin&, const TPWOperation& op) {
    if (OpAs<TPWClockOperation>(op) == nullptr) return false;
    pump.ClockEvent();
    return true;
  };
}
} // namespace

TFQCommonGen::TFQCommonGen()
    : OutputPin(this, "OutputPin"), ClockPin(this, "ClockPin", ClockHandler(pump_)),
      ImageSize(GetLock(), 640, 480),
      pump_(*this, OutputPin, ClockPin, ImageSize,
            {[this] { IntStart(); }, [this] { IntStop(); },
             [this](IFQImageBuffer& b) {
               bool r1 = false, r2 = false;
               GenerateFrame(b, r1, r2);
             },
             [this] { return GetVideoFormat(); }, [this] { return GetEnabled(); }}) {}

TFQCommonGen::~TFQCommonGen() = default;

void TFQCommonGen::Start() { pump_.Start(); }

void TFQCommonGen::Stop() { pump_.Stop(); }

void TFQCommonGen::BeforeDestruction() {
  pump_.Stop();
  TPWComponent::BeforeDestruction();
}

void TFQCommonGen::SetEnabled(bool value) {
  if (TPWLockHold hold = GetLock().Write()) enabled_.store(value, std::memory_order_release);
}

void TFQCommonGen::SetImageSize(int width, int height) {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return;
  ImageSize.SetWidth(width);
  ImageSize.SetHeight(height);
}

void TFQCommonGen::DeclareProperties(TPWPropertyList& props) {
  TPWComponent::DeclareProperties(props);
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
  props.Object("ImageSize", ImageSize);
  pump_.DeclareProperties(props);
}

bool TFQCommonGen::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  if (&pin != &OutputPin) return TPWComponent::SourceDispatch(pin, op);
  return DispatchOperation(op);
}

bool TFQCommonGen::DispatchOperation(const TPWOperation& op) {
  if (OpAs<TPWStartOperation>(op) != nullptr) {
    Start();
    return true;
  }
  if (OpAs<TPWStopOperation>(op) != nullptr) {
    Stop();
    return true;
  }
  if (OpAs<TPWMasterPumpOperation>(op) != nullptr) {
    pump_.MasterPump();
    return true;
  }
  return false;
}

// ---- TFQCommonROIGenFilter -------------------------------------------------

TFQCommonROIGenFilter::TFQCommonROIGenFilter()
    : ClockPin(this, "ClockPin", ClockHandler(pump_)), ImageSize(GetLock(), 640, 480),
      pump_(*this, OutputPin, ClockPin, ImageSize,
            {[this] { IntStart(); }, [this] { IntStop(); },
             [this](IFQImageBuffer& b) {
               bool r1 = false, r2 = false;
               GenerateFrame(b, r1, r2);
             },
             [this] { return GetVideoFormat(); }, [this] { return GetEnabled(); }}) {}

TFQCommonROIGenFilter::~TFQCommonROIGenFilter() = default;

void TFQCommonROIGenFilter::Start() {
  if (InputPin.IsConnected())
    TFQCommonROIFilter::Start();
  else
    pump_.Start();
}

void TFQCommonROIGenFilter::Stop() {
  if (pump_.IsRunning())
    pump_.Stop();
  else
    TFQCommonROIFilter::Stop();
}

void TFQCommonROIGenFilter::BeforeDestruction() {
  pump_.Stop();
  TFQCommonROIFilter::BeforeDestruction();
}

void TFQCommonROIGenFilter::SetImageSize(int width, int height) {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return;
  ImageSize.SetWidth(width);
  ImageSize.SetHeight(height);
}

void TFQCommonROIGenFilter::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIFilter::DeclareProperties(props);
  props.Object("ImageSize", ImageSize);
  pump_.DeclareProperties(props);
}

bool TFQCommonROIGenFilter::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  if (&pin == &OutputPin && !InputPin.IsConnected()) {
    if (OpAs<TPWStartOperation>(op) != nullptr) {
      pump_.Start();
      return true;
    }
    if (OpAs<TPWStopOperation>(op) != nullptr) {
      pump_.Stop();
      return true;
    }
    if (OpAs<TPWMasterPumpOperation>(op) != nullptr) {
      pump_.MasterPump();
      return true;
    }
  }
  return TFQCommonROIFilter::SourceDispatch(pin, op);
}

} // namespace framquist
