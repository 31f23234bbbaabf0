// This file contains the value formats of the output document (number, percent, p-value, date
// ...) and the printing of a value by its format, shared by tables and charts.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace host {

struct ValueFormat {
  enum class Kind { Number, Integer, Percent, PValue, Date, DateTime, Text };
  Kind kind = Kind::Number;
  int decimals = -1;  // -1: shortest exact form (Number, Percent); ignored by dates and text
  bool given = false; // false: no format was stated, the value prints in its shortest form
};

// Reads {"type": "number"|"integer"|"percent"|"pvalue"|"date"|"datetime"|"text",
// "decimals": n}. Anything else (absent, not an object, an unknown type) gives a format that is
// not `given`. Decimals are kept within 0..15.
template <class Json>
ValueFormat ReadValueFormat(const Json& node) {
  ValueFormat format;
  if (!node.is_object()) return format;
  const auto type = node.find("type");
  if (type == node.end() || !type->is_string()) return format;
  const std::string name = type->template get<std::string>();
  using K = ValueFormat::Kind;
  if (name == "number") format.kind = K::Number;
  else if (name == "integer") format.kind = K::Integer;
  else if (name == "percent") format.kind = K::Percent;
  else if (name == "pvalue") format.kind = K::PValue;
  else if (name == "date") format.kind = K::Date;
  else if (name == "datetime") format.kind = K::DateTime;
  else if (name == "text") format.kind = K::Text;
  else return format;
  format.given = true;
  const auto decimals = node.find("decimals");
  if (decimals != node.end() && decimals->is_number_integer()) {
    const auto value = decimals->template get<long long>();
    format.decimals = static_cast<int>(value < 0 ? 0 : value > 15 ? 15 : value);
  }
  if (format.kind == K::Integer) format.decimals = 0;
  if (format.kind == K::PValue && format.decimals < 0) format.decimals = 3;
  return format;
}

// A number printed by its format: Number and Integer with their decimals; Percent with a "%"
// (the value is already in percent); PValue with its decimals, a value below the last digit as
// "<.001"; Date and DateTime from seconds since 1970-01-01 00:00:00 as "yyyy-MM-dd" and
// "yyyy-MM-dd hh:mm:ss". NaN (missing) prints ".".
std::string FormatValue(double value, const ValueFormat& format);

// Civil date of a count of seconds since 1970-01-01 00:00:00, no time zone applied.
std::string DateText(double seconds, bool with_time);

} // namespace host
