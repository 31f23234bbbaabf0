// Tests of the output component through engine::Job: a model system built by tcm:tcm, its data
// scored and brought back by tcm:score and rtsdp, and the output document checked against them.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "engine/data/asbf.h"
#include "engine/job/job.h"
#include "engine/model/forecast.h"
#include "engine/model/model_archive.h"
#include "engine/output/artifacts.h"
#include "engine/output/output_json.h"
#include "support/json_util.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "engine/preparation_json.h"

namespace engine {
namespace {

using support::Json;

constexpr int kTimes = 100;
constexpr int kHorizon = 4;
constexpr double kDay = 86400.0;
constexpr int kFirstDay = 16436;  // 2015-01-01

// Two regions x two metrics on a daily grid: east sales follow west cost at lag 1, west sales
// follow east sales at lag 2; the costs are AR(1).
Table PreparedTable() {
  std::mt19937_64 random(7);
  std::normal_distribution<double> normal(0, 1);
  Eigen::MatrixXd x = Eigen::MatrixXd::Zero(kTimes + 50, 4);
  for (Eigen::Index t = 2; t < x.rows(); ++t) {
    x(t, 1) = 20 + 0.5 * x(t - 1, 1) + normal(random);
    x(t, 3) = 30 + 0.4 * x(t - 1, 3) + normal(random);
    x(t, 0) = 100 + 0.3 * x(t - 1, 0) + 1.5 * x(t - 1, 3) + normal(random);
    x(t, 2) = 50 + 0.2 * x(t - 1, 2) + 0.6 * x(t - 2, 0) + normal(random);
  }
  x = x.bottomRows(kTimes).eval();
  Table table;
  Field region{"region", Storage::kString, "nominal", "", "", "", {{"east", 1, "East coast"}, {"west", 2, ""}}};
  table.model.fields = {region,
                        {"date", Storage::kReal, "continuous", "", "", "", {}},
                        {"sales", Storage::kReal, "continuous", "", "", "", {}},
                        {"cost", Storage::kReal, "continuous", "", "", "", {}}};
  table.columns = {Column(Storage::kString), Column(Storage::kReal), Column(Storage::kReal),
                   Column(Storage::kReal)};
  for (int block = 0; block < 2; ++block) {
    for (int t = 0; t < kTimes; ++t) {
      table.columns[0].AppendText(block == 0 ? "east" : "west");
      table.columns[1].AppendReal((kFirstDay + t) * kDay);
      table.columns[2].AppendReal(x(t, 2 * block));
      table.columns[3].AppendReal(x(t, 2 * block + 1));
    }
  }
  return table;
}

std::string PreparationJson() {
  Json document = engine_tests::DailyPreparation("region", {"east", "west"}, {"sales", "cost"}, kFirstDay, kTimes,
                                                    {{"points", kTimes}, {"missing", 0}, {"imputed", 0}});
  document["output"]["dropped"] = Json::array();
  return document.dump();
}

class OutputStage : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("output_stage");
    ASSERT_TRUE(dir) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(*dir));
    prepared_ = PreparedTable();
    ASSERT_TRUE(WriteAsbfWithModel(Path("prepared.asbf"), Path("prepared.xml"), prepared_));
    support::ZipArchiveWriter json;
    ASSERT_TRUE(json.AddText("TSDPOutput.json", PreparationJson()));
    ASSERT_TRUE(json.WriteTo(Path("json.zip")));
    // The model: sales are targets with sales and costs as candidates; costs get AR models.
    ASSERT_TRUE(Run(Reader("prepared") +
                    "val tcmModelConfig ={\"targetPredictorList\": [{\"targetList\": [[\"\", \"sales\"]],"
                    " \"predictorCandidateList\": [[\"\", \"sales\"], [\"\", \"cost\"]]}],"
                    " \"maxLag\": {\"source\": \"SETTING\", \"value\": 2},"
                    " \"maxNumberOfPredictor\": {\"useDefault\": true}, \"confidenceLevel\": 0.9}\n"
                    "val tcmModelInConf =[{\"name\":\"JSON\",\"uri\":\"" + Uri("json.zip") + "\"}]\n"
                    "val tcmModelOutConf =[{\"export\":true,\"name\":\"TCMXML\",\"uri\":\"" + Uri("model.zip") + "\"}]\n"
                    "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)"))
        << error_;
    // The output pass of scoring: every target fitted and forecast, brought back to the input.
    ASSERT_TRUE(Run(Reader("prepared") +
                    "val scoreConf = {\"fieldSetting\": {\"fieldType\": \"EXCLUDED_TARGET_LIST\","
                    " \"fieldNameList\": {\"seriesIDList\": []}}, \"forecast\": {\"doForecast\": true,"
                    " \"forecastSpan\": " + std::to_string(kHorizon) + ", \"forecastInterval\": true},"
                    " \"fit\": {\"doFit\": true, \"fitInterval\": true, \"fitResidual\": true},"
                    " \"confidenceLevel\": 0.9, \"isOutputInputData\": true, \"isDataEncoded\": true}\n"
                    "val scoreInConf = [{\"name\":\"InputTCMXML\",\"uri\":\"" + Uri("model.zip") + "\"}]\n"
                    "val rtsdpConf = {\"exportFutureFlag\": false}\n"
                    "val rtsdpInConf = [{\"name\":\"JSON\",\"uri\":\"" + Uri("json.zip") + "\"}]\n"
                    "val writerConf = {\"dataDestination\": \"" + Uri("scored.asbf") +
                    "\", \"dataModelDestination\": \"" + Uri("scored.xml") + "\", \"type\": \"asbf\"}\n"
                    "read(readerConf)->tcm:score(scoreConf, scoreInConf,_)->"
                    "rtsdp:rtsdp(rtsdpConf, rtsdpInConf,_)->write(writerConf)"))
        << error_;
    auto loaded = model::ReadModelArchive(Path("model.zip"));
    ASSERT_TRUE(loaded) << loaded.message();
    system_ = loaded->system;
  }

  std::string Path(const std::string& name) const { return (dir_->path() / name).string(); }
  std::string Uri(const std::string& name) const { return "file:///" + Path(name); }
  std::string Reader(const std::string& data) const {
    return "val readerConf = {\"filesystem\":{\"dataModel\":\"" + Uri(data + ".xml") +
           "\",\"locations\":[{\"parser\":{\"name\":\"asbf\"},\"path\":\"" + Uri(data + ".asbf") + "\"}]}}\n";
  }
  bool Run(const std::string& script) {
    Job job;
    const bool ok = job.Prepare(script) && job.Execute();
    messages_.clear();
    for (const Message& message : job.Messages()) {
      messages_ += message.text + "\n";
      if (!ok) error_ += message.text + "\n";
    }
    return ok;
  }
  // The output flow as the module composes it: reader, outputConf, inputCons, outputCons,
  // sortConfig, then read -> sort -> the output component.
  bool RunOutput(const std::string& data, const std::string& artifacts, const std::string& inputs,
                 const std::string& extra = "") {
    return Run(Reader(data) + "val outputConf = {\"artifacts\":" + artifacts +
               ",\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
               "\"forecasted\":" + std::to_string(kHorizon) + extra + ",\"isEncoded\":false}\n" +
               "val inputCons = " + inputs + "\n" +
               "val outputCons = [{\"export\":true,\"name\":\"tcmStatJson\",\"uri\":\"" + Uri("stat.zip") + "\"}]\n" +
               "val sortConfig = " + kSortConfig + "\n" +
               "read(readerConf)->sort(sortConfig)->OutputComponent:TCMOutputComponent(outputConf,inputCons,outputCons)");
  }
  std::string ModelInput() const { return "[{\"name\":\"TCM\",\"uri\":\"" + Uri("model.zip") + "\"}]"; }
  Json Document() {
    auto text = support::ReadZipText(Path("stat.zip"), "statJson.json");
    EXPECT_TRUE(text) << text.message();
    auto json = support::ParseJson(text ? *text : std::string("{}"));
    EXPECT_TRUE(json);
    return json ? *json : Json();
  }
  std::size_t SeriesIndex(const std::string& id) const {
    return static_cast<std::size_t>(system_.FindSeries(id));
  }
  const model::Equation& EquationOf(const std::string& id) const {
    return system_.equations[static_cast<std::size_t>(system_.EquationOf(SeriesIndex(id)))];
  }
  // The system's series over the data, in the system's order.
  Eigen::MatrixXd History() const {
    Eigen::MatrixXd history(kTimes, static_cast<Eigen::Index>(system_.series.size()));
    for (std::size_t s = 0; s < system_.series.size(); ++s) {
      const int block = system_.series[s].dims[0] == "east" ? 0 : 1;
      const std::size_t column = system_.series[s].metric == "sales" ? 2 : 3;
      for (int t = 0; t < kTimes; ++t) {
        history(t, static_cast<Eigen::Index>(s)) = prepared_.columns[column].Real(static_cast<std::size_t>(block * kTimes + t));
      }
    }
    return history;
  }

  // The sort stage of the engine reads its keys from "fields".
  static constexpr const char* kSortConfig = "{\"fields\":[{\"field\":\"date\"}]}";

  std::unique_ptr<support::TempDir> dir_;
  Table prepared_;
  model::ModelSystem system_;
  std::string error_;
  std::string messages_;
};

const char* const kAllTargets = "[[\"east\",\"sales\"],[\"west\",\"sales\"]]";

std::string TargetsArtifacts() {
  const std::string t = kAllTargets;
  return std::string("[{\"name\":\"review.modelSpecificationsTable\"},{\"name\":\"review.temporalInformationTable\"},") +
         "{\"modelQuality\":[\"RMSPE\",\"r-Squared\",\"BIC\"],\"name\":\"review.OverallModelQualityHistogram\"}," +
         "{\"modelQuality\":[\"RMSPE\",\"r-Squared\",\"BIC\"],\"name\":\"review.overallModelQualityDotplot\"}," +
         "{\"name\":\"review.transformationsTable\"}," +
         "{\"name\":\"interpretation.overallModelSystem\"},{\"name\":\"interpretation.modelFitStatisticsTable\"}," +
         "{\"name\":\"interpretation.seriesWithOutliersTable\"}," +
         "{\"name\":\"evaluation.testOfModelEffectsForTarget\",\"target\":" + t + "}," +
         "{\"name\":\"interpretation.parameterEstimatesForTarget\",\"target\":" + t + "}," +
         "{\"name\":\"action.forecastedValuesForModel\",\"target\":" + t + "}," +
         "{\"name\":\"evaluation.observedAndPredicted\",\"target\":[[\"east\",\"sales\"],[\"north\",\"sales\"]]}," +
         "{\"name\":\"interpretation.topInputsforTarget\",\"target\":" + t + "}," +
         "{\"name\":\"evaluation.residualsbyTimeforTarget\",\"target\":" + t + "}," +
         "{\"level\":2,\"name\":\"interpretation.ImpactDiagramCauses\",\"target\":" + t + "}," +
         "{\"level\":1,\"name\":\"interpretation.ImpactDiagramEffects\",\"target\":" + t + "}]";
}

// The categories of field j of data set i, as plain texts.
std::vector<std::string> CategoryTexts(const Json& visualization, std::size_t set, std::size_t field,
                                       std::size_t list = 0) {
  std::vector<std::string> texts;
  for (const Json& node : visualization["dataArray"][set]["fields"][field]["cats"][list]["content"]) {
    std::string text;
    for (const Json& child : node["text"]["compositeText"]["children"]) {
      const Json& kind = child["text"];
      if (kind.contains("stringDataText")) text += kind["stringDataText"]["value"].get<std::string>();
      if (kind.contains("stringText") && !kind["stringText"].contains("isTooltip")) {
        text += kind["stringText"]["value"].get<std::string>();
      }
    }
    texts.push_back(text);
  }
  return texts;
}

double Cell(const Json& value) { return value.is_null() ? std::nan("") : value.get<double>(); }

TEST_F(OutputStage, TargetsDocumentHoldsTheModelsNumbersUnderTheModulesPaths) {
  ASSERT_TRUE(RunOutput("scored", TargetsArtifacts(), ModelInput())) << error_;
  // The unknown series is reported, not fatal.
  EXPECT_NE(messages_.find("'north-sales' is not in the model system"), std::string::npos) << messages_;
  const Json document = Document();
  const Json& tcm = document["tcm"];
  for (const char* section : {"review", "evaluation", "action", "interpretation"}) {
    EXPECT_TRUE(tcm.contains(section)) << section;
  }
  EXPECT_TRUE(tcm["review"]["specifications"]["table"].contains("cells"));
  EXPECT_TRUE(tcm["review"]["temporalInformation"]["table"].contains("cells"));
  EXPECT_EQ(tcm["review"]["transformations"]["table"]["cells"].size(), 4u);
  // Without outlier results the outlier table stays out.
  EXPECT_FALSE(tcm["interpretation"].contains("seriesWithOutliers"));

  const model::Equation& east = EquationOf("1-1");
  const model::Equation& west = EquationOf("2-1");

  // Parameter estimates: the intercept, then every lag of every block in the model's order.
  const Json& estimates = tcm["interpretation"]["parameterEstimatesForTarget"]["table"]["east-sales"];
  const Json& rows = estimates["rowDimensions"][0]["categories"];
  EXPECT_EQ(rows[0]["label"], "Intercept");
  EXPECT_DOUBLE_EQ(Cell(estimates["cells"][0][1]), east.intercept);
  EXPECT_DOUBLE_EQ(Cell(estimates["cells"][0][4]), east.intercept_p);
  std::size_t row = 1;
  for (const model::InputBlock& block : east.blocks) {
    for (std::size_t l = 0; l < block.coefficients.size(); ++l, ++row) {
      EXPECT_EQ(rows[row]["key"], system_.series[block.series].dims[0] + "-" + system_.series[block.series].metric);
      EXPECT_EQ(estimates["cells"][row][0], l + 1);
      EXPECT_DOUBLE_EQ(Cell(estimates["cells"][row][1]), block.coefficients[l]);
      EXPECT_DOUBLE_EQ(Cell(estimates["cells"][row][2]), block.std_errors[l]);
      EXPECT_DOUBLE_EQ(Cell(estimates["cells"][row][3]), block.t_values[l]);
    }
  }
  EXPECT_EQ(estimates["cells"].size(), row);
  // The labels carry the value label of the data model, the keys the raw values.
  EXPECT_EQ(rows[1]["label"], "sales-region:East coast");

  // Tests of model effects: one row per block with its F test.
  const Json& effects = tcm["evaluation"]["testOfModelEffectsForTarget"]["table"]["west-sales"];
  ASSERT_EQ(effects["cells"].size(), west.blocks.size());
  for (std::size_t b = 0; b < west.blocks.size(); ++b) {
    EXPECT_DOUBLE_EQ(Cell(effects["cells"][b][0]), west.blocks[b].f);
    EXPECT_EQ(effects["cells"][b][1], west.blocks[b].df1);
    EXPECT_EQ(effects["cells"][b][2], west.blocks[b].df2);
    EXPECT_DOUBLE_EQ(Cell(effects["cells"][b][3]), west.blocks[b].f_p_value);
  }

  // Quality plots per statistic, under the names asked; "BIC" is the normalized BIC.
  const Json& dots = tcm["evaluation"]["overallModelQualityDotplot"]["visualization"];
  for (const char* statistic : {"RMSPE", "r-Squared", "BIC"}) {
    ASSERT_TRUE(dots.contains(statistic)) << statistic;
    ASSERT_TRUE(tcm["evaluation"]["overallModelQualityHistogram"]["visualization"].contains(statistic));
  }
  const Json& rsq = dots["r-Squared"];
  EXPECT_EQ(CategoryTexts(rsq, 0, 0), (std::vector<std::string>{"sales-region:east", "sales-region:west"}));
  EXPECT_DOUBLE_EQ(Cell(rsq["dataArray"][0]["rows"][0][1]), east.stats.rsquare);
  EXPECT_DOUBLE_EQ(Cell(rsq["dataArray"][0]["rows"][1][1]), west.stats.rsquare);
  EXPECT_DOUBLE_EQ(Cell(dots["BIC"]["dataArray"][0]["rows"][1][1]), west.stats.normalized_bic);
  int counted = 0;
  for (const Json& bin : tcm["evaluation"]["overallModelQualityHistogram"]["visualization"]["RMSPE"]["dataArray"][0]["rows"]) {
    counted += bin[2].get<int>();
    EXPECT_LE(bin[0].get<double>(), bin[1].get<double>());
  }
  EXPECT_EQ(counted, 2);

  // Fit statistics, one row per target.
  const Json& fit = tcm["interpretation"]["modelFitStatistics"]["table"];
  ASSERT_EQ(fit["cells"].size(), 2u);
  EXPECT_EQ(fit["rowDimensions"][0]["categories"][1]["key"], "west-sales");
  EXPECT_DOUBLE_EQ(Cell(fit["cells"][1][0]), west.stats.rsquare);
  EXPECT_DOUBLE_EQ(Cell(fit["cells"][1][1]), west.stats.rmspe);
  EXPECT_DOUBLE_EQ(Cell(fit["cells"][1][2]), west.stats.rmse);

  // Observed and predicted: observed values of the data, one-step predictions and forecasts of
  // the model with intervals at its confidence level.
  const Json& chart = tcm["evaluation"]["observedAndPredicted"]["visualization"]["east-sales"];
  EXPECT_TRUE(tcm["evaluation"]["observedAndPredicted"]["visualization"]["north-sales"].is_string());
  EXPECT_EQ(chart["kind"], "lineChart");
  EXPECT_EQ(chart["forecastStart"], kTimes);
  const Json& points = chart["dataArray"][0]["rows"];
  ASSERT_EQ(points.size(), static_cast<std::size_t>(kTimes + kHorizon));
  const std::vector<std::string> periods = CategoryTexts(chart, 0, 0);
  EXPECT_EQ(periods[0], "2015-01-01");
  EXPECT_EQ(periods[kTimes], "2015-04-11");
  const Eigen::MatrixXd history = History();
  const Eigen::MatrixXd fitted = model::OneStepPredictions(system_, history);
  const model::SystemForecast forecast = model::ForecastSystem(system_, history, kHorizon);
  const double z = model::IntervalMultiplier(0.9);
  const auto column = static_cast<Eigen::Index>(SeriesIndex("1-1"));
  for (int t = 0; t < kTimes + kHorizon; ++t) {
    const Json& at = points[static_cast<std::size_t>(t)];
    if (t < kTimes) {
      EXPECT_DOUBLE_EQ(Cell(at[1]), history(t, column));
      if (t >= 2) {
        EXPECT_NEAR(Cell(at[2]), fitted(t, column), 1e-9);
        EXPECT_NEAR(Cell(at[4]) - Cell(at[2]), z * east.stats.rmse, 1e-9);
      } else {
        EXPECT_TRUE(at[2].is_null());
      }
    } else {
      EXPECT_TRUE(at[1].is_null());
      EXPECT_NEAR(Cell(at[2]), forecast.mean(t - kTimes, column), 1e-9);
      EXPECT_NEAR(Cell(at[4]) - Cell(at[3]), 2 * z * std::sqrt(forecast.variance(t - kTimes, column)), 1e-9);
    }
  }
  // The forecast table holds the same forecasts.
  const Json& table = tcm["action"]["forecastedValuesForModel"]["table"]["east-sales"];
  ASSERT_EQ(table["cells"].size(), static_cast<std::size_t>(kHorizon));
  EXPECT_EQ(table["rowDimensions"][0]["categories"][0]["label"], "2015-04-11");
  EXPECT_NEAR(Cell(table["cells"][kHorizon - 1][0]), forecast.mean(kHorizon - 1, column), 1e-9);
  // Residuals are observed less predicted, and their squares sum to the model's RSS.
  const Json& residuals = tcm["evaluation"]["residualsbyTimeforTarget"]["visualization"]["east-sales"];
  double rss = 0;
  for (const Json& point : residuals["dataArray"][0]["rows"]) {
    if (!point[1].is_null()) rss += point[1].get<double>() * point[1].get<double>();
  }
  EXPECT_NEAR(rss, east.stats.rss, 1e-6 * east.stats.rss);

  // The system graph: every series with the targets as a second list, one edge per input.
  const Json& graph = tcm["interpretation"]["overallModelSystem"]["visualization"];
  EXPECT_EQ(CategoryTexts(graph, 0, 0).size(), system_.series.size());
  EXPECT_EQ(CategoryTexts(graph, 0, 0, 1), (std::vector<std::string>{"sales-region:east", "sales-region:west"}));
  std::size_t inputs = 0;
  for (const model::Equation& equation : system_.equations) {
    for (const model::InputBlock& block : equation.blocks) {
      if (block.own || !equation.is_target) continue;
      bool found = false;
      for (const Json& edge : graph["dataArray"][1]["rows"]) {
        if (edge[0] == block.series && edge[1] == equation.series) {
          found = true;
          EXPECT_DOUBLE_EQ(Cell(edge[2]), block.f_p_value);
          // The effect is the sum of the lag coefficients, the lags their count.
          double effect = 0;
          for (double coefficient : block.coefficients) effect += coefficient;
          EXPECT_NEAR(Cell(edge[5]), effect, 1e-9 * (1 + std::fabs(effect)));
          EXPECT_EQ(edge[6].get<std::size_t>(), block.coefficients.size());
        }
      }
      EXPECT_TRUE(found);
      ++inputs;
    }
  }
  EXPECT_EQ(graph["dataArray"][1]["rows"].size(), inputs);
  // Ranks by RMSPE, 1 the best; series without a model have none.
  const int east_rank = graph["dataArray"][0]["rows"][SeriesIndex("1-1")][5].get<int>();
  EXPECT_EQ(east_rank, east.stats.rmspe < west.stats.rmspe ? 1 : 2);
  EXPECT_TRUE(graph["dataArray"][0]["rows"][SeriesIndex("2-2")][5].is_null());

  // Impact diagrams: the causes of west sales reach west cost through east sales at depth 2;
  // the effects of east sales at depth 1 are the models that take it as input.
  const Json& causes = tcm["interpretation"]["impactDiagramCauses"]["visualization"]["west-sales"];
  EXPECT_EQ(causes["direction"], "causes");
  const std::vector<std::string> cause_texts = CategoryTexts(causes, 0, 0);
  EXPECT_EQ(cause_texts[0], "sales-region:west");
  EXPECT_NE(std::find(cause_texts.begin(), cause_texts.end(), "cost-region:west"), cause_texts.end());
  EXPECT_TRUE(causes["dataArray"][0]["rows"][0][1].is_null());
  for (std::size_t r = 1; r < causes["dataArray"][0]["rows"].size(); ++r) {
    EXPECT_LT(causes["dataArray"][0]["rows"][r][1].get<std::size_t>(), r);
  }
  const Json& effect_tree = tcm["interpretation"]["impactDiagramEffects"]["visualization"]["east-sales"];
  EXPECT_EQ(CategoryTexts(effect_tree, 0, 0), (std::vector<std::string>{"sales-region:east", "sales-region:west"}));
  // Top inputs: the target's observed values and each input's.
  const Json& top = tcm["interpretation"]["topInputsforTarget"]["visualization"]["east-sales"];
  EXPECT_DOUBLE_EQ(Cell(top["dataArray"][0]["rows"][5][1]), history(5, column));
  EXPECT_EQ(top["dataArray"][0]["fields"][2]["label"], "cost-region:west");
  // The composite texts name the raw key.
  EXPECT_EQ(chart["dataArray"][0]["fields"].size(), 5u);
  EXPECT_EQ(graph["dataArray"][0]["fields"][0]["cats"][0]["content"][0]["key"],
            system_.series[0].dims[0] + "-" + system_.series[0].metric);
}

TEST_F(OutputStage, UnscoredDataArePredictedFromTheModelAlike) {
  const std::string artifacts =
      std::string("[{\"name\":\"evaluation.observedAndPredicted\",\"target\":") + kAllTargets + "}]";
  ASSERT_TRUE(RunOutput("scored", artifacts, ModelInput())) << error_;
  const Json scored = Document();
  ASSERT_TRUE(RunOutput("prepared", artifacts, ModelInput())) << error_;
  const Json plain = Document();
  for (const char* key : {"east-sales", "west-sales"}) {
    const Json& a = scored["tcm"]["evaluation"]["observedAndPredicted"]["visualization"][key]["dataArray"][0]["rows"];
    const Json& b = plain["tcm"]["evaluation"]["observedAndPredicted"]["visualization"][key]["dataArray"][0]["rows"];
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t r = 0; r < a.size(); ++r) {
      for (std::size_t f = 1; f < 5; ++f) {
        if (a[r][f].is_null()) {
          EXPECT_TRUE(b[r][f].is_null()) << key << " " << r;
        } else {
          EXPECT_NEAR(Cell(a[r][f]), Cell(b[r][f]), 1e-8) << key << " " << r << " " << f;
        }
      }
    }
  }
}

TEST_F(OutputStage, OutlierAndRootCauseResultsAreRead) {
  // Outliers of both targets; east sales has two, west sales one.
  support::ZipArchiveWriter outliers;
  const double day3 = (kFirstDay + 3) * kDay;
  const double day9 = (kFirstDay + 9) * kDay;
  const Json summary = {{"assessedPoints", 90}, {"flaggedPoints", 3}, {"expectedChanceFlags", 0.9}};
  ASSERT_TRUE(outliers.AddText(
      "east.json",
      Json({{"outlierDetection",
             {{"analysisSettings", {{"targetTimeSeries", {"east", "sales"}}}},
              {"summary", summary},
              {"outliers", {{{"time", day3}, {"observed", 12.5}, {"predicted", 10.0}, {"probability", 0.99}},
                            {{"time", "2015-01-10"}, {"observed", 1.0}, {"predicted", 2.0}, {"probability", 0.97}}}}}}})
          .dump()));
  ASSERT_TRUE(outliers.AddText(
      "west.json", Json({{"outlierDetection",
                          {{"analysisSettings", {{"targetTimeSeries", {"west", "sales"}}}},
                           {"summary", summary},
                           {"outliers", {{{"time", day3}, {"observed", 3.0}, {"probability", 0.995}}}}}}})
                       .dump()));
  ASSERT_TRUE(outliers.WriteTo(Path("od.zip")));
  // West sales: the outlier of day 3 has two causes, east cost through east sales and its own
  // innovation; the one of day 9 one, written as older archives do (a score only); a third none.
  const Json path = {{{"from", {"east", "cost"}}, {"to", {"east", "sales"}}, {"lag", 1}},
                     {{"from", {"east", "sales"}}, {"to", {"west", "sales"}}, {"lag", 2}}};
  support::ZipArchiveWriter rca;
  ASSERT_TRUE(rca.AddText(
      "rca.json",
      Json({{"rootCauseAnalysis",
             {{"analysisSettings", {{"targetTimeSeries", {"west", "sales"}}, {"oldestGeneration", 2}}},
              {"outliers",
               {{{"time", day3}, {"observed", 3.0}, {"predicted", 1.5}, {"probability", 0.995},
                 {"rootCauses",
                  {{{"series", {"east", "cost"}}, {"score", 0.7}, {"share", 0.7}, {"time", day3 - 3 * kDay},
                    {"delay", 3}, {"isTarget", false}, {"path", path}},
                   {{"series", {"west", "sales"}}, {"share", 0.2}, {"time", day3}, {"isTarget", true},
                    {"path", Json::array()}}}}},
                {{"time", day9}, {"rootCauses", {{{"series", {"west", "cost"}}, {"score", 0.7}}}}},
                {{"time", day9 + kDay}, {"observed", 4.0}, {"rootCauses", Json::array()}}}}}}})
          .dump()));
  ASSERT_TRUE(rca.WriteTo(Path("rca.zip")));
  const std::string inputs = "[{\"name\":\"TCM\",\"uri\":\"" + Uri("model.zip") + "\"},{\"name\":\"TCMOD\",\"uri\":\"" +
                             Uri("od.zip") + "\"},{\"name\":\"TCMRCA\",\"uri\":\"" + Uri("rca.zip") + "\"}]";
  ASSERT_TRUE(RunOutput("scored",
                        "[{\"name\":\"evaluation.outlierDistributionHistogram\"},"
                        "{\"name\":\"evaluation.outlierDistributionDotplot\"},"
                        "{\"name\":\"interpretation.seriesWithOutliersTable\"},"
                        "{\"name\":\"interpretation.overallModelSystem\"},"
                        "{\"name\":\"evaluation.observedAndPredicted\",\"target\":[[\"east\",\"sales\"]]},"
                        "{\"name\":\"action.outlierRootCauseAnalysisforSeries\"},{\"name\":\"action.outliers\"}]",
                        inputs))
      << error_;
  const Json tcm = Document()["tcm"];
  const Json& dots = tcm["evaluation"]["outlierDistributionDotplot"]["visualization"]["dataArray"][0]["rows"];
  EXPECT_EQ(dots[0][1], 2.0);
  EXPECT_EQ(dots[1][1], 1.0);
  const Json& graph = tcm["interpretation"]["overallModelSystem"]["visualization"];
  EXPECT_EQ(graph["dataArray"][0]["fields"].back()["role"], "outliers");
  EXPECT_EQ(graph["dataArray"][0]["rows"][SeriesIndex("1-1")].back(), 2.0);
  const Json& marks = tcm["evaluation"]["observedAndPredicted"]["visualization"]["east-sales"]["marks"];
  EXPECT_EQ(marks, Json::parse(R"([{"x": 3, "label": "Outlier"}, {"x": 9, "label": "Outlier"}])"));
  // Root causes: west cost marked in the tree of west sales, plots by series text.
  const Json& tree = tcm["action"]["outlierRootCauseAnalysisforSeries"]["visualization"];
  const std::vector<std::string> texts = CategoryTexts(tree, 0, 0);
  bool marked = false;
  for (const Json& node : tree["dataArray"][0]["rows"]) {
    if (texts[node[0].get<std::size_t>()] == "cost-region:west") marked = node[5] == 1 && node[6] == 0.7;
  }
  EXPECT_TRUE(marked);
  // Each plot marks what it stands for and opens around the outlier it matters most for: the
  // target's most probable one (day 3), a cause's (west cost, day 9) from a little before it acted.
  const Json& plots = tcm["action"]["outlierRootCauseAnalysisforSeries"]["subJson"];
  ASSERT_TRUE(plots.contains("sales-region:west")) << plots.dump().substr(0, 300);
  ASSERT_TRUE(plots.contains("cost-region:west"));
  EXPECT_EQ(plots["sales-region:west"]["marks"].size(), 3u);
  EXPECT_EQ(plots["sales-region:west"]["focus"], Json::parse(R"({"from": 0, "to": 17})"));
  EXPECT_EQ(plots["cost-region:west"]["marks"], Json::parse(R"([{"x": 9, "label": "Root cause"}])"));
  EXPECT_EQ(plots["cost-region:west"]["focus"], Json::parse(R"({"from": 0, "to": 23})"));

  // The root cause table: a row per outlier and cause rank, empty rows where an outlier has
  // fewer causes than the most.
  const Json& causes = tcm["action"]["outliers"]["table"];
  EXPECT_EQ(causes["rowDimensions"][1]["categories"].size(), 2u);
  const Json null;
  const std::string arrow = "\u2192";
  const std::vector<Json> rows = {
      {3.0, 1.5, 0.995, "cost-region:East coast", "2015-01-01", 70.0,
       "cost-region:East coast " + arrow + "(lag 1) sales-region:East coast " + arrow + "(lag 2) sales-region:west"},
      {3.0, 1.5, 0.995, "sales-region:west", "2015-01-04", 20.0, "the series' own innovation"},
      {null, null, null, "cost-region:west", null, 70.0, null},
      {null, null, null, null, null, null, null},
      {4.0, null, null, "None found", null, null, null},
      {null, null, null, null, null, null, null},
  };
  ASSERT_EQ(causes["cells"].size(), rows.size());
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t c = 0; c < rows[r].size(); ++c) {
      const Json& cell = causes["cells"][r][c];
      if (rows[r][c].is_number()) {
        EXPECT_NEAR(Cell(cell), rows[r][c].get<double>(), 1e-9) << r << " " << c;
      } else {
        EXPECT_EQ(cell, rows[r][c]) << r << " " << c;
      }
    }
  }

  // The outlier table keeps to the series the output shows: those it names, else those the
  // per-series artefacts name, else every one; and to the best models of a BESTFIT filter.
  struct Case {
    std::string artifacts;
    std::string extra;
    std::vector<std::string> series;
  };
  const bool east_best = EquationOf("1-1").stats.rmspe < EquationOf("2-1").stats.rmspe;
  const std::string table = "{\"name\":\"interpretation.seriesWithOutliersTable\"";
  const std::vector<Case> cases = {
      {"[" + table + "}]", "", {"east-sales", "west-sales"}},
      {"[" + table + "},{\"name\":\"evaluation.observedAndPredicted\",\"target\":[[\"east\",\"sales\"]]}]", "",
       {"east-sales"}},
      {"[" + table + ",\"target\":[[\"west\",\"sales\"]]},"
                     "{\"name\":\"evaluation.observedAndPredicted\",\"target\":[[\"east\",\"sales\"]]}]",
       "", {"west-sales"}},
      {"[" + table + "}]", ",\"topModel\":1", {east_best ? "east-sales" : "west-sales"}},
  };
  for (const Case& one : cases) {
    ASSERT_TRUE(RunOutput("scored", one.artifacts, inputs, one.extra)) << error_;
    const Json shown = Document()["tcm"]["interpretation"]["seriesWithOutliers"]["table"];
    std::vector<std::string> keys;
    for (const Json& category : shown["rowDimensions"][0]["categories"]) keys.push_back(category["key"]);
    EXPECT_EQ(keys, one.series) << one.artifacts << one.extra;
    // Rows: each series by the most outliers of one; the chance flags, said per series so that
    // a page of one series reads true.
    const std::size_t most = keys.size() == 2 || keys[0] == "east-sales" ? 2 : 1;
    EXPECT_EQ(shown["cells"].size(), keys.size() * most) << one.artifacts;
    const std::string chance = "of the points of each series are flagged by chance at this threshold (about 1 of its 90)";
    EXPECT_NE(shown["footnotes"].dump().find(chance), std::string::npos) << shown["footnotes"].dump();
  }
}

TEST_F(OutputStage, ScenarioResultsAreRead) {
  // A scenario on an input of a target's model, over days 50 and 51, run to day 53; the target
  // it reaches, another series given as a target it does not reach, and an entry whose paths
  // are short.
  std::size_t root = 0, child = 0;
  for (const model::Equation& equation : system_.equations) {
    for (const model::InputBlock& block : equation.blocks) {
      if (!block.own) root = block.series, child = equation.series;
    }
  }
  ASSERT_NE(root, child) << "the model has no input";
  std::size_t other = 0;
  while (other == root || other == child) ++other;
  const auto Pieces = [&](std::size_t s) {
    Json pieces = system_.series[s].dims;
    pieces.push_back(system_.series[s].metric);
    return pieces;
  };
  const Json null;
  const Json times = {(kFirstDay + 50) * kDay, (kFirstDay + 51) * kDay, (kFirstDay + 52) * kDay, (kFirstDay + 53) * kDay};
  const Json series = {
      {{"series", Pieces(root)}, {"generation", 0}, {"isTarget", false}, {"largestEffect", 3.0},
       {"relativeEffect", 1.5}, {"scenario", {5, 6, 7, 7}}, {"baseline", {2, 3, 7, 7}},
       {"difference", {3, 3, 0, 0}}, {"lower", {5, 6, 6, 5}}, {"upper", {5, 6, 8, 9}}},
      {{"series", Pieces(child)}, {"generation", 1}, {"isTarget", true}, {"largestEffect", 2.0},
       {"relativeEffect", 0.5}, {"affectedInputs", {system_.series[root].id}}, {"scenario", {10, 12, 11, null}},
       {"baseline", {10, 10, 10, null}}, {"difference", {0, 2, 1, null}}, {"lower", {9, 10, null, null}},
       {"upper", {11, 14, 13, null}}},
      {{"seriesID", system_.series[other].id}, {"generation", null}, {"isTarget", true},
       {"scenario", {1, 1, 1, 1}}, {"baseline", {1, 1, 1, 1}}, {"difference", {0, 0, 0, 0}},
       {"lower", {0, 0, 0, 0}}, {"upper", {2, 2, 2, 2}}},
      {{"series", Pieces(child)}, {"generation", 1}, {"scenario", {1}}, {"baseline", {1}}, {"difference", {0}}}};
  const Json archive = {
      {"scenarioAnalysis",
       {{"analysisSettings", {{"youngestGeneration", 2}, {"isConfidenceIntervals", true}, {"confidenceLevel", 0.9}}},
        {"scenario",
         {{"scenarioID", "S1"}, {"root", Pieces(root)}, {"start", times[0]}, {"end", times[1]},
          {"furthest", times[3]}, {"substitutedValues", {5, 6}}}},
        {"times", times},
        {"series", series}}}};
  support::ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("TCMAnalysis.json", archive.dump()));
  ASSERT_TRUE(writer.WriteTo(Path("sa.zip")));
  ASSERT_TRUE(RunOutput("scored",
                        "[{\"name\":\"action.scenarioAnalysisforSeries\"},{\"name\":\"action.scenario\"},"
                        "{\"name\":\"action.ForecastedValuesForScenario\"}]",
                        "[{\"name\":\"TCM\",\"uri\":\"" + Uri("model.zip") + "\"},{\"name\":\"TCMSA\",\"uri\":\"" +
                            Uri("sa.zip") + "\"}]"))
      << error_;
  EXPECT_NE(messages_.find("do not hold one value per time"), std::string::npos) << messages_;
  const Json action = Document()["tcm"]["action"];
  const Json& tree = action["scenarioAnalysisforSeries"]["visualization"];
  const Json& plots = action["scenarioAnalysisforSeries"]["subJson"];
  const auto Text = [&](std::size_t s) {
    return system_.series[s].metric + "-region:" + system_.series[s].dims[0];
  };
  EXPECT_EQ(CategoryTexts(tree, 0, 0), (std::vector<std::string>{Text(root), Text(child)}));
  // Each artefact's rows, compared number by number (null where there is none); the tree by its
  // series, parent and the two effect columns.
  Json tree_rows = Json::array();
  for (const Json& row : tree["dataArray"][0]["rows"]) tree_rows.push_back({row[0], row[1], row[5], row[6]});
  struct Case {
    std::string what;
    Json got;
    Json want;
  };
  const std::vector<Case> cases = {
      {"definition", action["scenario"]["table"]["cells"],
       {{"S1"}, {system_.series[root].metric + "-region:" + (system_.series[root].dims[0] == "east" ? "East coast" : "west")},
        {"2015-02-20"}, {"2015-02-21"}, {"2015-02-23"}, {5}, {6}}},
      {"forecasts", action["forecastedValuesforScenario"]["table"]["cells"],
       {{10, 10, 0, 9, 11}, {12, 10, 2, 10, 14}, {11, 10, 1, null, 13}, {null, null, null, null, null},
        {1, 1, 0, 0, 2}, {1, 1, 0, 0, 2}, {1, 1, 0, 0, 2}, {1, 1, 0, 0, 2}}},
      {"tree", tree_rows, {{0, null, 3.0, 1.5}, {1, 0, 2.0, 0.5}}},
      {"root plot", plots[Text(root)]["dataArray"][0]["rows"],
       {{0, 5, 2, 5, 5}, {1, 6, 3, 6, 6}, {2, 7, 7, 6, 8}, {3, 7, 7, 5, 9}}},
      {"target plot", plots[Text(child)]["dataArray"][0]["rows"],
       {{0, 10, 10, 9, 11}, {1, 12, 10, 10, 14}, {2, 11, 10, null, 13}, {3, null, null, null, null}}},
  };
  for (const Case& one : cases) {
    ASSERT_EQ(one.got.size(), one.want.size()) << one.what << ": " << one.got.dump();
    for (std::size_t r = 0; r < one.want.size(); ++r) {
      ASSERT_EQ(one.got[r].size(), one.want[r].size()) << one.what << " " << r;
      for (std::size_t c = 0; c < one.want[r].size(); ++c) {
        if (one.want[r][c].is_number()) {
          EXPECT_DOUBLE_EQ(Cell(one.got[r][c]), one.want[r][c].get<double>()) << one.what << " " << r << " " << c;
        } else {
          EXPECT_EQ(one.got[r][c], one.want[r][c]) << one.what << " " << r << " " << c;
        }
      }
    }
  }
  EXPECT_EQ(plots.size(), 3u);
  EXPECT_EQ(plots[Text(child)]["scenarioPeriod"], Json::parse(R"({"from": 0, "to": 1})"));
}

TEST_F(OutputStage, BadConfigurationsAreReportedAndNothingIsWritten) {
  EXPECT_FALSE(RunOutput("scored", "[{\"name\":\"review.noSuchTable\"}]", ModelInput()));
  EXPECT_NE(error_.find("stage 'OutputComponent:TCMOutputComponent'"), std::string::npos) << error_;
  EXPECT_NE(error_.find("'review.noSuchTable'"), std::string::npos);
  error_.clear();
  EXPECT_FALSE(RunOutput("scored", "[]", "[{\"name\":\"TCM\",\"uri\":\"\"}]"));
  EXPECT_NE(error_.find("no model system"), std::string::npos) << error_;
  error_.clear();
  EXPECT_FALSE(RunOutput("scored", "[{\"name\":\"evaluation.observedAndPredicted\",\"target\":[\"east\"]}]", ModelInput()));
  EXPECT_NE(error_.find("'target'"), std::string::npos) << error_;
  error_.clear();
  // A model archive that is not one fails the run, naming it.
  ASSERT_TRUE(support::WriteJsonFile(Path("broken.zip"), Json::object()));
  EXPECT_FALSE(RunOutput("scored", "[]", "[{\"name\":\"TCM\",\"uri\":\"" + Uri("broken.zip") + "\"}]"));
  EXPECT_NE(error_.find("the model system"), std::string::npos) << error_;
  EXPECT_FALSE(std::filesystem::exists(Path("stat.zip")));
}

TEST(OutputPieces, HistogramBinsAndDatePatterns) {
  const std::vector<double> values = {1, 2, 2.5, 4, 9, std::nan("")};
  const auto bins = output::HistogramBins(values);
  ASSERT_EQ(bins.size(), 4u);  // Sturges: ceil(log2 5) + 1
  EXPECT_DOUBLE_EQ(bins.front().from, 1);
  EXPECT_DOUBLE_EQ(bins.back().to, 9);
  int total = 0;
  for (const auto& bin : bins) total += bin.count;
  EXPECT_EQ(total, 5);
  EXPECT_EQ(bins.back().count, 1);  // the largest value falls in the last bin
  const auto single = output::HistogramBins({3, 3});
  ASSERT_EQ(single.size(), 1u);
  EXPECT_LT(single[0].from, 3);
  EXPECT_GT(single[0].to, 3);
  EXPECT_EQ(single[0].count, 2);
  EXPECT_TRUE(output::HistogramBins({}).empty());
  EXPECT_EQ(output::StrftimeFormat("yyyy-MM-dd"), "%Y-%m-%d");
  EXPECT_EQ(output::StrftimeFormat("hh:mm:ss"), "%H:%M:%S");
  EXPECT_EQ(output::StrftimeFormat("dd.MMM yy"), "%d.%b %y");
}

}  // namespace
}  // namespace engine
