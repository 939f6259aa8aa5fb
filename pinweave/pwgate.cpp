#include "pinweave/pwgate.h"

#include <algorithm>
#include <vector>

namespace framquist {

namespace {
// The gates this thread is inside of, innermost last.
thread_local std::vector<const TPWGate*> tEntered;
} // namespace

bool TPWGate::Enter() {
  // Increment before testing closed_, and Close() sets closed_ before
  // reading the count: with both sequentially consistent, either this call
  // sees the gate closed or Close() sees this call inside.
  inside_.fetch_add(1);
  if (closed_.load()) {
    if (inside_.fetch_sub(1) == 1) inside_.notify_all();
    return false;
  }
  tEntered.push_back(this);
  return true;
}

void TPWGate::Leave() {
  auto it = std::find(tEntered.rbegin(), tEntered.rend(), this);
  if (it != tEntered.rend()) tEntered.erase(std::next(it).base());
  inside_.fetch_sub(1);
  inside_.notify_all();
}

void TPWGate::Close() {
  closed_.store(true);
  const int self = static_cast<int>(std::count(tEntered.begin(), tEntered.end(), this));
  for (int n = inside_.load(); n > self; n = inside_.load()) inside_.wait(n);
}

} // namespace framquist
