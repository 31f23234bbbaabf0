// This file contains the host's conversions between date texts, host date values and the 64-bit
// times that configurations carry.
//
// One meaning throughout: a host date value is the number of seconds since 1970-01-01 00:00:00
// of the same wall clock (support/time.h: no time zone or daylight-saving shift moves a date), a
// time of day or a duration is its seconds, and the 64-bit time of a configuration is that same
// count of whole seconds. The conversions between them are therefore thin, and a text read here
// prints back the same through the module's FormatTime.
#pragma once

#include <cstdint>
#include <string>

class TimeConverter {
 public:
  // "yyyy-mm-dd", optionally followed by a blank or "T" and "h:mm" or "h:mm:ss" (the hour may
  // have one digit; blanks around are allowed): its host date value. A month or day of "00"
  // stands for the first, so "2010-00-00" is the start of 2010. Gives 0.0 when the text is no
  // such form or names no real date or time of day: 0.0 is the failure value, which callers that
  // keep 0 for "not given" refuse along with the epoch itself.
  static double convertDateFromISOFormatToQUORDouble(const std::string& text);
  // "h:mm" or "h:mm:ss", hours 0 to 23: the seconds since midnight. 0.0 on failure (and for
  // midnight itself, as above).
  static double convertTimeFromISOFormatToQUORDouble(const std::string& text);
};

// A host value in the storage of the data description: the same seconds for every storage kind
// (`storage` is kept for the callers' sake); system-missing stays system-missing.
double NumericStorageStatToCF(double value, int storage);
// A host value in a print format's terms (`format` a format code such as 22, DATETIME): the same
// seconds for every date and time format.
double NumericFormatStatToCF(double value, int format);
// A host value to the 64-bit time of a configuration: the value rounded to whole seconds, as
// printing rounds it. 0 for system-missing, a value that is not finite or one beyond 64 bits.
int64_t ftisqq(double value);
