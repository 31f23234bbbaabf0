// This file contains the enumeration of time intervals. Its numeric order is part of the rules:
// compatibility tests compare intervals as numbers.
#pragma once

enum class TimeIntervalKind : int {
  AUTODETECT = 0,
  IRREGULAR = 1,
  DURATION = 2,
  SECOND = 3,
  MINUTE = 4,
  HOUR = 5,
  DAY = 6,
  WEEK = 7,
  MONTH = 8,
  QUARTER = 9,
  YEAR = 10,
  USEINPUT = 11,
  CYCLE = 12,
  IGNORE = 13,
};

#include <string>

// The keyword of an interval; "" past the end of the table.
const char* IntervalName(TimeIntervalKind kind);
// Walks the table from 0 and gives the first exact match; text that matches nothing gives 14,
// the value after the last.
TimeIntervalKind IntervalFromName(const std::string& text);
