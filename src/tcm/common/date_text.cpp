// This file contains the text forms of dates and times in syntax.
#include "tcm/common/date_text.h"

#include <cstddef>

#include "host/messages/parser_message.h"
#include "support/time.h"

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AllDigits(const std::string& text) {
  for (char c : text) {
    if (!IsDigit(c)) return false;
  }
  return true;
}

// A month, day, minute or second field: one or two digits whose value lies in [low, high].
// A single digit gets its leading zero so that every normalised text has a fixed layout.
bool PadField(const std::string& field, int low, int high, std::string& out) {
  if (field.empty() || field.size() > 2 || !AllDigits(field)) return false;
  const int value = field.size() == 1 ? field[0] - '0' : (field[0] - '0') * 10 + (field[1] - '0');
  if (value < low || value > high) return false;
  out = field.size() == 1 ? "0" + field : field;
  return true;
}

}  // namespace

bool NormaliseDate(const std::string& text, std::string& out) {
  const std::size_t first = text.find('-');
  if (first == std::string::npos || first + 1 == text.size()) return false;
  const std::size_t second = text.find('-', first + 1);
  if (second != std::string::npos && second + 1 == text.size()) return false;

  const std::string year = text.substr(0, first);
  if (year.size() != 4 || !AllDigits(year)) return false;
  const std::string month_text = second == std::string::npos
                                     ? text.substr(first + 1)
                                     : text.substr(first + 1, second - first - 1);
  const std::string day_text = second == std::string::npos ? "01" : text.substr(second + 1);

  // Month and day are not checked against each other: the conversion of the whole date is the
  // place that knows the calendar.
  std::string month;
  std::string day;
  if (!PadField(month_text, 1, 12, month) || !PadField(day_text, 1, 31, day)) return false;
  out = year + "-" + month + "-" + day;
  return true;
}

bool NormaliseTime(const std::string& text, std::string& out) {
  const std::size_t first = text.find(':');
  // Nothing after the only colon: there is no time to normalise and the caller keeps its text.
  if (first == std::string::npos || first + 1 == text.size()) return true;
  const std::size_t second = text.find(':', first + 1);
  if (second != std::string::npos && second + 1 == text.size()) return false;

  // The hour is left as written: its range depends on whether the time is a clock time or a
  // duration, which only the conversion knows.
  const std::string hour = text.substr(0, first);
  const std::string minute_text = second == std::string::npos
                                      ? text.substr(first + 1)
                                      : text.substr(first + 1, second - first - 1);
  const std::string second_text = second == std::string::npos ? "00" : text.substr(second + 1);

  std::string minute;
  std::string seconds;
  if (!PadField(minute_text, 0, 59, minute) || !PadField(second_text, 0, 59, seconds)) {
    return false;
  }
  out = hour + ":" + minute + ":" + seconds;
  return true;
}

bool ParseTimeText(const std::string& text, std::string& normalised, int& kind,
                   ParserMessage* messages, const std::string& subcommand) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!IsDigit(c) && c != ' ' && c != ':' && c != '-') {
      if (messages != nullptr) messages->SyntaxErrorInParam(text, "TIMES", subcommand);
      return false;
    }
  }

  const std::size_t blank = text.find(' ');
  if (blank != std::string::npos) {
    std::string date;
    std::string time;
    if (!NormaliseDate(text.substr(0, blank), date) ||
        !NormaliseTime(text.substr(blank + 1), time)) {
      return false;
    }
    normalised = date + " " + time;
    kind = kDateTimeKind;
    return true;
  }
  if (text.find('-') != std::string::npos) {
    std::string date;
    if (!NormaliseDate(text, date)) return false;
    normalised = date + " 00:00:00";
    kind = kDateKind;
    return true;
  }
  if (text.find(':') != std::string::npos) {
    std::string time;
    if (!NormaliseTime(text, time)) return false;
    normalised = time;
    kind = kTimeKind;
    return true;
  }
  // Digits only: an hour of one or two digits, or a year of four.
  switch (text.size()) {
    case 1:
      normalised = "0" + text + ":00:00";
      kind = kTimeKind;
      return true;
    case 2:
      if ((text[0] - '0') * 10 + (text[1] - '0') > 23) return false;
      normalised = text + ":00:00";
      kind = kTimeKind;
      return true;
    case 4:
      normalised = text + "-00-00 00:00:00";
      kind = kDateKind;
      return true;
    default:
      return false;
  }
}

std::string FormatTime(int64_t value, int kind) {
  // The text has the fixed layout "yyyy-mm-dd hh:mm:ss": a value whose year needs a sign or a
  // fifth digit cannot be shown in it. Checking the range first also keeps the calendar
  // arithmetic far from overflow.
  static const int64_t kFirst = support::DaysFromCivil(0, 1, 1) * support::kSecondsPerDay;
  static const int64_t kEnd = support::DaysFromCivil(10000, 1, 1) * support::kSecondsPerDay;
  if (value < kFirst || value >= kEnd) return {};
  if (kind == kTimeKind) return support::FormatTime(value, "%H:%M:%S");
  if (kind == kDateKind) return support::FormatTime(value, "%Y-%m-%d");
  return support::FormatTime(value, "%Y-%m-%d %H:%M:%S");
}
