// This file contains the decoding of data files that are not UTF-8: latin-1 for a text that is
// not UTF-8, or the encoding a dictionary names for the whole file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// Each byte as the character of that code (ISO-8859-1), written in UTF-8.
std::string Latin1ToUtf8(std::string_view bytes);

// True for the names of UTF-8 ("UTF-8", "utf8", any case): such a file needs no conversion.
bool IsUtf8Name(std::string_view encoding);

// True when the system's converter knows `encoding` ("latin1", "windows-1252", "Shift_JIS", ...).
bool IsKnownEncoding(const std::string& encoding);

// The bytes of a file in `encoding`, converted to UTF-8. On failure `bad_offset` is the offset
// of the first byte that does not read in that encoding, and the result is empty.
std::optional<std::string> DecodeToUtf8(std::string_view bytes, const std::string& encoding,
                                        std::size_t& bad_offset);

}  // namespace host
