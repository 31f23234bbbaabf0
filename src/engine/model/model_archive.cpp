// This file contains the writing and reading of the model system archive.
#include "engine/model/model_archive.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "support/xml_util.h"
#include "support/zip_archive.h"

namespace engine::model {
namespace {

// Full precision, so a model read back scores exactly as the one written.
std::string Number(double value) {
  if (std::isnan(value))
    return "NaN";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.17g", value);
  return buffer;
}

double ReadNumber(pugi::xml_node node, const char* name) {
  const pugi::xml_attribute attribute = node.attribute(name);
  if (!attribute)
    return kNaN;
  const char* text = attribute.value();
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  return end == text ? kNaN : value;
}

void Put(pugi::xml_node node, const char* name, const std::string& value) {
  node.append_attribute(name).set_value(value.c_str());
}

void AddParameter(pugi::xml_node root, const char* name, const std::string& value) {
  pugi::xml_node parameter = root.append_child("Parameter");
  Put(parameter, "name", name);
  pugi::xml_node attribute = parameter.append_child("Attribute");
  Put(attribute, "name", "value");
  Put(attribute, "value", value);
}

std::string ParameterValue(pugi::xml_node root, std::string_view name) {
  for (pugi::xml_node parameter : support::Children(root, "Parameter")) {
    if (support::Attribute(parameter, "name") != name)
      continue;
    for (pugi::xml_node attribute : support::Children(parameter, "Attribute")) {
      if (support::Attribute(attribute, "name") == "value") {
        return support::Attribute(attribute, "value");
      }
    }
  }
  return {};
}

support::Error Fail(const std::string& message) {
  return support::Error{"StatXML.xml: " + message};
}

} // namespace

DataModel ModelDataModel(const Table& prepared, const std::vector<std::string>& dim_fields,
                         const std::vector<std::string>& metric_fields) {
  DataModel model;
  for (const std::string& dim : dim_fields) {
    if (dim.empty())
      continue; // a list of one empty name means no dimensions
    Field coded;
    coded.name = dim;
    coded.storage = Storage::kInteger;
    coded.measurement = "nominal";
    coded.base = "$base_" + dim;
    Field base;
    base.name = coded.base;
    base.storage = Storage::kString;
    base.measurement = "nominal";
    if (auto index = prepared.model.Find(dim)) {
      const Field& source = prepared.model.fields[*index];
      base.storage = source.storage;
      int next_code = 1;
      for (const Category& category : source.categories) {
        if (category.code)
          next_code = std::max(next_code, *category.code + 1);
      }
      for (const Category& category : source.categories) {
        const int code = category.code ? *category.code : next_code++;
        coded.categories.push_back({std::to_string(code), code, category.value});
        base.categories.push_back({category.value, code, category.value});
      }
    }
    model.fields.push_back(std::move(coded));
    model.fields.push_back(std::move(base));
  }
  Field metric;
  metric.name = "metricField";
  metric.storage = Storage::kInteger;
  metric.measurement = "nominal";
  for (std::size_t m = 0; m < metric_fields.size(); ++m) {
    const int code = static_cast<int>(m) + 1;
    metric.categories.push_back({std::to_string(code), code, metric_fields[m]});
  }
  model.fields.push_back(std::move(metric));
  return model;
}

std::string StatXmlText(const ModelSystem& system, const DataModel& data_model) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("StatXML");
  auto parsed = support::ParseXml(DataModelToXml(data_model));
  if (parsed)
    root.append_copy(parsed->document_element());
  const ModelSettings& settings = system.settings;
  AddParameter(root, "maxLag", std::to_string(settings.max_lag));
  AddParameter(root, "maxNumberOfPredictor", std::to_string(settings.max_inputs));
  AddParameter(root, "epsilon", Number(settings.epsilon));
  AddParameter(root, "confidenceLevel", Number(settings.confidence_level));
  AddParameter(root, "significanceLevel", Number(settings.significance_level));
  pugi::xml_node list = root.append_child("SeriesList");
  for (const SeriesRef& series : system.series) {
    pugi::xml_node node = list.append_child("Series");
    Put(node, "id", series.id);
    Put(node, "metric", series.metric);
    for (const std::string& dim : series.dims)
      Put(node.append_child("Dim"), "value", dim);
  }
  pugi::xml_node models = root.append_child("Models");
  for (const Equation& equation : system.equations) {
    pugi::xml_node node = models.append_child("Model");
    Put(node, "series", system.series[equation.series].id);
    Put(node, "type", equation.is_target ? "target" : "ar");
    const FitStats& stats = equation.stats;
    Put(node, "n", std::to_string(stats.n));
    Put(node, "k", std::to_string(stats.k));
    Put(node, "rss", Number(stats.rss));
    Put(node, "sigma2", Number(stats.sigma2));
    Put(node, "RMSE", Number(stats.rmse));
    Put(node, "RMSPE", Number(stats.rmspe));
    Put(node, "AIC", Number(stats.aic));
    Put(node, "BIC", Number(stats.bic));
    Put(node, "normalizedBIC", Number(stats.normalized_bic));
    Put(node, "RSQUARE", Number(stats.rsquare));
    pugi::xml_node intercept = node.append_child("Intercept");
    Put(intercept, "coefficient", Number(equation.intercept));
    Put(intercept, "se", Number(equation.intercept_se));
    Put(intercept, "t", Number(equation.intercept_t));
    Put(intercept, "pValue", Number(equation.intercept_p));
    for (const InputBlock& block : equation.blocks) {
      pugi::xml_node input = node.append_child("Input");
      Put(input, "series", system.series[block.series].id);
      Put(input, "own", block.own ? "true" : "false");
      Put(input, "F", Number(block.f));
      Put(input, "df1", std::to_string(block.df1));
      Put(input, "df2", std::to_string(block.df2));
      Put(input, "pValue", Number(block.f_p_value));
      for (std::size_t l = 0; l < block.coefficients.size(); ++l) {
        pugi::xml_node lag = input.append_child("Lag");
        Put(lag, "lag", std::to_string(l + 1));
        Put(lag, "coefficient", Number(block.coefficients[l]));
        Put(lag, "se", Number(l < block.std_errors.size() ? block.std_errors[l] : kNaN));
        Put(lag, "t", Number(l < block.t_values.size() ? block.t_values[l] : kNaN));
        Put(lag, "pValue", Number(l < block.p_values.size() ? block.p_values[l] : kNaN));
      }
    }
  }
  return support::WriteXml(document, true);
}

support::Result<ModelSystem> ModelSystemFromStatXml(std::string_view text) {
  auto parsed = support::ParseXml(text);
  if (!parsed)
    return Fail(parsed.message());
  const pugi::xml_node root = parsed->document_element();
  if (std::string_view(root.name()) != "StatXML")
    return Fail("the root is not StatXML");
  ModelSystem system;
  ModelSettings& settings = system.settings;
  settings.max_lag = std::atoi(ParameterValue(root, "maxLag").c_str());
  if (settings.max_lag < 1)
    return Fail("the parameter maxLag is missing or below 1");
  settings.max_inputs = static_cast<std::size_t>(
      std::max(0, std::atoi(ParameterValue(root, "maxNumberOfPredictor").c_str())));
  const auto number = [&](std::string_view name, double fallback) {
    const std::string value = ParameterValue(root, name);
    return value.empty() ? fallback : std::strtod(value.c_str(), nullptr);
  };
  settings.epsilon = number("epsilon", settings.epsilon);
  settings.confidence_level = number("confidenceLevel", settings.confidence_level);
  settings.significance_level = number("significanceLevel", settings.significance_level);
  for (pugi::xml_node node : support::FindElements(root, "SeriesList/Series")) {
    SeriesRef series;
    series.id = support::Attribute(node, "id");
    series.metric = support::Attribute(node, "metric");
    for (pugi::xml_node dim : support::Children(node, "Dim")) {
      series.dims.push_back(support::Attribute(dim, "value"));
    }
    if (series.id.empty() || system.FindSeries(series.id) >= 0) {
      return Fail("a series has no ID or a repeated one ('" + series.id + "')");
    }
    system.series.push_back(std::move(series));
  }
  const std::size_t lags = static_cast<std::size_t>(settings.max_lag);
  for (pugi::xml_node node : support::FindElements(root, "Models/Model")) {
    Equation equation;
    const std::ptrdiff_t series = system.FindSeries(support::Attribute(node, "series"));
    if (series < 0)
      return Fail("a model names an unknown series");
    equation.series = static_cast<std::size_t>(series);
    equation.is_target = support::Attribute(node, "type") != "ar";
    FitStats& stats = equation.stats;
    stats.n = static_cast<std::size_t>(support::AttributeInt(node, "n"));
    stats.k = static_cast<std::size_t>(support::AttributeInt(node, "k"));
    stats.rss = ReadNumber(node, "rss");
    stats.sigma2 = ReadNumber(node, "sigma2");
    stats.rmse = ReadNumber(node, "RMSE");
    stats.rmspe = ReadNumber(node, "RMSPE");
    stats.aic = ReadNumber(node, "AIC");
    stats.bic = ReadNumber(node, "BIC");
    stats.normalized_bic = ReadNumber(node, "normalizedBIC");
    stats.rsquare = ReadNumber(node, "RSQUARE");
    const pugi::xml_node intercept = support::Child(node, "Intercept");
    equation.intercept = ReadNumber(intercept, "coefficient");
    equation.intercept_se = ReadNumber(intercept, "se");
    equation.intercept_t = ReadNumber(intercept, "t");
    equation.intercept_p = ReadNumber(intercept, "pValue");
    if (std::isnan(equation.intercept) || std::isnan(stats.sigma2)) {
      return Fail("the model of '" + system.series[equation.series].id +
                  "' lacks its intercept or error variance");
    }
    for (pugi::xml_node input : support::Children(node, "Input")) {
      InputBlock block;
      const std::ptrdiff_t source = system.FindSeries(support::Attribute(input, "series"));
      if (source < 0)
        return Fail("an input names an unknown series");
      block.series = static_cast<std::size_t>(source);
      block.own = support::Attribute(input, "own") == "true";
      block.f = ReadNumber(input, "F");
      block.df1 = static_cast<int>(support::AttributeInt(input, "df1"));
      block.df2 = static_cast<int>(support::AttributeInt(input, "df2"));
      block.f_p_value = ReadNumber(input, "pValue");
      for (pugi::xml_node lag : support::Children(input, "Lag")) {
        block.coefficients.push_back(ReadNumber(lag, "coefficient"));
        block.std_errors.push_back(ReadNumber(lag, "se"));
        block.t_values.push_back(ReadNumber(lag, "t"));
        block.p_values.push_back(ReadNumber(lag, "pValue"));
      }
      if (block.coefficients.size() != lags ||
          std::any_of(block.coefficients.begin(), block.coefficients.end(),
                      [](double c) { return std::isnan(c); })) {
        return Fail("an input of the model of '" + system.series[equation.series].id +
                    "' does not have " + std::to_string(lags) + " coefficients");
      }
      equation.blocks.push_back(std::move(block));
    }
    if (equation.blocks.empty() || !equation.blocks.front().own) {
      return Fail("the model of '" + system.series[equation.series].id + "' lacks its own lags");
    }
    if (system.EquationOf(equation.series) >= 0) {
      return Fail("the series '" + system.series[equation.series].id + "' has two models");
    }
    system.equations.push_back(std::move(equation));
  }
  return system;
}

support::OrderedJson GraphJson(const ModelSystem& system) {
  support::OrderedJson graph;
  graph["maxLag"] = system.settings.max_lag;
  graph["significanceLevel"] = system.settings.significance_level;
  support::OrderedJson targets = support::OrderedJson::array();
  support::OrderedJson ar_series = support::OrderedJson::array();
  std::vector<int> lag_numbers;
  for (int l = 1; l <= system.settings.max_lag; ++l)
    lag_numbers.push_back(l);
  for (const Equation& equation : system.equations) {
    const SeriesRef& series = system.series[equation.series];
    if (!equation.is_target) {
      ar_series.push_back(series.id);
      continue;
    }
    support::OrderedJson target;
    target["id"] = series.id;
    target["dims"] = series.dims;
    target["metric"] = series.metric;
    support::OrderedJson inputs = support::OrderedJson::array();
    for (const InputBlock& block : equation.blocks) {
      if (block.own)
        continue;
      support::OrderedJson input;
      input["id"] = system.series[block.series].id;
      input["lags"] = lag_numbers;
      input["coefficients"] = block.coefficients;
      input["F"] = block.f;
      input["pValue"] = block.f_p_value;
      input["significant"] = block.f_p_value < system.settings.significance_level;
      inputs.push_back(std::move(input));
    }
    target["inputs"] = std::move(inputs);
    targets.push_back(std::move(target));
  }
  graph["targets"] = std::move(targets);
  graph["arModelSeries"] = std::move(ar_series);
  return graph;
}

support::Status WriteModelArchive(const std::filesystem::path& path, const ModelSystem& system,
                                  const DataModel& data_model, std::string_view preparation_json) {
  auto graph = support::DumpJson(GraphJson(system), support::JsonStyle::kPretty);
  if (!graph)
    return graph.status();
  support::ZipArchiveWriter writer;
  if (auto status = writer.AddText(kStatXmlMember, StatXmlText(system, data_model)); !status) {
    return status;
  }
  if (auto status = writer.AddText(kGraphMember, *graph); !status)
    return status;
  if (auto status = writer.AddText(kPreparationMember, preparation_json); !status)
    return status;
  return writer.WriteTo(path);
}

support::Result<LoadedModel> ReadModelArchive(const std::filesystem::path& path) {
  auto reader = support::ZipArchiveReader::Open(path);
  if (!reader)
    return reader.error();
  auto stat_xml = reader->ReadText(kStatXmlMember);
  if (!stat_xml)
    return stat_xml.error();
  auto system = ModelSystemFromStatXml(*stat_xml);
  if (!system)
    return system.error();
  LoadedModel loaded;
  loaded.system = std::move(*system);
  if (reader->Contains(kPreparationMember)) {
    auto preparation = reader->ReadText(kPreparationMember);
    if (!preparation)
      return preparation.error();
    loaded.preparation_json = std::move(*preparation);
  }
  return loaded;
}

} // namespace engine::model
