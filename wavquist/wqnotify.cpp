#include "wavquist/wqnotify.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace framquist {

TWQNotifyThread::TWQNotifyThread(std::function<void()> callback) : worker_(std::move(callback)) {
  worker_.Start();
}

namespace {

using Task = std::function<bool()>;

enum class Mode { Library, Dispatcher, CallerLoop };

struct Hub {
  std::mutex mutex;
  std::condition_variable ready;
  Mode mode = Mode::Library;
  std::function<void(std::function<void()>)> dispatcher;
  std::deque<Task> queue;
  bool threadStarted = false;
};

// Never destroyed: notifiers in static objects may post or cancel during
// exit, and the library thread may still be waiting then.
Hub& TheHub() {
  static Hub* hub = new Hub;
  return *hub;
}

void LibraryLoop(Hub& hub) {
  pthread_setname_np(pthread_self(), "framquist main");
  std::unique_lock lock(hub.mutex);
  for (;;) {
    hub.ready.wait(lock, [&] { return hub.mode == Mode::Library && !hub.queue.empty(); });
    Task task = std::move(hub.queue.front());
    hub.queue.pop_front();
    lock.unlock();
    task();
    task = nullptr; // captures die outside the lock
    lock.lock();
  }
}

// Called with hub.mutex held.
void WakeLibraryThread(Hub& hub) {
  if (!hub.threadStarted) {
    std::thread(LibraryLoop, std::ref(hub)).detach();
    hub.threadStarted = true;
  }
  hub.ready.notify_one();
}

} // namespace

void TWQMainThread::Enqueue(Task task) {
  Hub& hub = TheHub();
  std::unique_lock lock(hub.mutex);
  if (hub.mode == Mode::Dispatcher) {
    auto post = hub.dispatcher;
    lock.unlock(); // the application's function may take locks of its own
    post([task = std::move(task)] { task(); });
    return;
  }
  hub.queue.push_back(std::move(task));
  if (hub.mode == Mode::Library) WakeLibraryThread(hub);
}

void TWQMainThread::Post(std::function<void()> callback) {
  if (!callback) return;
  Enqueue([callback = std::move(callback)] {
    callback();
    return true;
  });
}

void TWQMainThread::SetDispatcher(std::function<void(std::function<void()>)> post) {
  Hub& hub = TheHub();
  std::deque<Task> queued;
  {
    std::lock_guard lock(hub.mutex);
    hub.dispatcher = post;
    if (!post) {
      hub.mode = Mode::Library;
      if (!hub.queue.empty()) WakeLibraryThread(hub);
      return;
    }
    hub.mode = Mode::Dispatcher;
    queued.swap(hub.queue);
  }
  for (Task& task : queued) post([task = std::move(task)] { task(); });
}

void TWQMainThread::UseCallerLoop() {
  Hub& hub = TheHub();
  std::lock_guard lock(hub.mutex);
  hub.mode = Mode::CallerLoop;
  hub.dispatcher = nullptr;
}

int TWQMainThread::ProcessPending() {
  Hub& hub = TheHub();
  std::deque<Task> batch;
  {
    std::lock_guard lock(hub.mutex);
    if (hub.mode != Mode::CallerLoop) return 0;
    batch.swap(hub.queue); // what callbacks post now waits for the next call
  }
  int ran = 0;
  while (!batch.empty()) {
    Task task = std::move(batch.front());
    batch.pop_front();
    if (task()) ++ran;
  }
  return ran;
}

void TWQMainThread::Reset() {
  Hub& hub = TheHub();
  std::deque<Task> dropped; // destroyed after the lock is released
  std::lock_guard lock(hub.mutex);
  hub.mode = Mode::Library;
  hub.dispatcher = nullptr;
  dropped.swap(hub.queue);
}

struct TWQMainThreadNotify::State {
  std::mutex mutex;
  std::condition_variable idle;
  std::shared_ptr<const std::function<void()>> callback; // null once the notifier is gone
  bool pending = false;                                  // a posted run is outstanding
  int running = 0;
  std::thread::id runner;

  // One posted run. If it is dropped unrun (Reset, a dispatcher shutting
  // down), the notifier must be able to post again.
  struct Ticket {
    explicit Ticket(std::shared_ptr<State> s) : state(std::move(s)) {}
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket() {
      std::lock_guard lock(state->mutex);
      if (!used) state->pending = false;
    }
    bool Run();

    std::shared_ptr<State> state;
    bool used = false; // guarded by state->mutex
  };
};

bool TWQMainThreadNotify::State::Ticket::Run() {
  State& s = *state;
  std::shared_ptr<const std::function<void()>> callback;
  {
    std::lock_guard lock(s.mutex);
    used = true;
    s.pending = false; // a Notify() from here on posts another run
    if (!s.callback) return false;
    callback = s.callback;
    ++s.running;
    s.runner = std::this_thread::get_id();
  }
  struct Done {
    State& s;
    ~Done() {
      {
        std::lock_guard lock(s.mutex);
        --s.running;
      }
      s.idle.notify_all();
    }
  } done{s};
  (*callback)();
  return true;
}

TWQMainThreadNotify::TWQMainThreadNotify(std::function<void()> callback) : state_(std::make_shared<State>()) {
  if (callback) state_->callback = std::make_shared<const std::function<void()>>(std::move(callback));
}

TWQMainThreadNotify::~TWQMainThreadNotify() {
  std::shared_ptr<const std::function<void()>> callback; // released after the lock
  std::unique_lock lock(state_->mutex);
  callback = std::move(state_->callback); // a pending run now does nothing
  const auto self = std::this_thread::get_id();
  state_->idle.wait(lock, [&] { return state_->running == 0 || state_->runner == self; });
}

void TWQMainThreadNotify::Notify() {
  {
    std::lock_guard lock(state_->mutex);
    if (!state_->callback || state_->pending) return;
    state_->pending = true;
  }
  TWQMainThread::Enqueue([ticket = std::make_shared<State::Ticket>(state_)] { return ticket->Run(); });
}

} // namespace framquist
