// This file contains the CSV writer: a dataset's cases as text that the CSV reader, with the
// dataset's dictionary, reads back as the same dataset.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/data/dataset.h"

namespace host {

// Writes the cases as CSV text to `sink` in pieces: a row of names, then one row per case, comma
// separated, LF line ends, quotes where a value needs them. Numbers are written in their shortest
// exact form; values of date, time, WKDAY and MONTH formats as their format's text (a value the
// format cannot show exactly falls back to an ISO text or more decimals); AHEX strings as hex.
// The date definition's variables are left out: the dictionary's date definition makes them.
// False when the sink refuses a piece.
bool WriteCsv(const Dataset& dataset, const std::function<bool(std::string_view)>& sink);
std::string CsvText(const Dataset& dataset);

// The text of one numeric value as the writer puts it.
std::string CsvNumberText(double value, const PrintFormat& format);

}  // namespace host
