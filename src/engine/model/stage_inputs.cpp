// This file contains the configuration, series array and preparation output helpers of the model
// stages.
#include "engine/model/stage_inputs.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "engine/stages/stage.h"

namespace engine::model {
namespace {

support::Error Fail(std::string message) {
  return support::Error{std::move(message)};
}

// The dimension fields of an output: "One empty string means none".
std::vector<std::string> DimFields(const support::Json& output) {
  std::vector<std::string> fields;
  for (std::string& field : support::GetStringList(output, "dimFieldList")) {
    if (!field.empty())
      fields.push_back(std::move(field));
  }
  return fields;
}

// The text of a value as the field's categories write it, and its code (0 when it has none).
std::pair<std::string, int> CategoryOf(const Field& field, const Column& column, std::size_t row) {
  std::string text;
  double number = 0;
  const bool is_text = column.storage() == Storage::kString;
  if (is_text) {
    text = column.Text(row);
  } else {
    number = column.AsNumber(row);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.15g", number);
    text = buffer;
  }
  for (const Category& category : field.categories) {
    const bool same =
        is_text ? category.value == text : std::strtod(category.value.c_str(), nullptr) == number;
    if (same)
      return {category.value, category.code.value_or(0)};
  }
  return {text, 0};
}

} // namespace

std::string ConfPath(const support::Json& list, std::string_view name) {
  if (!list.is_array())
    return {};
  for (const auto& entry : list) {
    if (support::GetString(entry, "name") == name) {
      return PathFromUri(support::GetString(entry, "uri"));
    }
  }
  if (list.size() == 1)
    return PathFromUri(support::GetString(list[0], "uri"));
  return {};
}

bool SeriesArrayNames(const support::Json& array, const SeriesRef& series) {
  if (!array.is_array() || array.size() != series.dims.size() + 1)
    return false;
  for (std::size_t d = 0; d < series.dims.size(); ++d) {
    if (!array[d].is_string())
      return false;
    const std::string& value = array[d].get_ref<const std::string&>();
    if (!value.empty() && value != series.dims[d])
      return false;
  }
  const auto& metric = array[series.dims.size()];
  return metric.is_string() && metric.get_ref<const std::string&>() == series.metric;
}

std::vector<std::size_t> MatchSeriesArrays(const support::Json* arrays,
                                           const std::vector<SeriesRef>& series) {
  std::vector<std::size_t> matched;
  if (arrays == nullptr || !arrays->is_array())
    return matched;
  for (std::size_t s = 0; s < series.size(); ++s) {
    for (const auto& array : *arrays) {
      if (SeriesArrayNames(array, series[s])) {
        matched.push_back(s);
        break;
      }
    }
  }
  return matched;
}

support::Result<support::Json> OutputForTable(const Table& prepared, const support::Json& output) {
  if (!output.is_object())
    return Fail("the preparation output is not an object");
  support::Json result = output;
  const std::vector<std::string> dims = DimFields(output);
  const std::vector<std::string> metrics = support::GetStringList(output, "metricFieldList");
  std::vector<std::size_t> dim_columns;
  for (const std::string& dim : dims) {
    auto index = prepared.model.Find(dim);
    if (!index)
      return Fail("the dimension field '" + dim + "' is not in the data");
    dim_columns.push_back(*index);
  }
  // Blocks of rows with one combination of dimension values.
  const std::size_t rows = prepared.RowCount();
  std::vector<std::size_t> block_start;
  std::vector<std::vector<std::pair<std::string, int>>> block_values;
  for (std::size_t row = 0; row < rows; ++row) {
    std::vector<std::pair<std::string, int>> key;
    for (std::size_t d = 0; d < dims.size(); ++d) {
      key.push_back(
          CategoryOf(prepared.model.fields[dim_columns[d]], prepared.columns[dim_columns[d]], row));
    }
    if (block_values.empty() || key != block_values.back()) {
      block_start.push_back(row);
      block_values.push_back(std::move(key));
    }
  }
  const std::size_t blocks = block_start.size();
  const std::size_t time_count = blocks == 0 ? 0 : rows / blocks;
  for (std::size_t b = 0; b < blocks; ++b) {
    if (block_start[b] != b * time_count || (b + 1 == blocks && rows != blocks * time_count)) {
      return Fail("the combinations of the data do not all have the same time points");
    }
  }
  const std::string format = support::GetString(output, "timeFormat");
  if (format == "CYCLIC_PERIOD") {
    support::Json variable = support::Json::object();
    for (const std::string& field : support::GetStringList(output, "cyclicFieldList")) {
      auto index = prepared.model.Find(field);
      if (!index)
        return Fail("the cyclic field '" + field + "' is not in the data");
      support::Json values = support::Json::array();
      for (std::size_t t = 0; t < time_count; ++t) {
        values.push_back(static_cast<std::int64_t>(prepared.columns[*index].AsNumber(t)));
      }
      variable[field] = std::move(values);
    }
    result["timeVariable"] = std::move(variable);
  } else {
    const std::string field = support::GetString(output, "timeField");
    auto index = prepared.model.Find(field);
    if (!index)
      return Fail("the time field '" + field + "' is not in the data");
    const double scale = format == "date" ? 86400.0 : 1.0;
    support::Json values = support::Json::array();
    for (std::size_t t = 0; t < time_count; ++t) {
      values.push_back(prepared.columns[*index].AsNumber(t) / scale);
    }
    result["timeVariable"] = std::move(values);
  }
  support::Json series = support::Json::array();
  for (std::size_t b = 0; b < blocks; ++b) {
    for (std::size_t m = 0; m < metrics.size(); ++m) {
      std::string id;
      std::vector<std::string> values;
      for (const auto& [text, code] : block_values[b]) {
        id += std::to_string(code) + "-";
        values.push_back(text);
      }
      id += std::to_string(m + 1);
      series.push_back({{"id", id}, {"dims", values}, {"metric", metrics[m]}, {"combination", b}});
    }
  }
  result["series"] = std::move(series);
  return result;
}

} // namespace engine::model
