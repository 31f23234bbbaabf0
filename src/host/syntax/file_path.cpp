// This file contains the expansion of paths written in command syntax.
#include "host/syntax/file_path.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "host/messages/parser_message.h"
#include "support/run_files.h"
#include "support/temp_file.h"

namespace host {
namespace fs = std::filesystem;

std::string TempFolder() { return support::BaseTempFolder().string(); }

bool ExpandUserPath(const std::string& raw, std::string& out) {
  if (raw.empty() || raw.find('\0') != std::string::npos)
    return false;
  fs::path path;
  if (raw == "~" || raw.rfind("~/", 0) == 0) {
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
      return false;
    path = fs::path(home) / raw.substr(raw.size() > 2 ? 2 : raw.size());
  } else if (raw.size() > 2 && raw[0] == '*' && (raw[1] == '/' || raw[1] == '\\')) {
    path = fs::path(TempFolder()) / raw.substr(2);
  } else {
    path = raw;
  }
  if (path.is_relative()) {
    std::error_code error;
    const fs::path current = fs::current_path(error);
    if (error)
      return false;
    path = current / path;
  }
  std::string result = path.lexically_normal().string();
  // "dir/" normalises to "dir/"; a path to a file never ends in a separator.
  while (result.size() > 1 && result.back() == '/')
    result.pop_back();
  out = std::move(result);
  return true;
}

bool IsReadableFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(support::ReadPath(path), error);
  return !error && fs::exists(status) && !fs::is_directory(status);
}

bool IsWritableLocation(const std::string& path) {
  std::error_code error;
  if (fs::is_directory(path, error))
    return false;
  fs::path folder = fs::path(path).parent_path();
  if (folder.empty())
    folder = ".";
  return fs::is_directory(folder, error) && !error;
}

bool CheckCommandFile(const std::string& path, bool for_output) {
  if (!(for_output ? IsWritableLocation(path) : IsReadableFile(path))) return false;
  // The run learns what the command reads and writes before anything runs, so that an output
  // never replaces an input and an unwritable folder is found now, not after the work.
  support::RunFiles* run = support::RunFiles::Current();
  if (run == nullptr) return true;
  const support::Status declared = for_output
                                       ? run->AddOutput(path, "a file this command writes")
                                       : run->AddInput(path, "a file this command reads");
  if (!declared) {
    ParserMessage messages;
    messages.HostError("FILE_REFUSED_KEY", {declared.message()});
  }
  return declared.ok();
}

bool IsValidDatasetName(const std::string& name) {
  if (name.empty() || name.back() == '.')
    return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '@' || c == '#' ||
                        c == '$' || c >= 0x80;
    const bool part = letter || (c >= '0' && c <= '9') || c == '_' || c == '.';
    if (i == 0 ? !letter : !part)
      return false;
  }
  return true;
}

} // namespace host

std::string GetExtendFilePath(const std::string& path, bool mustExist, bool /*reserved*/,
                              bool folderMustExist) {
  std::string expanded;
  if (!host::ExpandUserPath(path, expanded)) return {};
  if (mustExist && !host::CheckCommandFile(expanded, false)) return {};
  if (folderMustExist && !host::CheckCommandFile(expanded, true)) return {};
  return expanded;
}
