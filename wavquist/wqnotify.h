// TWQNotifyThread: a worker thread woken by Notify().
// TWQMainThread / TWQMainThreadNotify: callbacks on "the main thread".
//
// TWQNotifyThread starts in its constructor and runs its callback once per
// wake; notifies that arrive while the callback runs coalesce into one more
// run, and a Notify() after a run began always causes another. Terminate()
// stops and joins; from inside the callback it only flags the thread, which
// ends after the callback returns. The destructor terminates. Callbacks
// must not throw: on the library's threads that ends the program.
//
// Many programs using this library have no event loop, so where "main"
// callbacks run is a process-wide policy, chosen by TWQMainThread:
//   - default: a library-owned thread named "framquist main" runs them in
//     order, so programs without an event loop just work;
//   - SetDispatcher(post): an application with its own loop (a GUI toolkit)
//     installs a thread-safe function that posts a closure to that loop;
//   - UseCallerLoop(): callbacks queue until the application calls
//     ProcessPending() from the thread it considers main (deterministic).
// Switch the policy before anything is posted: work already queued moves to
// the new policy, but one callback may still be finishing on the old thread.
//
// TWQMainThreadNotify posts runs of its callback: Notify() posts at most one
// pending run. Destroying it cancels a pending run and waits for a running
// one on another thread to finish (not when called from that callback).
//
//   TWQMainThreadNotify repaint([&] { view.Repaint(); });
//   repaint.Notify(); // from any thread
#pragma once

#include <functional>
#include <memory>

#include "wavquist/wqworker.h"

namespace framquist {

class TWQNotifyThread {
public:
  explicit TWQNotifyThread(std::function<void()> callback);
  ~TWQNotifyThread() = default; // the worker terminates

  // Ignored once terminated.
  void Notify() { worker_.Wake(); }
  void Terminate() { worker_.Stop(); }

private:
  TWQWorker worker_;
};

class TWQMainThread {
public:
  // An empty function returns to the default library thread.
  static void SetDispatcher(std::function<void(std::function<void()>)> post);
  static void UseCallerLoop();
  // Runs, on the calling thread and in order, the callbacks queued before the
  // call; returns how many ran (cancelled notifications do not count). Only in
  // caller-loop mode; otherwise returns 0.
  static int ProcessPending();
  static void Post(std::function<void()> callback);
  // Back to the default policy; queued callbacks are dropped. For tests.
  static void Reset();

private:
  friend class TWQMainThreadNotify;
  // A queued task returns false when it turned out to have nothing to do.
  static void Enqueue(std::function<bool()> task);
};

class TWQMainThreadNotify {
public:
  explicit TWQMainThreadNotify(std::function<void()> callback);
  TWQMainThreadNotify(const TWQMainThreadNotify&) = delete;
  TWQMainThreadNotify& operator=(const TWQMainThreadNotify&) = delete;
  ~TWQMainThreadNotify();

  void Notify();

private:
  struct State;
  std::shared_ptr<State> state_; // posted runs hold this, never `this`
};

} // namespace framquist
