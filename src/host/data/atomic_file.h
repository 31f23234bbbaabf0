// This file contains AtomicFile: a file written beside its target under a temporary name and
// renamed over the target only when complete, so a failed write leaves an existing file intact.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// Faults to inject in tests of writers: fail the write once this many bytes went out, or fail
// the final rename. The defaults inject nothing.
struct WriteFaults {
  int64_t fail_after_bytes = -1;
  bool fail_rename = false;
};

class AtomicFile {
 public:
  explicit AtomicFile(std::string path, WriteFaults faults = {});
  // Removes the temporary file when the write was not committed.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // Creates the temporary file in the target's folder. False with `Error()` set.
  bool Open();
  // Appends bytes; false (and every later call false) once a write failed.
  bool Write(std::string_view data);
  // Flushes the file to disk and renames it over the target; false with `Error()` set, the
  // temporary file removed and the target untouched.
  bool Commit();
  // The reason of the last failure, as the system words it.
  const std::string& Error() const { return error_; }

 private:
  bool Fail(const std::string& reason);

  std::string path_;
  std::string temp_path_;
  WriteFaults faults_;
  int fd_ = -1;
  int64_t written_ = 0;
  bool failed_ = false;
  bool committed_ = false;
  std::string error_;
};

}  // namespace host
