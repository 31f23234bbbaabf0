// This file contains whole-file reading and the atomic file writer.
#include "support/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <system_error>

#include "support/run_files.h"
#include "support/temp_file.h"

namespace support {
namespace fs = std::filesystem;

namespace {

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

Error SystemError(std::string what, int error_number) {
  return Error{std::move(what) + ": " + std::strerror(error_number)};
}

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

// Creates "<folder>/.<name>.tmp<random>" exclusively beside `target`, so that the final rename
// stays within one file system. The mode 0666 lets the umask decide, as for any new file.
Result<fs::path> CreateSibling(const fs::path& target, int& fd) {
  fs::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  for (int attempt = 0; attempt < 100; ++attempt) {
    fs::path candidate = folder / ("." + target.filename().string() + ".tmp" + RandomSuffix());
    fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) return candidate;
    if (errno != EEXIST) return SystemError("cannot create a file in folder " + Quoted(folder), errno);
  }
  return Error{"cannot create a temporary file in folder " + Quoted(folder)};
}

// Gives the new file the permissions of the one it replaces.
void KeepPermissions(const fs::path& target, int fd) {
  struct stat old_stat {};
  if (::stat(target.c_str(), &old_stat) == 0 && S_ISREG(old_stat.st_mode)) {
    ::fchmod(fd, old_stat.st_mode & 07777);
  }
}

// Makes a rename durable; a failure here loses nothing, so it is not reported.
void SyncFolder(const fs::path& target) {
  fs::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

// Where a file output goes: the run's twin of `resolved` (empty when no run stages it).
Result<fs::path> TwinOf(const fs::path& resolved) {
  RunFiles* run = RunFiles::Current();
  if (run == nullptr) return fs::path();
  return run->TwinForWriting(resolved);
}

}  // namespace

Result<std::string> ReadFileToString(const fs::path& requested) {
  const fs::path path = ReadPath(requested);
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

AtomicWriter::AtomicWriter(fs::path target, WriteFaults faults)
    : target_(std::move(target)), faults_(faults) {}

AtomicWriter::~AtomicWriter() {
  if (fd_ >= 0 && own_fd_) ::close(fd_);
  if (committed_) return;
  if (!temp_.empty()) ::unlink(temp_.c_str());
  if (!twin_.empty() && RunFiles::Current() != nullptr) RunFiles::Current()->MarkWritten(twin_, false);
}

Status AtomicWriter::Fail(Error error) {
  if (failure_.ok()) failure_ = Status(std::move(error));
  return failure_;
}

Status AtomicWriter::Open() {
  if (!failure_.ok()) return failure_;
  switch (KindOfOutput(target_)) {
    case OutputKind::kStdout:
      std::cout.flush();
      std::fflush(stdout);
      fd_ = STDOUT_FILENO;
      own_fd_ = false;
      return {};
    case OutputKind::kDevice:
      fd_ = ::open(target_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
      if (fd_ < 0) return Fail(SystemError("cannot write " + Quoted(target_), errno));
      return {};
    case OutputKind::kFile:
      break;
  }
  target_ = ResolveTarget(target_);
  if (Status checked = CheckTarget(target_); !checked) return Fail(checked.error());
  Result<fs::path> twin = TwinOf(target_);
  if (!twin.ok()) return Fail(twin.error());
  if (!twin->empty()) {
    twin_ = *twin;
    RunFiles::Current()->MarkWritten(twin_, false);
    fd_ = ::open(twin_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd_ < 0) return Fail(SystemError("cannot write " + Quoted(target_), errno));
    return {};
  }
  Result<fs::path> temp = CreateSibling(target_, fd_);
  if (!temp.ok()) return Fail(temp.error());
  temp_ = *temp;
  KeepPermissions(target_, fd_);
  return {};
}

Status AtomicWriter::Write(std::string_view bytes) {
  if (!failure_.ok()) return failure_;
  if (fd_ < 0) return Fail(Error{"cannot write " + Quoted(target_) + ": it is not open"});
  if (faults_.fail_after_bytes >= 0 &&
      written_ + static_cast<std::int64_t>(bytes.size()) > faults_.fail_after_bytes) {
    return Fail(SystemError("cannot write " + Quoted(target_), ENOSPC));
  }
  while (!bytes.empty()) {
    ssize_t count = ::write(fd_, bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return Fail(SystemError("cannot write " + Quoted(target_), errno));
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
    written_ += count;
  }
  return {};
}

Status AtomicWriter::Commit() {
  if (!failure_.ok()) return failure_;
  if (fd_ < 0) return Fail(Error{"cannot write " + Quoted(target_) + ": it is not open"});
  if (!own_fd_ || (temp_.empty() && twin_.empty())) {  // standard output or a device
    if (own_fd_ && ::close(fd_) != 0) {
      fd_ = -1;
      return Fail(SystemError("cannot write " + Quoted(target_), errno));
    }
    fd_ = -1;
    committed_ = true;
    return {};
  }
  if (::fsync(fd_) != 0) return Fail(SystemError("cannot write " + Quoted(target_), errno));
  const int closed = ::close(fd_);
  fd_ = -1;
  if (closed != 0) return Fail(SystemError("cannot write " + Quoted(target_), errno));
  if (faults_.fail_rename) return Fail(SystemError("cannot replace " + Quoted(target_), EIO));
  if (!twin_.empty()) {
    RunFiles::Current()->MarkWritten(twin_, true);
  } else {
    if (::rename(temp_.c_str(), target_.c_str()) != 0) {
      return Fail(SystemError("cannot replace " + Quoted(target_), errno));
    }
    SyncFolder(target_);
  }
  committed_ = true;
  return {};
}

Status WriteFileAtomically(const fs::path& target, std::string_view bytes) {
  AtomicWriter writer(target);
  if (Status status = writer.Open(); !status) return status;
  if (Status status = writer.Write(bytes); !status) return status;
  return writer.Commit();
}

Status WriteFileAtomically(const fs::path& target,
                           const std::function<Status(const fs::path&)>& produce) {
  const auto run_producer = [&](const fs::path& path) -> Status {
    try {
      return produce(path);
    } catch (const std::exception& e) {
      return Error{std::string("cannot write ") + Quoted(target) + ": " + e.what()};
    }
  };
  // A device or standard output gets the produced bytes copied in.
  if (KindOfOutput(target) != OutputKind::kFile) {
    auto temp = TempFile::Create();
    if (!temp.ok()) return temp.status();
    if (Status produced = run_producer(temp->path()); !produced) return produced;
    Result<std::string> bytes = ReadFileToString(temp->path());
    if (!bytes.ok()) return bytes.status();
    return WriteFileAtomically(target, *bytes);
  }
  const fs::path resolved = ResolveTarget(target);
  if (Status checked = CheckTarget(resolved); !checked) return checked;
  Result<fs::path> twin = TwinOf(resolved);
  if (!twin.ok()) return twin.status();
  // The producer may have replaced the file it was given: the permissions are set afterwards.
  const auto finish = [&](const fs::path& path) -> Status {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return SystemError("cannot write " + Quoted(target), errno);
    KeepPermissions(resolved, fd);
    const int result = ::fsync(fd);
    const int error_number = errno;
    ::close(fd);
    if (result != 0) return SystemError("cannot write " + Quoted(target), error_number);
    return {};
  };

  // The run's twin is a file of its own until the run ends, so it is produced directly.
  if (!twin->empty()) {
    RunFiles* run = RunFiles::Current();
    run->MarkWritten(*twin, false);
    if (Status produced = run_producer(*twin); !produced) return produced;
    if (Status finished = finish(*twin); !finished) return finished;
    run->MarkWritten(*twin, true);
    return {};
  }
  int fd = -1;
  Result<fs::path> temp = CreateSibling(resolved, fd);
  if (!temp.ok()) return temp.status();
  ::close(fd);
  struct Remover {
    fs::path path;
    ~Remover() {
      if (!path.empty()) ::unlink(path.c_str());
    }
  } remover{*temp};
  if (Status produced = run_producer(*temp); !produced) return produced;
  if (Status finished = finish(*temp); !finished) return finished;
  if (::rename(temp->c_str(), resolved.c_str()) != 0) {
    return SystemError("cannot replace " + Quoted(target), errno);
  }
  remover.path.clear();
  SyncFolder(resolved);
  return {};
}

}  // namespace support
