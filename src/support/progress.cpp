// This file contains the progress line on standard error.
#include "support/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <mutex>

namespace support {
namespace {

// Redraws at most this often: a terminal write per model would slow a run of thousands.
constexpr auto kRedrawInterval = std::chrono::milliseconds(150);

struct ProgressState {
  std::atomic<bool> shown{false};
  std::atomic<std::size_t> done{0};
  std::atomic<std::size_t> total{0};
  std::atomic<long long> last_draw{0};
  std::mutex mutex;  // guards the label and the writing
  std::string label;
  bool drawn = false;
};

ProgressState& State() {
  static ProgressState state;
  return state;
}

long long Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void Write(const std::string& text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const ssize_t wrote = ::write(STDERR_FILENO, text.data() + at, text.size() - at);
    if (wrote <= 0) return;  // a progress line is never worth an error
    at += static_cast<std::size_t>(wrote);
  }
}

// Draws the line; the caller holds the mutex.
void Draw(ProgressState& state) {
  std::string line = "\r\033[K" + state.label;
  const std::size_t total = state.total.load();
  if (total > 0) {
    const std::size_t done = std::min(state.done.load(), total);
    line += " " + std::to_string(done) + "/" + std::to_string(total) + " (" +
            std::to_string(done * 100 / total) + "%)";
  }
  if (!state.label.empty() && state.label.back() != '.')
    line += "\xE2\x80\xA6";  // an ellipsis: the stage goes on
  // A line longer than the terminal would wrap and leave its first part behind.
  struct winsize size {};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 8 &&
      line.size() > size.ws_col + 3u) {
    line.resize(size.ws_col + 3u);
  }
  Write(line);
  state.drawn = true;
  state.last_draw = Now();
}

// Forwards to the stream's own buffer after clearing the progress line.
class ClearingBuffer : public std::streambuf {
 public:
  explicit ClearingBuffer(std::streambuf* inner) : inner_(inner) {}

 protected:
  int_type overflow(int_type c) override {
    ProgressClear();
    return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                          : inner_->sputc(traits_type::to_char_type(c));
  }
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    ProgressClear();
    return inner_->sputn(text, count);
  }
  int sync() override { return inner_->pubsync(); }

 private:
  std::streambuf* inner_;
};

}  // namespace

void ProgressStage(const std::string& label, std::size_t total) {
  ProgressState& state = State();
  if (!state.shown.load(std::memory_order_relaxed)) return;
  std::lock_guard<std::mutex> lock(state.mutex);
  state.label = label;
  state.total = total;
  state.done = 0;
  Draw(state);
}

void ProgressTotal(std::size_t total) {
  ProgressState& state = State();
  if (!state.shown.load(std::memory_order_relaxed)) return;
  std::lock_guard<std::mutex> lock(state.mutex);
  state.total = total;
  state.done = 0;
  Draw(state);
}

void ProgressStep() {
  ProgressState& state = State();
  if (!state.shown.load(std::memory_order_relaxed)) return;
  state.done.fetch_add(1, std::memory_order_relaxed);
  if (Now() - state.last_draw.load(std::memory_order_relaxed) < kRedrawInterval.count()) return;
  std::unique_lock<std::mutex> lock(state.mutex, std::try_to_lock);
  if (lock.owns_lock()) Draw(state);
}

void ProgressClear() {
  ProgressState& state = State();
  if (!state.shown.load(std::memory_order_relaxed)) return;
  std::lock_guard<std::mutex> lock(state.mutex);
  if (state.drawn) Write("\r\033[K");
  state.drawn = false;
  // A message just written stays readable a moment before the line comes back.
  state.last_draw = Now();
}

TerminalProgress::TerminalProgress() : active_(::isatty(STDERR_FILENO) == 1) {
  State().shown = active_;
  if (!active_) return;
  clearing_ = std::make_unique<ClearingBuffer>(std::cerr.rdbuf());
  original_ = std::cerr.rdbuf(clearing_.get());
}

TerminalProgress::~TerminalProgress() {
  ProgressClear();
  State().shown = false;
  if (original_ != nullptr) std::cerr.rdbuf(original_);
}

std::size_t TerminalColumns() {
  if (::isatty(STDOUT_FILENO) != 1) return 0;
  struct winsize size {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  if (const char* columns = std::getenv("COLUMNS")) {
    const long value = std::strtol(columns, nullptr, 10);
    if (value > 0) return static_cast<std::size_t>(value);
  }
  return 0;
}

}  // namespace support
