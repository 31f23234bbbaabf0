// This file contains the way back from prepared (or scored) data to the shape of the input.
#pragma once

#include <string>

#include "engine/data/table.h"
#include "engine/job/messages.h"
#include "support/json_util.h"

namespace engine {

// Gives `table` (the prepared panel, with result columns and future rows where scoring added
// them) the form of the input that the preparation described in `output`: the dimension, time
// and metric fields take back their input definitions (time fields their storage too: a time
// that came as text, a field with a string print format, goes back as ISO 8601 text), result
// columns are carried along, and "$FutureFlag" marks rows after the last prepared time point
// (added or refreshed when `export_future_flag`, removed otherwise). When every prepared row was
// one case, only rows of a case ("$casecount" present, in rising order) and future rows stay.
// False after reporting to `messages`.
bool ReverseToInput(const Table& table, const support::Json& output, bool export_future_flag,
                    const std::string& place, MessageQueue& messages, Table& result);

}  // namespace engine
