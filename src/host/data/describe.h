// This file contains the description of a dataset for a terminal: what `tcm describe` prints.
#pragma once

#include <string>

#include "host/data/dataset.h"

namespace host {

// The dictionary as read: per variable its position, name, type and width, format, measure,
// role and label, with its value labels and missing values below it; the date definition; the
// case count; and the first cases (at most `max_cases`).
std::string DescribeDataset(const Dataset& dataset, const std::string& source_name,
                            int max_cases = 10);

}  // namespace host
