// This file contains NormalizeAslPathU, the path form the engine's stages read their files by.
#include "host/bridge/asl_path.h"

std::string NormalizeAslPathU(const std::string& path, const std::string& scheme) {
  std::string slashed = path;
  for (char& c : slashed) {
    if (c == '\\')
      c = '/';
  }
  if (scheme.empty())
    return slashed;
  std::string uri = scheme + "://";
  if (slashed.empty() || slashed.front() != '/')
    uri += '/';
  return uri + slashed;
}
