#include "streams/fqmultiinput.h"

#include <algorithm>
#include <limits>

namespace framquist {

namespace {
const TPWEnumType kAfterStops{"TFQMixerAfterStop", {"asStop", "asZero", "asLastFrame"}};

// A master pump request never asks one input for more frames than this,
// whatever its countdown says (a huge output interval over a tiny input
// interval would otherwise loop for a very long time).
constexpr int kMaxPumpsPerRequest = 64;
} // namespace

// ---- TFQVideoFormatSettings ------------------------------------------------

TFQVideoFormat TFQVideoFormatSettings::GetFormat() const {
  TPWLockHold hold = Read();
  return format_;
}

void TFQVideoFormatSettings::SetFormat(TFQVideoFormat value) {
  if (TPWLockHold hold = Write()) format_ = std::min<TFQVideoFormat>(value, vfAny);
}

void TFQVideoFormatSettings::Assign(const TFQVideoFormatSettings& other) {
  if (&other != this) SetFormat(other.GetFormat());
}

void TFQVideoFormatSettings::DeclareProperties(TPWPropertyList& props) {
  props.Int(
      "Format", [this] { return GetFormat(); },
      [this](std::int64_t v) {
        SetFormat(static_cast<TFQVideoFormat>(std::clamp<std::int64_t>(v, 0, vfAny)));
      },
      vfAny, 0, 255);
}

// ---- TFQMultiInput ---------------------------------------------------------

TFQMultiInput::TFQMultiInput() : OutputPin(this, "OutputPin"), videoFormat_(GetLock()) {}

TFQMultiInput::~TFQMultiInput() = default;

TFQMixerAfterStop TFQMultiInput::GetAfterStop() const {
  TPWLockHold hold = GetLock().Read();
  return afterStop_;
}

void TFQMultiInput::SetAfterStop(TFQMixerAfterStop value) {
  if (TPWLockHold hold = GetLock().Write()) afterStop_ = value;
}

bool TFQMultiInput::IsStarted() const {
  TPWLockHold hold = GetLock().Read();
  return started_;
}

bool TFQMultiInput::IsOutputRunning() const {
  TPWLockHold hold = GetLock().Read();
  return outputRunning_;
}

void TFQMultiInput::DeclareProperties(TPWPropertyList& props) {
  TPWComponent::DeclareProperties(props);
  props.Enum(
      "AfterStop", kAfterStops, [this] { return static_cast<int>(GetAfterStop()); },
      [this](int v) { SetAfterStop(static_cast<TFQMixerAfterStop>(std::clamp(v, 0, 2))); }, asStop);
  props.Object("VideoFormat", videoFormat_);
}

void TFQMultiInput::AddInputPin(TFQPWImageSinkPin& pin) {
  TPWLockHold hold = GetLock().Write();
  inputs_.push_back(&pin);
}

void TFQMultiInput::RemoveInputPin(TFQPWImageSinkPin& pin) {
  OutputPin.RemoveFunctionSink(pin);
  TPWLockHold hold = GetLock().Write();
  const auto it = std::find(inputs_.begin(), inputs_.end(), &pin);
  if (it == inputs_.end()) return;
  inputs_.erase(it);
  if (drivingInput_ == &pin) drivingInput_ = nullptr;
  pin.Stream = {};
  // The inputs left may all have stopped already.
  TrySendStop();
}

TPWPinList::TCreate
TFQMultiInput::InputPinCreator(std::function<std::unique_ptr<TFQPWImageSinkPin>(int)> make) {
  return [this, make = std::move(make)](TPWPinList&, int index) -> std::unique_ptr<TPWPin> {
    std::unique_ptr<TFQPWImageSinkPin> pin = make(index);
    if (!pin) return nullptr;
    AddInputPin(*pin);
    OutputPin.AddFunctionSink(*pin);
    return pin;
  };
}

TPWPinList::TRemove TFQMultiInput::InputPinRemover() {
  return [this](TPWPinList&, TPWPin& pin) {
    if (auto* input = dynamic_cast<TFQPWImageSinkPin*>(&pin)) RemoveInputPin(*input);
  };
}

std::vector<TFQPWImageSinkPin*> TFQMultiInput::ConnectedInputs() const {
  std::vector<TFQPWImageSinkPin*> connected;
  for (TFQPWImageSinkPin* pin : inputs_)
    if (pin->IsConnected()) connected.push_back(pin);
  return connected;
}

void TFQMultiInput::Stop() {
  TPWComponent::Stop();
  // Whatever AfterStop says, a stop asked of the component ends the output.
  TPWLockHold hold = GetLock().Write();
  IntStop(true);
}

void TFQMultiInput::BeforeDestruction() {
  {
    TPWLockHold hold = GetLock().Write();
    IntStop(true);
    for (TFQPWImageSinkPin* pin : inputs_) pin->DisconnectAll();
  }
  TPWComponent::BeforeDestruction();
}

// ---- output side -----------------------------------------------------------

bool TFQMultiInput::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  if (&pin != &OutputPin) return TPWComponent::SourceDispatch(pin, op);
  if (const auto* pump = OpAs<TPWMasterPumpOperation>(op)) {
    // The countdowns are settled under the lock; the inputs are pumped as it
    // is released (PumpInput), never while it is held.
    TPWLockHold hold = GetLock().Write();
    MasterPump(*pump);
    return true;
  }
  std::vector<TPWPin::TKeep> keeps;
  std::vector<TFQPWImageSinkPin*> connected;
  {
    TPWLockHold hold = GetLock().Write();
    for (TFQPWImageSinkPin* input : ConnectedInputs())
      if (TPWPin::TKeep keep = input->Keep()) {
        keeps.push_back(std::move(keep));
        connected.push_back(input);
      }
  }
  if (!connected.empty()) {
    bool result = false;
    for (TFQPWImageSinkPin* input : connected) result = input->SendUpstream(op);
    return result;
  }
  if (OpAs<TPWStartOperation>(op) != nullptr)
    OutputPin.Notify(std::make_shared<TPWPumpRequestOperation>(0, this));
  return TPWComponent::SourceDispatch(pin, op);
}

void TFQMultiInput::MasterPump(const TPWMasterPumpOperation& op) {
  const auto outputStep =
      static_cast<std::int32_t>(static_cast<std::uint64_t>(outputInterval_) & 0xffffffffu);
  for (TFQPWImageSinkPin* pin : inputs_) {
    if (!pin->IsConnected()) continue;
    TFQPinStreamState& s = pin->Stream;
    if (outputInterval_ == 0) {
      PumpInput(*pin, op);
      continue;
    }
    const auto own = static_cast<std::int64_t>(static_cast<std::int32_t>(s.Interval));
    if (s.PumpCountdown == 0) {
      s.PumpCountdown = static_cast<std::int32_t>(own);
      PumpInput(*pin, op);
      continue;
    }
    std::int64_t countdown = static_cast<std::int64_t>(s.PumpCountdown) - outputStep;
    if (own <= 0) { // an input of unknown rate is pumped once per request
      if (countdown <= 0) PumpInput(*pin, op);
      countdown = 0;
    }
    for (int n = 0; countdown <= 0 && n < kMaxPumpsPerRequest; ++n) {
      PumpInput(*pin, op);
      countdown += own;
    }
    s.PumpCountdown = static_cast<std::int32_t>(std::clamp<std::int64_t>(
        countdown, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
  }
}

void TFQMultiInput::PumpInput(TFQPWImageSinkPin& pin, const TPWMasterPumpOperation& op) {
  // Sent once this thread releases the lock; the pin is kept until then.
  TPWPin::TKeep keep = pin.Keep();
  if (!keep) return;
  auto pump = std::make_shared<TPWMasterPumpOperation>(op);
  GetLock().RunAfterRelease(
      [&pin, keep = std::move(keep), pump = std::move(pump)] { pin.SendUpstream(pump); });
}

// ---- input side ------------------------------------------------------------

bool TFQMultiInput::SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) {
  auto* input = dynamic_cast<TFQPWImageSinkPin*>(&pin);
  if (input == nullptr) return TPWComponent::SinkDispatch(pin, op);
  {
    // The hold is empty only when this thread already reads the component,
    // which keeps setters out just the same.
    TPWLockHold hold = GetLock().Write();
    // An input removed meanwhile takes no further part.
    if (std::find(inputs_.begin(), inputs_.end(), input) == inputs_.end()) return false;
    if (const auto* frame = OpAs<TFQPWImageBufferOperation>(op)) {
      FrameArrived(*input, frame->Buffer);
      return true;
    }
    if (const auto* start = OpAs<TPWStartFrameOperation>(op)) return StartFrame(*input, *start);
    if (const auto* ignore = OpAs<TPWIgnoreStreamOperation>(op)) {
      if (const auto* video = dynamic_cast<const TPWIgnoreVideoStreamOperation*>(ignore))
        input->Stream.Format = video->Format;
      input->Stream.Stopped = true;
      input->Stream.Running = false;
      TrySendStop();
      return true;
    }
    if (OpAs<TPWStopOperation>(op) != nullptr) {
      input->Stream.Running = false;
      input->Stream.Stopped = true;
      TrySendStop();
      return true;
    }
  }
  return OutputPin.Notify(op); // pump requests and the like travel on
}

bool TFQMultiInput::StartFrame(TFQPWImageSinkPin& pin, const TPWStartFrameOperation& start) {
  TFQPinStreamState& s = pin.Stream;
  s.Width = start.Width;
  s.Height = start.Height;
  s.Format = start.Format;
  s.Interval = start.Interval;
  s.PumpCountdown = 0;
  s.Stopped = false;
  s.Running = true;
  s.NewFrame = false; // frames of an earlier run do not pair with this one's
  if (auto* queued = dynamic_cast<TFQPWQueuedImageSinkPin*>(&pin)) {
    queued->Queue.clear();
    queued->Used = false;
  }
  flags_ = start.Flags;
  bool allRunning = true;
  for (TFQPWImageSinkPin* input : ConnectedInputs()) allRunning = allRunning && input->Stream.Running;
  if (allRunning || CanStartIfNotAllRunning()) NegotiateStart();
  return true;
}

void TFQMultiInput::NegotiateStart() {
  TFQMultiStartParams p;
  p.MinWidth = p.MinHeight = std::numeric_limits<int>::max();
  bool any = false, formatChosen = false;
  const TFQVideoFormat wanted = videoFormat_.GetFormat();
  for (TFQPWImageSinkPin* input : ConnectedInputs()) {
    const TFQPinStreamState& s = input->Stream;
    if (!s.Running) continue;
    any = true;
    p.MinWidth = std::min(p.MinWidth, s.Width);
    p.MinHeight = std::min(p.MinHeight, s.Height);
    p.MaxWidth = std::max(p.MaxWidth, s.Width);
    p.MaxHeight = std::max(p.MaxHeight, s.Height);
    if (s.Interval > 0) {
      p.MinInterval = p.MinInterval == 0 ? s.Interval : std::min(p.MinInterval, s.Interval);
      p.MaxInterval = std::max(p.MaxInterval, s.Interval);
    }
    if (!formatChosen) {
      p.Format = wanted == vfAny ? s.Format : wanted;
      formatChosen = true;
    }
  }
  if (!any) return;
  p.Interval = p.MinInterval;
  const int channel = GetRateChannel();
  if (channel >= 0 && channel < GetInputCount() && GetInput(channel).Stream.Running)
    p.Interval = GetInput(channel).Stream.Interval;
  p.Rate = p.Interval > 0 ? static_cast<int>(std::min<std::int64_t>(10'000'000'000LL / p.Interval,
                                                                    std::numeric_limits<int>::max()))
                          : 0;
  p.Flags = flags_;
  PopulateStartParams(p);
  CalculateSendStart(p);
  if (started_) outputRunning_ = true;
}

void TFQMultiInput::CalculateSendStart(const TFQMultiStartParams& Params) {
  outputInterval_ = Params.Interval;
  outputFormat_ = Params.Format;
  rate_ = Params.Rate;
  flags_ = Params.Flags;
  started_ = true;
}

bool TFQMultiInput::CompletesSet(const TFQPWImageSinkPin& pin, bool& clearAll) {
  const int channel = GetRateChannel();
  const bool skipStopped = CanStartIfNotAllRunning();
  bool anyNotRunning = false, allEqual = true, allNew = true, first = true;
  std::int64_t firstInterval = 0, smallest = std::numeric_limits<std::int64_t>::max();
  for (const TFQPWImageSinkPin* input : inputs_) {
    if (!input->IsConnected()) continue;
    const TFQPinStreamState& s = input->Stream;
    if (skipStopped && s.Stopped) continue;
    if (!s.Running) anyNotRunning = true;
    if (channel == -1) {
      if (first)
        firstInterval = s.Interval;
      else if (s.Interval != firstInterval)
        allEqual = false;
      first = false;
    }
    smallest = std::min(smallest, s.Interval);
    if (!s.NewFrame) allNew = false;
  }
  clearAll = anyNotRunning || allEqual;
  if (channel >= 0) return channel < GetInputCount() && inputs_[static_cast<std::size_t>(channel)] == &pin;
  if (channel != -1) return false;
  return !anyNotRunning && allNew && (allEqual || pin.Stream.Interval == smallest);
}

void TFQMultiInput::FrameArrived(TFQPWImageSinkPin& pin, IFQImageBuffer buffer) {
  auto* queued = dynamic_cast<TFQPWQueuedImageSinkPin*>(&pin);
  if (queued != nullptr && pin.Stream.NewFrame && !queued->Used) {
    queued->Queue.push_back(std::move(buffer));
    while (static_cast<int>(queued->Queue.size()) > TFQPWQueuedImageSinkPin::QueueLimit)
      queued->Queue.pop_front();
    return;
  }
  pin.Stream.CurrentFrame = std::move(buffer);
  pin.Stream.NewFrame = true;
  if (queued != nullptr) queued->Used = false;
  // Frames waiting in queued inputs may complete further sets at once.
  for (int round = 0; round <= TFQPWQueuedImageSinkPin::QueueLimit; ++round) {
    bool clearAll = false;
    if (!started_ || !CompletesSet(pin, clearAll)) return;
    drivingInput_ = &pin;
    CalculateSendOutput();
    bool promoted = false;
    for (TFQPWImageSinkPin* input : inputs_) {
      if (clearAll || input == &pin) input->Stream.NewFrame = false;
      auto* q = dynamic_cast<TFQPWQueuedImageSinkPin*>(input);
      if (q == nullptr) continue;
      q->Used = true;
      if (!q->Queue.empty()) {
        q->Stream.CurrentFrame = std::move(q->Queue.front());
        q->Queue.pop_front();
        q->Stream.NewFrame = true;
        q->Used = false;
        promoted = true;
      }
    }
    if (!promoted) return;
  }
}

// ---- stopping --------------------------------------------------------------

void TFQMultiInput::TrySendStop() {
  if (!started_) return;
  if (GetStopOnAll())
    for (TFQPWImageSinkPin* input : ConnectedInputs())
      if (input->Stream.Running) return;
  // Through IntStop, so descendants forget their start-time state as well.
  IntStop(false);
}

void TFQMultiInput::SendStopCommand(bool Force) {
  if (afterStop_ != asStop && !Force) return;
  if (outputRunning_) {
    outputRunning_ = false;
    OutputPin.PostStop();
  }
}

} // namespace framquist
