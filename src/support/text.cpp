// This file contains the shared text utilities.
#include "support/text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

namespace support {
namespace {

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsSpaceAscii(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

}  // namespace

std::string ToUpperAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = UpperAscii(c);
  return out;
}

std::string ToLowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = LowerAscii(c);
  return out;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

std::string_view Trim(std::string_view text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && IsSpaceAscii(text[begin])) ++begin;
  while (end > begin && IsSpaceAscii(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (true) {
    std::size_t pos = text.find(separator, start);
    if (pos == std::string_view::npos) {
      pieces.emplace_back(text.substr(start));
      return pieces;
    }
    pieces.emplace_back(text.substr(start, pos - start));
    start = pos + 1;
  }
}

std::vector<std::string> SplitTrimmed(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (const std::string& piece : Split(text, separator)) {
    std::string_view trimmed = Trim(piece);
    if (!trimmed.empty()) pieces.emplace_back(trimmed);
  }
  return pieces;
}

std::string Join(const std::vector<std::string>& pieces, std::string_view separator) {
  std::string out;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0) out += separator;
    out += pieces[i];
  }
  return out;
}

std::string FormatNumber(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  if (value == 0) return "0";  // also -0: a sign on zero only confuses readers

  // The shortest round-trip digits come from to_chars in scientific form ("d.ddde±xx"); they
  // are then laid out in plain notation where that stays readable.
  char buffer[64];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value,
                                 std::chars_format::scientific);
  if (ec != std::errc()) return "NaN";  // cannot happen with 64 bytes; keeps the contract total
  std::string_view sci(buffer, static_cast<std::size_t>(end - buffer));

  std::string out;
  if (sci.front() == '-') {
    out += '-';
    sci.remove_prefix(1);
  }
  std::size_t e_pos = sci.find('e');
  std::string digits;
  for (char c : sci.substr(0, e_pos)) {
    if (c != '.') digits += c;
  }
  int exponent = std::atoi(std::string(sci.substr(e_pos + 1)).c_str());
  const int n = static_cast<int>(digits.size());

  if (exponent >= 21 || exponent < -6) {
    out += digits[0];
    if (n > 1) {
      out += '.';
      out.append(digits, 1);
    }
    out += exponent < 0 ? "e-" : "e+";
    out += std::to_string(std::abs(exponent));
  } else if (exponent >= n - 1) {
    out += digits;
    out.append(static_cast<std::size_t>(exponent - (n - 1)), '0');
  } else if (exponent >= 0) {
    out.append(digits, 0, static_cast<std::size_t>(exponent + 1));
    out += '.';
    out.append(digits, static_cast<std::size_t>(exponent + 1));
  } else {
    out += "0.";
    out.append(static_cast<std::size_t>(-exponent - 1), '0');
    out += digits;
  }
  return out;
}

std::optional<double> ParseNumber(std::string_view text) {
  if (text.empty() || text.front() == '+') return std::nullopt;
  double value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

std::size_t FindInvalidUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t size = text.size();
  std::size_t i = 0;
  while (i < size) {
    unsigned char lead = bytes[i];
    if (lead < 0x80) {
      ++i;
      continue;
    }
    // Ranges of the second byte follow the well-formed table of Unicode (D92), which rules out
    // overlong forms, surrogates and code points past U+10FFFF.
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    } else {
      return i;
    }
    if (i + length > size) return i;
    if (bytes[i + 1] < low || bytes[i + 1] > high) return i;
    for (std::size_t k = 2; k < length; ++k) {
      if (bytes[i + k] < 0x80 || bytes[i + k] > 0xBF) return i;
    }
    i += length;
  }
  return std::string_view::npos;
}

TextPosition PositionAt(std::string_view text, std::size_t offset) {
  TextPosition position;
  if (offset > text.size()) offset = text.size();
  for (std::size_t i = 0; i < offset; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\n') {
      ++position.line;
      position.column = 1;
    } else if ((c & 0xC0) != 0x80) {
      ++position.column;  // continuation bytes belong to the character already counted
    }
  }
  return position;
}

}  // namespace support
