#include "pinweave/pwcomponent.h"

#include <algorithm>

#include "pinweave/pwpin.h"

namespace framquist {

TPWComponent::TPWComponent() = default;

TPWComponent::~TPWComponent() {
  // Last resort for components not destroyed through Make<T>(): the derived
  // parts are gone already, so this only keeps later deliveries out.
  destroying_.store(true, std::memory_order_release);
  ShutdownPins();
}

std::string TPWComponent::GetName() const {
  std::lock_guard g(nameMutex_);
  return name_;
}

void TPWComponent::SetName(std::string name) {
  std::lock_guard g(nameMutex_);
  name_ = std::move(name);
}

void TPWComponent::DeclareProperties(TPWPropertyList& props) {
  props.Int<std::int32_t>(
      "Tag", [this] { return static_cast<std::int64_t>(GetTag()); },
      [this](std::int64_t v) { SetTag(static_cast<std::intptr_t>(v)); }, 0);
}

void TPWComponent::ReportError(std::string message) {
  TErrorHandler handler;
  {
    std::lock_guard g(nameMutex_);
    lastError_ = message;
    handler = errorHandler_;
  }
  if (handler) handler(*this, message);
}

std::string TPWComponent::GetLastError() const {
  std::lock_guard g(nameMutex_);
  return lastError_;
}

void TPWComponent::ClearError() {
  std::lock_guard g(nameMutex_);
  lastError_.clear();
}

void TPWComponent::SetErrorHandler(TErrorHandler handler) {
  std::lock_guard g(nameMutex_);
  errorHandler_ = std::move(handler);
}

TPWPin* TPWComponent::FindPin(std::string_view name) const {
  std::lock_guard g(pinsMutex_);
  for (TPWPin* pin : pins_)
    if (pin->GetName() == name) return pin;
  return nullptr;
}

std::vector<TPWPin*> TPWComponent::GetPins() const {
  std::lock_guard g(pinsMutex_);
  return pins_;
}

void TPWComponent::AddPin(TPWPin* pin) {
  std::lock_guard g(pinsMutex_);
  pins_.push_back(pin);
}

void TPWComponent::RemovePin(TPWPin* pin) {
  std::lock_guard g(pinsMutex_);
  auto it = std::find(pins_.begin(), pins_.end(), pin);
  if (it != pins_.end()) pins_.erase(it);
}

void TPWComponent::ForgetFunctionSink(TPWSinkPin& sink) {
  for (TPWPin* pin : GetPins())
    if (pin->IsSource()) static_cast<TPWSourcePin*>(pin)->RemoveFunctionSink(sink);
}

void TPWComponent::Start() {
  auto op = std::make_shared<TPWStartOperation>();
  for (TPWPin* pin : GetPins())
    if (!pin->IsSource()) static_cast<TPWSinkPin*>(pin)->SendUpstream(op);
}

void TPWComponent::Stop() {
  auto op = std::make_shared<TPWStopOperation>();
  for (TPWPin* pin : GetPins())
    if (!pin->IsSource()) static_cast<TPWSinkPin*>(pin)->SendUpstream(op);
}

void TPWComponent::BeforeDestruction() {
  destroying_.store(true, std::memory_order_release);
  ShutdownPins();
}

void TPWComponent::ShutdownPins() {
  std::call_once(shutdownOnce_, [this] {
    const auto pins = GetPins();
    // Disconnect everything first so no new delivery starts, then wait for
    // the ones already running.
    for (TPWPin* pin : pins) pin->DisconnectAll();
    for (TPWPin* pin : pins) pin->Shutdown();
  });
}

bool TPWComponent::SinkDispatch(TPWSinkPin&, const TPWOperation&) { return false; }

bool TPWComponent::SourceDispatch(TPWSourcePin& pin, const TPWOperation& op) {
  return pin.ForwardUpstream(op);
}

} // namespace framquist
