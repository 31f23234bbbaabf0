// This file contains the small parallel loop that model building and the Gram matrix use.
#pragma once

#include <cstddef>
#include <functional>

namespace engine::model {

// The number of worker threads to use by default: the hardware's concurrency, at least 1.
unsigned DefaultThreadCount();

// Calls task(index, worker) for every index in [0, count), on up to `threads` threads (0 means
// DefaultThreadCount()); indexes are handed out one at a time, so uneven tasks balance. Worker
// numbers are 0 .. threads-1, one per thread, for per-thread workspaces. The first exception a
// task throws is rethrown here after all threads stopped; the remaining indexes are skipped.
// An interrupt (support::InterruptRequested) makes the loop throw std::runtime_error with
// support::kStoppedText before the next index.
void ParallelFor(std::size_t count, unsigned threads,
                 const std::function<void(std::size_t index, unsigned worker)>& task);

} // namespace engine::model
