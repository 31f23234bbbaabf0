// This file contains number texts: the shortest exact form and a strict reader.
#pragma once

#include <string>
#include <string_view>

namespace support {

// The shortest text that reads back as the same double: 1 (not 1.0), 0.25, 1e+20, -3.5.
// System-missing, infinities and NaN give "".
std::string ShortestNumberText(double value);

// Reads the whole text as a number: blanks around it, an optional sign, digits with an optional
// decimal point (`decimal_point`, '.' or ','), and an optional exponent ("1e5", "2.5E-3").
// False for anything else, also for "inf", "nan", hexadecimal forms, and numbers beyond the
// range of a double.
bool ReadNumberText(std::string_view text, double& value, char decimal_point = '.');

// Digits after the decimal point as written ("2.50" has 2; "1.5e-3" has 4), at most 16; 0 for
// a text that ReadNumberText does not take.
int DecimalsWritten(std::string_view text, char decimal_point = '.');

}  // namespace support
