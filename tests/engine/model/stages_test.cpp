// Tests of the model stages through engine::Job: a prepared table in, the model archive, the
// summary, scored tables and a re-estimated archive out.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "engine/data/asbf.h"
#include "engine/job/job.h"
#include "engine/model/model_archive.h"
#include "support/json_util.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "engine/preparation_json.h"

namespace engine {
namespace {

constexpr int kTimes = 120;
constexpr double kDay = 86400.0;
constexpr double kStart = 16436.0 * kDay; // 2015-01-01

// Two regions x two metrics on a daily grid: east sales follow west cost at lag 1; west sales
// follow east sales at lag 2; the cost series are AR(1).
Table PreparedTable(unsigned seed) {
  std::mt19937_64 random(seed);
  std::normal_distribution<double> normal(0, 1);
  Eigen::MatrixXd x =
      Eigen::MatrixXd::Zero(kTimes + 50, 4); // 0 east sales, 1 east cost, 2 west sales, 3 west cost
  for (Eigen::Index t = 2; t < x.rows(); ++t) {
    x(t, 1) = 20 + 0.5 * x(t - 1, 1) + normal(random);
    x(t, 3) = 30 + 0.4 * x(t - 1, 3) + normal(random);
    x(t, 0) = 100 + 0.3 * x(t - 1, 0) + 1.5 * x(t - 1, 3) + normal(random);
    x(t, 2) = 50 + 0.2 * x(t - 1, 2) + 0.6 * x(t - 2, 0) + normal(random);
  }
  x = x.bottomRows(kTimes).eval();
  Table table;
  Field region{
      "region", Storage::kString, "nominal", "", "", "", {{"east", 1, ""}, {"west", 2, ""}}};
  table.model.fields = {region,
                        {"date", Storage::kReal, "continuous", "", "", "", {}},
                        {"sales", Storage::kReal, "continuous", "", "", "", {}},
                        {"cost", Storage::kReal, "continuous", "", "", "", {}},
                        {"$casecount", Storage::kInteger, "", "", "", "", {}}};
  table.columns = {Column(Storage::kString), Column(Storage::kReal), Column(Storage::kReal),
                   Column(Storage::kReal), Column(Storage::kInteger)};
  for (int block = 0; block < 2; ++block) {
    for (int t = 0; t < kTimes; ++t) {
      table.columns[0].AppendText(block == 0 ? "east" : "west");
      table.columns[1].AppendReal(kStart + t * kDay);
      table.columns[2].AppendReal(x(t, 2 * block));
      table.columns[3].AppendReal(x(t, 2 * block + 1));
      table.columns[4].AppendInt(block * kTimes + t + 1);
    }
  }
  return table;
}

std::string PreparationJson() {
  return engine_tests::DailyPreparation("region", {"east", "west"}, {"sales", "cost"}, 16436, kTimes).dump();
}

class ModelStages : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("model_stages");
    ASSERT_TRUE(dir) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(*dir));
    ASSERT_TRUE(WriteAsbfWithModel(Path("prepared.asbf"), Path("prepared.xml"), PreparedTable(1)));
    support::ZipArchiveWriter json;
    ASSERT_TRUE(json.AddText("TSDPOutput.json", PreparationJson()));
    ASSERT_TRUE(json.WriteTo(Path("json.zip")));
  }

  std::string Path(const std::string& name) const { return (dir_->path() / name).string(); }
  std::string Uri(const std::string& name) const { return "file://" + Path(name); }
  std::string Reader(const std::string& data = "prepared") const {
    return "val readerConf = {\"filesystem\": {\"dataModel\": \"" + Uri(data + ".xml") +
           "\", \"locations\": [{\"path\": \"" + Uri(data + ".asbf") +
           "\", \"parser\": {\"name\": \"asbf\"}}]}}\n";
  }
  std::string Writer(const std::string& name) const {
    return "val writerConf = {\"dataDestination\": \"" + Uri(name + ".asbf") +
           "\", \"dataModelDestination\": \"" + Uri(name + ".xml") + "\", \"type\": \"asbf\"}\n";
  }
  bool Run(const std::string& script) {
    Job job;
    if (!job.Prepare(script) || !job.Execute()) {
      for (const Message& message : job.Messages())
        last_error_ += message.text + "\n";
      return false;
    }
    return true;
  }
  bool BuildModel(const std::string& config_extra = "") {
    return Run(
        Reader() +
        "val tcmModelConfig ={\"targetPredictorList\": [{\"targetList\": [[\"\", \"sales\"]],"
        " \"predictorCandidateList\": [[\"\", \"sales\"], [\"\", \"cost\"]]}],"
        " \"maxLag\": {\"source\": \"SETTING\", \"value\": 2},"
        " \"maxNumberOfPredictor\": {\"useDefault\": true}, \"epsilon\": 0.001,"
        " \"confidenceLevel\": 0.95, \"exportCovarianceMatrix\": false, \"modelsPerJob\": 1" +
        config_extra + "}\n" + "val tcmModelInConf =[{\"name\":\"JSON\",\"uri\":\"" +
        Uri("json.zip") + "\"}]\n" +
        "val tcmModelOutConf =[{\"export\":true,\"name\":\"TCMXML\",\"uri\":\"" + Uri("model.zip") +
        "\"}]\n" + "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)");
  }

  std::unique_ptr<support::TempDir> dir_;
  std::string last_error_;
};

TEST_F(ModelStages, BuildWritesTheModelArchive) {
  ASSERT_TRUE(BuildModel()) << last_error_;
  auto reader = support::ZipArchiveReader::Open(Path("model.zip"));
  ASSERT_TRUE(reader) << reader.message();
  EXPECT_EQ(*reader->ReadText("TSDPOutput.json"), PreparationJson());

  const std::string stat_xml = *reader->ReadText("StatXML.xml");
  // The data model as a reader cuts it out of the text.
  const std::size_t from = stat_xml.find("<DataModel>");
  const std::size_t to = stat_xml.find("</DataModel>");
  ASSERT_NE(from, std::string::npos);
  ASSERT_NE(to, std::string::npos);
  auto data_model = DataModelFromXml(stat_xml.substr(from, to + 12 - from));
  ASSERT_TRUE(data_model) << data_model.message();
  ASSERT_EQ(data_model->fields.size(), 3u);
  const Field& region = data_model->fields[0];
  EXPECT_EQ(region.name, "region");
  EXPECT_EQ(region.storage, Storage::kInteger);
  EXPECT_EQ(region.base, "$base_region");
  EXPECT_EQ(region.categories[1], (Category{"2", 2, "west"}));
  EXPECT_EQ(data_model->fields[1].name, "$base_region");
  EXPECT_EQ(data_model->fields[1].storage, Storage::kString);
  EXPECT_EQ(data_model->fields[1].categories[0], (Category{"east", 1, "east"}));
  EXPECT_EQ(data_model->fields[2].name, "metricField");
  EXPECT_EQ(data_model->fields[2].categories[1], (Category{"2", 2, "cost"}));
  EXPECT_NE(stat_xml.find("<Parameter name=\"maxLag\">\n    <Attribute name=\"value\" value=\"2\""),
            std::string::npos);

  auto graph = support::ParseJson(*reader->ReadText("TCMGraph.json"));
  ASSERT_TRUE(graph);
  EXPECT_EQ((*graph)["maxLag"], 2);
  ASSERT_EQ((*graph)["targets"].size(), 2u);
  // east sales <- west cost (lag 1); west sales <- east sales (lag 2); costs get AR models.
  const auto& east = (*graph)["targets"][0];
  EXPECT_EQ(east["id"], "1-1");
  EXPECT_EQ(east["dims"], support::Json({"east"}));
  bool found = false;
  for (const auto& input : east["inputs"]) {
    if (input["id"] == "2-2") {
      found = true;
      EXPECT_TRUE(input["significant"].get<bool>());
      EXPECT_NEAR(input["coefficients"][0].get<double>(), 1.5, 0.3);
      EXPECT_EQ(input["lags"], support::Json({1, 2}));
    }
  }
  EXPECT_TRUE(found);
  const auto& west = (*graph)["targets"][1];
  EXPECT_EQ(west["id"], "2-1");
  EXPECT_EQ(west["inputs"][0]["id"], "1-1");
  EXPECT_EQ((*graph)["arModelSeries"], support::Json({"2-2"}));

  // Bad configurations are reported at preparation, naming the stage.
  Job job;
  EXPECT_FALSE(job.Prepare(Reader() +
                           "val c = {\"targetPredictorList\": []}\nval i = []\nval o = []\n"
                           "read(readerConf)->tcm:tcm(c, i, o)"));
  EXPECT_NE(job.Messages().front().text.find("stage 'tcm:tcm'"), std::string::npos);
}

TEST_F(ModelStages, SummaryRanksTargetsByTheFitStatistic) {
  // Every sales and cost series a target, so there are four to rank.
  ASSERT_TRUE(Run(Reader() +
                  "val tcmModelConfig ={\"targetPredictorList\": [{\"targetList\": [[\"\", "
                  "\"sales\"], [\"\", \"cost\"]]}],"
                  " \"maxLag\": {\"source\": \"USE_DEFAULT\"}, \"maxNumberOfPredictor\": "
                  "{\"useDefault\": true}}\n"
                  "val tcmModelInConf =[{\"name\":\"JSON\",\"uri\":\"" +
                  Uri("json.zip") +
                  "\"}]\n"
                  "val tcmModelOutConf =[{\"export\":true,\"name\":\"TCMXML\",\"uri\":\"" +
                  Uri("all.zip") +
                  "\"}]\n"
                  "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)"))
      << last_error_;
  auto loaded = model::ReadModelArchive(Path("all.zip"));
  ASSERT_TRUE(loaded) << loaded.message();
  const model::ModelSystem& system = loaded->system;
  ASSERT_EQ(system.equations.size(), 4u);
  auto top = [&](const std::string& stat, const std::string& type, int value) {
    EXPECT_TRUE(Run("val summaryConf = {\"fitStat\": \"" + stat + "\", \"topType\": \"" + type +
                    "\", \"value\": " + std::to_string(value) + "}\n" +
                    "val inConf = [{\"name\":\"InputTCMXML\",\"uri\":\"" + Uri("all.zip") +
                    "\"}]\n" +
                    "val outConf =[{\"export\":true,\"name\":\"ModelsSummay\",\"uri\":\"" +
                    Uri("summary.zip") + "\"}]\n" + "tcm:summary(summaryConf, inConf, outConf)"))
        << last_error_;
    auto text = support::ReadZipText(Path("summary.zip"), "modelSummary.json");
    auto json = support::ParseJson(*text);
    return support::GetStringList((*json)["topNModels"], "IDs");
  };
  // Independent ranking from the stored statistics.
  std::vector<std::pair<double, std::string>> by_rmse, by_r2;
  for (const auto& equation : system.equations) {
    by_rmse.emplace_back(equation.stats.rmse, system.series[equation.series].id);
    by_r2.emplace_back(-equation.stats.rsquare, system.series[equation.series].id);
  }
  std::sort(by_rmse.begin(), by_rmse.end());
  std::sort(by_r2.begin(), by_r2.end());
  EXPECT_EQ(top("RMSE", "N", 2), (std::vector<std::string>{by_rmse[0].second, by_rmse[1].second}));
  EXPECT_EQ(top("RSQUARE", "N", 1), (std::vector<std::string>{by_r2[0].second}));
  EXPECT_EQ(top("RMSE", "PCT", 50).size(), 2u); // half of four
  EXPECT_EQ(top("AIC", "PCT", 30).size(), 2u);  // 1.2 rounds up
  EXPECT_EQ(top("BIC", "N", 10).size(), 4u);    // no more than there are
  EXPECT_FALSE(
      Run("val s = {\"fitStat\": \"MAPE\"}\nval i = []\nval o = []\ntcm:summary(s, i, o)"));
}

TEST_F(ModelStages, ScoreFitsForecastsAndReestimates) {
  ASSERT_TRUE(BuildModel()) << last_error_;
  const std::string in =
      "val scoreInConf = [{\"name\":\"InputTCMXML\",\"uri\":\"" + Uri("model.zip") + "\"}]\n";
  ASSERT_TRUE(
      Run(Reader() + Writer("scored") +
          "val scoreConf = {\"fieldSetting\": {\"fieldType\": \"EXCLUDED_TARGET_LIST\","
          " \"fieldNameList\": {\"seriesIDList\": []}}, \"forecast\": {\"doForecast\": true,"
          " \"forecastSpan\": 5, \"forecastInterval\": true}, \"fit\": {\"doFit\": true,"
          " \"fitInterval\": true, \"fitResidual\": true}, \"confidenceLevel\": 0.9,"
          " \"isOutputInputData\": true, \"isDataEncoded\": true}\n" +
          in + "read(readerConf)->tcm:score(scoreConf, scoreInConf,_)->write(writerConf)"))
      << last_error_;
  auto scored = ReadAsbfWithModel(Path("scored.asbf"), Path("scored.xml"));
  ASSERT_TRUE(scored) << scored.message();
  ASSERT_EQ(scored->RowCount(), 2u * (kTimes + 5));
  auto column = [&](const std::string& name) -> const Column& {
    auto index = scored->model.Find(name);
    EXPECT_TRUE(index) << name;
    return scored->columns[index.value_or(0)];
  };
  const Column& flag = column("$FutureFlag");
  const Column& sales = column("sales");
  const Column& predicted = column("sales_predicted");
  const Column& lower = column("sales_LCI");
  const Column& upper = column("sales_UCI");
  const Column& residual = column("sales_residual");
  EXPECT_TRUE(column("cost_predicted").IsMissing(10)); // costs are no targets
  auto loaded = model::ReadModelArchive(Path("model.zip"));
  const model::Equation& east = loaded->system.equations[0];
  const double z = 1.6448536269514722;
  double sum_squares = 0;
  for (std::size_t row = 0; row < kTimes + 5u; ++row) {
    const bool future = row >= static_cast<std::size_t>(kTimes);
    EXPECT_EQ(flag.Int(row), future ? 1 : 0);
    if (row < 2) {
      EXPECT_TRUE(predicted.IsMissing(row));
      continue;
    }
    ASSERT_FALSE(predicted.IsMissing(row)) << row;
    if (!future) {
      EXPECT_NEAR(residual.Real(row), sales.Real(row) - predicted.Real(row), 1e-9);
      sum_squares += residual.Real(row) * residual.Real(row);
      EXPECT_NEAR(upper.Real(row) - predicted.Real(row), z * east.stats.rmse, 1e-9);
    } else {
      EXPECT_TRUE(sales.IsMissing(row));
      EXPECT_TRUE(residual.IsMissing(row));
      // Intervals widen with the horizon.
      EXPECT_GT(upper.Real(row) - lower.Real(row), 2 * z * east.stats.rmse - 1e-9);
      if (row > static_cast<std::size_t>(kTimes)) {
        EXPECT_GE(upper.Real(row) - lower.Real(row),
                  upper.Real(row - 1) - lower.Real(row - 1) - 1e-9);
      }
    }
  }
  // The fit's residuals are the model's: their sum of squares is its RSS.
  EXPECT_NEAR(sum_squares, east.stats.rss, 1e-6 * east.stats.rss);

  // Re-estimation of the same structure on the same data gives the same coefficients.
  ASSERT_TRUE(Run(
      Reader() +
      "val scoreConf = {\"fieldSetting\": {\"fieldType\": \"EXCLUDED_TARGET_LIST\"},"
      " \"forecast\": {\"doForecast\": false}, \"re-estimate\": true, \"confidenceLevel\": 0.95,"
      " \"isDataEncoded\": true}\n"
      "val scoreInConf = [{\"name\":\"JSON\",\"uri\":\"" +
      Uri("json.zip") + "\"},{\"name\":\"InputTCMXML\",\"uri\":\"" + Uri("model.zip") + "\"}]\n" +
      "val scoreOutConf = [{\"export\":true, \"name\":\"TCMXML\",\"uri\":\"" + Uri("new.zip") +
      "\"}]\n" + "read(readerConf)->tcm:score(scoreConf, scoreInConf, scoreOutConf)"))
      << last_error_;
  auto refit = model::ReadModelArchive(Path("new.zip"));
  ASSERT_TRUE(refit) << refit.message();
  ASSERT_EQ(refit->system.equations.size(), loaded->system.equations.size());
  for (std::size_t e = 0; e < refit->system.equations.size(); ++e) {
    const auto& a = loaded->system.equations[e];
    const auto& b = refit->system.equations[e];
    ASSERT_EQ(a.blocks.size(), b.blocks.size());
    for (std::size_t k = 0; k < a.blocks.size(); ++k) {
      for (std::size_t l = 0; l < a.blocks[k].coefficients.size(); ++l) {
        EXPECT_NEAR(a.blocks[k].coefficients[l], b.blocks[k].coefficients[l], 1e-9);
      }
    }
  }

  // New data: the re-estimated coefficients move, the structure stays.
  ASSERT_TRUE(WriteAsbfWithModel(Path("other.asbf"), Path("other.xml"), PreparedTable(2)));
  ASSERT_TRUE(Run(
      Reader("other") +
      "val scoreConf = {\"re-estimate\": true}\n"
      "val scoreInConf = [{\"name\":\"JSON\",\"uri\":\"" +
      Uri("json.zip") + "\"},{\"name\":\"InputTCMXML\",\"uri\":\"" + Uri("model.zip") + "\"}]\n" +
      "val scoreOutConf = [{\"export\":true, \"name\":\"TCMXML\",\"uri\":\"" + Uri("new.zip") +
      "\"}]\n" + "read(readerConf)->tcm:score(scoreConf, scoreInConf, scoreOutConf)"))
      << last_error_;
  refit = model::ReadModelArchive(Path("new.zip"));
  ASSERT_TRUE(refit);
  EXPECT_NE(refit->system.equations[0].intercept, loaded->system.equations[0].intercept);
  EXPECT_EQ(refit->system.equations[0].blocks.size(), loaded->system.equations[0].blocks.size());

  // The AR model series alone: only cost of west, with predictions and forecasts.
  ASSERT_TRUE(Run(Reader() + Writer("ar") +
                  "val arScoreConf = {\"fieldSetting\": {\"fieldNameList\": {\"seriesIDList\": "
                  "[[\"west\", \"cost\"]]}},"
                  " \"forecast\": {\"forecastSpan\": 3}, \"outputOriginalValue\": true, "
                  "\"isDataEncoded\": true}\n"
                  "val arSoreInConf = [{\"name\":\"InputTCMXML\",\"uri\":\"" +
                  Uri("model.zip") + "\"}]\n" +
                  "read(readerConf)->tcm:ar(arScoreConf, arSoreInConf,_)->write(writerConf)"))
      << last_error_;
  auto ar = ReadAsbfWithModel(Path("ar.asbf"), Path("ar.xml"));
  ASSERT_TRUE(ar) << ar.message();
  ASSERT_EQ(ar->RowCount(), 2u * (kTimes + 3));
  const Column& cost = ar->columns[*ar->model.Find("cost_predicted")];
  const Column& ar_sales = ar->columns[*ar->model.Find("sales_predicted")];
  const std::size_t west_first = kTimes + 3;
  EXPECT_TRUE(cost.IsMissing(10)); // east cost is no AR model series here
  EXPECT_FALSE(cost.IsMissing(west_first + 10));
  EXPECT_FALSE(cost.IsMissing(west_first + kTimes + 2));
  EXPECT_TRUE(ar_sales.IsMissing(west_first + 10)); // targets are not scored by tcm:ar
}

} // namespace
} // namespace engine
