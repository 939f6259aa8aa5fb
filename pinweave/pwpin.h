// Pins: the typed connection points of components.
//
// A source pin connects to any number of sink pins of the same kind, a sink
// pin to at most one source. Operations go downstream with
// TPWSourcePin::Notify (to every connected sink, on the caller's thread) and
// upstream with TPWSinkPin::SendUpstream (to the connected source). A pin
// hands what arrives to its handler, or to its owner's SinkDispatch /
// SourceDispatch. By default a source pin passes upstream operations on to
// its "function sinks" (the owner's input pins), so start, stop and pump
// requests climb a chain to its sources.
//
// Threading rule. Every component has one lock; a thread holds at most the
// lock of the component it is in while it waits for anything, so no cycle
// of waits can form:
//   - Compute under the lock, send and pump after releasing it. Nothing
//     that enters another component (Notify, SendUpstream, a stop that
//     waits for a thread) runs with the component's lock held.
//   - Post() is the send for code under the lock: it queues the operation
//     and delivers it once this thread releases the lock. A pin's posted
//     operations go out in the order they were posted, one at a time, so a
//     frame never overtakes the start it belongs to or the stop after it,
//     whichever threads computed them. A thread that finds another one
//     delivering leaves its operations to that thread and returns.
//   - Upstream sends and clock stops from under the lock go through
//     IPWLock::RunAfterRelease; a pin named there is kept with Keep(), so
//     it cannot be freed before the send.
//   - A frame delivered to a sink belongs to that receiver alone: a source
//     pin gives every further sink a copy of its own (pixels shared until
//     written), and a sender must not touch a frame object once sent.
//
// Connecting and disconnecting is safe at any time from any thread. An
// operation already on its way may still arrive just after Disconnect
// returns; Shutdown (used when the owner is destroyed) also waits for the
// handlers that are running. A sink connected to a source whose stream is
// running gets that stream's start-frame ahead of the next operation.
//
//   mirror.OutputPin.Connect(grabber.InputPin);
//   source.OutputPin.Notify(std::make_shared<TPWStopOperation>());
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "pinweave/pwgate.h"
#include "pinweave/pwlock.h"
#include "pinweave/pwoperation.h"

namespace framquist {

class TPWComponent;
class TPWSourcePin;
class TPWSinkPin;

using TPWSinkHandler = std::function<bool(TPWSinkPin&, const TPWOperation&)>;
using TPWSourceHandler = std::function<bool(TPWSourcePin&, const TPWOperation&)>;

// What a pin carries; only pins of one kind connect.
inline constexpr std::string_view pkVideo = "video";
inline constexpr std::string_view pkClock = "clock";
inline constexpr std::string_view pkBool = "bool";

class TPWPin {
public:
  TPWPin(const TPWPin&) = delete;
  TPWPin& operator=(const TPWPin&) = delete;
  virtual ~TPWPin();

  const std::string& GetName() const { return name_; }
  TPWComponent* GetOwner() const { return owner_; }
  IPWLock& GetLock() const { return *lock_; }
  std::string_view GetKind() const { return kind_; }
  virtual bool IsSource() const = 0;
  virtual bool IsConnected() const = 0;
  virtual void DisconnectAll() = 0;

  // Connects a source and a sink of the same kind, given in either order.
  // False when both are sources or sinks, the kinds differ, or a is b.
  static bool Connect(TPWPin& a, TPWPin& b);
  bool CanConnect(const TPWPin& other) const;

  // Disconnects for good and waits for running handlers (owner teardown).
  void Shutdown();

  // Keeps the pin from being shut down (and so freed) while held; empty
  // when the pin is shutting down already.
  using TKeep = std::shared_ptr<TPWGate::Pass>;
  TKeep Keep();

protected:
  // owner may be null for a pin that belongs to no component; lock then
  // defaults to one of the pin's own.
  TPWPin(TPWComponent* owner, std::string name, std::string_view kind);

  mutable std::mutex links_; // guards the connection lists; never held across a handler
  TPWGate gate_;             // deliveries running into this pin

private:
  TPWComponent* owner_;
  std::string name_;
  std::string_view kind_;
  std::unique_ptr<TPWLock> ownLock_;
  IPWLock* lock_;
};

class TPWSourcePin : public TPWPin {
public:
  TPWSourcePin(TPWComponent* owner, std::string name, std::string_view kind, TPWSourceHandler handler = {});
  ~TPWSourcePin() override;

  bool IsSource() const override { return true; }
  bool IsConnected() const override;
  int GetSinkCount() const;
  std::vector<TPWSinkPin*> GetSinks() const;

  bool Connect(TPWSinkPin& sink);
  bool Disconnect(TPWSinkPin& sink);
  void DisconnectAll() override;

  // Sends `op` to every connected sink. True when any sink handled it.
  bool Notify(const TPWOperation& op);
  // Queues `op` and sends it in posting order: once this thread releases the
  // owner's write lock, or at once when it holds none (see the rule above).
  void Post(TPWOperation op);
  // Delivers the posted operations, unless another thread is doing so.
  void Flush();

  // Sinks of the same owner that upstream operations are passed on to.
  void AddFunctionSink(TPWSinkPin& sink);
  void RemoveFunctionSink(TPWSinkPin& sink);
  // The default handling of an upstream operation: send it upstream through
  // every function sink. The result is the last one's.
  bool ForwardUpstream(const TPWOperation& op);

private:
  friend class TPWSinkPin;
  bool DeliverUp(const TPWOperation& op);
  void Unlink(TPWSinkPin& sink); // caller holds both pins' links_

  TPWSourceHandler handler_;
  std::vector<TPWSinkPin*> sinks_;
  std::vector<TPWSinkPin*> functionSinks_;
  TPWOperation streamStart_; // the start of the stream now running, if any (under links_)
  std::mutex outMutex_;      // the posted operations; never held across a delivery
  std::deque<TPWOperation> outbox_;
  bool delivering_ = false;
};

class TPWSinkPin : public TPWPin {
public:
  TPWSinkPin(TPWComponent* owner, std::string name, std::string_view kind, TPWSinkHandler handler = {});
  ~TPWSinkPin() override;

  bool IsSource() const override { return false; }
  bool IsConnected() const override;
  bool Connect(TPWSourcePin& source) { return source.Connect(*this); }
  void DisconnectAll() override;
  // The connected source's owner and pin name, for diagnostics.
  TPWSourcePin* GetSourceUnsafe() const;

  // Sends `op` to the connected source. False when unconnected or unhandled.
  bool SendUpstream(const TPWOperation& op);

private:
  friend class TPWSourcePin;
  bool DeliverDown(const TPWOperation& op);

  TPWSinkHandler handler_;
  TPWSourcePin* source_ = nullptr;
  TPWOperation joinedStart_; // delivered before the next operation (under links_)
};

// Clock pins carry TPWClockOperation events.
class TPWClockSourcePin : public TPWSourcePin {
public:
  TPWClockSourcePin(TPWComponent* owner, std::string name, TPWSourceHandler handler = {})
      : TPWSourcePin(owner, std::move(name), pkClock, std::move(handler)) {}
};

class TPWClockSinkPin : public TPWSinkPin {
public:
  TPWClockSinkPin(TPWComponent* owner, std::string name, TPWSinkHandler handler = {})
      : TPWSinkPin(owner, std::move(name), pkClock, std::move(handler)) {}
};

// Boolean pins carry TPWBoolOperation values.
class TPWBoolSourcePin : public TPWSourcePin {
public:
  TPWBoolSourcePin(TPWComponent* owner, std::string name) : TPWSourcePin(owner, std::move(name), pkBool) {}
  bool Send(bool value) { return Notify(std::make_shared<TPWBoolOperation>(value)); }
};

class TPWBoolSinkPin : public TPWSinkPin {
public:
  TPWBoolSinkPin(TPWComponent* owner, std::string name, TPWSinkHandler handler = {})
      : TPWSinkPin(owner, std::move(name), pkBool, std::move(handler)) {}
};

// A boolean sink that also remembers the last state it received.
class TPWBoolStatePin : public TPWBoolSinkPin {
public:
  using TStateHandler = std::function<void(TPWBoolStatePin&, bool)>;
  TPWBoolStatePin(TPWComponent* owner, std::string name, TStateHandler onState = {}, bool initial = false);
  bool GetState() const { return state_.load(std::memory_order_acquire); }

private:
  std::atomic<bool> state_;
};

// A growable list of pins of one kind, owned by a component, within a
// minimum and maximum count. The create function makes each new pin; the
// remove function runs before a pin is shut down and freed.
class TPWPinList {
public:
  using TCreate = std::function<std::unique_ptr<TPWPin>(TPWPinList&, int index)>;
  using TRemove = std::function<void(TPWPinList&, TPWPin&)>;

  TPWPinList(TPWComponent* owner, std::string name, int maxCount, int minCount, TCreate create,
             TRemove remove = {});
  ~TPWPinList();
  TPWPinList(const TPWPinList&) = delete;
  TPWPinList& operator=(const TPWPinList&) = delete;

  const std::string& GetName() const { return name_; }
  int GetCount() const;
  int GetMaxCount() const { return max_; }
  int GetMinCount() const { return min_; }
  // The pin at index, or null. Hold the owner's lock while using it if pins
  // may be removed concurrently.
  TPWPin* GetPin(int index) const;
  TPWPin* operator[](int index) const { return GetPin(index); }
  std::vector<TPWPin*> GetPins() const;

  // Add returns the new pin, or null at the maximum. Remove refuses to go
  // below the minimum. SetCount clamps to the limits.
  TPWPin* Add();
  bool Remove(int index);
  void SetCount(int count);
  void Clear(); // removes every pin, ignoring the minimum (owner teardown)

private:
  TPWComponent* owner_;
  std::string name_;
  int max_;
  int min_;
  TCreate create_;
  TRemove remove_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<TPWPin>> pins_;
};

} // namespace framquist
