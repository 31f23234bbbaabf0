// Tests of the scenario stage: a chain a -> b -> c -> d (and e apart) learned by the engine's own
// build, on a date axis and a cyclic one; the archive's paths against the system run forward
// plainly from the model's coefficients, the intervals against simulation, the targets, and the
// errors.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "engine/data/asbf.h"
#include "engine/job/job.h"
#include "engine/model/distributions.h"
#include "engine/model/model_archive.h"
#include "support/json_util.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"

namespace engine::model {
namespace {

using support::Json;

constexpr Eigen::Index kTimes = 200;
constexpr int kFirstDay = 16436; // 2015-01-01
constexpr int kFirstYear = 2000;
const std::vector<std::string> kMetrics = {"a", "b", "c", "d", "e"};

Eigen::MatrixXd Simulate() {
  std::mt19937_64 random(11);
  std::normal_distribution<double> normal(0, 1);
  Eigen::MatrixXd x = Eigen::MatrixXd::Constant(kTimes + 100, 5, 10.0);
  for (Eigen::Index t = 2; t < x.rows(); ++t) {
    x(t, 0) = 5 + 0.5 * x(t - 1, 0) + normal(random);
    x(t, 1) = 2 + 0.3 * x(t - 1, 1) + 0.8 * x(t - 1, 0) + normal(random);
    x(t, 2) = 1 + 0.2 * x(t - 1, 2) + 0.7 * x(t - 2, 1) + normal(random);
    x(t, 3) = 3 + 0.3 * x(t - 1, 3) + 0.9 * x(t - 1, 2) + normal(random);
    x(t, 4) = 4 + 0.4 * x(t - 1, 4) + normal(random);
  }
  return x.bottomRows(kTimes);
}

// The time of a row (beyond the data too) as the configuration gives it.
Json TimeOf(bool cyclic, Eigen::Index row) {
  if (cyclic)
    return Json::array({kFirstYear + row / 12, 1 + row % 12});
  return (kFirstDay + static_cast<double>(row)) * 86400.0;
}

// The prepared data, by days or by year and month, and their record.
std::pair<Table, Json> Prepare(const Eigen::MatrixXd& x, bool cyclic) {
  std::vector<std::string> fields = cyclic ? std::vector<std::string>{"year", "month"}
                                           : std::vector<std::string>{"date"};
  const std::size_t times = fields.size();
  fields.insert(fields.end(), kMetrics.begin(), kMetrics.end());
  Table table;
  for (const std::string& field : fields) {
    table.model.fields.push_back({field, Storage::kReal, "continuous", "", "", "", {}});
    table.columns.emplace_back(Storage::kReal);
  }
  Json variable = cyclic ? Json::object() : Json::array();
  for (Eigen::Index t = 0; t < kTimes; ++t) {
    const Json time = TimeOf(cyclic, t);
    for (std::size_t f = 0; f < times; ++f) {
      table.columns[f].AppendReal(cyclic ? time[f].get<double>() : time.get<double>());
      cyclic ? variable[fields[f]].push_back(time[f]) : variable.push_back(kFirstDay + t);
    }
    for (std::size_t s = 0; s < kMetrics.size(); ++s)
      table.columns[times + s].AppendReal(x(t, static_cast<Eigen::Index>(s)));
  }
  Json series = Json::array();
  for (std::size_t s = 0; s < kMetrics.size(); ++s)
    series.push_back({{"id", std::to_string(s + 1)}, {"dims", Json::array()}, {"metric", kMetrics[s]},
                      {"combination", 0}});
  Json output = {{"dimFieldList", {""}}, {"metricFieldList", kMetrics}, {"series", series},
                 {"timeVariable", variable}};
  if (cyclic) {
    output.update({{"timeFormat", "CYCLIC_PERIOD"}, {"cyclicFieldList", {"year", "month"}},
                   {"cycPeriodList", {12}}, {"cycOffsetList", {1}}});
  } else {
    output.update({{"timeFormat", "date"}, {"timeField", "date"}, {"interval", "DAY"}});
  }
  return {table, {{"settings", {{"dimFieldList", {""}}, {"metricFieldList", kMetrics}}},
                  {"output", output}}};
}

// The scenario computed plainly from the coefficients: every series observed, then forecast by
// its equation; from the start the descendants within `generations` (and the root after the
// period) by their equations, the root set to the values over the period. With `random`, every
// equation draws its innovation: one outcome of the intervened system.
struct Plain {
  Eigen::MatrixXd scenario, baseline; // rows 0..furthest
  std::vector<int> generation;
};
Plain PlainScenario(const ModelSystem& m, const Eigen::MatrixXd& x, std::size_t root,
                    Eigen::Index start, const std::vector<double>& values, Eigen::Index furthest,
                    int generations, std::mt19937_64* random = nullptr) {
  const int lags = m.settings.max_lag;
  std::normal_distribution<double> normal(0, 1);
  auto value = [&](const Equation& eq, const Eigen::MatrixXd& path, Eigen::Index t) {
    double v = eq.intercept + (random ? std::sqrt(eq.stats.sigma2) * normal(*random) : 0.0);
    for (const InputBlock& block : eq.blocks)
      for (int l = 1; l <= lags; ++l)
        v += block.coefficients[l - 1] * path(t - l, static_cast<Eigen::Index>(block.series));
    return v;
  };
  Plain p;
  p.generation.assign(m.series.size(), -1);
  p.generation[root] = 0;
  for (int g = 1; g <= generations; ++g) {
    for (const Equation& eq : m.equations) {
      for (const InputBlock& block : eq.blocks) {
        if (block.series != eq.series && p.generation[block.series] == g - 1 &&
            p.generation[eq.series] < 0)
          p.generation[eq.series] = g;
      }
    }
  }
  p.baseline = Eigen::MatrixXd::Zero(furthest + 1, 5);
  p.baseline.topRows(std::min(kTimes, furthest + 1)) = x.topRows(std::min(kTimes, furthest + 1));
  for (Eigen::Index t = kTimes; t <= furthest; ++t)
    for (const Equation& eq : m.equations)
      p.baseline(t, static_cast<Eigen::Index>(eq.series)) = value(eq, p.baseline, t);
  p.scenario = p.baseline;
  const Eigen::Index end = start + static_cast<Eigen::Index>(values.size()) - 1;
  for (Eigen::Index t = start; t <= furthest; ++t) {
    for (const Equation& eq : m.equations) {
      if (p.generation[eq.series] > 0 || (eq.series == root && t > end)) {
        const Eigen::Index s = static_cast<Eigen::Index>(eq.series);
        p.scenario(t, s) = value(eq, p.scenario, t);
        p.baseline(t, s) = value(eq, p.baseline, t);
      }
    }
    if (t <= end)
      p.scenario(t, static_cast<Eigen::Index>(root)) = values[static_cast<std::size_t>(t - start)];
  }
  return p;
}

class ScenarioStage : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("scenario_stage");
    ASSERT_TRUE(dir) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(*dir));
    x_ = Simulate();
  }
  std::string Path(const std::string& name) const { return (dir_->path() / name).string(); }
  std::string Uri(const std::string& name) const { return "file://" + Path(name); }

  bool Run(const std::string& text) {
    Job job;
    last_error_.clear();
    if (!job.Prepare(text) || !job.Execute()) {
      for (const Message& message : job.Messages())
        last_error_ += message.text + "\n";
      return false;
    }
    return true;
  }
  std::string Reader() const {
    return "val readerConf = {\"filesystem\": {\"dataModel\": \"" + Uri("prepared.xml") +
           "\", \"locations\": [{\"path\": \"" + Uri("prepared.asbf") +
           "\", \"parser\": {\"name\": \"asbf\"}}]}}\n";
  }
  // The prepared data and the model system the engine builds from them.
  void Build(bool cyclic) {
    const auto [table, preparation] = Prepare(x_, cyclic);
    ASSERT_TRUE(WriteAsbfWithModel(Path("prepared.asbf"), Path("prepared.xml"), table));
    support::ZipArchiveWriter json;
    ASSERT_TRUE(json.AddText("TSDPOutput.json", preparation.dump()));
    ASSERT_TRUE(json.WriteTo(Path("json.zip")));
    const std::string series = R"([["a"], ["b"], ["c"], ["d"], ["e"]])";
    ASSERT_TRUE(Run(Reader() + R"(val tcmModelConfig ={"targetPredictorList": [{"targetList": )" +
                    series + R"(, "predictorCandidateList": )" + series +
                    R"(}], "maxLag": {"source": "SETTING", "value": 2}, "confidenceLevel": 0.95})" +
                    "\nval tcmModelInConf =[{\"uri\":\"" + Uri("json.zip") +
                    "\"}]\nval tcmModelOutConf =[{\"uri\":\"" + Uri("model.zip") + "\"}]\n" +
                    "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)"))
        << last_error_;
    auto loaded = ReadModelArchive(Path("model.zip"));
    ASSERT_TRUE(loaded) << loaded.message();
    model_ = loaded->system;
  }
  // Runs tcm:sa with the configuration text; the archive's document, or null on failure.
  Json Scenario(const std::string& config) {
    std::filesystem::remove(Path("sa.zip"));
    if (!Run(Reader() + "val tcmSAConf = " + config + "\nval SAInCon = [{\"name\": " +
             "\"InputTCMXML\", \"uri\": \"" + Uri("model.zip") + "\"}]\n" +
             "val SAOutCon = [{\"name\": \"TCMAnalysis\", \"uri\": \"" + Uri("sa.zip") + "\"}]\n" +
             "read(readerConf)->tcm:sa(tcmSAConf, SAInCon, SAOutCon)")) {
      return nullptr;
    }
    auto reader = support::ZipArchiveReader::Open(Path("sa.zip"));
    EXPECT_TRUE(reader) << reader.message();
    auto text = reader->ReadText("TCMAnalysis.json");
    EXPECT_TRUE(text);
    return *support::ParseJson(*text);
  }
  // A configuration of a period of rows on the data's axis.
  static Json Config(bool cyclic, Eigen::Index start, const std::vector<double>& values,
                     Eigen::Index furthest, int generations) {
    const Eigen::Index end = start + static_cast<Eigen::Index>(values.size()) - 1;
    const std::string prefix = cyclic ? "nonStd" : "std";
    return {{"rootTimeSeries", {"a"}}, {prefix + "StartTime", TimeOf(cyclic, start)},
            {prefix + "EndTime", TimeOf(cyclic, end)}, {"substitutedValues", values},
            {prefix + "FurthestTime", TimeOf(cyclic, furthest)}, {"maxTargetsNum", 25},
            {"youngestGeneration", generations}, {"isDataEncoded", true}, {"isRawValues", true},
            {"isConfidenceIntervals", true}, {"confidenceLevel", 0.95}, {"scenarioID", "S1"}};
  }

  std::unique_ptr<support::TempDir> dir_;
  Eigen::MatrixXd x_;
  ModelSystem model_;
  std::string last_error_;
};

TEST_F(ScenarioStage, EffectsEqualTheSystemRunForwardPlainly) {
  struct Case {
    bool cyclic;
    Eigen::Index start; // row of the period's start
    std::vector<double> values;
    Eigen::Index furthest;
    int generations;
  } cases[] = {
      {false, kTimes - 20, {30, 31, 29, 30}, kTimes + 5, 3}, // in the data, on past the end
      {false, kTimes + 2, {25, 25, 25}, kTimes + 12, 2},    // beyond the data, after a gap
      {false, kTimes - 2, {0, 0, 0, 0}, kTimes + 6, 1},     // across the last observation
      {true, kTimes - 30, {28, 27}, kTimes - 10, 3},        // in the data only
      {true, kTimes - 1, {26, 26, 26}, kTimes + 9, 2},
  };
  for (bool cyclic : {false, true}) {
    Build(cyclic);
    // The learned graph is the true chain, so the generations are known.
    const Plain all = PlainScenario(model_, x_, 0, kTimes - 5, {1.0}, kTimes, 5);
    ASSERT_EQ(all.generation, (std::vector<int>{0, 1, 2, 3, -1}));
    for (const Case& c : cases) {
      if (c.cyclic != cyclic)
        continue;
      SCOPED_TRACE("cyclic " + std::to_string(cyclic) + " start " + std::to_string(c.start));
      const Json document = Scenario(Config(cyclic, c.start, c.values, c.furthest, c.generations).dump());
      ASSERT_FALSE(document.is_null()) << last_error_;
      const Json& analysis = document["scenarioAnalysis"];
      const Plain plain = PlainScenario(model_, x_, 0, c.start, c.values, c.furthest, c.generations);
      const Eigen::Index rows = c.furthest - c.start + 1;
      ASSERT_EQ(analysis["times"].size(), static_cast<std::size_t>(rows));
      EXPECT_EQ(analysis["times"][0], TimeOf(cyclic, c.start));
      EXPECT_EQ(analysis["times"].back(), TimeOf(cyclic, c.furthest));
      EXPECT_EQ(analysis["scenario"]["startIndex"], c.start - (kTimes - 1));
      EXPECT_EQ(analysis["scenario"]["substitutedValues"], Json(c.values));
      // The root and exactly its descendants within the generations asked for.
      std::vector<std::string> listed, expected;
      for (std::size_t s = 0; s < kMetrics.size(); ++s) {
        if (plain.generation[s] >= 0 && plain.generation[s] <= c.generations)
          expected.push_back(kMetrics[s]);
      }
      for (const Json& entry : analysis["series"]) {
        const std::string metric = entry["series"][0];
        listed.push_back(metric);
        const Eigen::Index s = std::find(kMetrics.begin(), kMetrics.end(), metric) - kMetrics.begin();
        EXPECT_EQ(entry["generation"], plain.generation[static_cast<std::size_t>(s)]);
        for (Eigen::Index t = 0; t < rows; ++t) {
          const double scenario = plain.scenario(c.start + t, s);
          const double baseline = plain.baseline(c.start + t, s);
          const double effect = scenario - baseline;
          const double scale = std::max(std::fabs(scenario), 1.0);
          EXPECT_NEAR(entry["scenario"][t].get<double>(), scenario, 1e-9 * scale) << metric << t;
          EXPECT_NEAR(entry["baseline"][t].get<double>(), baseline, 1e-9 * scale) << metric << t;
          EXPECT_NEAR(entry["difference"][t].get<double>(), effect,
                      1e-9 * std::max(std::fabs(effect), 1e-4 * scale)) << metric << t;
          EXPECT_LT(entry["lower"][t].get<double>(), scenario + 1e-9);
          EXPECT_GT(entry["upper"][t].get<double>(), scenario - 1e-9);
        }
        // The youngest generation listed is moved to the furthest time.
        if (metric == expected.back() && c.generations < 3) {
          EXPECT_NE(entry["difference"].back().get<double>(), 0.0);
        }
      }
      EXPECT_EQ(listed, expected);
    }
  }
}

// Over the period the root is held, so its interval is a point; the others' variances are those
// of the model's innovations carried through the intervened system, checked by simulating it.
TEST_F(ScenarioStage, IntervalsMatchSimulationOfTheIntervenedSystem) {
  Build(false);
  const Eigen::Index start = kTimes - 3;
  const std::vector<double> values = {30, 30, 30, 30, 30};
  const Eigen::Index furthest = kTimes + 6;
  const Json document = Scenario(Config(false, start, values, furthest, 3).dump());
  ASSERT_FALSE(document.is_null()) << last_error_;
  const Eigen::Index rows = furthest - start + 1;
  std::mt19937_64 random(5);
  constexpr int kPaths = 4000;
  Eigen::MatrixXd sum = Eigen::MatrixXd::Zero(rows, 5), squares = sum;
  for (int path = 0; path < kPaths; ++path) {
    const Plain p = PlainScenario(model_, x_, 0, start, values, furthest, 3, &random);
    sum += p.scenario.bottomRows(rows);
    squares += p.scenario.bottomRows(rows).cwiseAbs2();
  }
  const double z = NormalQuantile(0.975);
  for (const Json& entry : document["scenarioAnalysis"]["series"]) {
    const Eigen::Index s = std::find(kMetrics.begin(), kMetrics.end(),
                                     entry["series"][0].get<std::string>()) - kMetrics.begin();
    for (Eigen::Index t = 0; t < rows; ++t) {
      const double half = (entry["upper"][t].get<double>() - entry["lower"][t].get<double>()) / 2;
      const double mean = sum(t, s) / kPaths;
      const double sd = std::sqrt(squares(t, s) / kPaths - mean * mean);
      if (s == 0 && t < 5) {
        EXPECT_EQ(half, 0.0);
        continue;
      }
      EXPECT_NEAR(half / z, sd, 0.06 * sd) << s << " " << t;
      EXPECT_NEAR(entry["scenario"][t].get<double>(), mean, 4 * sd / std::sqrt(kPaths)) << s << t;
    }
  }
}

TEST_F(ScenarioStage, TargetsAreTheMostAffectedDescendantsOrTheGivenOnes) {
  Build(false);
  const Eigen::Index start = kTimes - 10;
  const std::vector<double> values = {35, 35, 35};
  Json config = Config(false, start, values, kTimes + 5, 3);
  // By the effect relative to the series' spread in the data, computed here from the paths.
  const Plain plain = PlainScenario(model_, x_, 0, start, values, kTimes + 5, 3);
  std::vector<std::pair<double, std::string>> sizes;
  for (Eigen::Index s = 1; s < 4; ++s) {
    const Eigen::VectorXd column = x_.col(s);
    const double sd = std::sqrt((column.array() - column.mean()).square().sum() / (kTimes - 1));
    const double largest = (plain.scenario.col(s) - plain.baseline.col(s)).cwiseAbs().maxCoeff();
    sizes.push_back({largest / sd, kMetrics[static_cast<std::size_t>(s)]});
  }
  std::sort(sizes.rbegin(), sizes.rend());
  struct Case {
    Json change;
    std::vector<std::string> targets;
    std::vector<std::string> listed;
  } cases[] = {
      {{{"maxTargetsNum", 2}}, {sizes[0].second, sizes[1].second}, {"a", "b", "c", "d"}},
      {{{"maxTargetsNum", 9}}, {sizes[0].second, sizes[1].second, sizes[2].second}, {"a", "b", "c", "d"}},
      // Given targets: one the root does not reach is listed with its unchanged path.
      {{{"targetTimeSeries", {{"e"}, {"d"}, {"nothing"}}}}, {"e", "d"}, {"a", "b", "c", "d", "e"}},
      {{{"targetTimeSeries", Json::array()}, {"youngestGeneration", 1}}, {}, {"a", "b"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.change.dump());
    Json changed = config;
    changed.update(c.change);
    const Json document = Scenario(changed.dump());
    ASSERT_FALSE(document.is_null()) << last_error_;
    const Json& analysis = document["scenarioAnalysis"];
    std::vector<std::string> targets, listed;
    for (const Json& target : analysis["targets"])
      targets.push_back(target["series"][0]);
    for (const Json& entry : analysis["series"]) {
      listed.push_back(entry["series"][0]);
      EXPECT_EQ(entry["isTarget"].get<bool>(),
                std::find(targets.begin(), targets.end(), listed.back()) != targets.end());
      if (listed.back() == "e") {
        EXPECT_TRUE(entry["generation"].is_null());
        for (const Json& d : entry["difference"])
          EXPECT_EQ(d.get<double>(), 0.0);
      }
    }
    EXPECT_EQ(targets, c.targets);
    EXPECT_EQ(listed, c.listed);
  }
}

TEST_F(ScenarioStage, BadScenariosFailNamingTheSeriesOrKey) {
  Build(true);
  const Json good = Config(true, kTimes - 5, {1, 2}, kTimes + 2, 3);
  struct Case {
    Json change;
    std::string message;
    const char* erase = nullptr;
  } cases[] = {
      {{{"rootTimeSeries", {"nothing"}}}, "the root series [\"nothing\"] is not in the model system"},
      {{{"rootTimeSeries", Json::array()}}, "'rootTimeSeries' must name the root series"},
      {{{"substitutedValues", {1, 2, 3}}},
       "'substitutedValues' holds 3 values, but the period from 'nonStdStartTime' to "
       "'nonStdEndTime' holds 2 time points"},
      {{{"substitutedValues", {1, "x"}}}, "'substitutedValues' must hold only numbers"},
      {{{"nonStdStartTime", {1990, 1}}}, "'nonStdStartTime' time lies before the first time point"},
      {{{"nonStdEndTime", {2003, 13}}}, "'nonStdEndTime' lies outside its cycle"},
      {{{"nonStdStartTime", {2000}}}, "'nonStdStartTime' must have 2 values"},
      {{{"nonStdFurthestTime", TimeOf(true, kTimes - 8)}}, "'nonStdFurthestTime' lies before 'nonStdEndTime'"},
      {{{"nonStdStartTime", TimeOf(true, 1)}, {"nonStdEndTime", TimeOf(true, 2)}},
       "'nonStdStartTime' lies among the first 2 time points"},
      {{{"nonStdStartTime", nullptr}, {"stdStartTime", 0}}, "'nonStdStartTime' must be an array"},
      {{{"youngestGeneration", 0}}, "'youngestGeneration' 0 is out of range"},
      {{{"isRawValues", false}}, "'isRawValues' must be true"},
      {{{"confidenceLevel", 95}}, "'confidenceLevel' must lie between 0 and 1"},
      // A period in the other form only.
      {Json::object(), "the period needs 'stdStartTime' (date-time data) or 'nonStdStartTime'",
       "nonStdStartTime"},
      {{{"stdStartTime", 0}}, "cyclic data need 'nonStdStartTime'", "nonStdStartTime"},
  };
  for (const Case& c : cases) {
    Json changed = good;
    changed.update(c.change);
    if (c.erase)
      changed.erase(c.erase);
    EXPECT_TRUE(Scenario(changed.dump()).is_null()) << c.change.dump();
    EXPECT_NE(last_error_.find(c.message), std::string::npos) << last_error_;
    EXPECT_FALSE(std::filesystem::exists(Path("sa.zip"))) << c.change.dump();
  }
}

} // namespace
} // namespace engine::model
