// This file contains zip archives over libzip: a reader of members as text or bytes, and a
// writer that builds an archive and replaces its target atomically, with optional AES-256.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/result.h"

struct zip;  // libzip's archive handle; kept out of the users' includes

namespace support {

struct ZipEntry {
  std::string name;        // as stored, folders end with '/'
  bool is_folder = false;
  std::uint64_t size = 0;  // uncompressed size in bytes
  bool encrypted = false;
};

// An archive open for reading. Every failure (missing file, not an archive, damaged data,
// missing member, missing or wrong password) is an error text that names the archive.
class ZipArchiveReader {
 public:
  // Opens `path`. `password` is used for encrypted members; it may be empty when none is.
  static Result<ZipArchiveReader> Open(const std::filesystem::path& path,
                                       std::string_view password = {});

  ZipArchiveReader(ZipArchiveReader&&) noexcept;
  ZipArchiveReader& operator=(ZipArchiveReader&&) noexcept;
  ~ZipArchiveReader();

  // The members in the order of the archive's directory.
  const std::vector<ZipEntry>& Entries() const { return entries_; }
  bool Contains(std::string_view name) const;
  // A member's content. Names match exactly (case counts). Fails for a folder.
  Result<std::string> ReadText(std::string_view name) const;
  Result<std::vector<std::uint8_t>> ReadBytes(std::string_view name) const;

 private:
  struct Closer {
    void operator()(zip* archive) const;
  };
  ZipArchiveReader(std::unique_ptr<zip, Closer> archive, std::filesystem::path path);

  std::unique_ptr<zip, Closer> archive_;
  std::filesystem::path path_;
  std::vector<ZipEntry> entries_;
};

// Opens `archive`, reads one member as text and closes the archive again.
Result<std::string> ReadZipText(const std::filesystem::path& archive, std::string_view member,
                                std::string_view password = {});

// Collects members, then writes them as one archive. Members are compressed with deflate and
// stored in the order they were added. A member with a password is encrypted with AES-256.
class ZipArchiveWriter {
 public:
  // True when the installed libzip can encrypt and decrypt AES-256 members.
  static bool AesSupported();

  // Each Add fails, adding nothing, for an empty name, a name starting with '/', a name that is
  // not UTF-8 or is already taken, or a password when AES-256 is not supported.
  Status AddText(std::string_view name, std::string_view text, std::string_view password = {});
  Status AddBytes(std::string_view name, std::span<const std::uint8_t> bytes,
                  std::string_view password = {});
  // The file is read when the archive is written; it must be a readable file now.
  Status AddFile(std::string_view name, const std::filesystem::path& source,
                 std::string_view password = {});
  // A folder entry; a '/' is appended when missing.
  Status AddFolder(std::string_view name);

  std::size_t size() const { return members_.size(); }

  // Builds the archive and writes it through WriteFileAtomically: on any failure (a source file
  // gone, a full disk, a target that is a folder) an existing file at `target` stays intact.
  Status WriteTo(const std::filesystem::path& target) const;

 private:
  struct Member {
    std::string name;
    std::string data;              // content of text and byte members
    std::filesystem::path source;  // file members, read at write time
    bool is_folder = false;
    std::string password;
  };
  Status Check(std::string_view name, std::string_view password) const;

  std::vector<Member> members_;
};

}  // namespace support
