// This file contains the CSV writer: a dataset's cases as text that reads back the same.
#include "host/data/csv_writer.h"

#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include "host/data/number_text.h"
#include "support/time.h"

namespace host {
namespace {

// Calendar values the formats cannot show are written as ISO text; beyond this they are not
// dates any more.
constexpr double kMaxDateSeconds = 1e15;

bool ReadsBackAs(const std::string& text, const PrintFormat& format, double value) {
  if (text.empty() || text.find('*') != std::string::npos) return false;
  const auto parsed = ParseFormatted(text, format);
  return parsed && *parsed == value;
}

// "yyyy-mm-dd", or with the time and as many fraction digits as needed (up to nine).
std::string IsoText(double value) {
  double whole = std::floor(value);
  long long units = std::llround((value - whole) * 1e9);
  if (units >= 1000000000LL) {
    whole += 1.0;
    units = 0;
  }
  const auto seconds = static_cast<int64_t>(whole);
  if (units == 0 && seconds % support::kSecondsPerDay == 0) return support::FormatIsoDate(seconds);
  std::string text = support::FormatIsoDateTime(seconds, ' ');
  if (units != 0) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%09lld", units);
    std::string fraction(digits);
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    text += "." + fraction;
  }
  return text;
}

bool NeedsQuotes(const std::string& text, bool lone_column) {
  if (text.empty()) return lone_column;  // an empty lone cell would read as a blank line
  if (text.front() == ' ' || text.front() == '\t' || text.back() == ' ' || text.back() == '\t') {
    return true;
  }
  return text.find_first_of(",\"\n\r") != std::string::npos;
}

void AppendCell(std::string& row, const std::string& text, bool lone_column) {
  if (!NeedsQuotes(text, lone_column)) {
    row += text;
    return;
  }
  row += '"';
  for (char c : text) {
    if (c == '"') row += '"';
    row += c;
  }
  row += '"';
}

}  // namespace

std::string CsvNumberText(double value, const PrintFormat& format) {
  if (IsSysMiss(value) || !std::isfinite(value)) return {};
  const int type = format.type;
  if (!IsDateFormat(type) && type != fmt::kWkDay && type != fmt::kMonth) {
    return ShortestNumberText(value);
  }
  std::string text = FormatNumber(value, format);
  if (ReadsBackAs(text, format, value)) return text;
  if (IsTimeFormat(type) && type != fmt::kDateTime && type != fmt::kYmdHms) {
    // A duration with more of its fraction: microseconds.
    const PrintFormat wide{type, 40, 6};
    text = FormatNumber(value, wide);
    if (!text.empty() && text.find('*') == std::string::npos) return text;
  } else if (IsDateFormat(type) && std::fabs(value) <= kMaxDateSeconds) {
    return IsoText(value);
  }
  return ShortestNumberText(value);
}

bool WriteCsv(const Dataset& dataset, const std::function<bool(std::string_view)>& sink) {
  const DateDefinition& dates = dataset.GetDateDefinition();
  std::set<int> made;
  for (const auto& part : dates.parts) made.insert(part.variable_index);
  if (dates.date_text_index >= 0) made.insert(dates.date_text_index);
  std::vector<int> columns;
  for (int i = 0; i < dataset.VariableCount(); ++i) {
    if (made.count(i) == 0) columns.push_back(i);
  }
  const bool lone = columns.size() == 1;

  std::string row;
  for (size_t c = 0; c < columns.size(); ++c) {
    if (c > 0) row += ',';
    AppendCell(row, dataset.GetVariable(columns[c]).name, lone);
  }
  row += '\n';
  if (!sink(row)) return false;

  // Rows go out in blocks so a large dataset never sits in memory twice.
  std::string block;
  for (int64_t k = 0; k < dataset.CaseCount(); ++k) {
    for (size_t c = 0; c < columns.size(); ++c) {
      if (c > 0) block += ',';
      const Variable& variable = dataset.GetVariable(columns[c]);
      if (variable.IsString()) {
        const std::string& value = dataset.GetText(k, columns[c]);
        AppendCell(block, variable.format.type == fmt::kAHex ? HexText(value) : value, lone);
      } else {
        AppendCell(block, CsvNumberText(dataset.GetNumber(k, columns[c]), variable.format), lone);
      }
    }
    block += '\n';
    if (block.size() >= 1 << 16) {
      if (!sink(block)) return false;
      block.clear();
    }
  }
  return block.empty() || sink(block);
}

std::string CsvText(const Dataset& dataset) {
  std::string text;
  WriteCsv(dataset, [&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

}  // namespace host
