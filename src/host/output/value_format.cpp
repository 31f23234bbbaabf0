// This file contains the printing of values by the output document's formats.
#include "host/output/value_format.h"

#include <cmath>
#include <cstdio>

#include "host/output/number_format.h"

namespace host {

std::string DateText(double seconds, bool with_time) {
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1e14) return ".";
  const long long total = static_cast<long long>(std::floor(seconds));
  long long days = total / 86400;
  long long rest = total % 86400;
  if (rest < 0) {
    rest += 86400;
    --days;
  }
  // Days to a civil date in the proleptic Gregorian calendar, by 400-year eras.
  days += 719468;
  const long long era = (days >= 0 ? days : days - 146096) / 146097;
  const long long doe = days - era * 146097;
  const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  long long year = yoe + era * 400;
  const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const long long mp = (5 * doy + 2) / 153;
  const long long day = doy - (153 * mp + 2) / 5 + 1;
  const long long month = mp < 10 ? mp + 3 : mp - 9;
  if (month <= 2) ++year;
  char buffer[64];
  if (with_time) {
    std::snprintf(buffer, sizeof buffer, "%04lld-%02lld-%02lld %02lld:%02lld:%02lld", year, month,
                  day, rest / 3600, rest / 60 % 60, rest % 60);
  } else {
    std::snprintf(buffer, sizeof buffer, "%04lld-%02lld-%02lld", year, month, day);
  }
  return buffer;
}

std::string FormatValue(double value, const ValueFormat& format) {
  if (std::isnan(value)) return ".";
  using K = ValueFormat::Kind;
  switch (format.kind) {
    case K::Number:
    case K::Text:
      return FormatNumber(value, format.decimals);
    case K::Integer:
      return FormatNumber(value, 0);
    case K::Percent:
      return FormatNumber(value, format.decimals) + "%";
    case K::PValue: {
      const double last = std::pow(10.0, -format.decimals);
      if (value > 0 && value < last) {
        std::string bound = FormatNumber(last, format.decimals);
        if (bound.rfind("0.", 0) == 0) bound.erase(0, 1);
        return "<" + bound;
      }
      return FormatNumber(value, format.decimals);
    }
    case K::Date:
      return DateText(value, false);
    case K::DateTime:
      return DateText(value, true);
  }
  return FormatNumber(value);
}

} // namespace host
