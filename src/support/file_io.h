// This file contains whole-file reading and the writer that every file output of the system goes
// through, so that a failed write never damages the user's existing file and a device is never
// replaced by a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "support/result.h"

namespace support {

// Reads a whole file as bytes. Fails with the path and the system's reason ("No such file or
// directory") when the file is missing, is a folder or cannot be read.
Result<std::string> ReadFileToString(const std::filesystem::path& path);

// Faults to inject in tests of writers: fail once this many bytes went out, or fail the final
// rename. The defaults inject nothing.
struct WriteFaults {
  std::int64_t fail_after_bytes = -1;
  bool fail_rename = false;
};

// Writes one output whole or not at all:
// - a regular file (or a new one) is written under a hidden temporary name in its folder and
//   renamed over the target on Commit, keeping an existing file's permissions; a symbolic link
//   is followed, so the file it points to is replaced. While the program's run is current
//   (RunFiles), the target's twin is written instead and the run renames it at its end.
// - "-" is standard output, and a device, pipe or socket (anything under /dev or /proc) is
//   written in place: never renamed over, never truncated.
// Without Commit (a failure, an exception) the destructor undoes the write. Every call after a
// failure fails again with the first reason.
class AtomicWriter {
 public:
  explicit AtomicWriter(std::filesystem::path target, WriteFaults faults = {});
  ~AtomicWriter();
  AtomicWriter(const AtomicWriter&) = delete;
  AtomicWriter& operator=(const AtomicWriter&) = delete;

  // Fails when the target is a folder, its folder is missing or not writable, or the run
  // refuses it (an input of the run).
  Status Open();
  Status Write(std::string_view bytes);
  // Flushes to disk and puts the file in place.
  Status Commit();

 private:
  Status Fail(Error error);

  std::filesystem::path target_;
  WriteFaults faults_;
  std::filesystem::path temp_;  // the file being written, when it is not the target itself
  std::filesystem::path twin_;  // the run's twin being written, if any
  int fd_ = -1;
  bool own_fd_ = true;  // false for standard output
  std::int64_t written_ = 0;
  bool committed_ = false;
  Status failure_;
};

// The whole of `bytes` through an AtomicWriter.
Status WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

// Same, for content that a callee writes by path (a library that opens the file itself).
// `produce` gets the path of an empty temporary file and may replace or fill it; the file is
// put in place only when it returns success and the file is then there.
Status WriteFileAtomically(const std::filesystem::path& target,
                           const std::function<Status(const std::filesystem::path&)>& produce);

}  // namespace support
