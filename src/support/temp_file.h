// This file contains temporary files and folders that remove themselves unless preserved.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/result.h"

namespace support {

// The system's folder for temporary files: $TMPDIR when it names a folder, else /tmp.
std::filesystem::path BaseTempFolder();

// Where temporary files go: the folder of the program's run while one is current (so that they
// all go with it), else BaseTempFolder().
std::filesystem::path TempFolder();

// Twelve random hex digits for unique names; creation with O_EXCL or mkdir makes a name unique,
// the randomness only keeps collisions rare.
std::string RandomSuffix();

// An empty file "<prefix><random><extension>" made in TempFolder() (or a given folder), owned by
// this object: the destructor removes it unless Preserve() was called. Movable, not copyable; a
// moved-from object owns nothing.
class TempFile {
 public:
  // `extension` may be given with or without its dot ("zip" and ".zip" both give "x.zip").
  // Fails when the folder is missing or not writable.
  static Result<TempFile> Create(std::string_view extension = {},
                                 std::string_view prefix = "tcm");
  static Result<TempFile> CreateIn(const std::filesystem::path& folder,
                                   std::string_view extension = {},
                                   std::string_view prefix = "tcm");

  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&& other) noexcept;
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile();

  const std::filesystem::path& path() const { return path_; }
  // The file outlives this object.
  void Preserve() { preserved_ = true; }
  bool preserved() const { return preserved_; }

 private:
  explicit TempFile(std::filesystem::path path) : path_(std::move(path)) {}
  void Remove() noexcept;

  std::filesystem::path path_;
  bool preserved_ = false;
};

// A folder "<prefix><random>" made in TempFolder() (or a given folder); the destructor removes it
// with everything in it unless Preserve() was called. Movable, not copyable.
class TempDir {
 public:
  static Result<TempDir> Create(std::string_view prefix = "tcm");
  static Result<TempDir> CreateIn(const std::filesystem::path& folder,
                                  std::string_view prefix = "tcm");

  TempDir(TempDir&& other) noexcept;
  TempDir& operator=(TempDir&& other) noexcept;
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  const std::filesystem::path& path() const { return path_; }
  void Preserve() { preserved_ = true; }
  bool preserved() const { return preserved_; }

 private:
  explicit TempDir(std::filesystem::path path) : path_(std::move(path)) {}
  void Remove() noexcept;

  std::filesystem::path path_;
  bool preserved_ = false;
};

}  // namespace support
