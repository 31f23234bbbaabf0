// This file contains the dataset's print formats under the host's names; they live in support/
// so that the engine prints values in them too.
#pragma once

#include "support/print_format.h"

namespace host {

namespace fmt = support::fmt;
using support::CheckFormat;
using support::DefaultFormat;
using support::FormatCheck;
using support::FormatName;
using support::FormatNumber;
using support::FormatProblem;
using support::FormatText;
using support::FormatTypeFromName;
using support::FromHexText;
using support::HexText;
using support::IsDateFormat;
using support::IsKnownFormat;
using support::IsStringFormat;
using support::IsTimeFormat;
using support::ParseFormat;
using support::ParseFormatted;
using support::PrintFormat;

}  // namespace host
