// This file contains temporary files and folders.
#include "support/temp_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <system_error>

#include "support/run_files.h"

namespace support {
namespace fs = std::filesystem;

std::string RandomSuffix() {
  thread_local std::mt19937_64 generator{std::random_device{}()};
  static constexpr char kHex[] = "0123456789abcdef";
  std::uint64_t bits = generator();
  std::string text;
  for (int i = 0; i < 12; ++i) {
    text += kHex[bits & 0xF];
    bits >>= 4;
  }
  return text;
}

namespace {

std::string NormalizedExtension(std::string_view extension) {
  if (extension.empty() || extension.front() == '.') return std::string(extension);
  return "." + std::string(extension);
}

Error CreateError(const fs::path& folder, int error_number) {
  return Error{"cannot create a temporary file in '" + folder.string() +
               "': " + std::strerror(error_number)};
}

constexpr int kAttempts = 100;

}  // namespace

fs::path BaseTempFolder() {
  const char* from_env = std::getenv("TMPDIR");
  if (from_env != nullptr && *from_env != '\0') {
    std::error_code ec;
    if (fs::is_directory(from_env, ec)) return fs::path(from_env);
  }
  return fs::path("/tmp");
}

fs::path TempFolder() {
  const RunFiles* run = RunFiles::Current();
  return run != nullptr ? run->folder() : BaseTempFolder();
}

Result<TempFile> TempFile::Create(std::string_view extension, std::string_view prefix) {
  return CreateIn(TempFolder(), extension, prefix);
}

Result<TempFile> TempFile::CreateIn(const fs::path& folder, std::string_view extension,
                                    std::string_view prefix) {
  std::string suffix = NormalizedExtension(extension);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    fs::path candidate = folder / (std::string(prefix) + RandomSuffix() + suffix);
    int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
      ::close(fd);
      return TempFile(candidate);
    }
    int error_number = errno;
    if (error_number != EEXIST) return CreateError(folder, error_number);
  }
  return CreateError(folder, EEXIST);
}

TempFile::TempFile(TempFile&& other) noexcept
    : path_(std::move(other.path_)), preserved_(other.preserved_) {
  other.path_.clear();
}

TempFile& TempFile::operator=(TempFile&& other) noexcept {
  if (this != &other) {
    Remove();
    path_ = std::move(other.path_);
    preserved_ = other.preserved_;
    other.path_.clear();
  }
  return *this;
}

TempFile::~TempFile() { Remove(); }

void TempFile::Remove() noexcept {
  if (!path_.empty() && !preserved_) {
    std::error_code ec;
    fs::remove(path_, ec);  // a file already gone is fine; nothing to report from a destructor
  }
  path_.clear();
}

Result<TempDir> TempDir::Create(std::string_view prefix) { return CreateIn(TempFolder(), prefix); }

Result<TempDir> TempDir::CreateIn(const fs::path& folder, std::string_view prefix) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    fs::path candidate = folder / (std::string(prefix) + RandomSuffix());
    if (::mkdir(candidate.c_str(), 0700) == 0) return TempDir(candidate);
    int error_number = errno;
    if (error_number != EEXIST) return CreateError(folder, error_number);
  }
  return CreateError(folder, EEXIST);
}

TempDir::TempDir(TempDir&& other) noexcept
    : path_(std::move(other.path_)), preserved_(other.preserved_) {
  other.path_.clear();
}

TempDir& TempDir::operator=(TempDir&& other) noexcept {
  if (this != &other) {
    Remove();
    path_ = std::move(other.path_);
    preserved_ = other.preserved_;
    other.path_.clear();
  }
  return *this;
}

TempDir::~TempDir() { Remove(); }

void TempDir::Remove() noexcept {
  if (!path_.empty() && !preserved_) {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  path_.clear();
}

}  // namespace support
