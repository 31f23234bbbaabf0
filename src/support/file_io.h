// This file contains whole-file reading and the atomic file writer that every file output of
// the system goes through, so that a failed write never damages the user's existing file.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "support/result.h"

namespace support {

// Reads a whole file as bytes. Fails with the path and the system's reason ("No such file or
// directory") when the file is missing, is a folder or cannot be read.
Result<std::string> ReadFileToString(const std::filesystem::path& path);

// Writes `bytes` as the new content of `target`: first into a temporary file in the same folder,
// flushed to disk, then renamed over `target`. On any failure the temporary file is removed and
// `target` keeps its old content (or stays absent). An existing file keeps its permissions; a
// symbolic link is followed, so the file it points to is replaced. Fails when `target` is a
// folder, its folder is missing or not writable, or the disk is full.
Status WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

// Same, for content that a callee writes by path (a library that opens the file itself).
// `produce` gets the path of an empty temporary file in the target's folder and may replace
// or fill it; the rename happens only when it returns success and the file is then there.
Status WriteFileAtomically(const std::filesystem::path& target,
                           const std::function<Status(const std::filesystem::path&)>& produce);

}  // namespace support
