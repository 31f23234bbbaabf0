// This file contains ASStopProcessor, the cancel flag that a running job's input stream polls.
#pragma once

#include <atomic>
#include <chrono>

// A stop request that any thread may raise while the engine reads on another. Once raised it
// stays raised until Reset().
class ASStopProcessor {
 public:
  // `time_limit_seconds` > 0 makes the run count as stopped once that much time has passed since
  // construction (or the last Reset); 0 or less means no limit, only Cancel() stops.
  explicit ASStopProcessor(double time_limit_seconds = 0.0);
  ASStopProcessor(const ASStopProcessor&) = delete;
  ASStopProcessor& operator=(const ASStopProcessor&) = delete;

  void Cancel() { cancelled_.store(true, std::memory_order_release); }
  bool IsCancelled() const;
  // Clears a stop request and restarts the time limit.
  void Reset();

 private:
  std::atomic<bool> cancelled_{false};
  double time_limit_seconds_;
  std::atomic<std::chrono::steady_clock::rep> start_;
};
