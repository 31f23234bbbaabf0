// This file contains the host's file names and the fetch of a file to a local path.
#include "host/bridge/ext_name_str.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace {

std::string LocalPath(const std::string& path) {
  constexpr std::string_view kScheme = "file://";
  if (path.rfind(kScheme, 0) != 0)
    return path;
  std::string rest = path.substr(kScheme.size());
  // "file:///C:/x" carries a drive after the third slash; "file:///tmp/x" an absolute path.
  if (rest.size() >= 4 && rest[0] == '/' && rest[2] == ':' && rest[3] == '/')
    rest.erase(0, 1);
  return rest;
}

std::ios_base::openmode Mode(int flags) {
  std::ios_base::openmode mode{};
  if (flags & ExtNameStr::kIn)
    mode |= std::ios_base::in;
  if (flags & ExtNameStr::kOut)
    mode |= std::ios_base::out;
  if (flags & ExtNameStr::kAtEnd)
    mode |= std::ios_base::ate;
  if (flags & ExtNameStr::kAppend)
    mode |= std::ios_base::app;
  if (flags & ExtNameStr::kTruncate)
    mode |= std::ios_base::trunc;
  if (flags & ExtNameStr::kBinary)
    mode |= std::ios_base::binary;
  return mode;
}

template <typename Stream>
bool OpenStream(const std::string& path, Stream& stream, std::ios_base::openmode mode) {
  if (path.empty())
    return false;
  if (stream.is_open())
    stream.close();
  stream.clear();
  stream.open(path, mode);
  return stream.is_open();
}

} // namespace

void ExtNameStr::SetGeneric(const std::string& path) {
  path_ = LocalPath(path);
}

bool ExtNameStr::remove() {
  if (path_.empty())
    return false;
  std::error_code ec;
  if (std::filesystem::is_directory(path_, ec))
    return false;
  std::filesystem::remove(path_, ec);
  return !ec && !std::filesystem::exists(std::filesystem::symlink_status(path_, ec));
}

int ExtNameStr::Access(int mode) const {
  if (path_.empty())
    return 1;
  return ::access(path_.c_str(), mode) == 0 ? 0 : 1;
}

bool ExtNameStr::Open(std::fstream& stream, int flags) const {
  return OpenStream(path_, stream, Mode(flags));
}

bool ExtNameStr::Open(std::ofstream& stream, int flags) const {
  return OpenStream(path_, stream, Mode(flags) | std::ios_base::out);
}

bool ExtNameStr::Open(std::ifstream& stream, int flags) const {
  return OpenStream(path_, stream, Mode(flags) | std::ios_base::in);
}

std::string FetchFile::fetch(const std::string& path, bool /*binary*/, bool /*keep*/) {
  const std::string local = LocalPath(path);
  if (local.empty())
    return {};
  std::error_code ec;
  if (!std::filesystem::is_regular_file(local, ec))
    return {};
  return ::access(local.c_str(), R_OK) == 0 ? local : std::string();
}
