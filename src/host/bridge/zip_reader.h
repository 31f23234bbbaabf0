// This file contains ZipReader: members of a zip archive (a model system, a result archive) read
// as text, one at a time, as the module walks them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "support/zip_archive.h"

class ZipReader {
 public:
  // Opens the archive. When that fails every operation answers false and Error() says why.
  explicit ZipReader(const std::string& path);

  bool IsOpen() const { return archive_.has_value(); }
  const std::string& Error() const { return error_; }

  // Makes the member of that exact name current. False when there is none.
  bool GotoFile(const std::string& name);
  // The current member's content. False, with `text` untouched, when there is no current member,
  // it is a folder or it cannot be read.
  bool ExportString(std::string& text);
  // The first member, then the ones after it, in the archive's order; each becomes current.
  // False, with the outputs untouched, when there is none (left).
  bool GetFirst(std::string& name, bool& is_folder);
  bool GetNext(std::string& name, bool& is_folder);

 private:
  bool Select(std::size_t index, std::string& name, bool& is_folder);

  std::optional<support::ZipArchiveReader> archive_;
  std::string error_;
  std::optional<std::size_t> current_;
};
