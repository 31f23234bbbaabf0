// This file contains the reverse of the preparation: the input's fields and rows of cases.
#include "engine/prep/reverse.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "engine/series/panel.h"
#include "support/print_format.h"
#include "support/time.h"

namespace engine {
namespace {

// A time field that came in as text: its print format is a string format, while the conversion
// on the way in made it numbers (seconds).
bool TimeCameAsText(const Field& field) {
  const auto format = support::ParseFormat(field.format).format;
  return field.storage != Storage::kString && format && support::IsStringFormat(format->type);
}

// Seconds back to ISO 8601 text: the date alone for data by days. What the user's text had
// beyond the time value (a "T", a zone mark) is not kept; the time value is.
Column TimeTexts(const Column& seconds, const std::vector<std::size_t>& order, bool by_days) {
  Column column(Storage::kString);
  column.Reserve(order.size());
  const char* pattern = by_days ? "%Y-%m-%d" : "%Y-%m-%d %H:%M:%S";
  for (std::size_t row : order) {
    const double value = seconds.AsNumber(row);
    if (value == kSystemMissing) {
      column.AppendMissing();
    } else {
      column.AppendText(support::FormatTime(static_cast<std::int64_t>(std::floor(value)), pattern));
    }
  }
  return column;
}

}  // namespace

bool ReverseToInput(const Table& table, const support::Json& output, bool export_future_flag,
                    const std::string& place, MessageQueue& messages, Table& result) {
  result = Table{};
  auto axis = AxisFromOutput(output);
  if (!axis) return messages.Error(place + axis.message());
  DataModel input_fields;
  if (const std::string xml = support::GetString(output, "inputFields"); !xml.empty()) {
    auto model = DataModelFromXml(xml);
    if (!model) return messages.Error(place + "the input fields of the preparation: " + model.message());
    input_fields = std::move(*model);
  }
  const std::vector<std::string> metrics = support::GetStringList(output, "metricFieldList");
  const std::size_t rows = table.RowCount();

  // Which rows lie after the last prepared time point.
  std::vector<char> future(rows, 0);
  const auto flag_index = table.model.Find(kFutureFlagField);
  if (!axis->points.empty()) {
    const double last = axis->points.back();
    std::vector<std::size_t> time_columns;
    if (axis->IsCyclic()) {
      for (const std::string& name : axis->cyclic.fields) {
        auto index = table.model.Find(name);
        if (!index) return messages.Error(place + "the time field '" + name + "' is not in the data");
        time_columns.push_back(*index);
      }
    } else {
      auto index = table.model.Find(axis->time_field);
      if (!index) {
        return messages.Error(place + "the time field '" + axis->time_field + "' is not in the data");
      }
      time_columns.push_back(*index);
    }
    std::vector<std::int64_t> values(time_columns.size());
    for (std::size_t row = 0; row < rows; ++row) {
      if (flag_index && table.columns[*flag_index].AsNumber(row) == 1) {
        future[row] = 1;
        continue;
      }
      bool valid = true;
      for (std::size_t f = 0; f < time_columns.size(); ++f) {
        const double value = table.columns[time_columns[f]].AsNumber(row);
        if (value == kSystemMissing) valid = false;
        values[f] = valid ? std::llround(value) : 0;
      }
      if (!valid) continue;
      double point = static_cast<double>(values[0]);
      if (axis->IsCyclic()) {
        auto index = axis->cyclic.Index(values);
        if (!index) continue;
        point = static_cast<double>(*index);
      } else {
        point = table.columns[time_columns[0]].AsNumber(row);
      }
      future[row] = point > last ? 1 : 0;
    }
  }

  // Rows: the cases in rising order, then future rows; or all rows as they are.
  std::vector<std::size_t> order;
  const auto casecount = table.model.Find(kCaseCountField);
  const bool time_is_casecount =
      axis->IsCyclic() && std::find(axis->cyclic.fields.begin(), axis->cyclic.fields.end(),
                                    kCaseCountField) != axis->cyclic.fields.end();
  if (support::GetBool(output, "rowsAreCases") && casecount) {
    const Column& numbers = table.columns[*casecount];
    std::vector<std::size_t> later;
    for (std::size_t row = 0; row < rows; ++row) {
      if (future[row]) {
        later.push_back(row);
      } else if (!numbers.IsMissing(row)) {
        order.push_back(row);
      }
    }
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return numbers.AsNumber(a) < numbers.AsNumber(b);
    });
    if (time_is_casecount) {
      std::stable_sort(later.begin(), later.end(), [&](std::size_t a, std::size_t b) {
        return numbers.AsNumber(a) < numbers.AsNumber(b);
      });
    }
    order.insert(order.end(), later.begin(), later.end());
  } else {
    order.resize(rows);
    std::iota(order.begin(), order.end(), std::size_t{0});
  }

  for (std::size_t c = 0; c < table.columns.size(); ++c) {
    Field field = table.model.fields[c];
    if (field.name == kFutureFlagField) continue;
    const Column& source = table.columns[c];
    if (auto original = input_fields.Find(field.name); original && field.name != kCaseCountField) {
      const bool metric = std::find(metrics.begin(), metrics.end(), field.name) != metrics.end();
      field = input_fields.fields[*original];
      // Metrics keep real storage: sums and means are seldom whole numbers.
      if (metric) field.storage = Storage::kReal;
      // Times given as text go back as text, so that data saved from here keep them.
      if (!axis->IsCyclic() && field.name == axis->time_field && TimeCameAsText(field)) {
        field.storage = Storage::kString;
        result.AddColumn(std::move(field), TimeTexts(source, order, axis->time_format == "date"));
        continue;
      }
    }
    Column column(field.storage);
    column.Reserve(order.size());
    for (std::size_t row : order) column.AppendFrom(source, row);
    result.AddColumn(std::move(field), std::move(column));
  }
  if (export_future_flag) {
    Column column(Storage::kInteger);
    column.Reserve(order.size());
    for (std::size_t row : order) column.AppendInt(future[row] ? 1 : 0);
    Field field;
    field.name = kFutureFlagField;
    field.storage = Storage::kInteger;
    field.measurement = "nominal";
    result.AddColumn(std::move(field), std::move(column));
  }
  return true;
}

}  // namespace engine
