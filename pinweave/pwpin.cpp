#include "pinweave/pwpin.h"

#include <algorithm>

#include "pinweave/pwcomponent.h"

namespace framquist {

namespace {
// Most sources feed one or two sinks: collect targets without allocating.
class SinkBatch {
public:
  struct Entry {
    TPWSinkPin* Pin = nullptr;
    TPWOperation Joined; // the stream's start, for a sink that joined it late
  };
  void Add(TPWSinkPin* pin, TPWOperation joined) {
    if (count_ < kInline)
      inline_[count_] = {pin, std::move(joined)};
    else
      extra_.push_back({pin, std::move(joined)});
    ++count_;
  }
  int Size() const { return count_; }
  Entry& operator[](int i) {
    return i < kInline ? inline_[i] : extra_[static_cast<std::size_t>(i - kInline)];
  }

private:
  static constexpr int kInline = 8;
  Entry inline_[kInline];
  std::vector<Entry> extra_;
  int count_ = 0;
};

template <class T>
void EraseOne(std::vector<T*>& v, T* item) {
  auto it = std::find(v.begin(), v.end(), item);
  if (it != v.end()) v.erase(it);
}
} // namespace

// ---- TPWPin ----------------------------------------------------------------

TPWPin::TPWPin(TPWComponent* owner, std::string name, std::string_view kind)
    : owner_(owner), name_(std::move(name)), kind_(kind) {
  if (owner_ != nullptr) {
    lock_ = &owner_->GetLock();
    owner_->AddPin(this);
  } else {
    ownLock_ = std::make_unique<TPWLock>();
    lock_ = ownLock_.get();
  }
}

TPWPin::~TPWPin() {
  if (owner_ != nullptr) owner_->RemovePin(this);
}

bool TPWPin::CanConnect(const TPWPin& other) const {
  return this != &other && IsSource() != other.IsSource() && kind_ == other.kind_;
}

bool TPWPin::Connect(TPWPin& a, TPWPin& b) {
  if (!a.CanConnect(b)) return false;
  auto& source = static_cast<TPWSourcePin&>(a.IsSource() ? a : b);
  auto& sink = static_cast<TPWSinkPin&>(a.IsSource() ? b : a);
  return source.Connect(sink);
}

void TPWPin::Shutdown() {
  DisconnectAll();
  gate_.Close();
}

TPWPin::TKeep TPWPin::Keep() {
  auto keep = std::make_shared<TPWGate::Pass>(gate_);
  if (!*keep) return nullptr;
  return keep;
}

// ---- TPWSourcePin ----------------------------------------------------------

TPWSourcePin::TPWSourcePin(TPWComponent* owner, std::string name, std::string_view kind,
                           TPWSourceHandler handler)
    : TPWPin(owner, std::move(name), kind), handler_(std::move(handler)) {}

TPWSourcePin::~TPWSourcePin() { Shutdown(); }

bool TPWSourcePin::IsConnected() const {
  std::lock_guard g(links_);
  return !sinks_.empty();
}

int TPWSourcePin::GetSinkCount() const {
  std::lock_guard g(links_);
  return static_cast<int>(sinks_.size());
}

std::vector<TPWSinkPin*> TPWSourcePin::GetSinks() const {
  std::lock_guard g(links_);
  return sinks_;
}

bool TPWSourcePin::Connect(TPWSinkPin& sink) {
  if (!CanConnect(sink) || gate_.IsClosed() || sink.gate_.IsClosed()) return false;
  // A sink has one source: take it from the old one first. The old source
  // is unlinked under both locks, so a concurrent connect cannot interleave.
  for (;;) {
    TPWSourcePin* old = nullptr;
    {
      std::lock_guard g(sink.links_);
      old = sink.source_;
      if (old == nullptr || old == this) break;
    }
    std::scoped_lock both(old->links_, sink.links_);
    if (sink.source_ == old) old->Unlink(sink);
  }
  std::scoped_lock both(links_, sink.links_);
  if (sink.source_ == this) return true;
  if (sink.source_ != nullptr) return false; // someone else won a race; keep theirs
  sinks_.push_back(&sink);
  sink.source_ = this;
  // A sink joining a running stream is told its start ahead of the next
  // operation, so it never sees frames of a stream it knows nothing of.
  sink.joinedStart_ = streamStart_;
  return true;
}

void TPWSourcePin::Unlink(TPWSinkPin& sink) {
  EraseOne(sinks_, &sink);
  sink.source_ = nullptr;
  sink.joinedStart_ = nullptr;
}

bool TPWSourcePin::Disconnect(TPWSinkPin& sink) {
  std::scoped_lock both(links_, sink.links_);
  if (sink.source_ != this) return false;
  Unlink(sink);
  return true;
}

void TPWSourcePin::DisconnectAll() {
  for (TPWSinkPin* sink : GetSinks()) Disconnect(*sink);
  std::lock_guard g(links_);
  functionSinks_.clear();
}

bool TPWSourcePin::Notify(const TPWOperation& op) {
  SinkBatch batch;
  const bool isStart = OpAs<TPWStartFrameOperation>(op) != nullptr;
  {
    // Enter each sink's gate while the link is held, so a sink that is
    // being shut down either gets this operation fully or not at all.
    std::lock_guard g(links_);
    if (isStart)
      streamStart_ = op;
    else if (OpAs<TPWStopOperation>(op) != nullptr)
      streamStart_ = nullptr;
    for (TPWSinkPin* sink : sinks_) {
      TPWOperation joined = std::move(sink->joinedStart_); // a start sent now supersedes it
      if (sink->gate_.Enter()) batch.Add(sink, isStart ? nullptr : std::move(joined));
    }
  }
  bool handled = false;
  const int last = batch.Size() - 1;
  for (int i = 0; i <= last; ++i) {
    SinkBatch::Entry& entry = batch[i];
    try {
      if (entry.Joined) entry.Pin->DeliverDown(entry.Joined);
      // Copies are made before the original reaches anyone, so each
      // receiver starts from what was sent.
      TPWOperation copy = i < last ? op->CopyForReceiver() : nullptr;
      handled = entry.Pin->DeliverDown(copy ? copy : op) || handled;
    } catch (...) {
      for (int j = i; j < batch.Size(); ++j) batch[j].Pin->gate_.Leave();
      throw;
    }
    entry.Pin->gate_.Leave();
  }
  return handled;
}

void TPWSourcePin::AddFunctionSink(TPWSinkPin& sink) {
  std::lock_guard g(links_);
  if (std::find(functionSinks_.begin(), functionSinks_.end(), &sink) == functionSinks_.end())
    functionSinks_.push_back(&sink);
}

void TPWSourcePin::RemoveFunctionSink(TPWSinkPin& sink) {
  std::lock_guard g(links_);
  EraseOne(functionSinks_, &sink);
}

void TPWSourcePin::Post(TPWOperation op) {
  {
    std::lock_guard g(outMutex_);
    outbox_.push_back(std::move(op));
  }
  GetLock().RunAfterRelease([this] { Flush(); });
}

void TPWSourcePin::Flush() {
  std::unique_lock g(outMutex_);
  if (delivering_) return; // that thread delivers ours too, in order
  delivering_ = true;
  while (!outbox_.empty()) {
    TPWOperation op = std::move(outbox_.front());
    outbox_.pop_front();
    g.unlock();
    try {
      Notify(op);
    } catch (...) {
      g.lock();
      delivering_ = false;
      throw;
    }
    op.reset(); // the receivers' copies only, before the next one goes
    g.lock();
  }
  delivering_ = false;
}

bool TPWSourcePin::ForwardUpstream(const TPWOperation& op) {
  // Each function sink is kept while the operation climbs through it: an
  // input pin may be removed meanwhile.
  std::vector<TPWSinkPin*> targets;
  {
    std::lock_guard g(links_);
    for (TPWSinkPin* sink : functionSinks_)
      if (sink->gate_.Enter()) targets.push_back(sink);
  }
  bool result = false;
  std::size_t i = 0;
  try {
    for (; i < targets.size(); ++i) {
      result = targets[i]->SendUpstream(op);
      targets[i]->gate_.Leave();
    }
  } catch (...) {
    for (; i < targets.size(); ++i) targets[i]->gate_.Leave();
    throw;
  }
  return result;
}

bool TPWSourcePin::DeliverUp(const TPWOperation& op) {
  if (handler_) return handler_(*this, op);
  if (GetOwner() != nullptr) return GetOwner()->SourceDispatch(*this, op);
  return ForwardUpstream(op);
}

// ---- TPWSinkPin ------------------------------------------------------------

TPWSinkPin::TPWSinkPin(TPWComponent* owner, std::string name, std::string_view kind, TPWSinkHandler handler)
    : TPWPin(owner, std::move(name), kind), handler_(std::move(handler)) {}

TPWSinkPin::~TPWSinkPin() {
  if (GetOwner() != nullptr) GetOwner()->ForgetFunctionSink(*this);
  Shutdown();
}

bool TPWSinkPin::IsConnected() const {
  std::lock_guard g(links_);
  return source_ != nullptr;
}

TPWSourcePin* TPWSinkPin::GetSourceUnsafe() const {
  std::lock_guard g(links_);
  return source_;
}

void TPWSinkPin::DisconnectAll() {
  for (;;) {
    TPWSourcePin* source = GetSourceUnsafe();
    if (source == nullptr) return;
    source->Disconnect(*this);
  }
}

bool TPWSinkPin::SendUpstream(const TPWOperation& op) {
  TPWSourcePin* source = nullptr;
  {
    std::lock_guard g(links_);
    if (source_ == nullptr || !source_->gate_.Enter()) return false;
    source = source_;
  }
  TPWGate& gate = source->gate_;
  struct Leave {
    TPWGate& g;
    ~Leave() { g.Leave(); }
  } leave{gate};
  return source->DeliverUp(op);
}

bool TPWSinkPin::DeliverDown(const TPWOperation& op) {
  if (handler_) return handler_(*this, op);
  if (GetOwner() != nullptr) return GetOwner()->SinkDispatch(*this, op);
  return false;
}

// ---- TPWBoolStatePin -------------------------------------------------------

TPWBoolStatePin::TPWBoolStatePin(TPWComponent* owner, std::string name, TStateHandler onState, bool initial)
    : TPWBoolSinkPin(owner, std::move(name),
                     [this, onState = std::move(onState)](TPWSinkPin&, const TPWOperation& op) {
                       const auto* b = OpAs<TPWBoolOperation>(op);
                       if (b == nullptr) return false;
                       state_.store(b->Value, std::memory_order_release);
                       if (onState) onState(*this, b->Value);
                       return true;
                     }),
      state_(initial) {}

// ---- TPWPinList ------------------------------------------------------------

TPWPinList::TPWPinList(TPWComponent* owner, std::string name, int maxCount, int minCount, TCreate create,
                       TRemove remove)
    : owner_(owner), name_(std::move(name)), max_(std::max(maxCount, 0)),
      min_(std::clamp(minCount, 0, std::max(maxCount, 0))), create_(std::move(create)),
      remove_(std::move(remove)) {
  for (int i = 0; i < min_; ++i) Add();
}

TPWPinList::~TPWPinList() { Clear(); }

int TPWPinList::GetCount() const {
  std::lock_guard g(mutex_);
  return static_cast<int>(pins_.size());
}

TPWPin* TPWPinList::GetPin(int index) const {
  std::lock_guard g(mutex_);
  if (index < 0 || index >= static_cast<int>(pins_.size())) return nullptr;
  return pins_[static_cast<size_t>(index)].get();
}

std::vector<TPWPin*> TPWPinList::GetPins() const {
  std::lock_guard g(mutex_);
  std::vector<TPWPin*> out;
  out.reserve(pins_.size());
  for (const auto& p : pins_) out.push_back(p.get());
  return out;
}

TPWPin* TPWPinList::Add() {
  int index;
  {
    std::lock_guard g(mutex_);
    index = static_cast<int>(pins_.size());
    if (index >= max_) return nullptr;
  }
  std::unique_ptr<TPWPin> pin = create_(*this, index);
  if (!pin) return nullptr;
  TPWPin* raw = pin.get();
  // Take the owner's lock so code walking the pins under it sees a stable
  // list; an empty hold (caller only reads) still appends safely here.
  TPWLockHold hold = owner_ != nullptr ? owner_->GetLock().Write() : TPWLockHold{};
  std::lock_guard g(mutex_);
  if (static_cast<int>(pins_.size()) >= max_) return nullptr;
  pins_.push_back(std::move(pin));
  return raw;
}

bool TPWPinList::Remove(int index) {
  std::unique_ptr<TPWPin> pin;
  {
    TPWLockHold hold = owner_ != nullptr ? owner_->GetLock().Write() : TPWLockHold{};
    std::lock_guard g(mutex_);
    if (index < 0 || index >= static_cast<int>(pins_.size()) || static_cast<int>(pins_.size()) <= min_)
      return false;
    pin = std::move(pins_[static_cast<size_t>(index)]);
    pins_.erase(pins_.begin() + index);
  }
  if (remove_) remove_(*this, *pin);
  pin->Shutdown(); // outside every lock: a running handler may be waiting for the owner's
  return true;
}

void TPWPinList::SetCount(int count) {
  count = std::clamp(count, min_, max_);
  while (GetCount() < count)
    if (Add() == nullptr) break;
  while (GetCount() > count)
    if (!Remove(GetCount() - 1)) break;
}

void TPWPinList::Clear() {
  std::vector<std::unique_ptr<TPWPin>> pins;
  {
    std::lock_guard g(mutex_);
    pins.swap(pins_);
  }
  for (auto& pin : pins) {
    if (remove_) remove_(*this, *pin);
    pin->Shutdown();
  }
}

} // namespace framquist
