// This file contains the host's form of a file path inside an input or output configuration.
#pragma once

#include <string>

// "<scheme>://" then the path with every backslash turned into "/", with one "/" put before a
// path that does not begin with one ("C:\a" gives "file:///C:/a", "/tmp/a" "file:///tmp/a").
// Nothing is escaped. An empty scheme gives the converted path alone.
std::string NormalizeAslPathU(const std::string& path, const std::string& scheme);
