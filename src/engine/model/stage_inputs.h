// This file contains what the model stages share: files of in/out configurations, series arrays
// matched against series, and the preparation output that fits a prepared table.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "engine/data/table.h"
#include "engine/model/model_system.h"
#include "support/json_util.h"
#include "support/result.h"

namespace engine::model {

// The path of the entry named `name` of a configuration list [{"name", "uri"}, ...]; with no
// such entry, the only entry's path when the list has one. Empty when neither.
std::string ConfPath(const support::Json& list, std::string_view name);

// True when a series array names the series: one string per dimension ("" is every value),
// then the metric. Without dimensions the array holds the metric alone.
bool SeriesArrayNames(const support::Json& array, const SeriesRef& series);
// Indexes (ascending) of the series that any array of `arrays` names; `arrays` may be null or
// not an array, which names none.
std::vector<std::size_t> MatchSeriesArrays(const support::Json* arrays,
                                           const std::vector<SeriesRef>& series);

// The `output` object of a preparation with its time points and series taken from `prepared`
// itself (blocks of rows per dimension combination, one row per time point, in the layout the
// preparation writes): the axis keys, field lists and settings stay; `timeVariable` and `series`
// follow the table. Lets a saved model score data other than those it was built on. Fails when
// a field is missing or the blocks differ in length.
support::Result<support::Json> OutputForTable(const Table& prepared, const support::Json& output);

} // namespace engine::model
