// This file contains the run's folder, the twins of its outputs and the removal of what killed
// runs left behind.
#include "support/run_files.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>

#include "support/temp_file.h"

namespace support {
namespace fs = std::filesystem;

namespace {

std::atomic<RunFiles*> current_run{nullptr};

constexpr const char* kRunPrefix = "tcm-run-";
constexpr const char* kTwinMark = ".tcm-new-";
constexpr const char* kManifest = "twins";  // the run's twins, one path a line

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

// The identity of a path for comparing files: absolute, with links and dots resolved as far as
// the path exists.
fs::path KeyOf(const fs::path& path) {
  std::error_code ec;
  fs::path absolute = fs::absolute(path, ec);
  if (ec) absolute = path;
  fs::path key = fs::weakly_canonical(absolute, ec);
  return ec ? absolute.lexically_normal() : key;
}

bool SameFile(const fs::path& a, const fs::path& b) {
  if (a == b) return true;
  std::error_code ec;
  return fs::equivalent(a, b, ec) && !ec;  // hard links
}

bool ProcessGone(pid_t pid) { return ::kill(pid, 0) != 0 && errno == ESRCH; }

// Removes the folders (and the twins they list) of runs whose process no longer exists.
void RemoveLeftovers(const fs::path& base) {
  std::error_code ec;
  fs::directory_iterator entries(base, ec);
  if (ec) return;
  const std::string prefix = kRunPrefix;
  for (const fs::directory_entry& entry : entries) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(prefix, 0) != 0) continue;
    const long pid = std::strtol(name.c_str() + prefix.size(), nullptr, 10);
    if (pid <= 0 || pid == ::getpid() || !ProcessGone(static_cast<pid_t>(pid))) continue;
    std::ifstream manifest(entry.path() / kManifest);
    for (std::string line; std::getline(manifest, line);) {
      // Only a twin's name is ever removed from a user's folder.
      if (fs::path(line).filename().string().find(kTwinMark) != std::string::npos) {
        ::unlink(line.c_str());
      }
    }
    fs::remove_all(entry.path(), ec);
  }
}

mode_t NewFileMode(const fs::path& target) {
  struct stat existing {};
  if (::stat(target.c_str(), &existing) == 0 && S_ISREG(existing.st_mode)) {
    return existing.st_mode & 07777;
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputKind KindOfOutput(const fs::path& path) {
  if (path == "-") return OutputKind::kStdout;
  // As written and as resolved: /dev/stdout leads to the file that standard output was sent to,
  // which must be written through, not replaced.
  std::error_code ec;
  for (const std::string& text : {fs::absolute(path, ec).lexically_normal().string(),
                                  KeyOf(path).string()}) {
    if (text.rfind("/dev/", 0) == 0 || text.rfind("/proc/", 0) == 0) return OutputKind::kDevice;
  }
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) {
    return OutputKind::kDevice;
  }
  return OutputKind::kFile;
}

fs::path ReadPath(const fs::path& path) {
  const RunFiles* run = RunFiles::Current();
  return run != nullptr ? run->Resolve(path) : path;
}

Result<std::unique_ptr<RunFiles>> RunFiles::Begin() {
  const fs::path base = BaseTempFolder();
  RemoveLeftovers(base);
  auto made = TempDir::CreateIn(base, kRunPrefix + std::to_string(::getpid()) + "-");
  if (!made.ok()) return made.error();
  TempDir dir = std::move(made).value();
  dir.Preserve();  // the RunFiles object removes it
  std::unique_ptr<RunFiles> run(new RunFiles(dir.path()));
  current_run.store(run.get());
  return run;
}

RunFiles::~RunFiles() {
  RunFiles* self = this;
  current_run.compare_exchange_strong(self, nullptr);
  for (Output& output : outputs_) RemoveTwin(output);
  std::error_code ec;
  fs::remove_all(folder_, ec);
}

RunFiles* RunFiles::Current() { return current_run.load(); }

bool RunFiles::InRunFolder(const fs::path& key) const {
  const std::string text = key.string();
  const std::string folder = folder_.string() + "/";
  return text.rfind(folder, 0) == 0;
}

Status RunFiles::AddInput(const fs::path& path, const std::string& role) {
  std::lock_guard lock(mutex_);
  const fs::path key = KeyOf(path);
  for (const Output& output : outputs_) {
    if (output.dropped || (output.command != 0 && output.command != command_)) continue;
    if (SameFile(output.key, key)) {
      return Error{"the output file " + Quoted(path) + " (" + output.role + ") is also " + role +
                   ": a run never writes over a file it reads"};
    }
  }
  inputs_.push_back(Input{key, role, command_});
  return {};
}

Status RunFiles::AddOutput(const fs::path& path, const std::string& role) {
  std::lock_guard lock(mutex_);
  return AddOutputLocked(path, role);
}

Status RunFiles::AddOutputLocked(const fs::path& path, const std::string& role) {
  if (KindOfOutput(path) != OutputKind::kFile) return {};
  const fs::path key = KeyOf(path);
  for (const Input& input : inputs_) {
    if (input.command != 0 && input.command != command_) continue;
    if (SameFile(input.key, key)) {
      return Error{"the output file " + Quoted(path) + " (" + role + ") is " + input.role +
                   " of this run: nothing is written over it"};
    }
  }
  for (const Output& output : outputs_) {
    if (!output.dropped && output.command == command_ && output.key == key) return {};
  }
  std::error_code ec;
  if (key.filename().empty()) return Error{"no file name in path " + Quoted(path)};
  if (fs::is_directory(key, ec)) return Error{Quoted(path) + " is a folder, not a file"};
  const fs::path folder = key.parent_path();
  if (!fs::is_directory(folder, ec)) {
    if (fs::exists(folder, ec)) return Error{Quoted(folder) + " is not a folder"};
    return Error{"folder " + Quoted(folder) + " does not exist"};
  }

  Output output;
  output.key = key;
  output.target = key;  // a link is resolved in the key, so its file is replaced, not the link
  output.twin = folder / ("." + key.filename().string() + kTwinMark + RandomSuffix());
  output.role = role;
  output.command = command_;
  // Listed before it exists, so that a run killed in between leaves nothing unlisted.
  std::ofstream(folder_ / kManifest, std::ios::app) << output.twin.string() << '\n';
  const int fd = ::open(output.twin.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    const int error_number = errno;
    return Error{"cannot write in folder " + Quoted(folder) + " (for " + Quoted(path) +
                 "): " + std::strerror(error_number)};
  }
  ::fchmod(fd, NewFileMode(key));
  ::close(fd);
  outputs_.push_back(std::move(output));
  return {};
}

const RunFiles::Output* RunFiles::LatestOutput(const fs::path& key) const {
  for (auto it = outputs_.rbegin(); it != outputs_.rend(); ++it) {
    if (it->dropped || it->key != key) continue;
    if (it->command == command_ || it->written) return &*it;
  }
  return nullptr;
}

fs::path RunFiles::Resolve(const fs::path& path) const {
  std::lock_guard lock(mutex_);
  const Output* output = LatestOutput(KeyOf(path));
  return output != nullptr ? output->twin : path;
}

Result<fs::path> RunFiles::TwinForWriting(const fs::path& target) {
  std::lock_guard lock(mutex_);
  const fs::path key = KeyOf(target);
  if (InRunFolder(key)) return fs::path();
  for (const Output& output : outputs_) {
    if (!output.dropped && output.twin == key) return output.twin;
  }
  for (auto it = outputs_.rbegin(); it != outputs_.rend(); ++it) {
    if (!it->dropped && it->key == key && it->command == command_) return it->twin;
  }
  if (Status added = AddOutputLocked(target, "a file of the run"); !added) return added.error();
  return outputs_.back().twin;
}

void RunFiles::MarkWritten(const fs::path& twin, bool written) {
  std::lock_guard lock(mutex_);
  for (Output& output : outputs_) {
    if (output.twin == twin) output.written = written;
  }
}

void RunFiles::BeginCommand() {
  std::lock_guard lock(mutex_);
  command_ = ++last_command_;
}

void RunFiles::EndCommand(bool keep) {
  std::lock_guard lock(mutex_);
  for (Output& output : outputs_) {
    if (output.command == command_ && (!keep || !output.written)) RemoveTwin(output);
  }
  command_ = 0;
}

void RunFiles::RemoveTwin(Output& output) {
  if (!output.dropped) ::unlink(output.twin.c_str());
  output.dropped = true;
  output.written = false;
}

std::vector<fs::path> RunFiles::Finished(const std::string& role) const {
  std::lock_guard lock(mutex_);
  std::vector<fs::path> targets;
  for (const Output& output : outputs_) {
    if (!output.dropped && output.written && output.role == role) targets.push_back(output.target);
  }
  return targets;
}

Status RunFiles::Commit() {
  std::lock_guard lock(mutex_);
  std::string failed;
  std::vector<fs::path> folders;
  for (Output& output : outputs_) {
    if (output.dropped) continue;
    if (!output.written) {
      RemoveTwin(output);
      continue;
    }
    if (::rename(output.twin.c_str(), output.target.c_str()) != 0) {
      const int error_number = errno;
      failed += (failed.empty() ? "" : "; ") + Quoted(output.target) + ": " +
                std::strerror(error_number);
      RemoveTwin(output);
      continue;
    }
    output.dropped = true;  // the twin is the target now
    folders.push_back(output.target.parent_path());
  }
  // Makes the renames durable; a failure here loses nothing, so it is not reported.
  for (const fs::path& folder : folders) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
      ::fsync(fd);
      ::close(fd);
    }
  }
  if (!failed.empty()) return Error{"cannot replace " + failed};
  return {};
}

}  // namespace support
