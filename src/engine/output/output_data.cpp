// This file contains the loading of everything the output document is made from.
#include "engine/output/output_data.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "engine/model/forecast.h"
#include "engine/model/model_archive.h"
#include "support/print_format.h"
#include "support/text.h"
#include "support/time.h"
#include "support/zip_archive.h"

namespace engine::output {
namespace {

constexpr double kNaN = model::kNaN;
constexpr char kQualityMember[] = "TSDPQuality.json";

support::Error Fail(std::string message) { return support::Error{std::move(message)}; }

// Texts of dimension values compare as numbers when both read as numbers ("3" and "3.0").
bool SameValue(const std::string& a, const std::string& b) {
  if (a == b) return true;
  const auto x = support::ParseNumber(a);
  const auto y = support::ParseNumber(b);
  return x && y && *x == *y;
}

std::string PeriodLabel(const PanelAxis& axis, double point, const OutputConfig& config) {
  if (axis.IsCyclic()) {
    std::vector<std::string> pieces;
    for (std::int64_t value : axis.CyclicValues(point)) pieces.push_back(std::to_string(value));
    return support::Join(pieces, "-");
  }
  const auto seconds = static_cast<std::int64_t>(std::llround(point));
  std::string format = StrftimeFormat(config.date_format);
  if (axis.time_format == "datetime") format += " " + StrftimeFormat(config.time_format);
  return support::FormatTime(seconds, format);
}

// The print format of a numeric dimension field, as the data model carries it from the dataset.
std::optional<support::PrintFormat> NumericFormatOf(const Field* field) {
  if (field == nullptr || field->storage == Storage::kString) return std::nullopt;
  return support::ParseFormat(field->format).format;
}

// A dimension value as the dataset prints it: a numeric value in its field's print format, so
// that a series is named here exactly as the procedure names it when it picks the series out of
// this document; the value as it stands for texts and for fields without a format.
std::string ShownValue(const std::string& value, const Field* field) {
  const auto format = NumericFormatOf(field);
  const auto number = support::ParseNumber(value);
  if (!format || !number) return value;
  std::string text = support::FormatNumber(*number, *format);
  return text.empty() ? value : text;
}

const Field* StreamField(const Table* stream, const std::string& name) {
  if (stream == nullptr) return nullptr;
  auto index = stream->model.Find(name);
  return index ? &stream->model.fields[*index] : nullptr;
}

// The names of a series: key, plain text, labelled text and its composite text node.
SeriesName NameOf(const model::SeriesRef& series, const std::vector<std::string>& dim_fields,
                  const Table* stream) {
  SeriesName name;
  std::vector<std::string> key = series.dims;
  key.push_back(series.metric);
  name.key = support::Join(key, "-");
  name.text = series.metric;
  name.label = series.metric;
  Node children = Node::array();
  children.push_back(StringDataChild(series.metric));
  for (std::size_t d = 0; d < dim_fields.size() && d < series.dims.size(); ++d) {
    const std::string& value = series.dims[d];
    const Field* field = StreamField(stream, dim_fields[d]);
    const std::string shown = ShownValue(value, field);
    std::string label = shown;
    if (field != nullptr) {
      for (const engine::Category& category : field->categories) {
        if (!category.label.empty() && SameValue(category.value, value)) label = category.label;
      }
    }
    name.text += "-" + dim_fields[d] + ":" + shown;
    name.label += "-" + dim_fields[d] + ":" + label;
    children.push_back(StringChild("-"));
    children.push_back(StringChild(dim_fields[d] + ":"));
    children.push_back(StringDataChild(shown));
  }
  name.composite = CompositeText(std::move(children), name.key);
  return name;
}

// The dataDictionary: the numeric dimension fields with the decimals of their print format
// (none when a field has no format and all its values are whole).
Node DictionaryOf(const std::vector<std::string>& dim_fields, const model::ModelSystem& system,
                  const Table* stream) {
  Node fields = Node::array();
  for (std::size_t d = 0; d < dim_fields.size(); ++d) {
    const Field* field = StreamField(stream, dim_fields[d]);
    if (field == nullptr || field->storage == Storage::kString) continue;
    int decimals = 0;
    if (const auto format = NumericFormatOf(field)) {
      decimals = format->decimals;
    } else {
      for (const model::SeriesRef& series : system.series) {
        if (d >= series.dims.size()) continue;
        const auto number = support::ParseNumber(series.dims[d]);
        if (number && *number != std::floor(*number)) decimals = 2;
      }
    }
    fields.push_back({{"name", dim_fields[d]}, {"decimalPlaces", decimals}});
  }
  return {{"fields", std::move(fields)}};
}

// The text of a dimension value in a row, as the preparation writes it.
std::optional<std::string> ValueText(const Column& column, std::size_t row) {
  if (column.IsMissing(row)) return std::nullopt;
  if (column.storage() == Storage::kString) return column.Text(row);
  return support::FormatNumber(column.AsNumber(row));
}

// Index of a time on the extended axis, looked up by its rounded value.
class PeriodIndex {
 public:
  explicit PeriodIndex(const std::vector<double>& points) {
    for (std::size_t i = 0; i < points.size(); ++i) index_.emplace(std::llround(points[i]), i);
  }
  std::ptrdiff_t Find(double point) const {
    if (!std::isfinite(point)) return -1;
    auto found = index_.find(std::llround(point));
    return found == index_.end() ? -1 : static_cast<std::ptrdiff_t>(found->second);
  }

 private:
  std::map<long long, std::size_t> index_;
};

// The point of a time as a result archive writes it: seconds (or an ISO text) for dates, the
// cyclic field values (or the running index) for cyclic data.
double PointOf(const PanelAxis& axis, const support::Json& time) {
  if (axis.IsCyclic()) {
    if (time.is_number()) return time.get<double>();
    if (!time.is_array()) return kNaN;
    std::vector<std::int64_t> values;
    for (const auto& value : time) {
      if (!value.is_number()) return kNaN;
      values.push_back(static_cast<std::int64_t>(std::llround(value.get<double>())));
    }
    auto index = axis.cyclic.Index(values);
    return index ? static_cast<double>(*index) : kNaN;
  }
  if (time.is_number()) return time.get<double>();
  if (time.is_string()) {
    if (auto iso = support::ParseIso8601(time.get<std::string>())) {
      return static_cast<double>(iso->seconds);
    }
  }
  return kNaN;
}

class Loader {
 public:
  Loader(const OutputConfig& config, const Table* stream, std::vector<std::string>& warnings)
      : config_(config), stream_(stream), warnings_(warnings) {}

  support::Result<OutputData> Load() {
    auto loaded = model::ReadModelArchive(config_.model_path);
    if (!loaded) return Fail("the model system: " + loaded.message());
    data_.system = std::move(loaded->system);
    auto record = support::ParseJson(loaded->preparation_json);
    if (!record) return Fail("the model system's TSDPOutput.json: " + record.message());
    const support::Json* output = support::FindMember(*record, "output");
    if (output == nullptr) return Fail("the model system's TSDPOutput.json has no 'output'");
    data_.preparation = *output;
    auto axis = AxisFromOutput(*output);
    if (!axis) return Fail("the model system's time axis: " + axis.message());
    data_.axis = std::move(*axis);
    data_.dim_fields = support::GetStringList(*output, "dimFieldList");
    data_.metric_fields = support::GetStringList(*output, "metricFieldList");
    data_.time_label = data_.axis.IsCyclic() ? "Period" : data_.axis.time_field;
    if (data_.time_label.empty()) data_.time_label = "Period";
    if (stream_ != nullptr) AxisFromStream();
    data_.time_count = data_.axis.points.size();
    data_.horizon = data_.time_count == 0 ? 0 : static_cast<std::size_t>(config_.forecasted);
    points_ = data_.axis.points;
    for (std::size_t h = 0; h < data_.horizon; ++h) points_.push_back(data_.axis.Advance(points_.back(), 1));
    for (double point : points_) data_.period_labels.push_back(PeriodLabel(data_.axis, point, config_));
    for (const model::SeriesRef& series : data_.system.series) {
      data_.names.push_back(NameOf(series, data_.dim_fields, stream_));
    }
    data_.data_dictionary = DictionaryOf(data_.dim_fields, data_.system, stream_);
    const std::size_t periods = points_.size();
    data_.values.assign(data_.system.series.size(),
                        SeriesValues{std::vector<double>(periods, kNaN), std::vector<double>(periods, kNaN),
                                     std::vector<double>(periods, kNaN), std::vector<double>(periods, kNaN),
                                     std::vector<double>(periods, kNaN)});
    if (stream_ != nullptr) ReadStream();
    PredictFromModel();
    ReadQuality();
    ReadOutliers();
    ReadRootCauses();
    ReadScenario();
    return std::move(data_);
  }

 private:
  // The stream's columns of the named fields; empty with a warning when one is missing.
  std::vector<const Column*> StreamColumns(const std::vector<std::string>& names, const char* what) {
    std::vector<const Column*> columns;
    for (const std::string& name : names) {
      auto index = stream_->model.Find(name);
      if (!index) {
        warnings_.push_back("the data have no " + std::string(what) + " field '" + name +
                            "': the charts show no observed values");
        return {};
      }
      columns.push_back(&stream_->columns[*index]);
    }
    return columns;
  }
  std::vector<const Column*> TimeColumns() {
    return StreamColumns(data_.axis.IsCyclic() ? data_.axis.cyclic.fields
                                               : std::vector<std::string>{data_.axis.time_field},
                         "time");
  }

  // The point of a stream row on the axis's scale: seconds, or the cyclic running index.
  double RowPoint(const std::vector<const Column*>& times, std::size_t row) const {
    if (data_.axis.IsCyclic()) {
      std::vector<std::int64_t> cyclic(times.size());
      for (std::size_t f = 0; f < times.size(); ++f) {
        const double value = times[f]->AsNumber(row);
        if (times[f]->IsMissing(row) || value == kSystemMissing) return kNaN;
        cyclic[f] = std::llround(value);
      }
      auto index = data_.axis.cyclic.Index(cyclic);
      return index ? static_cast<double>(*index) : kNaN;
    }
    if (times[0]->IsMissing(row)) return kNaN;
    if (times[0]->storage() == Storage::kString) {
      auto iso = support::ParseIso8601(times[0]->Text(row));
      return iso ? static_cast<double>(iso->seconds) : kNaN;
    }
    return times[0]->AsNumber(row);
  }

  // A model system applied to other data than it was built on (TCM APPLY) reports on the
  // periods of those data: the axis runs from the first to the last period of the stream's
  // observed rows. A stream within the model's own periods keeps the model's axis.
  void AxisFromStream() {
    const std::vector<const Column*> times = TimeColumns();
    if (times.empty() || data_.axis.points.empty()) return;
    std::vector<const Column*> observed;
    for (const std::string& metric : data_.metric_fields) {
      if (auto index = stream_->model.Find(metric)) observed.push_back(&stream_->columns[*index]);
    }
    double first = kNaN, last = kNaN;
    for (std::size_t row = 0; row < stream_->RowCount(); ++row) {
      if (std::none_of(observed.begin(), observed.end(),
                       [row](const Column* column) { return !column->IsMissing(row); })) {
        continue;  // a forecast row
      }
      const double point = RowPoint(times, row);
      if (!std::isfinite(point)) continue;
      if (std::isnan(first) || point < first) first = point;
      if (std::isnan(last) || point > last) last = point;
    }
    const std::vector<double>& model = data_.axis.points;
    if (std::isnan(first) || (first == model.front() && last == model.back())) return;
    // The model's own steps lead from the first period to the last, or its axis stays.
    constexpr std::size_t kMostPoints = 10'000'000;
    std::vector<double> points{first};
    while (points.back() < last && points.size() < kMostPoints)
      points.push_back(data_.axis.Advance(points.back(), 1));
    if (std::llround(points.back()) != std::llround(last)) {
      warnings_.push_back("the periods of the data do not fall on the model system's intervals: "
                          "the charts show the model system's periods");
      return;
    }
    data_.axis.points = std::move(points);
  }

  // Lays the stream's rows out per series and period.
  void ReadStream() {
    const Table& table = *stream_;
    const std::vector<const Column*> dims = StreamColumns(data_.dim_fields, "dimension");
    if (dims.size() != data_.dim_fields.size()) return;
    const std::vector<const Column*> times = TimeColumns();
    if (times.empty()) return;
    // Per metric its columns: value, predicted, lower, upper, residual (null when absent).
    const char* suffixes[] = {"", "_predicted", "_LCI", "_UCI", "_residual"};
    std::vector<std::array<const Column*, 5>> metric_columns;
    for (const std::string& metric : data_.metric_fields) {
      std::array<const Column*, 5> columns{};
      for (std::size_t k = 0; k < 5; ++k) {
        if (auto index = table.model.Find(metric + suffixes[k])) columns[k] = &table.columns[*index];
      }
      metric_columns.push_back(columns);
    }
    std::map<std::string, std::size_t> series_of;
    for (std::size_t s = 0; s < data_.system.series.size(); ++s) {
      const model::SeriesRef& series = data_.system.series[s];
      series_of.emplace(support::Join(series.dims, "\x1f") + "\x1e" + series.metric, s);
    }
    const PeriodIndex periods(points_);
    predicted_by_stream_.assign(data_.system.series.size(), false);
    for (std::size_t row = 0; row < table.RowCount(); ++row) {
      const std::ptrdiff_t period = periods.Find(RowPoint(times, row));
      if (period < 0) continue;
      std::vector<std::string> values;
      bool complete = true;
      for (const Column* column : dims) {
        auto text = ValueText(*column, row);
        if (!text) complete = false;
        values.push_back(text.value_or(""));
      }
      if (!complete) continue;
      const std::string prefix = support::Join(values, "\x1f") + "\x1e";
      for (std::size_t m = 0; m < data_.metric_fields.size(); ++m) {
        auto found = series_of.find(prefix + data_.metric_fields[m]);
        if (found == series_of.end()) continue;
        SeriesValues& target = data_.values[found->second];
        std::vector<double>* kinds[] = {&target.observed, &target.predicted, &target.lower,
                                        &target.upper, &target.residual};
        for (std::size_t k = 0; k < 5; ++k) {
          const Column* column = metric_columns[m][k];
          if (column == nullptr || column->IsMissing(row)) continue;
          const double value = column->AsNumber(row);
          if (value == kSystemMissing) continue;
          // Observed values belong to the data's time points only.
          if (k == 0 && static_cast<std::size_t>(period) >= data_.time_count) continue;
          (*kinds[k])[static_cast<std::size_t>(period)] = value;
          if (k == 1) predicted_by_stream_[found->second] = true;
        }
      }
    }
    data_.has_stream = true;
  }

  // Series with an equation that the stream did not predict get their one-step predictions,
  // forecasts and intervals from the model, over the observed values.
  void PredictFromModel() {
    if (!data_.has_stream || data_.time_count == 0) return;
    const model::ModelSystem& system = data_.system;
    const std::size_t count = system.series.size();
    Eigen::MatrixXd history(static_cast<Eigen::Index>(data_.time_count), static_cast<Eigen::Index>(count));
    for (std::size_t s = 0; s < count; ++s) {
      for (std::size_t t = 0; t < data_.time_count; ++t) {
        history(static_cast<Eigen::Index>(t), static_cast<Eigen::Index>(s)) = data_.values[s].observed[t];
      }
    }
    std::vector<std::size_t> missing;
    for (std::size_t s = 0; s < count; ++s) {
      if (system.EquationOf(s) >= 0 && (predicted_by_stream_.empty() || !predicted_by_stream_[s])) {
        missing.push_back(s);
      }
    }
    if (missing.empty()) return;
    const Eigen::MatrixXd fit = model::OneStepPredictions(system, history);
    const model::SystemForecast forecast =
        model::ForecastSystem(system, history, static_cast<int>(data_.horizon));
    const double z = model::IntervalMultiplier(system.settings.confidence_level);
    for (std::size_t s : missing) {
      const auto column = static_cast<Eigen::Index>(s);
      const double sigma = std::sqrt(system.equations[static_cast<std::size_t>(system.EquationOf(s))].stats.sigma2);
      SeriesValues& values = data_.values[s];
      for (std::size_t t = 0; t < data_.time_count; ++t) {
        const double p = fit(static_cast<Eigen::Index>(t), column);
        if (!std::isfinite(p)) continue;
        values.predicted[t] = p;
        values.lower[t] = p - z * sigma;
        values.upper[t] = p + z * sigma;
        values.residual[t] = values.observed[t] - p;
      }
      for (std::size_t h = 0; h < data_.horizon; ++h) {
        const double p = forecast.mean(static_cast<Eigen::Index>(h), column);
        if (!std::isfinite(p)) continue;
        const double half = z * std::sqrt(forecast.variance(static_cast<Eigen::Index>(h), column));
        values.predicted[data_.time_count + h] = p;
        values.lower[data_.time_count + h] = p - half;
        values.upper[data_.time_count + h] = p + half;
      }
    }
  }

  void ReadQuality() {
    if (config_.quality_path.empty()) return;
    auto text = support::ReadZipText(config_.quality_path, kQualityMember);
    if (!text) {
      warnings_.push_back("the quality report could not be read: " + text.message());
      return;
    }
    auto json = support::ParseJson(*text);
    if (!json || !json->is_object()) {
      warnings_.push_back("the quality report is no JSON object");
      return;
    }
    data_.quality = std::move(*json);
  }

  // The JSON members of an archive; a damaged archive or member becomes a warning.
  std::vector<support::Json> JsonMembers(const std::string& path, const char* what) {
    std::vector<support::Json> members;
    auto reader = support::ZipArchiveReader::Open(path);
    if (!reader) {
      warnings_.push_back(std::string("the ") + what + " could not be read: " + reader.message());
      return members;
    }
    for (const support::ZipEntry& entry : reader->Entries()) {
      if (entry.is_folder || entry.name.find(".json") == std::string::npos) continue;
      auto text = reader->ReadText(entry.name);
      auto json = text ? support::ParseJson(*text) : support::Result<support::Json>(text.error());
      if (!json) {
        warnings_.push_back(std::string("the ") + what + " member '" + entry.name +
                            "' could not be read: " + json.message());
        continue;
      }
      members.push_back(std::move(*json));
    }
    return members;
  }

  // The period of an entry's time (or period index), -1 when not on the axis; `label` gets the
  // period's label, or the archive's text of a time off the axis.
  std::ptrdiff_t PeriodOf(const support::Json& entry, std::string& label) {
    std::ptrdiff_t period = -1;
    if (const support::Json* index = support::FindMember(entry, "timeIndex"); index && index->is_number()) {
      const auto at = static_cast<std::ptrdiff_t>(index->get<double>());
      if (at >= 0 && static_cast<std::size_t>(at) < points_.size()) period = at;
    } else if (const support::Json* time = support::FindMember(entry, "time")) {
      period = PeriodIndex(points_).Find(PointOf(data_.axis, *time));
      if (period < 0 && time->is_string()) label = time->get<std::string>();
      if (period < 0 && label.empty()) label = support::GetString(entry, "timeText");
    }
    if (period >= 0) label = data_.period_labels[static_cast<std::size_t>(period)];
    return period;
  }

  // One outlier entry: its time (or period index) and values.
  Outlier OutlierOf(std::size_t series, const support::Json& entry) {
    Outlier outlier;
    outlier.series = series;
    outlier.period = PeriodOf(entry, outlier.time);
    outlier.observed = support::GetDouble(entry, "observed", kNaN);
    outlier.predicted = support::GetDouble(entry, "predicted", kNaN);
    outlier.probability = support::GetDouble(entry, "probability", kNaN);
    return outlier;
  }

  std::ptrdiff_t SeriesOfPieces(const support::Json* pieces) {
    if (pieces == nullptr || !pieces->is_array()) return -1;
    std::vector<std::string> texts;
    for (const auto& piece : *pieces) {
      if (piece.is_string()) texts.push_back(piece.get<std::string>());
    }
    return data_.FindSeries(texts);
  }

  void ReadOutliers() {
    if (config_.outlier_path.empty()) return;
    auto reader = support::ZipArchiveReader::Open(config_.outlier_path);
    if (!reader) {
      warnings_.push_back("the outlier results could not be read: " + reader.message());
      return;
    }
    data_.outliers_given = true;
    for (const support::Json& member : JsonMembers(config_.outlier_path, "outlier results")) {
      const support::Json* detection = support::FindMember(member, "outlierDetection");
      if (detection == nullptr) continue;
      const std::ptrdiff_t series =
          SeriesOfPieces(support::FindPath(*detection, "analysisSettings.targetTimeSeries"));
      if (series < 0) {
        warnings_.push_back("outlier results name a series that is not in the model system");
        continue;
      }
      if (const support::Json* summary = support::FindMember(*detection, "summary")) {
        data_.outlier_summaries.push_back({static_cast<std::size_t>(series),
                                           support::GetDouble(*summary, "assessedPoints", kNaN),
                                           support::GetDouble(*summary, "flaggedPoints", kNaN),
                                           support::GetDouble(*summary, "expectedChanceFlags", kNaN)});
      }
      const support::Json* list = support::FindMember(*detection, "outliers");
      if (list == nullptr || !list->is_array()) continue;
      for (const auto& entry : *list) data_.outliers.push_back(OutlierOf(static_cast<std::size_t>(series), entry));
    }
  }

  // One cause of an outlier; `share` falls back on `score`, which archives without it carry.
  RootCause CauseOf(std::size_t series, std::size_t target, const support::Json& entry) {
    RootCause cause;
    cause.series = series;
    cause.score = support::GetDouble(entry, "score", kNaN);
    cause.share = support::GetDouble(entry, "share", cause.score);
    PeriodOf(entry, cause.time);
    cause.delay = static_cast<int>(support::GetInt(entry, "delay", 0));
    cause.is_target = support::GetBool(entry, "isTarget", series == target);
    if (const support::Json* path = support::FindMember(entry, "path"); path && path->is_array()) {
      for (const auto& link : *path) {
        cause.path.push_back({SeriesOfPieces(support::FindMember(link, "from")),
                              SeriesOfPieces(support::FindMember(link, "to")),
                              static_cast<int>(support::GetInt(link, "lag", 0))});
      }
    }
    return cause;
  }

  void ReadRootCauses() {
    if (config_.root_cause_path.empty()) return;
    for (const support::Json& member : JsonMembers(config_.root_cause_path, "root cause results")) {
      const support::Json* analysis = support::FindMember(member, "rootCauseAnalysis");
      if (analysis == nullptr) continue;
      const std::ptrdiff_t target =
          SeriesOfPieces(support::FindPath(*analysis, "analysisSettings.targetTimeSeries"));
      if (target < 0) {
        warnings_.push_back("root cause results name a series that is not in the model system");
        continue;
      }
      RootCauseResult result;
      result.target = static_cast<std::size_t>(target);
      if (const support::Json* settings = support::FindMember(*analysis, "analysisSettings")) {
        result.generations = static_cast<int>(std::clamp<std::int64_t>(
            support::GetInt(*settings, "oldestGeneration", 3), 1, 100));
      }
      if (const support::Json* list = support::FindMember(*analysis, "outliers"); list && list->is_array()) {
        for (const auto& entry : *list) {
          RootCauseOutlier outlier;
          outlier.outlier = OutlierOf(result.target, entry);
          if (const support::Json* causes = support::FindMember(entry, "rootCauses");
              causes && causes->is_array()) {
            for (const auto& cause : *causes) {
              const std::ptrdiff_t series = SeriesOfPieces(support::FindMember(cause, "series"));
              if (series < 0) continue;
              outlier.causes.push_back(CauseOf(static_cast<std::size_t>(series), result.target, cause));
            }
          }
          result.outliers.push_back(std::move(outlier));
        }
      }
      data_.root_causes = std::move(result);
      return;  // one analysed series per archive
    }
    warnings_.push_back("the root cause results hold no analysis");
  }

  // The label of a time as a result archive writes it, placed on the axis as its periods are;
  // `text` when it cannot be placed.
  std::string TimeLabel(const support::Json* time, const std::string& text) {
    if (time == nullptr) return text;
    const double point = PointOf(data_.axis, *time);
    if (std::isfinite(point)) return PeriodLabel(data_.axis, point, config_);
    return time->is_string() ? time->get<std::string>() : text;
  }

  // A path of numbers, `null` read as NaN; nullopt when it is not an array of `count` entries.
  static std::optional<std::vector<double>> PathOf(const support::Json& entry, const char* key, std::size_t count) {
    const support::Json* path = support::FindMember(entry, key);
    if (path == nullptr || !path->is_array() || path->size() != count) return std::nullopt;
    std::vector<double> values;
    for (const auto& value : *path) values.push_back(value.is_number() ? value.get<double>() : kNaN);
    return values;
  }

  // One series of a scenario run; nullopt, with a warning, when it is not in the model system
  // or a path does not run over the run's times.
  std::optional<ScenarioSeries> ScenarioSeriesOf(const support::Json& entry, std::size_t count, bool limits) {
    std::ptrdiff_t series = SeriesOfPieces(support::FindMember(entry, "series"));
    if (series < 0) series = data_.FindSeries({support::GetString(entry, "seriesID")});
    if (series < 0) {
      warnings_.push_back("scenario results name a series that is not in the model system");
      return std::nullopt;
    }
    ScenarioSeries out;
    out.series = static_cast<std::size_t>(series);
    const support::Json* generation = support::FindMember(entry, "generation");
    out.generation = generation && generation->is_number() ? static_cast<int>(generation->get<double>()) : -1;
    out.is_target = support::GetBool(entry, "isTarget", false);
    out.relative_effect = support::GetDouble(entry, "relativeEffect", kNaN);
    out.largest_effect = support::GetDouble(entry, "largestEffect", kNaN);
    auto scenario = PathOf(entry, "scenario", count);
    auto baseline = PathOf(entry, "baseline", count);
    auto difference = PathOf(entry, "difference", count);
    auto lower = limits ? PathOf(entry, "lower", count) : std::vector<double>{};
    auto upper = limits ? PathOf(entry, "upper", count) : std::vector<double>{};
    if (!scenario || !baseline || !difference || !lower || !upper) {
      warnings_.push_back("scenario results: the paths of '" + data_.names[out.series].text +
                          "' do not hold one value per time of the run; the series is left out");
      return std::nullopt;
    }
    out.scenario = std::move(*scenario);
    out.baseline = std::move(*baseline);
    out.difference = std::move(*difference);
    out.lower = std::move(*lower);
    out.upper = std::move(*upper);
    return out;
  }

  void ReadScenario() {
    if (config_.scenario_path.empty()) return;
    for (const support::Json& member : JsonMembers(config_.scenario_path, "scenario results")) {
      const support::Json* analysis = support::FindMember(member, "scenarioAnalysis");
      const support::Json* definition = analysis ? support::FindMember(*analysis, "scenario") : nullptr;
      const support::Json* times = analysis ? support::FindMember(*analysis, "times") : nullptr;
      if (definition == nullptr || times == nullptr || !times->is_array()) continue;
      std::ptrdiff_t root = SeriesOfPieces(support::FindMember(*definition, "root"));
      if (root < 0) root = data_.FindSeries({support::GetString(*definition, "rootSeriesID")});
      if (root < 0) {
        warnings_.push_back("scenario results name a root series that is not in the model system");
        return;
      }
      ScenarioResult result;
      result.root = static_cast<std::size_t>(root);
      result.id = support::GetString(*definition, "scenarioID");
      result.start = TimeLabel(support::FindMember(*definition, "start"), support::GetString(*definition, "startText"));
      result.end = TimeLabel(support::FindMember(*definition, "end"), support::GetString(*definition, "endText"));
      result.furthest =
          TimeLabel(support::FindMember(*definition, "furthest"), support::GetString(*definition, "furthestText"));
      if (const support::Json* values = support::FindMember(*definition, "substitutedValues");
          values && values->is_array()) {
        result.substituted = *PathOf(*definition, "substitutedValues", values->size());
      }
      const support::Json* texts = support::FindMember(*analysis, "timesText");
      for (std::size_t t = 0; t < times->size(); ++t) {
        const bool has_text = texts && texts->is_array() && t < texts->size() && (*texts)[t].is_string();
        result.times.push_back(TimeLabel(&(*times)[t], has_text ? (*texts)[t].get<std::string>() : ""));
      }
      bool limits = false;
      if (const support::Json* settings = support::FindMember(*analysis, "analysisSettings")) {
        result.generations = static_cast<int>(
            std::clamp<std::int64_t>(support::GetInt(*settings, "youngestGeneration", 3), 1, 100));
        limits = support::GetBool(*settings, "isConfidenceIntervals", false);
        if (limits) result.confidence_level = support::GetDouble(*settings, "confidenceLevel", 0.95);
      }
      if (const support::Json* list = support::FindMember(*analysis, "series"); list && list->is_array()) {
        for (const auto& entry : *list) {
          if (auto series = ScenarioSeriesOf(entry, result.times.size(), limits)) result.series.push_back(std::move(*series));
        }
      }
      data_.scenario = std::move(result);
      return;  // one scenario per archive
    }
    warnings_.push_back("the scenario results hold no scenario analysis");
  }

  const OutputConfig& config_;
  const Table* stream_;
  std::vector<std::string>& warnings_;
  OutputData data_;
  std::vector<double> points_;  // the extended axis
  std::vector<bool> predicted_by_stream_;
};

}  // namespace

std::ptrdiff_t OutputData::FindSeries(const std::vector<std::string>& pieces) const {
  if (pieces.empty()) return -1;
  for (std::size_t s = 0; s < system.series.size(); ++s) {
    const model::SeriesRef& series = system.series[s];
    if (pieces.size() != series.dims.size() + 1 || pieces.back() != series.metric) continue;
    bool same = true;
    for (std::size_t d = 0; d < series.dims.size() && same; ++d) same = SameValue(pieces[d], series.dims[d]);
    if (same) return static_cast<std::ptrdiff_t>(s);
  }
  // Encoded texts: the coded series ID.
  const std::string joined = support::Join(pieces, "-");
  for (std::size_t s = 0; s < system.series.size(); ++s) {
    if (system.series[s].id == joined) return static_cast<std::ptrdiff_t>(s);
  }
  return -1;
}

const model::Equation* OutputData::EquationOf(std::size_t series) const {
  const std::ptrdiff_t equation = system.EquationOf(series);
  return equation < 0 ? nullptr : &system.equations[static_cast<std::size_t>(equation)];
}

support::Result<OutputData> LoadOutputData(const OutputConfig& config, const Table* stream,
                                           std::vector<std::string>& warnings) {
  return Loader(config, stream, warnings).Load();
}

}  // namespace engine::output
