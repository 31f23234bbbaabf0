// This file contains the number formatting shared by the renderers.
#include "host/output/number_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace host {

std::string FormatNumber(double value, int decimals) {
  if (std::isnan(value))
    return ".";
  if (std::isinf(value))
    return value > 0 ? "Infinity" : "-Infinity";
  char buffer[400]; // room for the widest fixed form: 309 digits and 20 decimals
  std::to_chars_result result;
  if (decimals < 0) {
    result = std::to_chars(buffer, buffer + sizeof buffer, value);
  } else {
    result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                           std::min(decimals, 20));
  }
  std::string text(buffer, result.ptr);
  // -0.001 shown with two decimals is "-0.00": a sign on a zero only puzzles the reader.
  if (!text.empty() && text[0] == '-' &&
      std::all_of(text.begin() + 1, text.end(), [](char c) { return c == '0' || c == '.'; })) {
    text.erase(0, 1);
  }
  return text;
}

std::string FormatCell(const Cell &cell) {
  // A number cell may carry its printed form (a date, a percent): shown as given.
  if (cell.is_number && cell.text.empty()) return FormatNumber(cell.number, cell.decimals);
  return cell.text;
}

Cell NumberCell(double value, int decimals) {
  Cell cell;
  cell.is_number = true;
  cell.number = value;
  cell.decimals = decimals;
  return cell;
}

Cell TextCell(std::string text) {
  Cell cell;
  cell.text = std::move(text);
  return cell;
}

} // namespace host
