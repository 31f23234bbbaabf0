// This file contains the SIGINT and SIGTERM handlers. The handler only stores the signal: all
// cleaning happens on the normal path, where it is safe.
#include "support/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace support {
namespace {

std::atomic<int> requested_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free flag");

extern "C" void OnInterrupt(int signal_number) {
  int expected = 0;
  if (!requested_signal.compare_exchange_strong(expected, signal_number)) {
    // A second signal: the user does not want to wait for the unwinding. What this leaves in
    // the temporary folder, the next run removes.
    ::_exit(128 + signal_number);
  }
}

}  // namespace

void InstallInterruptHandlers() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;  // blocking reads and writes go on; the loops poll the flag
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool InterruptRequested() { return requested_signal.load(std::memory_order_relaxed) != 0; }

int InterruptSignal() { return requested_signal.load(std::memory_order_relaxed); }

void RequestInterrupt() {
  int expected = 0;
  requested_signal.compare_exchange_strong(expected, SIGINT);
}

void ClearInterrupt() { requested_signal.store(0); }

}  // namespace support
