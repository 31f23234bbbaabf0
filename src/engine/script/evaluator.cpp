// This file contains the expression evaluator and the date functions of scripts.
#include "engine/script/evaluator.h"

#include <cctype>
#include <cmath>

#include "support/text.h"
#include "support/time.h"

namespace engine {
namespace {

support::Error ErrorAt(const Expression& expression, const std::string& message) {
  return support::Error{"line " + std::to_string(expression.line) + ": " + message,
                        expression.line, 0};
}

// A text literal argument's value, or nullptr when the argument is not one.
const std::string* LiteralText(const Expression& expression) {
  return expression.kind == Expression::Kind::kText ? &expression.text : nullptr;
}

double DateValue(const Value& y, const Value& m, const Value& d) {
  if (y.kind != Value::Kind::kNumber || m.kind != Value::Kind::kNumber ||
      d.kind != Value::Kind::kNumber) {
    return kSystemMissing;
  }
  const auto year = static_cast<int64_t>(y.number);
  const int month = static_cast<int>(m.number);
  const int day = static_cast<int>(d.number);
  if (!support::IsValidDate(year, month, day)) return kSystemMissing;
  return static_cast<double>(support::DaysFromCivil(year, month, day) * support::kSecondsPerDay);
}

bool SameValue(const Value& a, const Value& b) {
  if (a.kind == Value::Kind::kMissing || b.kind == Value::Kind::kMissing) return false;
  if (a.kind == b.kind) {
    return a.kind == Value::Kind::kNumber ? a.number == b.number : a.text == b.text;
  }
  const Value& text = a.kind == Value::Kind::kText ? a : b;
  const Value& number = a.kind == Value::Kind::kNumber ? a : b;
  auto parsed = support::ParseNumber(support::Trim(text.text));
  return parsed && *parsed == number.number;
}

Value FieldValue(const Table& table, const std::string& name, std::size_t row) {
  auto index = table.model.Find(name);
  if (!index) return Value::Missing();
  const Column& column = table.columns[*index];
  if (column.IsMissing(row)) return Value::Missing();
  switch (column.storage()) {
    case Storage::kInteger: return Value::Number(column.Int(row));
    case Storage::kReal: return Value::Number(column.Real(row));
    case Storage::kString: return Value::Text(column.Text(row));
  }
  return Value::Missing();
}

Value ToTimestamp(const Expression& call, const Table& table, std::size_t row) {
  const Value value = Evaluate(call.arguments[0], table, row);
  if (value.kind != Value::Kind::kText) return value;  // numbers are timestamps already
  const Value base = Evaluate(call.arguments.back(), table, row);
  const std::string text(support::Trim(value.text));
  if (text.empty()) return Value::Missing();
  // Arguments 1 .. n-3 are the patterns; the last two are the locale and the base date.
  for (std::size_t i = 1; i + 2 < call.arguments.size(); ++i) {
    bool has_date = false;
    auto format = ConvertDatePattern(call.arguments[i].text, &has_date);
    if (!format) continue;
    auto seconds = support::ParseTime(text, *format);
    if (!seconds) continue;
    double result = static_cast<double>(*seconds);
    if (!has_date && base.kind == Value::Kind::kNumber && base.number != kSystemMissing) {
      result += base.number;
    }
    return Value::Number(result);
  }
  return Value::Missing();
}

Value Format(const Expression& call, const Table& table, std::size_t row) {
  const Value value = Evaluate(call.arguments[0], table, row);
  if (value.kind != Value::Kind::kNumber) return value;
  auto format = ConvertDatePattern(call.arguments[1].text, nullptr);
  if (!format) return Value::Missing();
  return Value::Text(
      support::FormatTime(static_cast<int64_t>(std::floor(value.number)), *format));
}

}  // namespace

support::Result<std::string> ConvertDatePattern(const std::string& pattern, bool* has_date) {
  std::string out;
  bool date = false;
  for (std::size_t i = 0; i < pattern.size();) {
    const char c = pattern[i];
    if (c == '\'') {
      const std::size_t close = pattern.find('\'', i + 1);
      if (close == std::string::npos) {
        return support::Error{"the pattern \"" + pattern + "\" has an unclosed quote"};
      }
      if (close == i + 1) out += '\'';
      for (std::size_t k = i + 1; k < close; ++k) out += pattern[k] == '%' ? "%%" : std::string(1, pattern[k]);
      i = close + 1;
      continue;
    }
    if (!std::isalpha(static_cast<unsigned char>(c))) {
      out += c == '%' ? "%%" : std::string(1, c);
      ++i;
      continue;
    }
    std::size_t run = 1;
    while (i + run < pattern.size() && pattern[i + run] == c) ++run;
    switch (c) {
      case 'y': out += run == 2 ? "%y" : "%Y"; date = true; break;
      case 'M': out += run <= 2 ? "%m" : run == 3 ? "%b" : "%B"; date = true; break;
      case 'd': out += "%d"; date = true; break;
      case 'D': out += "%j"; date = true; break;
      case 'H': out += "%H"; break;
      case 'm': out += "%M"; break;
      case 's': out += "%S"; break;
      case 'E': out += run <= 3 ? "%a" : "%A"; break;
      default:
        return support::Error{"the pattern \"" + pattern + "\" has the unknown letter '" +
                              std::string(1, c) + "'"};
    }
    i += run;
  }
  if (has_date != nullptr) *has_date = date;
  return out;
}

support::Status CheckExpression(const Expression& expression, const DataModel& model) {
  switch (expression.kind) {
    case Expression::Kind::kText:
    case Expression::Kind::kNumber:
      return {};
    case Expression::Kind::kField:
      if (!model.Find(expression.text)) {
        return ErrorAt(expression, "the field '" + expression.text + "' is not in the data");
      }
      return {};
    case Expression::Kind::kMatch:
      for (const MatchCase& match_case : expression.cases) {
        for (const Expression* part :
             {match_case.left.get(), match_case.right.get(), match_case.result.get()}) {
          if (part == nullptr) continue;
          if (auto status = CheckExpression(*part, model); !status) return status;
        }
      }
      return {};
    case Expression::Kind::kCall:
      break;
  }
  for (const Expression& argument : expression.arguments) {
    if (auto status = CheckExpression(argument, model); !status) return status;
  }
  const std::string& name = expression.text;
  const auto& arguments = expression.arguments;
  if (name == "date") {
    if (arguments.size() != 3) return ErrorAt(expression, "date takes a year, a month and a day");
    return {};
  }
  if (name == "toTimestamp") {
    if (arguments.size() < 4) {
      return ErrorAt(expression,
                     "toTimestamp takes a value, one or more patterns, a locale and a base date");
    }
    for (std::size_t i = 1; i + 1 < arguments.size(); ++i) {
      if (LiteralText(arguments[i]) == nullptr) {
        return ErrorAt(expression, "the patterns and the locale of toTimestamp must be texts");
      }
    }
    for (std::size_t i = 1; i + 2 < arguments.size(); ++i) {
      if (auto format = ConvertDatePattern(arguments[i].text, nullptr); !format) {
        return ErrorAt(expression, format.message());
      }
    }
    return {};
  }
  if (name == "format") {
    if (arguments.size() != 3 || !LiteralText(arguments[1]) || !LiteralText(arguments[2])) {
      return ErrorAt(expression, "format takes a value, a pattern text and a locale text");
    }
    if (auto format = ConvertDatePattern(arguments[1].text, nullptr); !format) {
      return ErrorAt(expression, format.message());
    }
    return {};
  }
  return ErrorAt(expression, "unknown function '" + name + "'");
}

Value Evaluate(const Expression& expression, const Table& table, std::size_t row) {
  switch (expression.kind) {
    case Expression::Kind::kText: return Value::Text(expression.text);
    case Expression::Kind::kNumber: return Value::Number(expression.number);
    case Expression::Kind::kField: return FieldValue(table, expression.text, row);
    case Expression::Kind::kMatch:
      for (const MatchCase& match_case : expression.cases) {
        if (!match_case.left || SameValue(Evaluate(*match_case.left, table, row),
                                          Evaluate(*match_case.right, table, row))) {
          return Evaluate(*match_case.result, table, row);
        }
      }
      return Value::Missing();
    case Expression::Kind::kCall:
      break;
  }
  const auto& arguments = expression.arguments;
  if (expression.text == "date" && arguments.size() == 3) {
    const double value = DateValue(Evaluate(arguments[0], table, row),
                                   Evaluate(arguments[1], table, row),
                                   Evaluate(arguments[2], table, row));
    return value == kSystemMissing ? Value::Missing() : Value::Number(value);
  }
  if (expression.text == "toTimestamp" && arguments.size() >= 4) {
    return ToTimestamp(expression, table, row);
  }
  if (expression.text == "format" && arguments.size() == 3) return Format(expression, table, row);
  return Value::Missing();
}

}  // namespace engine
