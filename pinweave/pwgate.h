// TPWGate: counts the calls that are running inside an object, so that the
// object can be shut down without freeing what a running call still uses.
//
// Enter() fails once the gate is closed; Close() waits until every call that
// entered has left. Calls the closing thread itself is inside of do not
// count, so a handler may shut down its own component without deadlock.
// Close() must not be called while holding a lock that a running call may
// wait for.
#pragma once

#include <atomic>

namespace framquist {

class TPWGate {
public:
  TPWGate() = default;
  TPWGate(const TPWGate&) = delete;
  TPWGate& operator=(const TPWGate&) = delete;

  bool Enter();
  void Leave();
  void Close();
  void Reopen() { closed_.store(false, std::memory_order_release); }
  bool IsClosed() const { return closed_.load(std::memory_order_acquire); }

  // Enters on construction, leaves on destruction; test with operator bool.
  class Pass {
  public:
    explicit Pass(TPWGate& gate) : gate_(gate.Enter() ? &gate : nullptr) {}
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    ~Pass() {
      if (gate_ != nullptr) gate_->Leave();
    }
    explicit operator bool() const { return gate_ != nullptr; }

  private:
    TPWGate* gate_;
  };

private:
  std::atomic<int> inside_{0};
  std::atomic<bool> closed_{false};
};

} // namespace framquist
