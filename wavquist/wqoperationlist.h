// TWQOperationList: a first-in-first-out list of operations guarded by the
// owning component's lock.
//
// Safe from any thread. Push/Pop/Clear take the component lock's write hold,
// ItemsCount its read hold, so a caller that already holds the lock (it is
// re-entrant) nests. That hold can come back empty (a reader that cannot
// upgrade); an internal mutex guards the list itself, so it stays consistent
// then too and the operation still happens. No threads of its own.
//
//   TWQOperationList queue(lock_);
//   queue.Push(op); if (TPWOperation next = queue.Pop()) Send(next);
#pragma once

#include <deque>
#include <mutex>

#include "pinweave/pwlock.h"
#include "pinweave/pwoperation.h"

namespace framquist {

class TWQOperationList {
public:
  explicit TWQOperationList(IPWLock& lock) : lock_(lock) {}
  TWQOperationList(const TWQOperationList&) = delete;
  TWQOperationList& operator=(const TWQOperationList&) = delete;

  // A null operation is ignored: Pop() uses null for "empty".
  void Push(TPWOperation operation);
  // The oldest operation, or nullptr when the list is empty.
  TPWOperation Pop();
  int ItemsCount() const;
  void Clear();

private:
  IPWLock& lock_;
  mutable std::mutex mutex_; // always taken after lock_, never before
  std::deque<TPWOperation> items_;
};

} // namespace framquist
