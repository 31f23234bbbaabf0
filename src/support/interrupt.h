// This file contains the program's answer to Ctrl-C and SIGTERM: the first one asks the run to
// stop (long loops poll the flag, fail with "stopped" and the run unwinds through its
// destructors, which remove its files); a second one ends the process at once.
#pragma once

namespace support {

// What a loop or a stage says when an interrupt stopped it.
inline constexpr const char* kStoppedText = "the run was stopped";

// Installs the handlers for SIGINT and SIGTERM. Idempotent.
void InstallInterruptHandlers();

// True once SIGINT or SIGTERM arrived (or RequestInterrupt was called). Cheap: poll it in loops.
bool InterruptRequested();

// The signal that asked to stop, 0 when none did (RequestInterrupt gives SIGINT).
int InterruptSignal();

// Asks the run to stop as a signal would, without exiting on a second call; for tests.
void RequestInterrupt();

// Forgets a request; for tests that go on after one.
void ClearInterrupt();

}  // namespace support
