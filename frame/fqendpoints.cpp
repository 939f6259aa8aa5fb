#include "frame/fqendpoints.h"

#include <algorithm>

#include "frame/fqregistry.h"

namespace framquist {

// ---- TFQImageSource --------------------------------------------------------

TFQImageSource::TFQImageSource() : OutputPin(this, "OutputPin") {}

TFQImageSource::~TFQImageSource() = default;

void TFQImageSource::StartStream(int width, int height, TFQVideoFormat format, std::int64_t interval) {
  {
    std::lock_guard g(mutex_);
    width_ = width;
    height_ = height;
    format_ = FQNormalizeFormat(format);
    interval_ = std::max<std::int64_t>(interval, 0);
    index_ = 0;
    streaming_ = true;
    configured_ = true;
  }
  OutputPin.SendStart(width, height, interval, FQNormalizeFormat(format),
                      interval > 0 ? static_cast<int>(10'000'000'000LL / interval) : 0);
}

bool TFQImageSource::Push(const IFQImageBuffer& frame) {
  IFQImageBuffer own;
  own.Assign(frame);
  {
    std::lock_guard g(mutex_);
    if (!streaming_) return false;
    const std::int64_t n = index_++;
    if (own.GetStartTime() == 0 && own.GetEndTime() == 0 && interval_ > 0)
      own.SetTimes(n * interval_, (n + 1) * interval_);
  }
  OutputPin.SendFrame(std::move(own));
  return true;
}

void TFQImageSource::StopStream() {
  {
    std::lock_guard g(mutex_);
    if (!streaming_) return;
    streaming_ = false;
  }
  OutputPin.SendStop();
}

bool TFQImageSource::IsStreaming() const {
  std::lock_guard g(mutex_);
  return streaming_;
}

void TFQImageSource::Start() {
  int w, h;
  TFQVideoFormat f;
  std::int64_t i;
  {
    std::lock_guard g(mutex_);
    if (streaming_ || !configured_) return;
    w = width_, h = height_, f = format_, i = interval_;
  }
  StartStream(w, h, f, i);
}

void TFQImageSource::Stop() { StopStream(); }

bool TFQImageSource::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  if (&pin != &OutputPin) return false;
  if (OpAs<TPWStartOperation>(op) != nullptr) {
    Start();
    return true;
  }
  if (OpAs<TPWStopOperation>(op) != nullptr) {
    Stop();
    return true;
  }
  if (OpAs<TPWMasterPumpOperation>(op) != nullptr) {
    std::function<void()> onPump;
    {
      std::lock_guard g(mutex_);
      onPump = onPump_;
    }
    if (onPump) onPump();
    return static_cast<bool>(onPump);
  }
  return false;
}

void TFQImageSource::SetOnPump(std::function<void()> onPump) {
  std::lock_guard g(mutex_);
  onPump_ = std::move(onPump);
}

// ---- TFQImageGrabber -------------------------------------------------------

TFQImageGrabber::TFQImageGrabber() = default;
TFQImageGrabber::~TFQImageGrabber() = default;

void TFQImageGrabber::DeclareProperties(TPWPropertyList& props) {
  TPWComponent::DeclareProperties(props);
  props.Int<std::int32_t>(
      "KeepCount", [this] { return GetKeepCount(); },
      [this](std::int64_t v) { SetKeepCount(static_cast<int>(v)); }, 1);
}

void TFQImageGrabber::SetOnFrame(TOnFrame onFrame) {
  TPWLockHold hold = GetLock().Write();
  if (hold) onFrame_ = std::move(onFrame);
}

void TFQImageGrabber::SetKeepCount(int count) {
  std::lock_guard g(mutex_);
  keep_ = std::max(count, 0);
  while (static_cast<int>(frames_.size()) > keep_) frames_.pop_front();
}

int TFQImageGrabber::GetKeepCount() const {
  std::lock_guard g(mutex_);
  return keep_;
}

long long TFQImageGrabber::GetFrameCount() const {
  std::lock_guard g(mutex_);
  return count_;
}

int TFQImageGrabber::GetStartCount() const {
  std::lock_guard g(mutex_);
  return starts_;
}

int TFQImageGrabber::GetStopCount() const {
  std::lock_guard g(mutex_);
  return stops_;
}

std::vector<IFQImageBuffer> TFQImageGrabber::GetFrames() const {
  std::lock_guard g(mutex_);
  return {frames_.begin(), frames_.end()};
}

IFQImageBuffer TFQImageGrabber::GetLastFrame() const {
  std::lock_guard g(mutex_);
  return frames_.empty() ? IFQImageBuffer() : frames_.back();
}

void TFQImageGrabber::Clear() {
  std::lock_guard g(mutex_);
  frames_.clear();
  count_ = 0;
  starts_ = 0;
  stops_ = 0;
}

bool TFQImageGrabber::WaitForFrames(long long count, std::chrono::milliseconds timeout) const {
  std::unique_lock g(mutex_);
  return arrived_.wait_for(g, timeout, [&] { return count_ >= count; });
}

bool TFQImageGrabber::Pump() {
  const std::int64_t tick = tick_.fetch_add(1, std::memory_order_acq_rel) + 1;
  return InputPin.SendUpstream(std::make_shared<TPWMasterPumpOperation>(this, tick));
}

bool TFQImageGrabber::SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) {
  if (const auto* request = OpAs<TPWPumpRequestOperation>(op)) {
    if (!GetPacesStream()) return false;
    request->Pumper.store(this, std::memory_order_release);
    return true;
  }
  return TFQSinkFilter::SinkDispatch(pin, op);
}

void TFQImageGrabber::ProcessImage(IFQImageBuffer Buffer) {
  // Keep a frame object of our own: the sender may reuse its object.
  IFQImageBuffer kept;
  kept.Assign(Buffer);
  if (onFrame_) onFrame_(kept);
  {
    std::lock_guard g(mutex_);
    ++count_;
    if (keep_ > 0) {
      frames_.push_back(kept);
      while (static_cast<int>(frames_.size()) > keep_) frames_.pop_front();
    }
  }
  arrived_.notify_all();
}

void TFQImageGrabber::IntStart(int, int) {
  std::lock_guard g(mutex_);
  ++starts_;
}

void TFQImageGrabber::StreamStop() {
  {
    std::lock_guard g(mutex_);
    ++stops_;
  }
  arrived_.notify_all();
}

// ---- TFQTickClock ----------------------------------------------------------

TFQTickClock::TFQTickClock() : OutputPin(this, "OutputPin") {}

void TFQTickClock::DeclareProperties(TPWPropertyList& props) {
  TPWComponent::DeclareProperties(props);
  props.Int<std::int64_t>(
      "Interval", [this] { return GetInterval(); }, [this](std::int64_t v) { SetInterval(v); }, 400000);
}

void TFQTickClock::Tick() {
  const std::int64_t t = time_.fetch_add(interval_.load());
  OutputPin.Notify(std::make_shared<TPWClockOperation>(t));
}

namespace Fqendpoints {
void Register() {
  RegisterComponents("Framquist",
                     {FQClass<TFQImageSource>("TFQImageSource"), FQClass<TFQImageGrabber>("TFQImageGrabber"),
                      FQClass<TFQTickClock>("TFQTickClock")});
}
} // namespace Fqendpoints

} // namespace framquist
