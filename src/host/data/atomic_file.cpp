// This file contains AtomicFile: write under a temporary name, then rename over the target.
#include "host/data/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace host {

AtomicFile::AtomicFile(std::string path, WriteFaults faults)
    : path_(std::move(path)), faults_(faults) {}

AtomicFile::~AtomicFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!committed_ && !temp_path_.empty()) ::unlink(temp_path_.c_str());
}

bool AtomicFile::Fail(const std::string& reason) {
  failed_ = true;
  if (error_.empty()) error_ = reason;
  return false;
}

bool AtomicFile::Open() {
  namespace fs = std::filesystem;
  const fs::path target(path_);
  fs::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  // A hidden name in the same folder: the rename then stays within one file system.
  std::string pattern = (folder / ("." + target.filename().string() + ".tmp-XXXXXX")).string();
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  fd_ = ::mkstemp(buffer.data());
  if (fd_ < 0) return Fail(std::strerror(errno));
  temp_path_ = buffer.data();
  // mkstemp makes the file private; give it the target's mode, or the usual one for a new file.
  struct stat existing {};
  mode_t mode = 0666;
  if (::stat(path_.c_str(), &existing) == 0) {
    mode = existing.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode &= ~mask;
  }
  (void)::fchmod(fd_, mode);  // a file left private is still a complete file
  return true;
}

bool AtomicFile::Write(std::string_view data) {
  if (failed_ || fd_ < 0) return false;
  if (faults_.fail_after_bytes >= 0 &&
      written_ + static_cast<int64_t>(data.size()) > faults_.fail_after_bytes) {
    return Fail(std::strerror(ENOSPC));
  }
  while (!data.empty()) {
    const ssize_t n = ::write(fd_, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return Fail(std::strerror(errno));
    }
    data.remove_prefix(static_cast<size_t>(n));
    written_ += n;
  }
  return true;
}

bool AtomicFile::Commit() {
  if (failed_ || fd_ < 0) return false;
  if (::fsync(fd_) != 0) return Fail(std::strerror(errno));
  const int closed = ::close(fd_);
  fd_ = -1;
  if (closed != 0) return Fail(std::strerror(errno));
  if (faults_.fail_rename) return Fail(std::strerror(EIO));
  if (::rename(temp_path_.c_str(), path_.c_str()) != 0) return Fail(std::strerror(errno));
  committed_ = true;
  return true;
}

}  // namespace host
