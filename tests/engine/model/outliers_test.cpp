// Tests of outlier detection and root cause analysis: a known chain a -> b -> y (and c -> y) with a
// shock injected upstream in a and one in y itself; then the tcm:od and tcm:rca stages through a
// job, and their archives read back by the output's loader.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "engine/data/asbf.h"
#include "engine/job/job.h"
#include "engine/model/distributions.h"
#include "engine/model/model_archive.h"
#include "engine/model/outliers.h"
#include "engine/output/output_data.h"
#include "engine/preparation_json.h"
#include "support/json_util.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"

namespace engine::model {
namespace {

constexpr Eigen::Index kTimes = 300;
constexpr Eigen::Index kUpstreamShock = 100; // in a, reaching y after 1 + 2 rows
constexpr Eigen::Index kTargetShock = 200;   // in y itself
constexpr double kShock = 10;
enum : std::size_t { kA, kB, kY, kC, kQuiet };
const char* const kMetrics[] = {"a", "b", "y", "c", "quiet"};

struct Term {
  std::size_t source;
  int lag;
  double coefficient;
};
// Series: own lag 1 first, then its inputs; every series has unit noise and intercept 10.
const std::vector<std::vector<Term>> kTruth = {
    {{kA, 1, 0.3}},
    {{kB, 1, 0.2}, {kA, 1, 0.9}},
    {{kY, 1, 0.2}, {kB, 2, 0.9}, {kC, 1, 0.3}},
    {{kC, 1, 0.4}},
    {{kQuiet, 1, 0.2}},
};

// A true system as a fitted one would be, with `lags` lags; the series not in `targets` are AR
// model series.
ModelSystem ModelOf(const std::vector<std::vector<Term>>& truth, int lags,
                    const std::vector<std::size_t>& targets) {
  ModelSystem system;
  system.settings.max_lag = lags;
  for (std::size_t s = 0; s < truth.size(); ++s) {
    system.series.push_back({std::to_string(s + 1), {}, s < 5 ? kMetrics[s] : "x"});
    Equation equation;
    equation.series = s;
    equation.is_target = std::find(targets.begin(), targets.end(), s) != targets.end();
    equation.intercept = 10;
    equation.stats.sigma2 = 1;
    for (const Term& term : truth[s]) {
      auto block = std::find_if(equation.blocks.begin(), equation.blocks.end(),
                                [&](const InputBlock& b) { return b.series == term.source; });
      if (block == equation.blocks.end()) {
        equation.blocks.push_back({});
        block = equation.blocks.end() - 1;
        block->series = term.source;
        block->own = term.source == s;
        block->coefficients.assign(static_cast<std::size_t>(lags), 0.0);
      }
      block->coefficients[static_cast<std::size_t>(term.lag - 1)] = term.coefficient;
    }
    system.equations.push_back(std::move(equation));
  }
  return system;
}

ModelSystem TrueModel() {
  return ModelOf(kTruth, 2, {kB, kY, kQuiet});
}

struct Shock {
  Eigen::Index row;
  std::size_t series;
  double size;
};

// `kTimes` rows of the system with the given noise scales and extra innovations.
Eigen::MatrixXd Simulate(const std::vector<std::vector<Term>>& truth,
                         const std::vector<double>& noise, const std::vector<Shock>& shocks,
                         unsigned seed) {
  std::mt19937_64 random(seed);
  std::normal_distribution<double> normal(0, 1);
  const Eigen::Index burn = 100;
  Eigen::MatrixXd x = Eigen::MatrixXd::Zero(kTimes + burn, static_cast<Eigen::Index>(truth.size()));
  for (Eigen::Index t = 2; t < x.rows(); ++t) {
    for (std::size_t s = 0; s < truth.size(); ++s) {
      double value = 10 + noise[s] * normal(random);
      for (const Term& term : truth[s])
        value += term.coefficient * x(t - term.lag, static_cast<Eigen::Index>(term.source));
      for (const Shock& shock : shocks) {
        if (t - burn == shock.row && s == shock.series)
          value += shock.size;
      }
      x(t, static_cast<Eigen::Index>(s)) = value;
    }
  }
  return x.bottomRows(kTimes).eval();
}

Eigen::MatrixXd Simulate(unsigned seed) {
  return Simulate(kTruth, std::vector<double>(kTruth.size(), 1.0),
                  {{kUpstreamShock, kA, kShock}, {kTargetShock, kY, kShock}}, seed);
}

const OutlierEvent* EventIn(const OutlierScan& scan, Eigen::Index from, int steps, int* count) {
  const OutlierEvent* found = nullptr;
  *count = 0;
  for (const OutlierEvent& event : scan.events) {
    if (event.time >= from && event.time < from + steps) {
      found = &event;
      ++*count;
    }
  }
  return found;
}

TEST(RobustScale, ResistsOutliersAndStaysConsistent) {
  std::mt19937_64 random(3);
  std::normal_distribution<double> normal(0, 2);
  std::vector<double> clean(2000);
  for (double& value : clean)
    value = normal(random);
  std::vector<double> spoiled = clean;
  for (std::size_t i = 0; i < 40; ++i)
    spoiled[i * 50] = 60; // 2% gross errors
  struct Case {
    std::vector<double> values;
    double cut;
    double low, high;
  } cases[] = {
      {clean, 2.0, 1.9, 2.1},         {clean, 3.3, 1.9, 2.1}, {spoiled, 2.5, 1.9, 2.1},
      {{0, 0, 0, 0, 3, -3}, 2.5, 1.5, 2.0}, // mostly equal values: the spread of the rest
      {{1.0, model::kNaN}, 2.5, 0, 0},      // too few values: NaN
  };
  for (const Case& c : cases) {
    const double scale = RobustScale(c.values, c.cut);
    if (c.high == 0) {
      EXPECT_TRUE(std::isnan(scale));
    } else {
      EXPECT_GT(scale, c.low) << c.values.size() << " values, cut " << c.cut;
      EXPECT_LT(scale, c.high) << c.values.size() << " values, cut " << c.cut;
    }
  }
}

TEST(Outliers, EachShockIsOneEventAndItsSourceRanksFirst) {
  const ModelSystem system = TrueModel();
  const Eigen::MatrixXd history = Simulate(7);
  // The longest path into y within three generations: a -> b (lag 1), b -> y (lag 2).
  const int steps = BaselineSteps(system, kY, 3);
  ASSERT_EQ(steps, 4);
  const Innovations innovations = SystemInnovations(system, history, 2.5);
  const TargetResponses responses = ResponsesOf(system, kY, steps, innovations.scale);
  ASSERT_TRUE(responses.complete);
  // The only walk of delay 3 from a to y: a -> b (lag 1, 0.9), b -> y (lag 2, 0.9).
  EXPECT_NEAR(responses.psi(3, kA), 0.81, 1e-12);
  EXPECT_EQ(responses.psi(2, kA), 0.0);

  struct Case {
    double threshold;
    int generations;
    bool upstream_named; // a is within reach and ranks first
  } cases[] = {{0.95, 3, true}, {0.99, 3, true}, {0.999, 2, true}, {0.999, 1, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "threshold " << c.threshold << ", generations "
                                    << c.generations);
    const OutlierScan scan = DetectOutliers(system, history, innovations, responses, kY,
                                            c.threshold);
    EXPECT_EQ(scan.assessed, static_cast<std::size_t>(kTimes - 2));
    EXPECT_NEAR(scan.expected_chance_flags, (1 - c.threshold) * (kTimes - 2), 1e-9);
    // Chance flags stay near their expected number (the two shocks add at most 2 x 4 flags).
    EXPECT_LE(static_cast<double>(scan.flagged), 2.5 * scan.expected_chance_flags + 8);
    int count = 0;
    const OutlierEvent* upstream = EventIn(scan, kUpstreamShock, steps, &count);
    ASSERT_EQ(count, 1);
    EXPECT_GE(upstream->time, kUpstreamShock + 3);
    EXPECT_NEAR(upstream->observed - upstream->baseline,
                upstream->z * std::sqrt(responses.variance[3]), 1e-9);
    const OutlierEvent* own = EventIn(scan, kTargetShock, steps, &count);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(own->time, kTargetShock);
    EXPECT_GE(own->probability, c.threshold);

    const auto up_causes = ExplainOutlier(system, innovations, responses, kY, *upstream,
                                          c.generations, c.threshold);
    const bool a_named = std::any_of(up_causes.begin(), up_causes.end(),
                                     [](const RootCauseFinding& f) { return f.series == kA; });
    EXPECT_EQ(a_named, c.upstream_named);
    if (c.upstream_named) {
      ASSERT_FALSE(up_causes.empty());
      const RootCauseFinding& first = up_causes.front();
      EXPECT_EQ(first.series, kA);
      EXPECT_EQ(first.innovation_time, kUpstreamShock);
      EXPECT_GE(first.delay, 3);
      EXPECT_GT(first.share, 0.6);
      ASSERT_EQ(first.path.size(), 2u);
      EXPECT_EQ(first.path[0].from, kA);
      EXPECT_EQ(first.path[0].to, kB);
      EXPECT_EQ(first.path[0].lag, 1);
      EXPECT_EQ(first.path[1].from, kB);
      EXPECT_EQ(first.path[1].to, kY);
      EXPECT_EQ(first.path[1].lag, 2);
    }
    const auto own_causes = ExplainOutlier(system, innovations, responses, kY, *own,
                                           c.generations, c.threshold);
    ASSERT_FALSE(own_causes.empty());
    EXPECT_EQ(own_causes.front().series, kY);
    EXPECT_EQ(own_causes.front().innovation_time, kTargetShock);
    EXPECT_TRUE(own_causes.front().path.empty());
    EXPECT_GT(own_causes.front().share, 0.7);
  }
}

TEST(Outliers, BaselineSpansTheLongestPathWithinTheGenerations) {
  // A block acts at its largest significant lag; at its most significant one when none is; at
  // its largest nonzero one without p values.
  const double nan = kNaN;
  struct LagCase {
    std::vector<double> coefficients, p_values;
    int lag;
  } lags[] = {{{0.5, 0.1, 0.2}, {0.001, 0.2, 0.03}, 3},
              {{0.5, 0.1, 0.2}, {0.001, 0.2, 0.3}, 1},
              {{0.1, 0.1, 0.2}, {0.09, 0.07, 0.3}, 2},
              {{0.0, 0.9, 0.0}, {}, 2},
              {{0.0, 0.9, 0.0}, {nan, nan, nan}, 2}};
  for (const LagCase& c : lags) {
    InputBlock block;
    block.coefficients = c.coefficients;
    block.p_values = c.p_values;
    EXPECT_EQ(InputLag(block, 0.05), c.lag) << c.coefficients[0] << " " << c.p_values.size();
  }
  // In the chain a -(1)-> b -(2)-> y <-(1)- c: own lags never lengthen a path; a series without
  // inputs is tested on its one-step innovation.
  const ModelSystem system = TrueModel();
  struct StepCase {
    std::size_t target;
    int generations, steps;
  } steps[] = {{kY, 1, 3}, {kY, 2, 4}, {kY, 5, 4}, {kB, 1, 2}, {kA, 3, 1}, {kQuiet, 3, 1}};
  for (const StepCase& c : steps) {
    EXPECT_EQ(BaselineSteps(system, c.target, c.generations), c.steps)
        << kMetrics[c.target] << " at " << c.generations << " generations";
  }
}

TEST(Outliers, AnOwnShockHiddenByANoisyInputIsStillFlagged) {
  // y_t = 0.2 y_{t-1} + p_{t-1} + e with p five times as noisy as y: the baseline of y one step
  // further back is so uncertain that a 6-sigma shock of y's own stays within it; its own
  // innovation's test flags it. A shock in p reaches y as a deviation from the baseline.
  enum : std::size_t { kP, kTarget };
  const std::vector<std::vector<Term>> truth = {{{kP, 1, 0.3}}, {{kTarget, 1, 0.2}, {kP, 1, 1.0}}};
  const ModelSystem system = ModelOf(truth, 1, {kTarget});
  const Eigen::MatrixXd history =
      Simulate(truth, {5.0, 1.0}, {{150, kTarget, 6}, {220, kP, 40}}, 5);
  const Innovations innovations = SystemInnovations(system, history, 2.58);
  const int steps = BaselineSteps(system, kTarget, 1);
  ASSERT_EQ(steps, 2);
  const TargetResponses responses = ResponsesOf(system, kTarget, steps, innovations.scale);
  for (double threshold : {0.95, 0.99}) {
    SCOPED_TRACE(testing::Message() << "threshold " << threshold);
    const OutlierScan scan = DetectOutliers(system, history, innovations, responses, kTarget,
                                            threshold);
    int count = 0;
    const OutlierEvent* own = EventIn(scan, 150, 1, &count);
    ASSERT_EQ(count, 1);
    EXPECT_LT(std::fabs(own->z), NormalQuantile(0.5 * (1 + threshold))); // the baseline misses it
    EXPECT_GT(own->innovation_z, 5);
    EXPECT_GE(own->probability, threshold);
    const OutlierEvent* upstream = EventIn(scan, 221, 1, &count);
    ASSERT_EQ(count, 1);
    EXPECT_GT(upstream->z, 5);
    // The two tests share the chance flags: no more of them than expected (give or take).
    EXPECT_LE(static_cast<double>(scan.flagged), 1.5 * scan.expected_chance_flags + 4);
    const auto causes = ExplainOutlier(system, innovations, responses, kTarget, *own, 1, threshold);
    ASSERT_FALSE(causes.empty());
    EXPECT_EQ(causes.front().series, kTarget);
  }
}

// The stages: the prepared table and the model archive on disk, scripts through a job.
class OutlierStages : public ::testing::Test {
 protected:
  static constexpr double kDay = 86400.0;
  static constexpr int kFirstDay = 16436; // 2015-01-01

  void SetUp() override {
    auto dir = support::TempDir::Create("outlier_stages");
    ASSERT_TRUE(dir) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(*dir));
    const Eigen::MatrixXd x = Simulate(7);
    Table table;
    table.model.fields.push_back({"date", Storage::kReal, "continuous", "", "", "", {}});
    table.columns.emplace_back(Storage::kReal);
    for (const char* metric : kMetrics) {
      table.model.fields.push_back({metric, Storage::kReal, "continuous", "", "", "", {}});
      table.columns.emplace_back(Storage::kReal);
    }
    for (Eigen::Index t = 0; t < kTimes; ++t) {
      table.columns[0].AppendReal((kFirstDay + static_cast<double>(t)) * kDay);
      for (Eigen::Index s = 0; s < 5; ++s)
        table.columns[static_cast<std::size_t>(s + 1)].AppendReal(x(t, s));
    }
    ASSERT_TRUE(WriteAsbfWithModel(Path("prepared.asbf"), Path("prepared.xml"), table));
    const std::vector<std::string> metrics(std::begin(kMetrics), std::end(kMetrics));
    const support::Json preparation =
        engine_tests::DailyPreparation("", {}, metrics, static_cast<int>(kFirstDay), static_cast<int>(kTimes));
    ASSERT_TRUE(WriteModelArchive(Path("model.zip"), TrueModel(), ModelDataModel(table, {}, metrics),
                                  preparation.dump()));
  }

  std::string Path(const std::string& name) const { return (dir_->path() / name).string(); }
  std::string Uri(const std::string& name) const { return "file://" + Path(name); }

  // Runs `stage` on the prepared data; the configuration is the JSON text `config`.
  bool Run(const std::string& stage, const std::string& config, const std::string& archive) {
    const std::string script =
        "val readerConf = {\"filesystem\": {\"dataModel\": \"" + Uri("prepared.xml") +
        "\", \"locations\": [{\"path\": \"" + Uri("prepared.asbf") +
        "\", \"parser\": {\"name\": \"asbf\"}}]}}\n" + "val conf = " + config + "\n" +
        "val inConf = [{\"name\": \"InputTCMXML\", \"uri\": \"" + Uri("model.zip") + "\"}]\n" +
        "val outConf = [{\"name\": \"TCMAnalysis\", \"uri\": \"" + Uri(archive) + "\"}]\n" +
        "read(readerConf)->" + stage + "(conf, inConf, outConf)";
    Job job;
    last_error_.clear();
    if (!job.Prepare(script) || !job.Execute()) {
      for (const Message& message : job.Messages())
        last_error_ += message.text + "\n";
      return false;
    }
    return true;
  }

  // The archive's members, by name.
  std::map<std::string, support::Json> Members(const std::string& archive) {
    std::map<std::string, support::Json> members;
    auto reader = support::ZipArchiveReader::Open(Path(archive));
    EXPECT_TRUE(reader) << reader.message();
    if (!reader)
      return members;
    for (const support::ZipEntry& entry : reader->Entries()) {
      auto text = reader->ReadText(entry.name);
      auto json = support::ParseJson(*text);
      EXPECT_TRUE(json) << entry.name;
      if (json)
        members[entry.name] = *json;
    }
    return members;
  }

  std::unique_ptr<support::TempDir> dir_;
  std::string last_error_;
};

TEST_F(OutlierStages, ArchivesHoldTheSeriesWithOutliersAndTheOutputReadsThem) {
  struct Case {
    std::string config;
    std::vector<std::string> members; // the series with outliers, by member name
  } cases[] = {
      // quiet has no shock: at this threshold no chance flag either, so no member.
      {R"({"threshold": 0.9999, "isDataEncoded": true})", {"outliers_2.json", "outliers_3.json"}},
      {R"({"targetTimeSeries": [["y"]], "threshold": 0.9999})", {"outliers_3.json"}},
      {R"({"targetTimeSeries": [["quiet"]], "threshold": 0.9999})", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.config);
    ASSERT_TRUE(Run("tcm:od", c.config, "od.zip")) << last_error_;
    const auto members = Members("od.zip");
    std::vector<std::string> names;
    for (const auto& [name, json] : members)
      names.push_back(name);
    EXPECT_EQ(names, c.members);
    // The most extreme series come first in the archive: readers may take only the first ones.
    double before = INFINITY;
    auto archive = support::ZipArchiveReader::Open(Path("od.zip"));
    ASSERT_TRUE(archive);
    for (const support::ZipEntry& entry : archive->Entries()) {
      double most = 0;
      for (const support::Json& outlier : members.at(entry.name)["outlierDetection"]["outliers"])
        most = std::max({most, std::fabs(outlier["z"].get<double>()), std::fabs(outlier["innovationZ"].get<double>())});
      EXPECT_LE(most, before) << entry.name;
      before = most;
    }
    for (const auto& [name, json] : members) {
      const support::Json* key = support::FindPath(json, "outlierDetection.analysisSettings.targetTimeSeries");
      ASSERT_NE(key, nullptr);
      EXPECT_EQ(*key, support::Json::array({name == "outliers_2.json" ? "b" : "y"}));
      const support::Json& detection = json["outlierDetection"];
      EXPECT_NEAR(detection["summary"]["expectedChanceFlags"].get<double>(), 1e-4 * (kTimes - 2),
                  1e-12);
      bool has_shock = false;
      for (const support::Json& outlier : detection["outliers"]) {
        EXPECT_GE(outlier["probability"].get<double>(), 0.9999);
        EXPECT_TRUE(outlier["predicted"].is_number());
        has_shock = has_shock || outlier["time"] == (kFirstDay + kTargetShock) * kDay;
      }
      EXPECT_EQ(has_shock, name == "outliers_3.json");
    }
  }

  // The root causes of y, and both archives through the output's loader.
  ASSERT_TRUE(Run("tcm:od", R"({"threshold": 0.9999})", "od.zip")) << last_error_;
  ASSERT_TRUE(Run("tcm:rca",
                  R"({"targetTimeSeries": ["y"], "autoOutlierDetection": true,
                      "outlierDetection": {"threshold": 0.9999}, "isDataEncoded": true})",
                  "rca.zip"))
      << last_error_;
  const auto rca = Members("rca.zip");
  ASSERT_EQ(rca.size(), 1u);
  const support::Json& analysis = rca.begin()->second["rootCauseAnalysis"];
  EXPECT_EQ(analysis["analysisSettings"]["oldestGeneration"], 3);
  EXPECT_EQ(analysis["analysisSettings"]["baselineSteps"], 4);
  ASSERT_EQ(analysis["outliers"].size(), 2u);
  const support::Json& upstream = analysis["outliers"][0];
  EXPECT_EQ(upstream["rootCauses"][0]["series"], support::Json::array({"a"}));
  EXPECT_EQ(upstream["rootCauses"][0]["time"], (kFirstDay + kUpstreamShock) * kDay);
  EXPECT_EQ(upstream["rootCauses"][0]["timeText"], "2015-04-11");
  EXPECT_EQ(upstream["rootCauses"][0]["path"],
            support::Json::parse(R"([{"from": ["a"], "to": ["b"], "lag": 1},
                                     {"from": ["b"], "to": ["y"], "lag": 2}])"));
  EXPECT_FALSE(upstream["targetIsRootCause"].get<bool>());
  EXPECT_EQ(upstream["kind"], "propagated");
  EXPECT_EQ(analysis["outliers"][1]["kind"], "innovation");
  EXPECT_TRUE(analysis["outliers"][1]["targetIsRootCause"].get<bool>());

  output::OutputConfig config;
  config.model_path = Path("model.zip");
  config.outlier_path = Path("od.zip");
  config.root_cause_path = Path("rca.zip");
  config.output_path = Path("out.zip");
  std::vector<std::string> warnings;
  auto data = output::LoadOutputData(config, nullptr, warnings);
  ASSERT_TRUE(data) << data.message();
  EXPECT_TRUE(warnings.empty()) << warnings.front();
  ASSERT_TRUE(data->root_causes);
  EXPECT_EQ(data->root_causes->target, kY);
  ASSERT_EQ(data->root_causes->outliers.size(), 2u);
  EXPECT_EQ(data->root_causes->outliers[1].outlier.period, kTargetShock);
  ASSERT_FALSE(data->root_causes->outliers[0].causes.empty());
  EXPECT_EQ(data->root_causes->outliers[0].causes[0].series, kA);
  std::size_t y_outliers = 0;
  for (const output::Outlier& outlier : data->outliers) {
    EXPECT_GE(outlier.period, 0);
    EXPECT_GE(outlier.probability, 0.9999);
    y_outliers += outlier.series == kY;
  }
  EXPECT_EQ(y_outliers, 2u);
}

TEST_F(OutlierStages, BadConfigurationsFailWithTheirReason) {
  struct Case {
    std::string stage, config, message;
  } cases[] = {
      {"tcm:od", R"({"threshold": 95})", "'threshold' must lie between 0 and 1"},
      {"tcm:od", R"({"threshold": 0.95, "targetTimeSeries": "y"})", "array of series arrays"},
      {"tcm:rca", R"({"outlierDetection": {"threshold": 0.95}})", "'targetTimeSeries' must name"},
      {"tcm:rca", R"({"targetTimeSeries": ["nothing"]})", "has no model"},
      {"tcm:rca", R"({"targetTimeSeries": ["y"], "oldestGeneration": 0})", "'oldestGeneration' 0"},
      {"tcm:rca", R"({"targetTimeSeries": ["y"], "autoOutlierDetection": false})",
       "'autoOutlierDetection' must be true"},
  };
  for (const Case& c : cases) {
    EXPECT_FALSE(Run(c.stage, c.config, "bad.zip")) << c.config;
    EXPECT_NE(last_error_.find(c.message), std::string::npos) << last_error_;
    EXPECT_FALSE(std::filesystem::exists(Path("bad.zip"))) << c.config;
  }
}

} // namespace
} // namespace engine::model
