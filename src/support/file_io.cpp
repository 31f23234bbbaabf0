// This file contains whole-file reading and the atomic file writer.
#include "support/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <random>
#include <sstream>
#include <system_error>

namespace support {
namespace fs = std::filesystem;

namespace {

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

Error SystemError(std::string what, int error_number) {
  return Error{std::move(what) + ": " + std::strerror(error_number)};
}

// Owns a temporary sibling of the target until it is committed by rename.
class TempSibling {
 public:
  TempSibling() = default;
  TempSibling(const TempSibling&) = delete;
  TempSibling& operator=(const TempSibling&) = delete;
  ~TempSibling() {
    if (fd_ >= 0) ::close(fd_);
    if (!path_.empty()) ::unlink(path_.c_str());
  }

  // Creates "<folder>/.<name>.tmp<random>" exclusively, so no other writer shares it. The mode
  // 0666 lets the process umask decide the permissions, as for any new file.
  Status Create(const fs::path& target) {
    fs::path folder = target.parent_path();
    if (folder.empty()) folder = ".";
    std::random_device seed;
    std::mt19937_64 generator(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::ostringstream name;
      name << '.' << target.filename().string() << ".tmp" << std::hex << (generator() & 0xFFFFFFu);
      fs::path candidate = folder / name.str();
      int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (fd >= 0) {
        fd_ = fd;
        path_ = candidate;
        return {};
      }
      int error_number = errno;
      if (error_number != EEXIST) {
        return SystemError("cannot create a file in folder " + Quoted(folder), error_number);
      }
    }
    return Error{"cannot create a temporary file in folder " + Quoted(folder)};
  }

  int fd() const { return fd_; }
  const fs::path& path() const { return path_; }

  Status CloseFd() {
    int fd = fd_;
    fd_ = -1;
    if (fd >= 0 && ::close(fd) != 0) {
      int error_number = errno;
      return SystemError("cannot write " + Quoted(path_), error_number);
    }
    return {};
  }

  // Renames over the target; from then on the file is the target's and is not removed here.
  Status Commit(const fs::path& target) {
    if (::rename(path_.c_str(), target.c_str()) != 0) {
      int error_number = errno;
      return SystemError("cannot replace " + Quoted(target), error_number);
    }
    path_.clear();
    return {};
  }

 private:
  int fd_ = -1;
  fs::path path_;
};

// The file actually written: a symbolic link is followed so the link itself survives.
fs::path ResolveTarget(const fs::path& target) {
  std::error_code ec;
  if (fs::is_symlink(fs::symlink_status(target, ec))) {
    fs::path resolved = fs::canonical(target, ec);
    if (!ec) return resolved;
  }
  return target;
}

Status CheckTarget(const fs::path& target) {
  if (target.empty() || target.filename().empty()) {
    return Error{"no file name in path " + Quoted(target)};
  }
  std::error_code ec;
  if (fs::is_directory(target, ec)) return Error{Quoted(target) + " is a folder, not a file"};
  fs::path folder = target.parent_path();
  if (!folder.empty() && !fs::is_directory(folder, ec)) {
    if (fs::exists(folder, ec)) return Error{Quoted(folder) + " is not a folder"};
    return Error{"folder " + Quoted(folder) + " does not exist"};
  }
  return {};
}

// Gives the new file the permissions of the one it replaces.
void KeepPermissions(const fs::path& target, int fd) {
  struct stat old_stat {};
  if (::stat(target.c_str(), &old_stat) == 0 && S_ISREG(old_stat.st_mode)) {
    ::fchmod(fd, old_stat.st_mode & 07777);
  }
}

// Makes the rename itself durable; a failure here loses nothing, so it is not reported.
void SyncFolder(const fs::path& target) {
  fs::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

Status WriteAll(int fd, std::string_view bytes, const fs::path& path) {
  while (!bytes.empty()) {
    ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      int error_number = errno;
      if (error_number == EINTR) continue;
      return SystemError("cannot write " + Quoted(path), error_number);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

}  // namespace

Result<std::string> ReadFileToString(const fs::path& path) {
  std::error_code ec;
  if (fs::is_directory(path, ec)) return Error{Quoted(path) + " is a folder, not a file"};
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    int error_number = errno;
    return SystemError("cannot open " + Quoted(path), error_number);
  }
  std::string content;
  try {
    char buffer[1 << 16];
    while (true) {
      ssize_t got = ::read(fd, buffer, sizeof buffer);
      if (got < 0) {
        if (errno == EINTR) continue;
        int error_number = errno;
        ::close(fd);
        return SystemError("cannot read " + Quoted(path), error_number);
      }
      if (got == 0) break;
      content.append(buffer, static_cast<std::size_t>(got));
    }
  } catch (const std::exception&) {
    ::close(fd);
    return Error{"not enough memory to read " + Quoted(path)};
  }
  ::close(fd);
  return content;
}

Status WriteFileAtomically(const fs::path& target, std::string_view bytes) {
  fs::path resolved = ResolveTarget(target);
  if (Status status = CheckTarget(resolved); !status) return status;
  TempSibling temp;
  if (Status status = temp.Create(resolved); !status) return status;
  KeepPermissions(resolved, temp.fd());
  if (Status status = WriteAll(temp.fd(), bytes, resolved); !status) return status;
  if (::fsync(temp.fd()) != 0) {
    int error_number = errno;
    return SystemError("cannot write " + Quoted(resolved), error_number);
  }
  if (Status status = temp.CloseFd(); !status) return status;
  if (Status status = temp.Commit(resolved); !status) return status;
  SyncFolder(resolved);
  return {};
}

Status WriteFileAtomically(const fs::path& target,
                           const std::function<Status(const fs::path&)>& produce) {
  fs::path resolved = ResolveTarget(target);
  if (Status status = CheckTarget(resolved); !status) return status;
  TempSibling temp;
  if (Status status = temp.Create(resolved); !status) return status;
  if (Status status = temp.CloseFd(); !status) return status;
  Status produced;
  try {
    produced = produce(temp.path());
  } catch (const std::exception& e) {
    produced = Error{std::string("cannot write ") + Quoted(target) + ": " + e.what()};
  }
  if (!produced) return produced;

  // The producer may have replaced the file; flush whatever is now there, and keep the old
  // file's permissions on it.
  int fd = ::open(temp.path().c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    int error_number = errno;
    return SystemError("cannot write " + Quoted(target), error_number);
  }
  KeepPermissions(resolved, fd);
  int sync_result = ::fsync(fd);
  int sync_errno = errno;
  ::close(fd);
  if (sync_result != 0) return SystemError("cannot write " + Quoted(target), sync_errno);
  if (Status status = temp.Commit(resolved); !status) return status;
  SyncFolder(resolved);
  return {};
}

}  // namespace support
