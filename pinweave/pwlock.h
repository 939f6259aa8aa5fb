// IPWLock / TPWLock: the one read/write lock every component owns.
//
// Re-entrant for the thread that holds it: a setter may call another
// setter, Assign may call setters, and a frame may read properties while it
// holds the lock. A read request by the writer thread nests inside its write.
//
// Write() and Read() return a TPWLockHold that releases on scope exit. The
// hold is empty (tests false) when the lock could not be taken:
//   - Write() by a thread that holds only read access while other threads
//     read too (upgrading would deadlock); a sole reader is upgraded;
//   - TryWrite()/TryRead() whose time ran out.
// Setters store only when the hold is not empty; nothing is reported.
//
// RunAfterRelease(action) is how code under the lock sends, pumps or stops
// a thread: the action runs on this thread once it has released its
// outermost write hold, in the order given (see the threading rule in
// pwpin.h). Actions must not throw.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace framquist {

class IPWLock;

class TPWLockHold {
public:
  TPWLockHold() = default;
  TPWLockHold(const TPWLockHold&) = delete;
  TPWLockHold& operator=(const TPWLockHold&) = delete;
  TPWLockHold(TPWLockHold&& other) noexcept : lock_(other.lock_), write_(other.write_) {
    other.lock_ = nullptr;
  }
  TPWLockHold& operator=(TPWLockHold&& other) noexcept;
  ~TPWLockHold() { Release(); }

  explicit operator bool() const { return lock_ != nullptr; }
  bool IsWrite() const { return lock_ != nullptr && write_; }
  // Releases early; the hold is empty afterwards.
  void Release();

private:
  friend class IPWLock;
  TPWLockHold(IPWLock* lock, bool write) : lock_(lock), write_(write) {}
  IPWLock* lock_ = nullptr;
  bool write_ = false;
};

class IPWLock {
public:
  virtual ~IPWLock() = default;
  virtual TPWLockHold Write() = 0;
  virtual TPWLockHold Read() = 0;
  virtual TPWLockHold TryWrite(std::chrono::milliseconds timeout) = 0;
  virtual TPWLockHold TryRead(std::chrono::milliseconds timeout) = 0;
  // True while the calling thread holds write access.
  virtual bool IsWriteHeld() const = 0;
  // True while the calling thread holds read or write access.
  virtual bool IsHeld() const = 0;
  // Runs action once the calling thread has released its outermost write
  // hold; at once when it holds no write access.
  virtual void RunAfterRelease(std::function<void()> action) = 0;

protected:
  friend class TPWLockHold;
  static TPWLockHold MakeHold(IPWLock* lock, bool write) { return TPWLockHold(lock, write); }
  virtual void ReleaseWrite() = 0;
  virtual void ReleaseRead() = 0;
};

class TPWLock final : public IPWLock {
public:
  TPWLock() = default;
  TPWLock(const TPWLock&) = delete;
  TPWLock& operator=(const TPWLock&) = delete;
  ~TPWLock() override;

  TPWLockHold Write() override;
  TPWLockHold Read() override;
  TPWLockHold TryWrite(std::chrono::milliseconds timeout) override;
  TPWLockHold TryRead(std::chrono::milliseconds timeout) override;
  bool IsWriteHeld() const override;
  bool IsHeld() const override;
  void RunAfterRelease(std::function<void()> action) override;

protected:
  void ReleaseWrite() override;
  void ReleaseRead() override;

private:
  using Deadline = std::chrono::steady_clock::time_point;
  TPWLockHold AcquireWrite(const Deadline* deadline);
  TPWLockHold AcquireRead(const Deadline* deadline);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::thread::id writer_{};
  int writeDepth_ = 0;
  int readers_ = 0;
  int waitingWriters_ = 0;
  std::vector<std::function<void()>> afterRelease_; // the writer's, run by it on release
};

} // namespace framquist
