// TPWComponent: base of every component: its lock, name and tag, and the
// pins it owns (pins register themselves with their owner).
//
// Lifetime. Delivery threads call into a component through its pins, so a
// component must stop taking deliveries before its derived parts are
// destroyed. BeforeDestruction() does that: descendants stop their threads
// and streams there, and the base disconnects every pin and waits for the
// handlers still running. Components made with Make<T>() (and by the
// registry) run it automatically on destruction. A component created on the
// stack or with new must be stopped, or have BeforeDestruction() called,
// before it is destroyed while other threads may still deliver to it.
//
//   auto mirror = Make<TFQMirror>();
//   source->OutputPin.Connect(mirror->InputPin);
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "pinweave/pwlock.h"
#include "pinweave/pwoperation.h"
#include "pinweave/pwproperties.h"

namespace framquist {

class TPWPin;
class TPWSinkPin;
class TPWSourcePin;
class TPWPinList;

class TPWComponent : public IPWPersistent {
public:
  TPWComponent();
  TPWComponent(const TPWComponent&) = delete;
  TPWComponent& operator=(const TPWComponent&) = delete;
  virtual ~TPWComponent();

  virtual std::string_view GetClassName() const = 0;

  std::string GetName() const;
  void SetName(std::string name);
  std::intptr_t GetTag() const { return tag_.load(std::memory_order_relaxed); }
  void SetTag(std::intptr_t tag) {
    if (TPWLockHold hold = lock_.Write()) tag_.store(tag, std::memory_order_relaxed);
  }

  IPWLock& GetLock() const { return lock_; }

  // Pins by name ("InputPin"), and every pin in creation order.
  TPWPin* FindPin(std::string_view name) const;
  std::vector<TPWPin*> GetPins() const;
  const std::vector<TPWPinList*>& GetPinLists() const { return pinLists_; }

  // Starts or stops the stream through this component. The default asks
  // upstream: every input pin sends a start (stop) request towards the
  // sources. Sources override to start (stop) themselves.
  virtual void Start();
  virtual void Stop();

  // Called after the published properties were loaded.
  virtual void Loaded() {}

  // Published: Tag (0). The name is the component's own, kept by its form.
  void DeclareProperties(TPWPropertyList& props) override;

  // Failures a component meets while it runs (a file that cannot be opened,
  // a codec that refuses a frame) are reported here, not thrown across a
  // delivery thread: the last message is kept and the error handler, when
  // set, is called on the thread that met the failure.
  void ReportError(std::string message);
  std::string GetLastError() const;
  void ClearError();
  using TErrorHandler = std::function<void(TPWComponent&, const std::string&)>;
  void SetErrorHandler(TErrorHandler handler);

  // Stops all deliveries; see the header comment. Safe to call twice.
  virtual void BeforeDestruction();
  bool IsDestroying() const { return destroying_.load(std::memory_order_acquire); }

  // Operations arriving at the component's pins that have no handler of
  // their own. SinkDispatch ignores them; SourceDispatch passes them upstream.
  virtual bool SinkDispatch(TPWSinkPin& pin, const TPWOperation& op);
  virtual bool SourceDispatch(TPWSourcePin& pin, const TPWOperation& op);

protected:
  void AddPinList(TPWPinList& list) { pinLists_.push_back(&list); }

private:
  friend class TPWPin;
  friend class TPWSinkPin;
  void AddPin(TPWPin* pin);
  void RemovePin(TPWPin* pin);
  // A sink pin going away is no longer a function sink of any output.
  void ForgetFunctionSink(TPWSinkPin& sink);
  void ShutdownPins();

  mutable TPWLock lock_;
  mutable std::mutex pinsMutex_;
  std::vector<TPWPin*> pins_;
  std::vector<TPWPinList*> pinLists_;
  mutable std::mutex nameMutex_; // also guards the error fields
  std::string name_;
  std::string lastError_;
  TErrorHandler errorHandler_;
  std::atomic<std::intptr_t> tag_{0};
  std::atomic<bool> destroying_{false};
  std::once_flag shutdownOnce_;
};

struct TPWComponentDeleter {
  void operator()(TPWComponent* component) const {
    if (component == nullptr) return;
    component->BeforeDestruction();
    delete component;
  }
};

template <class T>
using TPWOwned = std::unique_ptr<T, TPWComponentDeleter>;

// Creates a component whose destruction first runs BeforeDestruction().
template <class T, class... Args>
TPWOwned<T> Make(Args&&... args) {
  return TPWOwned<T>(new T(std::forward<Args>(args)...));
}

// TZNLockedPersistent: base of the property sub-objects (threshold rules,
// lookup tables, ranges, offsets) that share their owner's lock.
class TZNLockedPersistent : public IPWPersistent {
public:
  explicit TZNLockedPersistent(IPWLock& lock) : lock_(&lock) {}
  TZNLockedPersistent(const TZNLockedPersistent&) = delete;
  TZNLockedPersistent& operator=(const TZNLockedPersistent&) = delete;
  ~TZNLockedPersistent() override = default;

  IPWLock& GetLock() const { return *lock_; }

protected:
  TPWLockHold Write() const { return lock_->Write(); }
  TPWLockHold Read() const { return lock_->Read(); }

private:
  IPWLock* lock_;
};

} // namespace framquist
