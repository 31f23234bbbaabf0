// This file contains the small text utilities that every layer shares: ASCII case, trimming,
// splitting and joining, number text, UTF-8 validation and positions in a text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

// ASCII case mapping; bytes outside A-Z / a-z (UTF-8 sequences included) are left as they are.
std::string ToUpperAscii(std::string_view text);
std::string ToLowerAscii(std::string_view text);
// True when both texts are equal after ASCII lower-casing.
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// Removes ASCII white space (space, tab, CR, LF, FF, VT) at both ends.
std::string_view Trim(std::string_view text);

// Splits at every `separator`; empty pieces are kept, so "a,,b" gives three pieces and "" one.
std::vector<std::string> Split(std::string_view text, char separator);
// Same, but drops pieces that are empty after trimming and trims the others.
std::vector<std::string> SplitTrimmed(std::string_view text, char separator);
std::string Join(const std::vector<std::string>& pieces, std::string_view separator);

// The shortest text that reads back as exactly `value`: "1" for 1.0, "0.25", "-3.5", "1e+21",
// "1e-7". Plain notation for 1e-6 <= |value| < 1e21, scientific outside. -0 gives "0"; the
// non-finite values give "NaN", "Infinity", "-Infinity".
std::string FormatNumber(double value);
// Reads a whole text written by FormatNumber or in any usual decimal or scientific form. No
// surrounding white space and no leading '+'. Empty when the text is not a number or is out of
// the range of a double.
std::optional<double> ParseNumber(std::string_view text);

// Offset of the first byte that does not belong to a well-formed UTF-8 sequence (overlong forms,
// surrogates and values past U+10FFFF are ill-formed), or std::string_view::npos.
std::size_t FindInvalidUtf8(std::string_view text);
inline bool IsValidUtf8(std::string_view text) {
  return FindInvalidUtf8(text) == std::string_view::npos;
}

// 1-based line and column of byte `offset` in `text`. Lines end at '\n'; the column counts
// characters (UTF-8 sequences), not bytes. An offset past the end gives the place after the end.
struct TextPosition {
  int line = 1;
  int column = 1;
};
TextPosition PositionAt(std::string_view text, std::size_t offset);

}  // namespace support
