// This file contains the reading of cases: fields, series filter, dimension codes and times.
#include "engine/prep/cases.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <unordered_map>

#include "support/text.h"

namespace engine {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The distinct values of one dimension column, each row mapped to one of them.
struct DimensionValues {
  bool is_text = false;
  std::vector<std::string> texts;   // of each distinct value
  std::vector<double> numbers;      // of each distinct value (numeric columns)
  std::vector<std::int32_t> local;  // per row: index of its value, -1 when missing
};

DimensionValues Distinct(const Column& column) {
  DimensionValues result;
  result.is_text = column.storage() == Storage::kString;
  result.local.resize(column.size(), -1);
  std::unordered_map<std::string, std::int32_t> by_text;
  std::unordered_map<double, std::int32_t> by_number;
  for (std::size_t row = 0; row < column.size(); ++row) {
    if (column.IsMissing(row)) continue;
    if (result.is_text) {
      auto [it, added] = by_text.try_emplace(column.Text(row), static_cast<std::int32_t>(result.texts.size()));
      if (added) result.texts.push_back(column.Text(row));
      result.local[row] = it->second;
    } else {
      double value = column.AsNumber(row);
      if (value == 0.0) value = 0.0;  // -0 and 0 are one value
      auto [it, added] = by_number.try_emplace(value, static_cast<std::int32_t>(result.numbers.size()));
      if (added) {
        result.numbers.push_back(value);
        result.texts.push_back(support::FormatNumber(value));
      }
      result.local[row] = it->second;
    }
  }
  return result;
}

bool Matches(const DimensionValues& dim, std::int32_t local, const std::vector<std::string>& values) {
  for (const std::string& value : values) {
    if (dim.texts[static_cast<std::size_t>(local)] == value) return true;
    if (!dim.is_text) {
      auto number = support::ParseNumber(value);
      if (number && *number == dim.numbers[static_cast<std::size_t>(local)]) return true;
    }
  }
  return false;
}

// The label that the input's data model gives a value (numbers match by value).
std::string LabelOf(const Field& field, const std::string& text, const DimensionValues& dim,
                    std::size_t local) {
  for (const Category& category : field.categories) {
    if (category.label.empty()) continue;
    if (dim.is_text) {
      if (category.value == text) return category.label;
    } else if (auto number = support::ParseNumber(category.value);
               number && *number == dim.numbers[local]) {
      return category.label;
    }
  }
  return {};
}

bool FindColumn(const Table& input, const std::string& name, const char* role, bool numeric,
                const std::string& place, MessageQueue& messages, std::size_t& index) {
  auto found = input.model.Find(name);
  if (!found) return messages.Error(place + "the " + std::string(role) + " '" + name + "' is not in the data");
  if (numeric && input.columns[*found].storage() == Storage::kString) {
    return messages.Error(place + "the " + std::string(role) + " '" + name +
                          "' holds texts; it must be numeric");
  }
  index = *found;
  return true;
}

}  // namespace

bool ReadCases(const Table& input, const TsdpOptions& options, const CyclicAxis& axis,
               const std::string& place, MessageQueue& messages, CaseSet& cases) {
  cases = CaseSet{};
  for (const std::string& name : options.dims) {
    std::size_t index = 0;
    if (!FindColumn(input, name, "dimension field", false, place, messages, index)) return false;
    cases.dim_columns.push_back(index);
  }
  for (const std::string& name : options.metrics) {
    std::size_t index = 0;
    if (!FindColumn(input, name, "metric field", true, place, messages, index)) return false;
    cases.metric_columns.push_back(index);
  }
  const std::vector<std::string> time_fields =
      options.IsCyclic() ? options.cyclic_fields : std::vector<std::string>{options.time_field};
  for (const std::string& name : time_fields) {
    std::size_t index = 0;
    if (!FindColumn(input, name, "time field", true, place, messages, index)) return false;
    cases.time_columns.push_back(index);
  }
  const std::optional<std::size_t> casecount = input.model.Find("$casecount");
  const std::size_t rows = input.RowCount();

  std::vector<DimensionValues> dims;
  for (std::size_t index : cases.dim_columns) dims.push_back(Distinct(input.columns[index]));

  // Which values each filter admits, per dimension; a row passes when one alternative admits all
  // of its dimensions.
  std::vector<std::vector<std::pair<std::size_t, std::vector<char>>>> admits;
  for (const auto& alternative : options.series_filters) {
    std::vector<std::pair<std::size_t, std::vector<char>>> checks;
    for (const DimensionFilter& filter : alternative) {
      auto position = std::find(options.dims.begin(), options.dims.end(), filter.dimension);
      if (position == options.dims.end()) {
        return messages.Error(place + "the series filter names '" + filter.dimension +
                              "', which is not a dimension field");
      }
      const std::size_t d = static_cast<std::size_t>(position - options.dims.begin());
      std::vector<char> allowed(dims[d].texts.size(), 0);
      for (std::size_t local = 0; local < allowed.size(); ++local) {
        allowed[local] = Matches(dims[d], static_cast<std::int32_t>(local), filter.values) ? 1 : 0;
      }
      checks.emplace_back(d, std::move(allowed));
    }
    admits.push_back(std::move(checks));
  }

  std::vector<char> keep(rows, 1);
  std::size_t missing_dimension = 0;
  std::size_t filtered_out = 0;
  for (std::size_t row = 0; row < rows; ++row) {
    for (const DimensionValues& dim : dims) {
      if (dim.local[row] < 0) keep[row] = 0;
    }
    if (!keep[row]) {
      ++missing_dimension;
      continue;
    }
    if (admits.empty()) continue;
    bool any = false;
    for (const auto& checks : admits) {
      bool all = true;
      for (const auto& [d, allowed] : checks) {
        if (!allowed[static_cast<std::size_t>(dims[d].local[row])]) all = false;
      }
      any = any || all;
    }
    if (!any) {
      keep[row] = 0;
      ++filtered_out;
    }
  }
  if (missing_dimension > 0) {
    messages.Warning(place + std::to_string(missing_dimension) +
                     " cases have a missing dimension value and are left out");
  }
  if (rows > 0 && filtered_out + missing_dimension == rows) {
    return messages.Error(place + "the series filter leaves no data: no case has dimension "
                                  "values among the values of the filter");
  }

  // Codes: the values that kept cases use, in ascending order, numbered from 1.
  std::vector<std::vector<int>> code_of(dims.size());
  for (std::size_t d = 0; d < dims.size(); ++d) {
    std::vector<char> used(dims[d].texts.size(), 0);
    for (std::size_t row = 0; row < rows; ++row) {
      if (keep[row]) used[static_cast<std::size_t>(dims[d].local[row])] = 1;
    }
    std::vector<std::size_t> order;
    for (std::size_t local = 0; local < used.size(); ++local) {
      if (used[local]) order.push_back(local);
    }
    const DimensionValues& dim = dims[d];
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return dim.is_text ? dim.texts[a] < dim.texts[b] : dim.numbers[a] < dim.numbers[b];
    });
    Field field = input.model.fields[cases.dim_columns[d]];
    const Field source = field;
    field.categories.clear();
    code_of[d].assign(dim.texts.size(), 0);
    for (std::size_t i = 0; i < order.size(); ++i) {
      code_of[d][order[i]] = static_cast<int>(i + 1);
      field.categories.push_back(
          {dim.texts[order[i]], static_cast<int>(i + 1), LabelOf(source, dim.texts[order[i]], dim, order[i])});
    }
    if (field.measurement.empty()) field.measurement = "nominal";
    cases.dim_fields.push_back(std::move(field));
  }

  // Combinations by their codes, then cases.
  std::unordered_map<std::string, std::uint32_t> combo_index;
  std::vector<std::uint32_t> raw_combo;
  std::vector<Combination> combos;
  std::string key;
  cases.values.assign(options.metrics.size(), {});
  std::vector<std::int64_t> cyclic(time_fields.size());
  for (std::size_t row = 0; row < rows; ++row) {
    if (!keep[row]) continue;
    double time = kNaN;
    if (options.IsCyclic()) {
      bool valid = true;
      for (std::size_t f = 0; f < cases.time_columns.size(); ++f) {
        const double value = input.columns[cases.time_columns[f]].AsNumber(row);
        if (value == kSystemMissing || !std::isfinite(value) || std::fabs(value) > 1e15) {
          valid = false;
          break;
        }
        cyclic[f] = std::llround(value);
      }
      if (!valid) {
        ++cases.without_time;
        continue;
      }
      auto index = axis.Index(cyclic);
      if (!index) {
        ++cases.outside_cycle;
        continue;
      }
      time = static_cast<double>(*index);
    } else {
      time = input.columns[cases.time_columns[0]].AsNumber(row);
      if (time == kSystemMissing || !std::isfinite(time) || std::fabs(time) > 1e15) {
        ++cases.without_time;
        continue;
      }
    }
    key.clear();
    for (std::size_t d = 0; d < dims.size(); ++d) {
      const int code = code_of[d][static_cast<std::size_t>(dims[d].local[row])];
      key.append(reinterpret_cast<const char*>(&code), sizeof code);
    }
    auto [it, added] = combo_index.try_emplace(key, static_cast<std::uint32_t>(combos.size()));
    if (added) {
      Combination combination;
      combination.row = row;
      for (std::size_t d = 0; d < dims.size(); ++d) {
        const auto local = static_cast<std::size_t>(dims[d].local[row]);
        combination.texts.push_back(dims[d].texts[local]);
        combination.codes.push_back(code_of[d][local]);
      }
      combos.push_back(std::move(combination));
    }
    raw_combo.push_back(it->second);
    cases.time.push_back(time);
    cases.case_number.push_back(casecount && !input.columns[*casecount].IsMissing(row)
                                    ? static_cast<std::int32_t>(input.columns[*casecount].AsNumber(row))
                                    : static_cast<std::int32_t>(row + 1));
    for (std::size_t m = 0; m < cases.metric_columns.size(); ++m) {
      const double value = input.columns[cases.metric_columns[m]].AsNumber(row);
      cases.values[m].push_back(value == kSystemMissing ? kNaN : value);
    }
  }
  if (cases.without_time > 0) {
    messages.Warning(place + std::to_string(cases.without_time) +
                     " cases have no valid time value and are left out");
  }
  if (cases.outside_cycle > 0) {
    messages.Warning(place + std::to_string(cases.outside_cycle) +
                     " cases have a period value outside its cycle and are left out");
  }
  if (cases.time.empty()) return messages.Error(place + "no case with a valid time is left to prepare");

  // Combinations in code order (first dimension outermost).
  std::vector<std::uint32_t> order(combos.size());
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(),
            [&](std::uint32_t a, std::uint32_t b) { return combos[a].codes < combos[b].codes; });
  std::vector<std::uint32_t> rank(combos.size());
  for (std::uint32_t i = 0; i < order.size(); ++i) {
    rank[order[i]] = i;
    cases.combos.push_back(combos[order[i]]);
  }
  cases.combo.resize(raw_combo.size());
  for (std::size_t i = 0; i < raw_combo.size(); ++i) cases.combo[i] = rank[raw_combo[i]];
  return true;
}

}  // namespace engine
