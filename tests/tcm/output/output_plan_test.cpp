// Golden tests of the output plan: the orders queued for small output documents in each kind of
// run, series drawn once across runs, the once-only messages, the system options, series labels,
// and the drawing of whole archives.
#include "tcm/output/output_plan.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/debug_display.h"
#include "host/output/json_to_reverb.h"
#include "host/output/output_test_support.h"
#include "host/output/rv.h"
#include "support/zip_archive.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/tcm_test_util.h"

namespace {

using Json = nlohmann::ordered_json;

// One order as a line: heading|title|T or F|type|subtype|locations|option texts, then the
// visible category and the path id when set. List locations are shown as [a/b/c].
std::string Describe(const OutputOrder& order) {
  std::string text = order.Heading() + "|" + order.OutlineTitle() +
                     (order.TranslateTitle() ? "|T|" : "|F|") +
                     std::to_string(static_cast<int>(order.GetType())) + "|" + order.OMSSubType() +
                     "|";
  for (std::size_t i = 0; i < order.Locations().size(); ++i) {
    const OutputLocation& location = order.Locations()[i];
    if (i > 0) text += ",";
    if (location.is_list) {
      text += "[";
      for (std::size_t s = 0; s < location.segments.size(); ++s)
        text += (s > 0 ? "/" : "") + location.segments[s];
      text += "]";
    } else {
      text += location.dotted;
    }
  }
  text += "|";
  for (std::size_t i = 0; i < order.OptionTexts().size(); ++i)
    text += (i > 0 ? ";" : "") + order.OptionTexts()[i];
  if (order.HasVisibleCategory()) text += "|only=" + order.VisibleCategory();
  if (!order.PathId().empty()) text += "|id=" + order.PathId();
  return text;
}

std::vector<std::string> Describe(const std::vector<OutputOrder>& orders) {
  std::vector<std::string> lines;
  for (const OutputOrder& order : orders) lines.push_back(Describe(order));
  return lines;
}

// A composite text node of one plain string.
Json Category(const std::string& text) {
  return {{"text", {{"compositeText", {{"children", Json::array({{{"text", {{"stringDataText", {{"value", text}}}}}}})}}}}}};
}

// A visualization whose first field lists `series` in cats[0], with `lists` category lists.
Json ListingVisualization(const std::vector<std::string>& series, int lists) {
  Json content = Json::array();
  for (const auto& text : series) content.push_back(Category(text));
  Json cats = Json::array({{{"name", "series"}, {"content", content}}});
  for (int i = 1; i < lists; ++i) cats.push_back({{"name", "targets"}, {"content", Json::array()}});
  return {{"kind", "networkGraph"},
          {"dataArray", Json::array({{{"name", "nodes"},
                                      {"fields", Json::array({{{"name", "series"}, {"cats", cats}}})},
                                      {"rows", Json::array()}}})}};
}

const Json kTable = {{"title", "t"},
                     {"columnDimensions", Json::array({{{"label", ""}, {"categories", {"N"}}}})},
                     {"cells", Json::array({Json::array({1})})}};
const Json kChart = {{"kind", "lineChart"}};

// A targets document: review, per-series evaluation nodes (keys out of order, a residual node
// that is a string), the system graph, the outlier table without the fit table, one causes
// diagram and top inputs.
Json TargetsDocument() {
  Json tcm;
  tcm["review"]["specifications"]["table"] = kTable;
  tcm["evaluation"]["testOfModelEffectsForTarget"]["table"] = {{"9-sales", kTable},
                                                               {"10-sales", kTable}};
  tcm["evaluation"]["observedAndPredicted"]["visualization"] = {{"10-sales", kChart}};
  tcm["evaluation"]["residualsbyTimeforTarget"]["visualization"] = "No residuals";
  tcm["interpretation"]["overallModelSystem"]["visualization"] =
      ListingVisualization({"10-sales", "9-sales"}, 2);
  tcm["interpretation"]["seriesWithOutliers"]["table"] = kTable;
  tcm["interpretation"]["impactDiagramCauses"]["visualization"] = {{"10-sales", kChart}};
  tcm["interpretation"]["topInputsforTarget"]["visualization"] = {{"9-sales", kChart}};
  return {{"tcm", tcm}};
}

class OutputPlanTest : public host::testing::SessionTest {
 protected:
  OutputPlanTest() { spec_ = ParseModel(""); }

  TCMModelValidSpecs ParseModel(const std::string& middle) {
    auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
        "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day " + middle +
            " /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price.",
        tcm_test::MakeDataset({{"sales"}, {"price"}, {"region", 8, "A8"}, {"day", 0, "DATE11"}}),
        "TCM MODEL", "Temporal Causal Modeling");
    EXPECT_TRUE(parsed.ok) << parsed.Describe();
    parsed.spec.modelSystemPath = "/models/m,1.zip";
    return parsed.spec;
  }

  // The orders `plan` queues for `document` in `run`.
  std::vector<std::string> Queue(OutputPlan& plan, const Json& document, const OutputRun& run) {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    jsonToReverb renderer(&procedure, nullptr, dictionary_, document.dump());
    plan.QueueRun(renderer, dictionary_, run);
    return Describe(renderer.Orders());
  }

  // The untranslated texts of the messages shown so far.
  std::vector<std::string> Messages() const {
    std::vector<std::string> texts;
    for (const host::MessageRecord* message : document_.Messages())
      texts.push_back(message->args.empty() ? message->text : message->args[0]);
    return texts;
  }

  static OutputRun Run(const std::string& name, int causes, int effects, int levels,
                       OutputRunKind kind, const std::vector<SeriesKey>* series = nullptr) {
    OutputRun run;
    run.name = name;
    run.causes = causes;
    run.effects = effects;
    run.levels = levels;
    run.kind = kind;
    run.seriesList = series;
    return run;
  }

  FacSTDictionary dictionary_;
  TCMModelValidSpecs spec_;
};

const std::string kReview =
    "Review|Model Specifications|F|0|Model Specifications|review.specifications.table|";
const std::string kTemporal =
    "Review|Temporal Information Summary|F|0|Temporal Information Summary|"
    "review.temporalInformation.table|";
const std::string kTransformed =
    "Review|Transformed Time Series|F|0|Transformed Time Series|review.transformations.table|";
const std::string kSystemLocations =
    "interpretation.overallModelSystem.visualization,interpretation.modelFitStatistics,"
    "interpretation.seriesWithOutliers";

TEST_F(OutputPlanTest, TargetsRunThenSeriesRunDrawEachSeriesOnce) {
  spec_ = ParseModel(
      "/SYSTEMOUTPUT MODELFIT=AIC RMSE OUTLIERPLOT=YES "
      "/FILTEREDOUTPUT INCLUDE=BOTH PRINT=MODELFIT OUTLIERS IMPACTDIAGRAMS=CAUSES(2)");
  spec_.modelSystemPath = "/models/m,1.zip";
  OutputPlan plan(spec_);
  const Json document = TargetsDocument();

  EXPECT_EQ(
      Queue(plan, document, Run("BESTFIT", 2, 0, 3, TargetsRun)),
      (std::vector<std::string>{
          kReview, kTemporal, kTransformed,
          // Quality objects in the order of MODELFIT; then the outlier distribution.
          "Evaluation|Overall Model Quality - AIC|T|2||"
          "evaluation.overallModelQualityHistogram.visualization.AIC,"
          "evaluation.overallModelQualityDotplot.visualization.AIC|type=AIC",
          "Evaluation|Overall Model Quality - RMSE|T|2||"
          "evaluation.overallModelQualityHistogram.visualization.RMSE,"
          "evaluation.overallModelQualityDotplot.visualization.RMSE|type=RMSE",
          "Evaluation|Outlier Distribution|T|2||"
          "evaluation.outlierDistributionHistogram.visualization,"
          "evaluation.outlierDistributionDotplot.visualization|",
          // Keys in byte order: "10" before "9". The residual string is no node.
          "Evaluation.Tests of Model Effects|10-sales|F|0|Tests of Model Effects|"
          "[evaluation/testOfModelEffectsForTarget/table/10-sales]|",
          "Evaluation.Tests of Model Effects|9-sales|F|0|Tests of Model Effects|"
          "[evaluation/testOfModelEffectsForTarget/table/9-sales]|",
          "Evaluation.Observed and Predicted Series|10-sales|F|1||"
          "[evaluation/observedAndPredicted/visualization/10-sales]|",
          "Interpretation.Overall Model System|Top models|T|2||" + kSystemLocations +
              "|modelSystemFilePath=/models/m,1.zip;outliers=true;"
              "display=Top models,topModels=10,causes=2,effects=0,levels=3,sigLevel=0.05",
          // The fit table is absent: a message instead; the outlier table is there.
          "Interpretation.Outliers|Top models|T|0|Outliers|interpretation.seriesWithOutliers.table|",
          "Interpretation.Impact Diagram|10-sales:causes|F|2||"
          "interpretation.impactDiagramCauses,interpretation.impactDiagramEffects|"
          "modelSystemFilePath=/models/m,1.zip;series=10-sales,initial=causes;"
          "causes=2,effects=0,levels=3",
          "Interpretation.Top Inputs|9-sales|F|1||[interpretation/topInputsforTarget/visualization/9-sales]|",
          "Scenario: BESTFIT|Scenario Definition|F|0|Scenario Definition|action.scenario.table|"}));
  EXPECT_EQ(Messages(), (std::vector<std::string>{"MFS not available..."}));

  // The series run: per-series objects already drawn are passed over, impact diagrams come
  // again, the system object goes per listed series, and each fit copy shows one series.
  const std::vector<SeriesKey> single{{"10", "sales"}, {"11", "sales"}};
  EXPECT_EQ(
      Queue(plan, document, Run("Single Series", 2, 0, 3, SeriesRun, &single)),
      (std::vector<std::string>{
          kReview, kTemporal, kTransformed,
          "Interpretation.Overall Model System|Overall Model System: 10-sales|F|2||" +
              kSystemLocations +
              "|modelSystemFilePath=/models/m,1.zip;outliers=true;"
              "display=Single series,series=10-sales,topModels=10,causes=2,effects=0,levels=3,"
              "sigLevel=0.05",
          "Interpretation.Outliers|10-sales|F|0|Outliers|interpretation.seriesWithOutliers.table||"
          "only=10-sales",
          "Interpretation.Outliers|11-sales|F|0|Outliers|interpretation.seriesWithOutliers.table||"
          "only=11-sales",
          "Interpretation.Impact Diagram|10-sales:causes|F|2||"
          "interpretation.impactDiagramCauses,interpretation.impactDiagramEffects|"
          "modelSystemFilePath=/models/m,1.zip;series=10-sales,initial=causes;"
          "causes=2,effects=0,levels=3",
          "Scenario: Single Series|Scenario Definition|F|0|Scenario Definition|"
          "action.scenario.table|"}));
  // The message is not repeated for either series.
  EXPECT_EQ(Messages(), (std::vector<std::string>{"MFS not available..."}));
  EXPECT_EQ(plan.shownModelEffects, (std::set<std::string>{"10-sales", "9-sales"}));
}

TEST_F(OutputPlanTest, SystemDisplaysAndTopModels) {
  spec_ = ParseModel("/TARGETFILTER DISPLAY=BESTFIT(PCT=30) /FILTEREDOUTPUT INCLUDE=TARGETS");
  spec_.modelSystemPath = "/m.zip";
  OutputPlan plan(spec_);
  Json document;
  document["tcm"]["interpretation"]["overallModelSystem"]["visualization"] =
      ListingVisualization({"a-sales"}, 2);
  auto system = [&](const std::string& name, double sigLevel) {
    OutputRun run = Run(name, 0, 0, 3, SeriesRun);  // a targets run adds quality objects
    run.sigLevel = sigLevel;
    const auto orders = Queue(plan, document, run);
    return orders.size() > 3 ? orders[3] : std::string();
  };
  // (10 * 30 + 5) / 100 = 3; no OUTLIERS wanted, so no "outliers=true".
  EXPECT_EQ(system("ALLTARGETS", 0.1),
            "Interpretation.Overall Model System|All series|T|2||" + kSystemLocations +
                "|modelSystemFilePath=/m.zip;"
                "display=All series,topModels=3,causes=0,effects=0,levels=3,sigLevel=0.1");
  EXPECT_EQ(system("TARGETSNOINPUTS", 0.0125),
            "Interpretation.Overall Model System|Models with no inputs|T|2||" + kSystemLocations +
                "|modelSystemFilePath=/m.zip;"
                "display=Models with no inputs,topModels=3,causes=0,effects=0,levels=3,"
                "sigLevel=0.0125");
  // Another name without series: no system object, the scenario table comes next.
  EXPECT_EQ(system("Single Series", 0.05),
            "Scenario: Single Series|Scenario Definition|F|0|Scenario Definition|"
            "action.scenario.table|");
  // A visualization with one category list lists nothing, so a series gets no object.
  document["tcm"]["interpretation"]["overallModelSystem"]["visualization"] =
      ListingVisualization({"a-sales"}, 1);
  const std::vector<SeriesKey> single{{"a", "sales"}};
  EXPECT_EQ(Queue(plan, document, Run("Single Series", 0, 0, 3, SeriesRun, &single)).size(), 4u);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(OutputPlanTest, RootCauseRunsAndTheirMessages) {
  spec_ = ParseModel("/FILTEREDOUTPUT INCLUDE=SERIES OUTLIER_ROOTCAUSES=YES(DISPLAY=TABLE)");
  spec_.modelSystemPath = "/m.zip";
  OutputPlan plan(spec_);
  Json document;
  document["tcm"]["action"]["outliers"]["table"] = kTable;
  document["tcm"]["action"]["outlierRootCauseAnalysisforSeries"]["visualization"] = kChart;
  document["tcm"]["action"]["outlierRootCauseAnalysisforSeries"]["subJson"] = Json::object();
  // TABLE never wants the interactive object, and says so, though the table follows.
  auto orders = Queue(plan, document, Run("East-sales", 1, 1, 2, RootCauseRun));
  ASSERT_EQ(orders.size(), 5u);
  EXPECT_EQ(orders[3],
            "Interpretation.Outlier Root Cause Analysis Table|East-sales|F|0|"
            "Outlier Root Cause Analysis|action.outliers.table|");
  EXPECT_EQ(Messages(), (std::vector<std::string>{"RCA not available..."}));

  // INTERACTIVE: the object with its locations; without the outlier table it still comes,
  // saying there are no outliers, and the message stays shown once.
  auto display = [&](const char* how) {
    for (auto& record : spec_.filteredOutputs) record.rootCauseDisplay = how;
  };
  display("INTERACTIVE");
  orders = Queue(plan, document, Run("East-sales", 1, 1, 2, RootCauseRun));
  ASSERT_EQ(orders.size(), 5u);
  EXPECT_EQ(orders[3],
            "Interpretation.Outlier Root Cause Analysis|East-sales|F|2||"
            "action.outlierRootCauseAnalysisforSeries,action.outliers|"
            "modelSystemFilePath=/m.zip;causes=1,effects=1,levels=2");
  document["tcm"]["action"].erase("outliers");
  orders = Queue(plan, document, Run("West-sales", 1, 1, 2, RootCauseRun));
  ASSERT_EQ(orders.size(), 5u);
  EXPECT_EQ(orders[3],
            "Interpretation.Outlier Root Cause Analysis|West-sales|F|2|||"
            "outliers=none,causes=1,effects=1,levels=2");
  // BOTH: the table is wanted and absent, the visualization without subJson is not drawn.
  display("BOTH");
  document["tcm"]["action"]["outlierRootCauseAnalysisforSeries"].erase("subJson");
  EXPECT_EQ(Queue(plan, document, Run("West-sales", 1, 1, 2, RootCauseRun)).size(), 4u);
  EXPECT_EQ(Messages(), (std::vector<std::string>{"RCA not available..."}));
  // In a targets run root causes are never wanted.
  EXPECT_EQ(Queue(plan, document, Run("BESTFIT", 1, 1, 2, TargetsRun)).size(), 5u);
}

TEST_F(OutputPlanTest, ScenarioRows) {
  spec_ = ParseModel("");
  spec_.modelSystemPath = "/m.zip";
  spec_.buildOptions.analysisPlot = {"IMPACTDIAGRAM", "SERIESPLOT"};
  OutputPlan plan(spec_);
  Json document;
  Json visualization = ListingVisualization({"sales-East", "", "price-East"}, 1);
  document["tcm"]["action"]["scenario"]["table"] = kTable;
  document["tcm"]["action"]["scenarioAnalysisforSeries"]["visualization"] = visualization;
  document["tcm"]["action"]["scenarioAnalysisforSeries"]["subJson"] = Json::object();
  document["tcm"]["action"]["forecastedValuesforScenario"]["table"] = kTable;
  document["tcm"]["evaluation"]["observedAndPredicted"]["visualization"] = {{"East-sales", kChart}};
  const std::string heading = "Scenario: Promo up";
  // Without FORECASTS in the analysis print the forecast table is left out, the plots go on;
  // an empty series text is passed over.
  const auto expected = std::vector<std::string>{
      kReview, kTemporal, kTransformed,
      heading + "|Scenario Definition|F|0|Scenario Definition|action.scenario.table|",
      heading + "|Impact Diagram|T|2||action.scenarioAnalysisforSeries,action.scenario.table,"
                "action.forecastedValuesforScenario.table|series=Promo up;modelSystemFilePath=/m.zip",
      heading + ".Series Plots|sales-East|F|2||action.scenarioAnalysisforSeries|series=sales-East|"
                "id=action.scenarioAnalysisSeriesPlotforSeries",
      heading + ".Series Plots|price-East|F|2||action.scenarioAnalysisforSeries|series=price-East|"
                "id=action.scenarioAnalysisSeriesPlotforSeries",
      heading + ".Series plots|East-sales|F|1||[evaluation/observedAndPredicted/visualization/"
                "East-sales]|"};
  EXPECT_EQ(Queue(plan, document, Run("Promo up", -1, -1, -1, ScenarioRun)), expected);

  // With FORECASTS the table comes between; the observed series was drawn already.
  spec_.buildOptions.analysisPrint = {"FORECASTS"};
  auto orders = Queue(plan, document, Run("Promo up", -1, -1, -1, ScenarioRun));
  ASSERT_EQ(orders.size(), 8u);
  EXPECT_EQ(orders[5], heading + "|Forecasted Values|T|0|Forecasted Values|"
                                 "action.forecastedValuesforScenario.table|");
  EXPECT_EQ(orders[7].substr(0, heading.size() + 13), heading + ".Series Plots");
  // An impact node that is a string: no impact object and no plots.
  document["tcm"]["action"]["scenarioAnalysisforSeries"]["visualization"] = "none";
  EXPECT_EQ(Queue(plan, document, Run("Promo up", -1, -1, -1, ScenarioRun)).size(), 5u);
}

TEST_F(OutputPlanTest, LabelsCompositeTextsAndListedSeries) {
  auto dataset = tcm_test::MakeDataset(
      {{"region", 8, "A8"}, {"store", 0, "F8.0"}, {"sales"}, {"day", 0, "DATE11"}});
  dataset->MutableVariable(0).value_labels.push_back({0.0, "East", "Eastern stores"});
  dataset->MutableVariable(1).value_labels.push_back({1.0, "", "Main"});
  ProcedureDataSource data(dataset);
  TCMModelValidSpecs spec;
  spec.dimensions = {QuorVarName("region"), QuorVarName("store")};
  OutputPlan plan(spec);
  // Unresolved: the key's pieces as they stand, empty pieces dropped.
  EXPECT_EQ(plan.seriesLabel("-East--1-sales-", false), "East-1-sales");
  plan.ResolveDimensionVariables(data);
  ASSERT_EQ(plan.dimensionVariables.size(), 2u);
  // The pieces behind the dimensions come first; labels unless values only.
  EXPECT_EQ(plan.seriesLabel("East-1-sales", false), "sales-region:Eastern stores-store:Main");
  EXPECT_EQ(plan.seriesLabel("East-1-sales", true), "sales-region:East-store:1");
  EXPECT_EQ(plan.seriesLabel("West-2.6-sales-x", false), "sales-x-region:West-store:3");
  // A value that does not read as a number counts as 0.
  EXPECT_EQ(plan.seriesLabel("West-abc", true), "region:West-store:0");
  // One name missing empties the whole list.
  spec.dimensions.push_back(QuorVarName("city"));
  plan.ResolveDimensionVariables(data);
  EXPECT_TRUE(plan.dimensionVariables.empty());

  const Json fields = {{"fields", Json::array({{{"name", "region"}, {"decimalPlaces", 0}},
                                               {{"name", "rate"}, {"decimalPlaces", 2}}})}};
  const Json document = {{"dataDictionary", fields}};
  jsonToReverb renderer(nullptr, nullptr, dictionary_, document.dump());
  const Json category = Json::parse(R"({"key": "sales-3", "text": {"compositeText": {"children": [
      {"text": {"stringDataText": {"value": "sales"}}},
      {"text": {"stringText": {"value": "-"}}},
      {"text": {"numericDataText": {"value": 3.0, "variable": "region"}}},
      {"text": {"numericDataText": {"value": 3.5, "variable": "rate"}}},
      {"text": {"stringText": {"value": "Sales in region 3", "isTooltip": true}}}]}}})");
  const dataDictionary& dictionary = renderer.getDataDictionary();
  EXPECT_EQ(OutputPlan::compositeTextOf(&category, dictionary), "sales-33.5");
  const Json broken = {{"text", {{"compositeText", Json::object()}}}};
  EXPECT_EQ(OutputPlan::compositeTextOf(&broken, dictionary), "");

  const Json listing = ListingVisualization({"b", "a"}, 2);
  EXPECT_EQ(OutputPlan::listedSeriesOf(&listing, dictionary), (std::set<std::string>{"a", "b"}));
  const Json single = ListingVisualization({"b", "a"}, 1);
  EXPECT_TRUE(OutputPlan::listedSeriesOf(&single, dictionary).empty());
}

// Archives written in the test and drawn whole: the outline skeleton, the result of each run,
// and the root cause messages.
class DrawArchives : public OutputPlanTest {
 protected:
  std::filesystem::path Archive(const std::string& name, const Json& document) {
    const auto dir = std::filesystem::path(::testing::TempDir()) / "tcm_output_plan_test";
    std::filesystem::create_directories(dir);
    const auto path = dir / name;
    support::ZipArchiveWriter writer;
    EXPECT_TRUE(writer.AddText("statJson.json", document.dump()).ok());
    EXPECT_TRUE(writer.WriteTo(path).ok());
    return path;
  }

  // The titles below each procedure, depth first, as "heading/heading/title".
  static void Walk(const host::OutputNode& node, const std::string& at,
                   std::vector<std::string>& found) {
    for (const auto& child : node.children) {
      if (child->kind == host::NodeKind::Message) continue;
      found.push_back(at + child->title);
      Walk(*child, at + child->title + "/", found);
    }
  }
  std::vector<std::string> Outline() const {
    std::vector<std::string> found;
    for (const auto& procedure : document_.root.children) Walk(*procedure, "", found);
    return found;
  }
  static bool Has(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }
};

TEST_F(DrawArchives, RenderRunAndModelOutput) {
  spec_ = ParseModel(
      "/SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=East) "
      "/FILTEREDOUTPUT INCLUDE=BOTH OUTLIER_ROOTCAUSES=YES");
  spec_.modelSystemPath = "/m.zip";
  const auto targets_path = Archive("targets.zip", TargetsDocument());
  Json series_document;
  series_document["tcm"]["evaluation"]["testOfModelEffectsForTarget"]["table"] = {
      {"10-sales", kTable}, {"East-sales", kTable}};
  const auto series_path = Archive("series.zip", series_document);
  ASSimpleContainer targets("tcmStatJson", targets_path.string());
  ASSimpleContainer series("tcmStatJson", series_path.string());
  ASSimpleContainer empty("tcmStatJson", "");  // a file that is no archive
  const std::vector<SeriesKey> single{{"East", "sales"}};

  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    OutputPlan plan(spec_);
    EXPECT_FALSE(plan.RenderRun(nullptr, &procedure, nullptr, dictionary_, "BESTFIT", 3, 3, 3,
                                0.05, nullptr, TargetsRun));
    EXPECT_FALSE(plan.RenderRun(&empty, &procedure, nullptr, dictionary_, "BESTFIT", 3, 3, 3,
                                0.05, nullptr, TargetsRun));
    EXPECT_TRUE(Outline().empty());  // nothing was drawn, not even the skeleton

    ASDebug debug(static_cast<RvProcedure*>(nullptr));
    ModelOutputArchives archives;
    archives.flowsSucceeded = true;
    archives.targets = &targets;
    archives.series = &series;
    archives.singleSeries = &single;
    EXPECT_TRUE(plan.DrawModelOutput(archives, &procedure, nullptr, dictionary_, &debug));
    EXPECT_EQ(debug.Lines(), (std::vector<std::string>{"Converted JSON to Output"}));
  }
  const auto outline = Outline();
  // The skeleton, with the place holder that no object fills.
  EXPECT_TRUE(Has(outline, "Interpretation/Sequence Plot"));
  EXPECT_TRUE(Has(outline, "Review/Model Specifications"));
  // 10-sales came in the targets run and is not drawn again; East-sales comes in the series run.
  EXPECT_TRUE(Has(outline, "Evaluation/Tests of Model Effects/10-sales"));
  EXPECT_TRUE(Has(outline, "Evaluation/Tests of Model Effects/East-sales"));
  EXPECT_EQ(std::count(outline.begin(), outline.end(),
                       "Evaluation/Tests of Model Effects/10-sales"),
            1);
  // Root causes were asked for and no record exists: one message object per single series.
  EXPECT_TRUE(Has(outline, "Interpretation/Outlier Root Cause Analysis/East-sales"));

  // No series archive: the targets output is drawn, and the result is false. A root cause
  // whose archive is missing ends the drawing with false too.
  document_.root.children.clear();
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    OutputPlan plan(spec_);
    ModelOutputArchives archives;
    archives.flowsSucceeded = true;
    archives.targets = &targets;
    EXPECT_FALSE(plan.DrawModelOutput(archives, &procedure, nullptr, dictionary_, nullptr));
    archives.series = &series;
    archives.rootCauseSeries = {{"East", "sales"}};
    EXPECT_FALSE(plan.DrawModelOutput(archives, &procedure, nullptr, dictionary_, nullptr));
    archives.rootCauses = {&targets};
    EXPECT_TRUE(plan.DrawModelOutput(archives, &procedure, nullptr, dictionary_, nullptr));
  }
  EXPECT_TRUE(Has(Outline(), "Evaluation/Tests of Model Effects/10-sales"));
}

}  // namespace
