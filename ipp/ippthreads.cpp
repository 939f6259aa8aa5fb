#include "ipp/ippthreads.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "ipp/kernels/ippparallel.h"

namespace framquist {

namespace ipp_detail {
namespace {

int HardwareThreads() {
  const unsigned n = std::thread::hardware_concurrency();
  return n == 0 ? 1 : static_cast<int>(n);
}

int Clamp(int n) { return std::clamp(n == 0 ? HardwareThreads() : n, 1, 64); }

// Workers wait for a job, take bands until none are left and report back.
// One job runs at a time; a call that finds the pool busy (another thread's
// primitive) simply runs on its own thread.
class Pool {
public:
  Pool() {
    const char* env = std::getenv("FRAMQUIST_IPP_THREADS");
    threads_ = env != nullptr ? Clamp(std::atoi(env)) : 1;
  }

  int Threads() const { return threads_.load(std::memory_order_relaxed); }

  int SetThreads(int n) {
    std::lock_guard call(callMutex_); // no job runs while the workers change
    n = Clamp(n);
    threads_.store(n, std::memory_order_relaxed);
    if (static_cast<int>(workers_.size()) > n - 1) StopWorkers();
    return n;
  }

  void Run(int height, std::size_t bytes, BandFn fn, const void* context) {
    const int threads = std::min(Threads(), height);
    if (threads <= 1 || bytes < kParallelMinBytes) {
      fn(context, 0, height);
      return;
    }
    std::unique_lock call(callMutex_, std::try_to_lock);
    if (!call.owns_lock()) {
      fn(context, 0, height);
      return;
    }
    StartWorkers(threads - 1);
    Job job;
    {
      std::lock_guard g(mutex_);
      job = {fn, context, height, threads, ++generation_};
      job_ = job;
      claim_.store(job.Generation << 32, std::memory_order_release);
      pending_ = threads;
    }
    wake_.notify_all();
    TakeBands(job);
    std::unique_lock g(mutex_);
    done_.wait(g, [&] { return pending_ == 0; });
  }

private:
  struct Job {
    BandFn Fn = nullptr;
    const void* Context = nullptr;
    int Height = 0;
    int Bands = 0;
    std::uint64_t Generation = 0;
  };

  // Claims carry the job's generation, so a worker that wakes late for a
  // finished job can never take a band of the next one.
  void TakeBands(const Job& job) {
    int finished = 0;
    std::uint64_t claim = claim_.load(std::memory_order_acquire);
    for (;;) {
      if ((claim >> 32) != job.Generation) break;
      const int band = static_cast<int>(claim & 0xffffffffu);
      if (band >= job.Bands) break;
      if (!claim_.compare_exchange_weak(claim, claim + 1, std::memory_order_acq_rel)) continue;
      const int y0 = static_cast<int>(static_cast<long long>(job.Height) * band / job.Bands);
      const int y1 = static_cast<int>(static_cast<long long>(job.Height) * (band + 1) / job.Bands);
      if (y1 > y0) job.Fn(job.Context, y0, y1);
      ++finished;
      claim = claim_.load(std::memory_order_acquire);
    }
    if (finished == 0) return;
    std::lock_guard g(mutex_);
    pending_ -= finished;
    if (pending_ == 0) done_.notify_one();
  }

  void Work() {
    std::uint64_t seen = 0;
    for (;;) {
      Job job;
      {
        std::unique_lock g(mutex_);
        wake_.wait(g, [&] { return stop_ || generation_ != seen; });
        if (stop_) return;
        seen = generation_;
        job = job_;
      }
      TakeBands(job);
    }
  }

  // Caller holds callMutex_.
  void StartWorkers(int n) {
    while (static_cast<int>(workers_.size()) < n) workers_.emplace_back([this] { Work(); });
  }
  void StopWorkers() {
    {
      std::lock_guard g(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    for (std::thread& t : workers_) t.join();
    workers_.clear();
    std::lock_guard g(mutex_);
    stop_ = false;
  }

  std::atomic<int> threads_{1};
  std::mutex callMutex_;
  std::vector<std::thread> workers_;
  std::mutex mutex_;
  std::condition_variable wake_, done_;
  bool stop_ = false;
  std::uint64_t generation_ = 0;
  Job job_;                             // the job of generation_, written under mutex_
  std::atomic<std::uint64_t> claim_{0}; // generation << 32 | next band
  int pending_ = 0;                     // bands of the job not yet finished
};

// Never destroyed: a primitive may still run from another static's
// destructor, and idle workers need no joining at exit.
Pool& ThePool() {
  static Pool* pool = new Pool;
  return *pool;
}

} // namespace

void runBands(int height, std::size_t bytes, BandFn fn, const void* context) noexcept {
  ThePool().Run(height, bytes, fn, context);
}

} // namespace ipp_detail

int ippSetNumThreads(int n) noexcept { return ipp_detail::ThePool().SetThreads(n); }

int ippGetNumThreads() noexcept { return ipp_detail::ThePool().Threads(); }

} // namespace framquist
