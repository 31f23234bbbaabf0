// This file contains the sample output document of the report tests and its orders.
#include "report_sample_document.h"

#include <cmath>
#include <vector>

#include "host/output/json_to_reverb.h"

namespace host::testing {
namespace {

using Json = nlohmann::ordered_json;

const std::vector<std::string> kSeries = {
    "sales-East", "sales-West", "sales-North", "price-East", "price-West", "promo-East",
    "promo-West", "visits-East", "visits-West", "stock-East", "stock-West", "returns-East",
    "returns-West", "v2.1-East"};

Json Categories(const std::vector<std::string>& texts, bool with_keys = false) {
  Json content = Json::array();
  for (const auto& text : texts) {
    Json node = TextNode(text);
    if (with_keys) node["key"] = text;
    content.push_back(node);
  }
  return content;
}

Json Months(int count) {
  std::vector<std::string> labels;
  for (int i = 0; i < count; ++i) {
    labels.push_back(std::to_string(2021 + i / 12) + "-" + (i % 12 < 9 ? "0" : "") +
                     std::to_string(i % 12 + 1));
  }
  return Categories(labels);
}

Json ObservedPredicted(int seed) {
  const int months = 30, forecast = 24;
  Json rows = Json::array();
  for (int i = 0; i < months; ++i) {
    const double level = 100 + 10 * seed + 1.5 * i + 12 * std::sin(i * 0.55 + seed);
    const double width = i < forecast ? 6 : 6 + 2.5 * (i - forecast + 1);
    Json observed = i < forecast ? Json(level + 5 * std::cos(i * 1.7 + seed)) : Json(nullptr);
    rows.push_back({i, observed, level, level - width, level + width});
  }
  return {{"kind", "lineChart"},
          {"title", "Observed and Predicted"},
          {"forecastStart", forecast},
          {"xLabel", "Date"},
          {"yLabel", kSeries[static_cast<std::size_t>(seed) % kSeries.size()]},
          {"dataArray",
           {{{"name", "values"},
             {"fields",
              {{{"name", "date"}, {"label", "Date"}, {"role", "x"}, {"type", "categorical"},
                {"cats", {{{"name", "periods"}, {"content", Months(months)}}}}},
               {{"name", "observed"}, {"label", "Observed"}, {"role", "line"}, {"type", "continuous"}},
               {{"name", "predicted"}, {"label", "Predicted"}, {"role", "line"}, {"type", "continuous"}},
               {{"name", "lcl"}, {"label", "Lower confidence limit"}, {"role", "lower"}, {"of", "predicted"}},
               {{"name", "ucl"}, {"label", "Upper confidence limit"}, {"role", "upper"}, {"of", "predicted"}}}},
             {"rows", rows}}}}};
}

Json ImpactTree(const std::string& root, const std::string& direction, bool root_causes) {
  // Two levels: three series drive the root, two of them driven by further series.
  std::vector<std::string> names = {root, "price-East", "promo-East", "visits-East",
                                    "stock-West", "returns-East", "promo-West"};
  Json rows = Json::array();
  const int parents[] = {-1, 0, 0, 0, 1, 1, 2};
  for (int i = 0; i < 7; ++i) {
    Json row = {i, parents[i] < 0 ? Json(nullptr) : Json(parents[i]), i == 0 ? Json(nullptr) : Json(1 + i % 3),
                i == 0 ? Json(nullptr) : Json(0.002 * i), i == 0 ? Json(nullptr) : Json(1.0 / i)};
    if (root_causes) row.push_back(i == 4 || i == 6 ? 1 : 0);
    rows.push_back(row);
  }
  Json fields = {{{"name", "series"}, {"role", "series"}, {"type", "categorical"},
                  {"cats", {{{"name", "series"}, {"content", Categories(names, true)}}}}},
                 {{"name", "parent"}, {"role", "parent"}},
                 {{"name", "lag"}, {"label", "Lag"}, {"role", "lag"}},
                 {{"name", "p"}, {"label", "Significance"}, {"role", "pValue"}},
                 {{"name", "weight"}, {"role", "weight"}}};
  if (root_causes) fields.push_back({{"name", "rootCause"}, {"role", "rootCause"}});
  return {{"kind", "impactTree"}, {"direction", direction},
          {"dataArray", {{{"name", "nodes"}, {"fields", fields}, {"rows", rows}}}}};
}

Json FitTable() {
  Json rows = Json::array();
  Json categories = Json::array();
  for (std::size_t i = 0; i < kSeries.size(); ++i) {
    categories.push_back({{"label", kSeries[i]}, {"key", kSeries[i]}});
    rows.push_back({0.95 - 0.03 * static_cast<double>(i), 4.5 + static_cast<double>(i),
                    10 + 3.5 * static_cast<double>(i), static_cast<int>(i % 3)});
  }
  return {{"title", "Model Fit Statistics"},
          {"rowDimensions", {{{"label", "Target"}, {"categories", categories}}}},
          {"columnDimensions",
           {{{"label", "Statistics"},
             {"categories",
              {{{"label", "R Square"}, {"format", {{"type", "number"}, {"decimals", 3}}}},
               {{"label", "RMSPE"}, {"format", {{"type", "percent"}, {"decimals", 1}}}},
               {{"label", "RMSE"}, {"format", {{"type", "number"}, {"decimals", 2}}}},
               {{"label", "Outliers"}, {"format", {{"type", "integer"}}}}}}}}},
          {"cells", rows},
          {"footnotes", {"Fit statistics are computed over the estimation period."}}};
}

} // namespace

Json TextNode(const std::string& text) {
  return {{"text", {{"compositeText", {{"children", {{{"text", {{"stringDataText", {{"value", text}}}}}}}}}}}}};
}

Json SampleDocument() {
  Json tcm;
  tcm["review"]["specifications"]["table"] = {
      {"title", "Model Specifications"},
      {"rowDimensions",
       {{{"label", "Setting"},
         {"categories", {"Targets", "Candidate inputs", "Maximum lag", "Confidence level"}}}}},
      {"columnDimensions", {{{"label", ""}, {"categories", {"Value"}}}}},
      {"cells", {{{{"value", 14}, {"format", {{"type", "integer"}}}}},
                 {{{"value", 14}, {"format", {{"type", "integer"}}}}},
                 {{{"value", 3}, {"format", {{"type", "integer"}}}}},
                 {{{"value", 95}, {"format", {{"type", "percent"}, {"decimals", 0}}}}}}},
      {"footnotes", {"Inputs were chosen by the group lasso."}}};
  // Overall model quality: histogram and dot plot of RMSPE over the series.
  Json bins = Json::array();
  for (int i = 0; i < 8; ++i) bins.push_back({2.5 * i, 2.5 * (i + 1), std::abs(4 - i) + (i == 2 ? 3 : 0)});
  tcm["evaluation"]["overallModelQualityHistogram"]["visualization"]["RMSPE"] = {
      {"kind", "histogram"}, {"statistic", "RMSPE"}, {"xLabel", "RMSPE"}, {"yLabel", "Count"},
      {"dataArray",
       {{{"name", "bins"},
         {"fields",
          {{{"name", "from"}, {"role", "binStart"}, {"format", {{"type", "number"}, {"decimals", 1}}}},
           {{"name", "to"}, {"role", "binEnd"}},
           {{"name", "count"}, {"role", "count"}}}},
         {"rows", bins}}}}};
  Json points = Json::array();
  for (std::size_t i = 0; i < kSeries.size(); ++i) points.push_back({i, 3.0 + 1.1 * static_cast<double>(i * i % 13)});
  tcm["evaluation"]["overallModelQualityDotplot"]["visualization"]["RMSPE"] = {
      {"kind", "dotPlot"}, {"statistic", "RMSPE"}, {"xLabel", "RMSPE"},
      {"dataArray",
       {{{"name", "points"},
         {"fields",
          {{{"name", "series"}, {"role", "category"}, {"cats", {{{"content", Categories(kSeries)}}}}},
           {{"name", "value"}, {"role", "value"}, {"format", {{"type", "number"}, {"decimals", 2}}}}}},
         {"rows", points}}}}};
  for (int s = 0; s < 3; ++s) {
    tcm["evaluation"]["observedAndPredicted"]["visualization"][kSeries[static_cast<std::size_t>(s)]] = ObservedPredicted(s);
  }
  tcm["evaluation"]["observedAndPredicted"]["visualization"]["v2.1-East"] = ObservedPredicted(13);
  tcm["evaluation"]["testOfModelEffectsForTarget"]["table"]["sales-East"] = {
      {"title", "Tests of Model Effects"},
      {"rowDimensions", {{{"label", "Source"}, {"categories", {"price-East", "promo-East", "visits-East"}}}}},
      {"columnDimensions",
       {{{"label", ""},
         {"categories",
          {{{"label", "F"}, {"format", {{"type", "number"}, {"decimals", 3}}}},
           {{"label", "df1"}, {"format", {{"type", "integer"}}}},
           {{"label", "Sig."}, {"format", {{"type", "pvalue"}, {"decimals", 3}}}}}}}}},
      {"cells", {{24.512, 3, 0.00002}, {7.25, 2, 0.004}, {{{"value", nullptr}}, 1, {{"value", 0.31}, {"footnotes", {0}}}}}},
      {"footnotes", {"The input entered the model at lag 1 only."}}};

  // The model system: 14 series, edges from inputs to targets.
  Json node_rows = Json::array();
  for (std::size_t i = 0; i < kSeries.size(); ++i) {
    const bool target = i < 11;
    node_rows.push_back({i, target ? Json(0.95 - 0.03 * static_cast<double>(i)) : Json(nullptr),
                         target ? Json(static_cast<int>(i) + 1) : Json(nullptr), static_cast<int>(i % 3)});
  }
  const int links[][2] = {{3, 0}, {5, 0}, {7, 0}, {4, 1}, {6, 1}, {8, 1}, {3, 2}, {0, 2}, {5, 7},
                          {6, 8}, {9, 11}, {10, 12}, {0, 9}, {1, 10}, {7, 3}, {13, 2}, {12, 4}, {2, 5}};
  Json edge_rows = Json::array();
  int k = 0;
  for (const auto& link : links) {
    ++k;
    edge_rows.push_back({link[0], link[1], k % 4 == 0 ? 0.08 : 0.0005 * k, 1.0 / (1 + k % 5), 1 + k % 3});
  }
  std::vector<std::string> targets(kSeries.begin(), kSeries.begin() + 11);
  tcm["interpretation"]["overallModelSystem"]["visualization"] = {
      {"kind", "networkGraph"}, {"fitStatistic", "R Square"},
      {"dataArray",
       {{{"name", "nodes"},
         {"fields",
          {{{"name", "series"}, {"role", "series"}, {"type", "categorical"},
            {"cats", {{{"name", "series"}, {"content", Categories(kSeries, true)}},
                      {{"name", "targets"}, {"content", Categories(targets)}}}}},
           {{"name", "rsquare"}, {"label", "R Square"}, {"role", "statistic"}, {"format", {{"type", "number"}, {"decimals", 3}}}},
           {{"name", "rank"}, {"role", "rank"}},
           {{"name", "outliers"}, {"role", "outliers"}}}},
         {"rows", node_rows}},
        {{"name", "edges"},
         {"fields",
          {{{"name", "source"}, {"role", "source"}},
           {{"name", "target"}, {"role", "target"}},
           {{"name", "p"}, {"role", "pValue"}},
           {{"name", "weight"}, {"role", "weight"}},
           {{"name", "lag"}, {"role", "lag"}}}},
         {"rows", edge_rows}}}}};
  tcm["interpretation"]["modelFitStatistics"]["table"] = FitTable();
  tcm["interpretation"]["seriesWithOutliers"]["table"] = {
      {"title", "Outliers"},
      {"rowDimensions", {{{"label", "Series"}, {"categories", {"sales-West", "sales-North"}}},
                         {{"label", "Outlier"}, {"categories", {"1", "2"}}}}},
      {"columnDimensions", {{{"label", ""}, {"categories", {"Time", {{"label", "Type"}}}}}}},
      // The engine's pivot fills a series' missing second outlier with a row of no value.
      {"cells", {{"2021-04", "Additive"}, {nullptr, nullptr}, {"2021-09", "Level shift"},
                 {"2022-02", "Additive"}}}};
  tcm["interpretation"]["impactDiagramCauses"]["visualization"]["sales-East"] = ImpactTree("sales-East", "causes", false);
  tcm["interpretation"]["impactDiagramEffects"]["visualization"]["sales-East"] = ImpactTree("sales-East", "effects", false);
  tcm["interpretation"]["parameterEstimatesForTarget"]["table"]["sales-East"] = "No estimates";
  tcm["action"]["outlierRootCauseAnalysisforSeries"]["visualization"] = ImpactTree("sales-North", "causes", true);
  tcm["action"]["outlierRootCauseAnalysisforSeries"]["subJson"]["sales-North"] = ObservedPredicted(2);
  tcm["action"]["outlierRootCauseAnalysisforSeries"]["subJson"]["stock-West"] = ObservedPredicted(10);
  tcm["action"]["outliers"]["table"] = tcm["interpretation"]["seriesWithOutliers"]["table"];
  Json forecast_rows = Json::array();
  for (int i = 0; i < 6; ++i) forecast_rows.push_back({140.2 + i, 131.0 + i, 149.4 + i, 98.1 - i, 90.5 - i, 105.7 - i});
  tcm["action"]["forecastedValuesForModel"]["table"]["sales-East"] = {
      {"title", "Forecasted Values"},
      {"rowDimensions", {{{"label", "Date"}, {"categories", {"2023-01", "2023-02", "2023-03", "2023-04", "2023-05", "2023-06"}}}}},
      {"columnDimensions", {{{"label", "Series"}, {"categories", {"sales-East", "price-East"}}},
                            {{"label", "Statistic"},
                             {"categories",
                              {{{"label", "Forecast"}, {"format", {{"type", "number"}, {"decimals", 1}}}},
                               {{"label", "LCL"}, {"format", {{"type", "number"}, {"decimals", 1}}}},
                               {{"label", "UCL"}, {"format", {{"type", "number"}, {"decimals", 1}}}}}}}}},
      {"cells", forecast_rows}};
  Json document;
  document["tcm"] = tcm;
  document["dataDictionary"] = {{"fields", {{{"name", "region"}, {"label", "Region"}, {"decimalPlaces", 0}}}}};
  return document;
}

void QueueSampleOrders(jsonToReverb& renderer) {
  renderer.addObjectToOutput("Review", "review.specifications.table", "Model Specifications",
                             "Model Specifications", OutputOrder::TypeTable);
  renderer.addObjectToOutput("Review", "review.temporalInformation.table",
                             "Temporal Information Summary", "Temporal Information Summary",
                             OutputOrder::TypeTable);
  OutputOrder quality;
  quality.setHeading("Evaluation")
      .setOutlineTitle("Overall Model Quality - RMSPE", true)
      .setType(OutputOrder::TypeInteractive)
      .addLocation("evaluation.overallModelQualityHistogram.visualization.RMSPE")
      .addLocation("evaluation.overallModelQualityDotplot.visualization.RMSPE")
      .setOptions("type=RMSPE");
  renderer.addObjectToOutput(quality);
  for (const char* key : {"sales-East", "sales-North", "sales-West", "v2.1-East"}) {
    OutputOrder chart;
    chart.setHeading("Evaluation.Observed and Predicted Series")
        .setOutlineTitle(key, false)
        .setType(OutputOrder::TypeChart)
        .addLocation(std::vector<std::string>{"evaluation", "observedAndPredicted", "visualization", key});
    renderer.addObjectToOutput(chart);
  }
  OutputOrder effects;
  effects.setHeading("Evaluation.Tests of Model Effects")
      .setOutlineTitle("sales-East", false)
      .setType(OutputOrder::TypeTable)
      .setOMSSubType("Tests of Model Effects")
      .addLocation(std::vector<std::string>{"evaluation", "testOfModelEffectsForTarget", "table", "sales-East"});
  renderer.addObjectToOutput(effects);
  OutputOrder forecasts;
  forecasts.setHeading("Evaluation.Forecasted Values")
      .setOutlineTitle("sales-East", false)
      .setOMSSubType("Forecasted Values")
      .addLocation(std::vector<std::string>{"action", "forecastedValuesForModel", "table", "sales-East"});
  renderer.addObjectToOutput(forecasts);
  OutputOrder system;
  system.setHeading("Interpretation.Overall Model System")
      .setType(OutputOrder::TypeInteractive)
      .addLocation("interpretation.overallModelSystem.visualization")
      .addLocation("interpretation.modelFitStatistics")
      .addLocation("interpretation.seriesWithOutliers")
      .setOptions("modelSystemFilePath=/home/analyst/retail.tcm")
      .setOptions("outliers=true");
  OutputOrder top = system;
  top.setOutlineTitle("Top models", true)
      .setOptions("display=Top models,topModels=5,causes=3,effects=2,levels=3,sigLevel=0.05");
  renderer.addObjectToOutput(top);
  OutputOrder all = system;
  all.setOutlineTitle("All series", true)
      .setOptions("display=All series,topModels=5,causes=3,effects=2,levels=3,sigLevel=0.05");
  renderer.addObjectToOutput(all);
  OutputOrder fit;
  fit.setHeading("Interpretation.Model Fit Statistics")
      .setOutlineTitle("Top models", true)
      .setType(OutputOrder::TypeTable)
      .setOMSSubType("Model Fit Statistics")
      .addLocation("interpretation.modelFitStatistics.table");
  renderer.addObjectToOutput(fit);
  for (const char* direction : {"causes", "effects"}) {
    OutputOrder impact;
    impact.setHeading("Interpretation.Impact Diagram")
        .setOutlineTitle(std::string("sales-East:") + direction, false)
        .setType(OutputOrder::TypeInteractive)
        .addLocation("interpretation.impactDiagramCauses")
        .addLocation("interpretation.impactDiagramEffects")
        .setOptions("modelSystemFilePath=/home/analyst/retail.tcm")
        .setOptions(std::string("series=sales-East,initial=") + direction)
        .setOptions("causes=3,effects=2,levels=3");
    renderer.addObjectToOutput(impact);
  }
  OutputOrder rca;
  rca.setHeading("Interpretation.Outlier Root Cause Analysis")
      .setOutlineTitle("sales-North", false)
      .setType(OutputOrder::TypeInteractive)
      .addLocation("action.outlierRootCauseAnalysisforSeries")
      .addLocation("action.outliers")
      .setOptions("modelSystemFilePath=/home/analyst/retail.tcm")
      .setOptions("causes=3,effects=2,levels=3");
  renderer.addObjectToOutput(rca);
}

} // namespace host::testing
