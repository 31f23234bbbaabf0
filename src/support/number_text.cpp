// This file contains number texts: the shortest exact form and a strict reader.
#include "support/number_text.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace support {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// Checks the shape [sign] digits [point digits] [e [sign] digits] with at least one digit in
// the mantissa; gives the positions of the point and of the exponent (npos when absent).
bool CheckShape(std::string_view text, char decimal_point, size_t& point, size_t& exponent) {
  point = std::string_view::npos;
  exponent = std::string_view::npos;
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  int mantissa_digits = 0;
  while (i < text.size() && IsDigit(text[i])) {
    ++i;
    ++mantissa_digits;
  }
  if (i < text.size() && text[i] == decimal_point) {
    point = i++;
    while (i < text.size() && IsDigit(text[i])) {
      ++i;
      ++mantissa_digits;
    }
  }
  if (mantissa_digits == 0) return false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    exponent = i++;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    int exponent_digits = 0;
    while (i < text.size() && IsDigit(text[i])) {
      ++i;
      ++exponent_digits;
    }
    if (exponent_digits == 0) return false;
  }
  return i == text.size();
}

}  // namespace

std::string ShortestNumberText(double value) {
  if (!std::isfinite(value) || value == std::numeric_limits<double>::lowest()) return {};
  if (value == 0.0) return "0";  // no "-0"
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

bool ReadNumberText(std::string_view text, double& value, char decimal_point) {
  text = TrimBlanks(text);
  size_t point = 0;
  size_t exponent = 0;
  if (!CheckShape(text, decimal_point, point, exponent)) return false;
  std::string normal(text);
  if (normal[0] == '+') normal.erase(0, 1);
  if (decimal_point != '.') {
    for (char& c : normal) {
      if (c == decimal_point) c = '.';
    }
  }
  double parsed = 0.0;
  const auto result = std::from_chars(normal.data(), normal.data() + normal.size(), parsed);
  if (result.ec != std::errc() || result.ptr != normal.data() + normal.size()) return false;
  if (!std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

int DecimalsWritten(std::string_view text, char decimal_point) {
  text = TrimBlanks(text);
  size_t point = 0;
  size_t exponent = 0;
  if (!CheckShape(text, decimal_point, point, exponent)) return 0;
  const size_t mantissa_end = exponent == std::string_view::npos ? text.size() : exponent;
  long decimals = point == std::string_view::npos ? 0 : static_cast<long>(mantissa_end - point - 1);
  if (exponent != std::string_view::npos) {
    long shift = 0;
    const std::string_view digits = text.substr(exponent + 1);
    const auto result = std::from_chars(digits.data() + (digits[0] == '+' ? 1 : 0),
                                        digits.data() + digits.size(), shift);
    if (result.ec != std::errc()) return 16;
    decimals -= shift;
  }
  if (decimals < 0) return 0;
  return decimals > 16 ? 16 : static_cast<int>(decimals);
}

}  // namespace support
