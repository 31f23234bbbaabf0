// This file contains the host's conversions between date texts, host date values and the 64-bit
// times of configurations.
#include "host/frame/time_converter.h"

#include <cmath>
#include <optional>
#include <string_view>

#include "host/data/dataset.h"
#include "support/time.h"

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

// Reads `min_digits` to `max_digits` digits at `pos`, advancing it.
std::optional<int64_t> ReadDigits(std::string_view text, size_t& pos, size_t min_digits,
                                  size_t max_digits) {
  size_t count = 0;
  int64_t value = 0;
  while (pos < text.size() && IsDigit(text[pos]) && count < max_digits) {
    value = value * 10 + (text[pos] - '0');
    ++pos;
    ++count;
  }
  if (count < min_digits)
    return std::nullopt;
  return value;
}

// "h:mm" or "h:mm:ss" as seconds since midnight; nullopt unless the whole text is such a time.
std::optional<int64_t> ClockSeconds(std::string_view text) {
  size_t pos = 0;
  const auto hour = ReadDigits(text, pos, 1, 2);
  if (!hour || pos >= text.size() || text[pos] != ':')
    return std::nullopt;
  ++pos;
  const auto minute = ReadDigits(text, pos, 2, 2);
  if (!minute)
    return std::nullopt;
  int64_t second = 0;
  if (pos < text.size() && text[pos] == ':') {
    ++pos;
    const auto read = ReadDigits(text, pos, 2, 2);
    if (!read)
      return std::nullopt;
    second = *read;
  }
  if (pos != text.size() || *hour > 23 || *minute > 59 || second > 59)
    return std::nullopt;
  return *hour * 3600 + *minute * 60 + second;
}

std::optional<int64_t> DateTimeSeconds(std::string_view text) {
  text = Trim(text);
  size_t pos = 0;
  const auto year = ReadDigits(text, pos, 4, 4);
  if (!year || pos >= text.size() || text[pos] != '-')
    return std::nullopt;
  ++pos;
  auto month = ReadDigits(text, pos, 2, 2);
  if (!month || pos >= text.size() || text[pos] != '-')
    return std::nullopt;
  ++pos;
  auto day = ReadDigits(text, pos, 2, 2);
  if (!day)
    return std::nullopt;
  // A year alone is normalised to month and day 00: it means the year's first day.
  if (*month == 0)
    month = 1;
  if (*day == 0)
    day = 1;
  if (!support::IsValidDate(*year, static_cast<int>(*month), static_cast<int>(*day))) {
    return std::nullopt;
  }
  int64_t seconds =
      support::DaysFromCivil(*year, static_cast<int>(*month), static_cast<int>(*day)) *
      support::kSecondsPerDay;
  if (pos == text.size())
    return seconds;
  if (!IsBlank(text[pos]) && text[pos] != 'T')
    return std::nullopt;
  const auto clock = ClockSeconds(Trim(text.substr(pos + 1)));
  if (!clock)
    return std::nullopt;
  return seconds + *clock;
}

} // namespace

double TimeConverter::convertDateFromISOFormatToQUORDouble(const std::string& text) {
  const auto seconds = DateTimeSeconds(text);
  return seconds ? static_cast<double>(*seconds) : 0.0;
}

double TimeConverter::convertTimeFromISOFormatToQUORDouble(const std::string& text) {
  const auto seconds = ClockSeconds(Trim(text));
  return seconds ? static_cast<double>(*seconds) : 0.0;
}

double NumericStorageStatToCF(double value, int /*storage*/) {
  return value;
}

double NumericFormatStatToCF(double value, int /*format*/) {
  return value;
}

int64_t ftisqq(double value) {
  // Beyond 2^62 seconds no calendar date exists; such a value means nothing as a time.
  constexpr double kLimit = 4.6e18;
  if (host::IsSysMiss(value) || !std::isfinite(value) || std::fabs(value) > kLimit)
    return 0;
  return static_cast<int64_t>(std::llround(value));
}
