// The thread that takes results works too: it runs waiting jobs for as long as the oldest one is not done.
#include "io/ordered_work.h"

#include <algorithm>
#include <exception>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|ordered_work|9|01|3|0|0|11/23/26|08:33:05";

constexpr size_t FEW = 3;  // jobs that are done by the calling thread before others are worth their start

thread_local bool in_job = false;

// The threads that the user allows.
size_t threads_allowed() {
  return Jobs > 0 ? static_cast<size_t>(Jobs) : std::max(std::thread::hardware_concurrency(), 1U);
}
}  // namespace

int32_t Jobs = 0;

struct OrderedWork::Job {
  std::function<void()> work;
  bool done = false;
  std::exception_ptr thrown;
};

OrderedWork::OrderedWork(size_t most_threads)
    : threads_wanted_(in_job ? 1 : std::min(threads_allowed(), most_threads)) {}

OrderedWork::~OrderedWork() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  added_.notify_all();
  for (std::thread &thread : threads_) thread.join();
}

bool OrderedWork::has_room() const {
  return jobs_.size() < (threads_wanted_ == 1 ? 1 : 2 * threads_wanted_ + FEW);
}

void OrderedWork::add(std::function<void()> work) {
  jobs_.push_back(std::make_shared<Job>(Job{std::move(work), false, nullptr}));
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(jobs_.back());
  }
  if (jobs_.size() > FEW && threads_.empty()) start_threads();
  added_.notify_one();
}

void OrderedWork::start_threads() {
  while (threads_.size() + 1 < threads_wanted_) threads_.emplace_back([this] { run_jobs(); });
}

void OrderedWork::run(Job &job) {
  const bool before = std::exchange(in_job, true);
  try {
    job.work();
  } catch (...) {
    job.thrown = std::current_exception();
  }
  job.work = nullptr;
  in_job = before;
}

// Runs the oldest waiting job with the lock released.
void OrderedWork::run_oldest(std::unique_lock<std::mutex> &lock) {
  const std::shared_ptr<Job> job = waiting_.front();
  waiting_.pop_front();
  lock.unlock();
  run(*job);
  lock.lock();
  job->done = true;
}

void OrderedWork::run_jobs() {
  std::unique_lock lock(mutex_);
  while (true) {
    added_.wait(lock, [&] { return stopping_ || !waiting_.empty(); });
    if (stopping_) return;
    run_oldest(lock);
    done_.notify_one();
  }
}

void OrderedWork::take() {
  const std::shared_ptr<Job> job = jobs_.front();
  jobs_.pop_front();
  std::unique_lock lock(mutex_);
  while (!job->done) {
    if (waiting_.empty())
      done_.wait(lock);
    else
      run_oldest(lock);
  }
  lock.unlock();
  if (job->thrown) std::rethrow_exception(job->thrown);
}

}  // namespace tolvane
