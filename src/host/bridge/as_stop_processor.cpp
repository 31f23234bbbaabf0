// This file contains the cancel flag of a running job.
#include "host/bridge/as_stop_processor.h"

#include "support/interrupt.h"

namespace {
std::chrono::steady_clock::rep Now() {
  return std::chrono::steady_clock::now().time_since_epoch().count();
}
} // namespace

ASStopProcessor::ASStopProcessor(double time_limit_seconds)
    : time_limit_seconds_(time_limit_seconds), start_(Now()) {}

bool ASStopProcessor::IsCancelled() const {
  if (cancelled_.load(std::memory_order_acquire) || support::InterruptRequested())
    return true;
  if (!(time_limit_seconds_ > 0.0))
    return false;
  const std::chrono::steady_clock::duration elapsed(Now() - start_.load());
  return std::chrono::duration<double>(elapsed).count() >= time_limit_seconds_;
}

void ASStopProcessor::Reset() {
  start_.store(Now());
  cancelled_.store(false, std::memory_order_release);
}
