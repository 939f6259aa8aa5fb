#include "wavquist/wqoperationlist.h"

#include <utility>

namespace framquist {

void TWQOperationList::Push(TPWOperation operation) {
  if (!operation) return;
  TPWLockHold hold = lock_.Write();
  std::lock_guard guard(mutex_);
  items_.push_back(std::move(operation));
}

TPWOperation TWQOperationList::Pop() {
  TPWLockHold hold = lock_.Write();
  std::lock_guard guard(mutex_);
  if (items_.empty()) return nullptr;
  TPWOperation operation = std::move(items_.front());
  items_.pop_front();
  return operation;
}

int TWQOperationList::ItemsCount() const {
  TPWLockHold hold = lock_.Read();
  std::lock_guard guard(mutex_);
  return static_cast<int>(items_.size());
}

void TWQOperationList::Clear() {
  // Frames are released after both locks, as their owners may take locks too.
  std::deque<TPWOperation> dropped;
  TPWLockHold hold = lock_.Write();
  std::lock_guard guard(mutex_);
  dropped.swap(items_);
}

} // namespace framquist
