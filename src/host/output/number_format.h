// This file contains the number formatting that every renderer shares, so a value reads the
// same in the HTML, text and JSON forms of a report.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// `value` with `decimals` digits after the point ("1.50" for 1.5 and 2), no thousands
// separators. Negative `decimals` gives the shortest text that reads back as the same double
// (1 not 1.0, 0.25 not 0.250000). Decimals above 20 are taken as 20. A negative zero prints
// without its sign; NaN prints as "." (missing); infinities as "Infinity" and "-Infinity".
std::string FormatNumber(double value, int decimals = -1);

// The text of a cell as it is shown: a number cell's own text when it has one (a date or a
// percent printed by its format), else its number by its decimals; a text cell's text.
std::string FormatCell(const Cell &cell);

// A number cell; a text cell.
Cell NumberCell(double value, int decimals = -1);
Cell TextCell(std::string text);

} // namespace host
