// This file contains print formats: their integer codes, their texts ("F8.2", "DATE11"), and the
// printing and reading of values in them. The dataset, the module and the engine all print values
// through it, so a value reads the same wherever it is shown.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace support {

// Format codes. Codes are the host's enumeration values and stay fixed: files and the module
// compare them as numbers.
namespace fmt {
inline constexpr int kA = 1;        // string
inline constexpr int kAHex = 2;     // string shown as hexadecimal digits, two per byte
inline constexpr int kComma = 3;    // 1,234.50
inline constexpr int kDollar = 4;   // $1,234.50
inline constexpr int kF = 5;        // 1234.50
inline constexpr int kE = 17;       // 1.23E+03
inline constexpr int kDate = 20;    // dd-MMM-yyyy
inline constexpr int kTime = 21;    // hh:mm:ss, a duration
inline constexpr int kDateTime = 22;  // dd-MMM-yyyy hh:mm:ss
inline constexpr int kADate = 23;   // mm/dd/yyyy
inline constexpr int kJDate = 24;   // yyyyddd
inline constexpr int kDTime = 25;   // dd hh:mm:ss, a duration in days
inline constexpr int kWkDay = 26;   // weekday name of 1..7 (1 Sunday); not a date
inline constexpr int kMonth = 27;   // month name of 1..12; not a date
inline constexpr int kMoYr = 28;    // MMM yyyy
inline constexpr int kQYr = 29;     // q Q yyyy
inline constexpr int kWkYr = 30;    // ww WK yyyy
inline constexpr int kPct = 31;     // 12.50%
inline constexpr int kDot = 32;     // 1.234,50
inline constexpr int kEDate = 38;   // dd.mm.yyyy
inline constexpr int kSDate = 39;   // yyyy/mm/dd
inline constexpr int kYmdHms = 42;  // yyyy-mm-dd hh:mm:ss
inline constexpr int kMTime = 43;   // mm:ss, a duration in minutes
}  // namespace fmt

struct PrintFormat {
  int type = fmt::kF;
  int width = 8;
  int decimals = 2;

  friend bool operator==(const PrintFormat&, const PrintFormat&) = default;
};

// A date or time format: 20 to 30, 38, 39, 42 and 43, but not 26 (WKDAY) or 27 (MONTH).
bool IsDateFormat(int type);
// 1 (A) and 2 (AHEX).
bool IsStringFormat(int type);
// A date or time format whose values carry a time of day or a duration (TIME, DATETIME, DTIME,
// YMDHMS, MTIME): these take decimals for fractions of a second.
bool IsTimeFormat(int type);
bool IsKnownFormat(int type);
// The name of a code ("DATETIME"); "" for an unknown code.
const char* FormatName(int type);
// The code of a name, any case; 0 for none.
int FormatTypeFromName(std::string_view name);

enum class FormatProblem { kNone, kSyntax, kUnknownName, kBadWidth, kBadDecimals };

// The outcome of reading or checking a format: the format, or the problem with, for a width or
// decimals problem, the range allowed (`low` .. `high`).
struct FormatCheck {
  std::optional<PrintFormat> format;
  FormatProblem problem = FormatProblem::kNone;
  int low = 0;
  int high = 0;
};

// Reads a format text: a name, then a width, then "." and decimals: "F8.2", "A10", "DATE11",
// "DATETIME23.2", any case, blanks around. A name alone takes its default width ("DATE" is
// DATE11, "F" is F8.2). AHEX widths are even.
FormatCheck ParseFormat(std::string_view text);
// Checks a format built in code against the same limits.
FormatCheck CheckFormat(const PrintFormat& format);
// The default format of a code (F8.2, DATE11, DATETIME20, A8, ...).
PrintFormat DefaultFormat(int type);
// "F8.2", "A10", "DATE11", "TIME11.2".
std::string FormatText(const PrintFormat& format);

// A number printed in a numeric, date or time format, without padding. System-missing and
// non-finite values give "". A number too wide for the width prints in E notation when that
// fits, else as asterisks; a date beyond the calendar's range prints as asterisks; a WKDAY or
// MONTH value outside 1..7 or 1..12 gives "". A string format prints the shortest number text.
std::string FormatNumber(double value, const PrintFormat& format);

// Reads a text written in a numeric, date or time format. Date formats also take ISO 8601 texts
// ("2015-03-01", "2015-03-01 10:20:30"); two-digit years are 1969..2068; month names are
// English, full or three letters, any case; WKDAY and MONTH take names or numbers.
// `decimal_point` applies to F and E ('.' or ','). nullopt when the text does not read.
std::optional<double> ParseFormatted(std::string_view text, const PrintFormat& format,
                                     char decimal_point = '.');

// Bytes as hexadecimal digits ("AB" gives "4142"), and back; nullopt for an odd count of digits
// or a character that is no hexadecimal digit.
std::string HexText(std::string_view bytes);
std::optional<std::string> FromHexText(std::string_view text);

}  // namespace support
