// This file contains the parallel loop over std::thread.
#include "engine/model/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/interrupt.h"

namespace engine::model {

unsigned DefaultThreadCount() {
  return std::max(1u, std::thread::hardware_concurrency());
}

void ParallelFor(std::size_t count, unsigned threads,
                 const std::function<void(std::size_t, unsigned)>& user_task) {
  if (count == 0)
    return;
  // Long loops are where an interrupt waits longest: each index looks at the flag first.
  const auto task = [&user_task](std::size_t index, unsigned worker) {
    if (support::InterruptRequested())
      throw std::runtime_error(support::kStoppedText);
    user_task(index, worker);
  };
  if (threads == 0)
    threads = DefaultThreadCount();
  threads = static_cast<unsigned>(std::min<std::size_t>(threads, count));
  if (threads <= 1) {
    for (std::size_t index = 0; index < count; ++index)
      task(index, 0);
    return;
  }
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::exception_ptr failure;
  std::mutex failure_mutex;
  auto work = [&](unsigned worker) {
    while (!failed.load(std::memory_order_relaxed)) {
      const std::size_t index = next.fetch_add(1);
      if (index >= count)
        return;
      try {
        task(index, worker);
      } catch (...) {
        std::lock_guard<std::mutex> lock(failure_mutex);
        if (!failure)
          failure = std::current_exception();
        failed = true;
      }
    }
  };
  std::vector<std::thread> pool;
  pool.reserve(threads - 1);
  for (unsigned worker = 1; worker < threads; ++worker)
    pool.emplace_back(work, worker);
  work(0);
  for (std::thread& thread : pool)
    thread.join();
  if (failure)
    std::rethrow_exception(failure);
}

} // namespace engine::model
