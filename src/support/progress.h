// This file contains the run's progress line: the stage a long run is in and how far it got,
// shown on a terminal only. Stages and loops report here cheaply whether anyone shows it or not.
#pragma once

#include <cstddef>
#include <memory>
#include <streambuf>
#include <string>

namespace support {

// Begins a stage of `total` steps (0: a stage whose steps are not counted).
void ProgressStage(const std::string& label, std::size_t total = 0);
// The count of steps of the current stage, known once the stage is under way; restarts the count.
void ProgressTotal(std::size_t total);
// One more step of the current stage done; safe from several threads at once.
void ProgressStep();
// Clears the line; the run's own messages then start at the left edge.
void ProgressClear();

// Shows progress on standard error as one line that updates in place, when standard error is a
// terminal; otherwise (files, pipes, tests, CI) nothing is shown. Lives for the run; while it
// does, whatever the run writes to std::cerr first clears the line, so no message lands after it.
class TerminalProgress {
 public:
  TerminalProgress();
  ~TerminalProgress();
  TerminalProgress(const TerminalProgress&) = delete;
  TerminalProgress& operator=(const TerminalProgress&) = delete;
  bool Active() const { return active_; }

 private:
  bool active_ = false;
  std::unique_ptr<std::streambuf> clearing_;
  std::streambuf* original_ = nullptr;
};

// The columns of the terminal on standard output, from the terminal itself or else $COLUMNS;
// 0 when standard output is no terminal.
std::size_t TerminalColumns();

}  // namespace support
