#include "pinweave/pwlock.h"

#include <algorithm>
#include <cassert>
#include <vector>

namespace framquist {

TPWLockHold& TPWLockHold::operator=(TPWLockHold&& other) noexcept {
  if (this != &other) {
    Release();
    lock_ = other.lock_;
    write_ = other.write_;
    other.lock_ = nullptr;
  }
  return *this;
}

void TPWLockHold::Release() {
  if (lock_ == nullptr) return;
  IPWLock* lock = lock_;
  lock_ = nullptr;
  if (write_)
    lock->ReleaseWrite();
  else
    lock->ReleaseRead();
}

namespace {
// Read depth per (thread, lock), kept only while the thread reads that
// lock: a thread reads few locks at once, so a small vector beats a map and
// stays short however many components a delivery thread passes through.
struct ReadDepthEntry {
  const void* lock;
  int depth;
};
thread_local std::vector<ReadDepthEntry> tReadDepths;

ReadDepthEntry* FindReadDepth(const void* lock) {
  for (auto& e : tReadDepths)
    if (e.lock == lock) return &e;
  return nullptr;
}
} // namespace

TPWLock::~TPWLock() {
  // Forget stale per-thread entries of this thread so a later lock at the
  // same address does not inherit them.
  std::erase_if(tReadDepths, [this](const ReadDepthEntry& e) { return e.lock == this; });
}

TPWLockHold TPWLock::Write() { return AcquireWrite(nullptr); }
TPWLockHold TPWLock::Read() { return AcquireRead(nullptr); }

TPWLockHold TPWLock::TryWrite(std::chrono::milliseconds timeout) {
  Deadline d = std::chrono::steady_clock::now() + timeout;
  return AcquireWrite(&d);
}

TPWLockHold TPWLock::TryRead(std::chrono::milliseconds timeout) {
  Deadline d = std::chrono::steady_clock::now() + timeout;
  return AcquireRead(&d);
}

TPWLockHold TPWLock::AcquireWrite(const Deadline* deadline) {
  const auto self = std::this_thread::get_id();
  std::unique_lock guard(mutex_);
  if (writer_ == self) {
    ++writeDepth_;
    return MakeHold(this, true);
  }
  const ReadDepthEntry* mine = FindReadDepth(this);
  const int myReads = mine != nullptr ? mine->depth : 0;
  if (myReads > 0 && readers_ != myReads) return {}; // upgrade would deadlock
  ++waitingWriters_;
  auto ready = [&] { return writer_ == std::thread::id{} && readers_ == myReads; };
  bool ok = true;
  if (deadline != nullptr)
    ok = changed_.wait_until(guard, *deadline, ready);
  else
    changed_.wait(guard, ready);
  --waitingWriters_;
  if (!ok) {
    changed_.notify_all(); // readers held back by this waiting writer may go
    return {};
  }
  writer_ = self;
  writeDepth_ = 1;
  return MakeHold(this, true);
}

TPWLockHold TPWLock::AcquireRead(const Deadline* deadline) {
  const auto self = std::this_thread::get_id();
  std::unique_lock guard(mutex_);
  if (writer_ == self) {
    ++writeDepth_; // a read inside a write nests in the write
    return MakeHold(this, true);
  }
  ReadDepthEntry* mine = FindReadDepth(this);
  if (mine == nullptr) {
    // New readers give way to waiting writers; a thread that already reads
    // may nest without waiting, or it would deadlock against that writer.
    auto ready = [&] { return writer_ == std::thread::id{} && waitingWriters_ == 0; };
    if (deadline != nullptr) {
      if (!changed_.wait_until(guard, *deadline, ready)) return {};
    } else {
      changed_.wait(guard, ready);
    }
  }
  if (mine != nullptr)
    ++mine->depth;
  else
    tReadDepths.push_back({this, 1});
  ++readers_;
  return MakeHold(this, false);
}

void TPWLock::ReleaseWrite() {
  std::vector<std::function<void()>> actions;
  {
    std::lock_guard guard(mutex_);
    assert(writer_ == std::this_thread::get_id() && writeDepth_ > 0);
    if (--writeDepth_ != 0) return;
    writer_ = std::thread::id{};
    actions.swap(afterRelease_);
    changed_.notify_all();
  }
  if (actions.capacity() == 0) return; // nothing was queued
  // The lock is free here; an action that takes it again queues its own.
  for (auto& action : actions) action();
  // Hand the emptied buffer back, so the next writer's first action does not
  // allocate (one frame through a filter posts one).
  actions.clear();
  std::lock_guard guard(mutex_);
  if (afterRelease_.capacity() == 0) afterRelease_.swap(actions);
}

void TPWLock::RunAfterRelease(std::function<void()> action) {
  {
    std::lock_guard guard(mutex_);
    if (writer_ == std::this_thread::get_id()) {
      afterRelease_.push_back(std::move(action));
      return;
    }
  }
  action();
}

void TPWLock::ReleaseRead() {
  std::lock_guard guard(mutex_);
  ReadDepthEntry* mine = FindReadDepth(this);
  assert(mine != nullptr && mine->depth > 0 && readers_ > 0);
  if (mine != nullptr && --mine->depth == 0) {
    *mine = tReadDepths.back();
    tReadDepths.pop_back();
  }
  --readers_;
  changed_.notify_all(); // a writer, or a sole reader upgrading, may now go
}

bool TPWLock::IsWriteHeld() const {
  std::lock_guard guard(mutex_);
  return writer_ == std::this_thread::get_id();
}

bool TPWLock::IsHeld() const {
  std::lock_guard guard(mutex_);
  if (writer_ == std::this_thread::get_id()) return true;
  for (const auto& e : tReadDepths)
    if (e.lock == this) return e.depth > 0;
  return false;
}

} // namespace framquist
