// This file contains AtomicFile: the host's name for the support layer's writer of a file that is
// written whole or not at all (and of standard output and devices, written in place).
#pragma once

#include <string>
#include <string_view>

#include "support/file_io.h"

namespace host {

using WriteFaults = support::WriteFaults;

class AtomicFile {
 public:
  explicit AtomicFile(std::string path, WriteFaults faults = {})
      : writer_(std::move(path), faults) {}

  // Each returns false with `Error()` set; the target is untouched until Commit succeeds.
  bool Open() { return Keep(writer_.Open()); }
  bool Write(std::string_view data) { return Keep(writer_.Write(data)); }
  bool Commit() { return Keep(writer_.Commit()); }
  // The reason of the first failure.
  const std::string& Error() const { return error_; }

 private:
  bool Keep(const support::Status& status) {
    if (!status.ok() && error_.empty()) error_ = status.message();
    return status.ok();
  }

  support::AtomicWriter writer_;
  std::string error_;
};

}  // namespace host
