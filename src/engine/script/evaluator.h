// This file contains the evaluation of function literals over the rows of a table, with the
// functions that expressions may call: toTimestamp, format and date.
#pragma once

#include <string>

#include "engine/data/table.h"
#include "engine/script/ast.h"
#include "support/result.h"

namespace engine {

struct Value {
  enum class Kind { kMissing, kNumber, kText };
  Kind kind = Kind::kMissing;
  double number = 0;
  std::string text;

  static Value Missing() { return {}; }
  static Value Number(double n) { return {Kind::kNumber, n, {}}; }
  static Value Text(std::string t) { return {Kind::kText, 0, std::move(t)}; }
};

// Converts a date pattern of letters ("yyyy-MM-dd HH:mm:ss", text in single quotes taken as it
// stands) to the directives of support::ParseTime/FormatTime. Fails naming a letter it does not
// know. `has_date` tells whether the pattern holds a year, month or day.
support::Result<std::string> ConvertDatePattern(const std::string& pattern, bool* has_date);

// Checks an expression against the fields of `model` before any row is read: every field named
// exists, every function is known and has a usable number of arguments, every pattern converts.
// The error names the line of the expression.
support::Status CheckExpression(const Expression& expression, const DataModel& model);

// The value of `expression` on row `row` of `table`. Only call after CheckExpression passed.
// toTimestamp gives seconds by the local-time rule (missing when no pattern fits a text);
// format gives text (missing for a missing value).
Value Evaluate(const Expression& expression, const Table& table, std::size_t row);

}  // namespace engine
