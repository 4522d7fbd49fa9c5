// Work that several threads share and whose results are used in order.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tolvane {

/// The most threads that work at a time, set by `--jobs`; 0: one for each processor.
extern int32_t Jobs;

/// Jobs that are added and taken by one thread, in one order, and done by all. The results do not depend on the number
/// of threads. A few jobs alone start no thread, and jobs that are added within a job start none either.
class OrderedWork {
 public:
  /// @param most_threads  that work at a time, whatever `Jobs` allows
  explicit OrderedWork(size_t most_threads = SIZE_MAX);
  /// Waits for the jobs in progress and drops the others.
  ~OrderedWork();
  OrderedWork(const OrderedWork &) = delete;
  OrderedWork &operator=(const OrderedWork &) = delete;

  /// Threads that work at a time at most.
  size_t threads() const { return threads_wanted_; }
  /// Whether another job may be added. The number of jobs held is limited, so that their memory is.
  bool has_room() const;
  bool empty() const { return jobs_.empty(); }
  /// Adds a job, to be run in any thread.
  void add(std::function<void()> work);
  /// Waits until the oldest job is done, and removes it. Throws what the job has thrown.
  void take();

 private:
  struct Job;
  void start_threads();
  void run_jobs();
  void run_oldest(std::unique_lock<std::mutex> &lock);
  static void run(Job &job);

  size_t threads_wanted_;
  std::deque<std::shared_ptr<Job>> jobs_;  // oldest first
  std::mutex mutex_;                       // protects all that follows
  std::condition_variable added_, done_;
  std::deque<std::shared_ptr<Job>> waiting_;  // jobs that no thread has begun
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace tolvane
