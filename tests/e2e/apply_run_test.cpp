// End-to-end runs of TCM APPLY on a model system that TCM MODEL saved, as a user makes them: the
// round trip on the same data, new periods, re-estimation into a new file, and the ways a saved
// model and a dataset can fail to match. The input model file must never change.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "e2e/tcm_run.h"

namespace {
using namespace tcm_e2e;
using Json = nlohmann::json;

// Daily data of three stores from 2024-01-01: y follows x of the day before, z follows y of two
// days before; w is noise that no model uses. A longer file starts with the shorter one.
std::string Data(int days, const char* header = "stamp,store,x,y,z,w") {
  std::string csv = std::string(header) + "\n";
  const std::chrono::sys_days first{std::chrono::year{2024} / 1 / 1};
  for (int s = 0; s < 3; ++s) {
    std::vector<double> x(days), y(days), z(days);
    unsigned seed = 7u + static_cast<unsigned>(s);
    auto noise = [&seed] {
      seed = seed * 1103515245u + 12345u;
      return static_cast<double>((seed >> 16) % 1000) / 1000.0 - 0.5;
    };
    for (int t = 0; t < days; ++t) {
      x[t] = 10 + 3 * std::sin(t * 0.7 + s) + noise();
      y[t] = 4 + 0.8 * (t > 0 ? x[t - 1] : 10) + 0.5 * noise();
      z[t] = 1 + 0.6 * (t > 1 ? y[t - 2] : 12) + 0.5 * noise();
    }
    for (int t = 0; t < days; ++t) {
      const std::chrono::year_month_day day{first + std::chrono::days{t}};
      char line[160];
      std::snprintf(line, sizeof line, "%04d-%02u-%02u,%d,%.4f,%.4f,%.4f,%.4f\n",
                    static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                    static_cast<unsigned>(day.day()), s + 1, x[t], y[t], z[t], noise());
      csv += line;
    }
  }
  return csv;
}

const char* const kModel =
    "TCM MODEL /DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=stamp DIMENSIONS=store INPUTINTERVAL=DAY\n"
    " /BUILDOPTIONS FORECASTPERIODS=5\n";
const char* const kOutput =
    " /TARGETFILTER DISPLAY=ALLTARGETS\n"
    " /FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=YES PRINT=MODELFIT PARAMETERS FORECASTS\n"
    "   PLOT=SERIESPLOT\n"
    " /SYSTEMOUTPUT MODELFIT=RMSPE RSQUARE\n"
    " /SAVE TARGETS(ALL) PREDICTED(P) CL(LCLROOT=L UCLROOT=U) FORECASTFLAG(F)\n";

// The rows of a saved CSV file, cells split at commas.
std::vector<std::vector<std::string>> Rows(const std::string& csv) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    if (!line.empty() && line.back() == ',') cells.emplace_back();
    rows.push_back(std::move(cells));
  }
  return rows;
}

bool Close(double a, double b) { return std::abs(a - b) <= 1e-9 * std::max(1.0, std::abs(a)); }

// Equal JSON, numbers to 1e-9 relative; `where` names the first difference.
bool SameJson(const Json& a, const Json& b, std::string& where, const std::string& path = "") {
  if (a.is_number() && b.is_number()) {
    if (Close(a.get<double>(), b.get<double>())) return true;
  } else if (a.is_structured() && b.is_structured() && a.type() == b.type() &&
             a.size() == b.size()) {
    if (a.is_array()) {
      for (std::size_t i = 0; i < a.size(); ++i)
        if (!SameJson(a[i], b[i], where, path + "/" + std::to_string(i))) return false;
      return true;
    }
    for (auto it = a.begin(); it != a.end(); ++it) {
      if (!b.contains(it.key()) || !SameJson(it.value(), b[it.key()], where, path + "/" + it.key()))
        return false;
    }
    return true;
  } else if (a == b) {
    return true;
  }
  where = path + ": " + a.dump().substr(0, 200) + " vs " + b.dump().substr(0, 200);
  return false;
}

// The objects of a JSON report under its heading `top`, by heading path and title.
void Objects(const Json& items, const std::string& path, std::vector<std::pair<std::string, Json>>& out) {
  for (const Json& item : items) {
    const std::string title = item.value("title", "");
    if (item.contains("items")) {
      Objects(item["items"], path + title + "/", out);
    } else {
      out.emplace_back(path + title, item);
    }
  }
}

std::vector<std::pair<std::string, Json>> ReportObjects(const fs::path& report,
                                                        const std::string& heading) {
  std::vector<std::pair<std::string, Json>> out;
  const Json document = Json::parse(ReadAll(report), nullptr, false);
  if (!document.is_object()) return out;
  for (const Json& procedure : document["items"]) {
    for (const Json& item : procedure.value("items", Json::array())) {
      if (item.value("title", "") == heading) Objects(item["items"], heading + "/", out);
    }
  }
  return out;
}

// The message keys and note labels of a JSON report.
std::string Keys(const fs::path& report) {
  std::string keys;
  const Json document = Json::parse(ReadAll(report), nullptr, false);
  if (!document.is_object()) return keys;
  for (const Json& procedure : document["items"]) {
    for (const Json& item : procedure.value("items", Json::array())) {
      if (item.value("type", "") == "message") keys += item.value("source", "") + " ";
      if (item.value("type", "") == "notes")
        for (const Json& label : item["rowLabels"]) keys += "note:" + label.get<std::string>() + " ";
    }
  }
  return keys;
}

// A model graph without its estimates: each target with its inputs and their lags.
Json Structure(const Json& graph) {
  Json structure = Json::array();
  for (const Json& target : graph.value("targets", Json::array())) {
    Json inputs = Json::array();
    for (const Json& input : target["inputs"]) inputs.push_back({input["id"], input["lags"]});
    structure.push_back({target["id"], target["metric"], inputs});
  }
  return structure;
}

class ApplyRun : public TcmProgram {
 protected:

  // Runs `command` on `days` of data (or `csv` when given) with a JSON report `name`.json.
  Outcome RunOn(const std::string& name, const std::string& command, int days,
              const std::string& csv = {}) {
    Write(Path(name + ".csv"), csv.empty() ? Data(days) : csv);
    Write(Path(name + ".dict.json"), R"({"variables": [{"name": "stamp", "type": "string"},
                                             {"name": "store", "type": "numeric", "measure": "nominal"}]})");
    const std::string syntax = Write(Path(name + ".tcm"), command);
    return Tcm("run " + syntax + " --data " + Path(name + ".csv").string() + " --json " +
               Path(name + ".json").string());
  }
  // TCM MODEL on `days` of data, saving model.zip and model_scored.csv.
  void BuildModel(int days) {
    const Outcome built =
        RunOn("model", std::string(kModel) + kOutput + " /OUTFILE MODELSYSTEM='" +
                         Path("model.zip").string() + "' DATA='" +
                         Path("model_scored.csv").string() +
                         "'\n /FIELDSGROUP /FIELDS TARGETS=y z INPUTS=x y z.\n",
            days);
    ASSERT_EQ(built.status, 0) << built.out;
    modelBytes_ = ReadAll(Path("model.zip"));
  }
  // TCM APPLY with five forecasts on `days` of data, saving applied.csv.
  Outcome ApplyWithForecasts(int days) {
    return RunOn("apply", Apply("FORECASTPERIODS=5", "DATA='" + Path("applied.csv").string() + "'"),
               days);
  }
  std::string Apply(const std::string& options, const std::string& outfile) const {
    return "TCM APPLY /MODELSYSTEM FILE='" + Path("model.zip").string() + "'\n /OPTIONS " +
           options + "\n" + kOutput + " /OUTFILE " + outfile + ".\n";
  }

  std::string modelBytes_;
};

TEST_F(ApplyRun, SameDataGivesTheSameForecastsLimitsFitAndGraph) {
  BuildModel(90);
  const Outcome applied = ApplyWithForecasts(90);
  ASSERT_EQ(applied.status, 0) << applied.out;

  const auto built = Rows(ReadAll(Path("model_scored.csv")));
  const auto scored = Rows(ReadAll(Path("applied.csv")));
  ASSERT_EQ(built.size(), scored.size());
  ASSERT_EQ(built[0], scored[0]);
  ASSERT_GT(built[0].size(), 8u);  // the data and the saved predictions, limits and flags
  for (std::size_t r = 1; r < built.size(); ++r) {
    ASSERT_EQ(built[r].size(), scored[r].size()) << "row " << r;
    for (std::size_t c = 0; c < built[r].size(); ++c) {
      if (built[r][c] == scored[r][c]) continue;
      ASSERT_TRUE(Close(std::stod(built[r][c]), std::stod(scored[r][c])))
          << built[0][c] << " row " << r << ": " << built[r][c] << " vs " << scored[r][c];
    }
  }
  // The evaluation and interpretation of the report, graph included, are the same objects with
  // the same numbers.
  for (const char* heading : {"Evaluation", "Interpretation"}) {
    const auto model = ReportObjects(Path("model.json"), heading);
    const auto apply = ReportObjects(Path("apply.json"), heading);
    ASSERT_FALSE(model.empty()) << heading;
    ASSERT_EQ(model.size(), apply.size()) << heading;
    for (std::size_t i = 0; i < model.size(); ++i) {
      EXPECT_EQ(model[i].first, apply[i].first);
      std::string where;
      EXPECT_TRUE(SameJson(model[i].second, apply[i].second, where)) << model[i].first << where;
    }
  }
  EXPECT_EQ(ReadAll(Path("model.zip")), modelBytes_);
}

TEST_F(ApplyRun, NewPeriodsAreForecastAndReestimationWritesANewModel) {
  BuildModel(90);
  // Forecasts start after the last day of the data given, which the model never saw.
  const Outcome applied = ApplyWithForecasts(100);
  ASSERT_EQ(applied.status, 0) << applied.out;
  const auto rows = Rows(ReadAll(Path("applied.csv")));
  const auto at = [&rows](const char* name) {
    return static_cast<std::size_t>(std::find(rows[0].begin(), rows[0].end(), name) - rows[0].begin());
  };
  const std::size_t flag = at("F"), stamp = at("stamp");
  ASSERT_LT(std::max(flag, stamp), rows[0].size()) << applied.out;
  std::vector<std::string> forecastDays;
  for (const auto& row : rows)
    if (row.size() > flag && row[flag] == "1") forecastDays.push_back(row[stamp]);
  ASSERT_EQ(forecastDays.size(), 15u);  // five days of each of three stores
  EXPECT_EQ(forecastDays.front().substr(0, 10), "2024-04-10");
  EXPECT_EQ(forecastDays.back().substr(0, 10), "2024-04-14");

  // Re-estimation on the newest 60 days: same inputs and lags, new coefficients, a new file,
  // which the notes (they follow the single series' output) name.
  const std::string newModel = Path("new.zip").string();
  const Outcome reestimated = RunOn(
      "reestimate",
      Apply("REESTIMATE=YES ESTIMATIONPERIOD=OBSERVATIONS(TYPE=NEWEST NUMBER=60) FORECASTPERIODS=5",
            "MODELSYSTEM='" + newModel + "' /SERIESFILTER FIELDS=y"),
      100);
  ASSERT_EQ(reestimated.status, 0) << reestimated.out;
  EXPECT_NE(Keys(Path("reestimate.json")).find("note:Model File"), std::string::npos)
      << Keys(Path("reestimate.json"));
  const Json oldGraph = Json::parse(ArchiveMember(Path("model.zip"), "TCMGraph.json"), nullptr, false);
  const Json newGraph = Json::parse(ArchiveMember(newModel, "TCMGraph.json"), nullptr, false);
  ASSERT_FALSE(oldGraph.is_discarded() || newGraph.is_discarded()) << reestimated.out;
  std::string where;
  EXPECT_FALSE(SameJson(oldGraph, newGraph, where)) << "the coefficients did not change";
  EXPECT_EQ(Structure(oldGraph), Structure(newGraph));
  EXPECT_EQ(ReadAll(Path("model.zip")), modelBytes_);

  // The new model system reads back.
  const Outcome again = RunOn(
      "again", "TCM APPLY /MODELSYSTEM FILE='" + newModel + "' /OPTIONS FORECASTPERIODS=3.\n", 100);
  EXPECT_EQ(again.status, 0) << again.out;
}

// A saved model and a command or dataset that do not fit: the message key, exit status 1, the
// input model unchanged and nothing written where the command asked.
struct MismatchCase {
  const char* what;
  std::string modelFile;  // "" for the saved model.zip
  std::string options;
  std::string csv;  // "" for the data the model was built on
  const char* key;
};

TEST_F(ApplyRun, MismatchesSayWhyAndChangeNothing) {
  BuildModel(60);
  Write(Path("not_a_zip.zip"), "PK but not really a zip archive");
  const std::string renamed = Data(60, "stamp,store,x,y,v,w");
  std::string twoStores;
  std::istringstream lines(Data(60));
  for (std::string line; std::getline(lines, line);)
    if (line.find(",3,") == std::string::npos) twoStores += line + "\n";
  const MismatchCase cases[] = {
      {"file that is no zip", Path("not_a_zip.zip").string(), "", "", "INVALID_MODEL_KEY"},
      {"dataset without a field of the model", "", "", renamed, "VariableNotInDict"},
      {"TIMES integers on a date model", "",
       " /OPTIONS ESTIMATIONPERIOD=TIMES(START=1 END=5)", "", "ParamNeedEuroDate"},
      {"SERIESFILTER field that is no metric", "", " /SERIESFILTER FIELDS=w", "",
       "InvalidParamValue"},
      {"re-estimated model onto its input", "",
       " /OPTIONS REESTIMATE=YES /OUTFILE MODELSYSTEM='" + Path("model.zip").string() + "'", "",
       "FileTwoSubCom"},
      // The engine finds it while re-estimating, after the data were read: nothing is written.
      {"re-estimation on data without a store", "",
       " /OPTIONS REESTIMATE=YES /OUTFILE MODELSYSTEM='" + Path("new_bad.zip").string() + "'",
       twoStores, "ENGINE"},
  };
  for (const MismatchCase& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string model = c.modelFile.empty() ? Path("model.zip").string() : c.modelFile;
    const std::string data = "DATA='" + Path("bad_out.csv").string() + "'";
    const bool hasOutfile = c.options.find("/OUTFILE") != std::string::npos;
    const Outcome outcome = RunOn("bad", "TCM APPLY /MODELSYSTEM FILE='" + model + "'" + c.options +
                                           (hasOutfile ? " " : " /OUTFILE ") + data + ".\n",
                                60, c.csv.empty() ? Data(60) : c.csv);
    EXPECT_EQ(outcome.status, 1) << outcome.out;
    EXPECT_NE(Keys(Path("bad.json")).find(c.key), std::string::npos)
        << Keys(Path("bad.json")) << outcome.out;
    EXPECT_FALSE(fs::exists(Path("bad_out.csv")) || fs::exists(Path("new_bad.zip")));
    EXPECT_EQ(ReadAll(Path("model.zip")), modelBytes_);
  }
}

}  // namespace
