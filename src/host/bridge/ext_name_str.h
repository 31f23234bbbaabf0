// This file contains the host's file names as the module handles them (ExtNameStr) and the
// fetch of a file to a local path (FetchFile).
#pragma once

#include <fstream>
#include <string>

// A file named by a path, in the platform's form or as a "file://" URI.
class ExtNameStr {
 public:
  // Bits of Open's flags.
  static constexpr int kIn = 1;
  static constexpr int kOut = 2;
  static constexpr int kAtEnd = 4;
  static constexpr int kAppend = 8;
  static constexpr int kTruncate = 16;
  static constexpr int kBinary = 32;

  ExtNameStr() = default;
  explicit ExtNameStr(const std::string& path) { SetGeneric(path); }

  // Takes a path with "/" separators, or a "file://" URI of one.
  void SetGeneric(const std::string& path);
  const std::string& GetPath() const { return path_; }

  // Removes the file. True when it is gone afterwards (also when it was never there); false
  // when it could not be removed or the name is empty or names a folder.
  bool remove();
  // 0 when the file can be reached in `mode` (0 exists, 2 writable, 4 readable, as access(2)
  // takes them); 1 when it is missing or cannot.
  int Access(int mode) const;
  // Opens the file with the flag bits above (34, output in binary, truncates as output does).
  // False when the name is empty or the stream did not open.
  bool Open(std::fstream& stream, int flags) const;
  bool Open(std::ofstream& stream, int flags) const;
  bool Open(std::ifstream& stream, int flags) const;

 private:
  std::string path_;
};

struct FetchFile {
  // A local path for `path` (a path or a "file://" URI): the path itself when it names a readable
  // file, else "". The flags are kept for callers; a local file needs no copy or cache.
  static std::string fetch(const std::string& path, bool binary, bool keep);
};
