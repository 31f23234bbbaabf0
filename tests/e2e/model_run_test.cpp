// End-to-end runs of TCM MODEL on a small generated dataset, as a user makes them: the report
// each kind of command gives (series named by a numeric dimension's format, selections that pick
// nothing, PCT, the output flows' order and notes, residuals without scoring, no empty headings),
// and the data it saves (ISO 8601 times kept and read back, cases merged into the active dataset).
#include <algorithm>
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

constexpr int kDays = 60;

// Daily data of three stores: y follows yesterday's x in every store. `stores` are the values of
// the numeric dimension, which the dictionary prints F8.2; the time is ISO 8601 text in `stamp`.
std::string Data(const std::vector<std::string>& stores) {
  std::string csv = "stamp,store,x,y\n";
  std::vector<double> previous(stores.size(), 10.0);
  for (int day = 0; day < kDays; ++day) {
    for (std::size_t s = 0; s < stores.size(); ++s) {
      const double x = 10 + ((day * 37 + static_cast<int>(s) * 11) % 17) * 0.5;
      const double y = 5 + 0.9 * previous[s] + ((day * 13 + static_cast<int>(s) * 7) % 5) * 0.1;
      previous[s] = x;
      char stamp[32];
      std::snprintf(stamp, sizeof stamp, "2024-%02d-%02d", day < 31 ? 1 : 2,
                    day < 31 ? day + 1 : day - 30);
      csv += std::string(stamp) + "," + stores[s] + "," + std::to_string(x) + "," +
             std::to_string(y) + "\n";
    }
  }
  return csv;
}

const char* const kDictionary = R"({"variables": [
    {"name": "stamp", "type": "string"},
    {"name": "store", "type": "numeric", "format": "F8.2", "measure": "nominal"}]})";
const char* const kSettings =
    "TCM MODEL /DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=stamp DIMENSIONS=store INPUTINTERVAL=DAY\n";
const char* const kFields = "\n /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n";

// What a JSON report shows: each object as its heading path and title ("Interpretation/Overall
// Model System/Top models"), each heading as its path and "/", message keys (alone and with their
// arguments), debug lines, and notes.
struct Report {
  std::vector<std::string> entries;

  bool Has(const std::string& entry) const {
    return std::find(entries.begin(), entries.end(), entry) != entries.end();
  }
  std::string Text() const {
    std::string text;
    for (const auto& entry : entries) text += entry + "\n";
    return text;
  }
};

void Collect(const Json& items, const std::string& path, Report& report) {
  for (const Json& item : items) {
    const std::string type = item.value("type", "");
    const std::string title = item.value("title", "");
    if (type == "message") {
      const std::string key = "message:" + item.value("source", "");
      std::string args;
      for (const Json& arg : item["args"])
        args += (args.empty() ? "" : ",") + arg.get<std::string>();
      report.entries.push_back(key);
      report.entries.push_back(key + "(" + args + ")");
    } else if (type == "text") {
      for (const Json& line : item["lines"])
        report.entries.push_back("line:" + line.get<std::string>());
    } else if (type == "notes") {
      for (const Json& row : item["rowLabels"])
        report.entries.push_back("note:" + row.get<std::string>());
    } else if (item.contains("items")) {
      const std::string inner = type == "procedure" ? std::string() : path + title + "/";
      if (type == "heading") report.entries.push_back(inner);
      Collect(item["items"], inner, report);
    } else {
      report.entries.push_back(path + title);
    }
  }
}

Report ReadReport(const fs::path& path) {
  Report report;
  const Json document = Json::parse(ReadAll(path), nullptr, false);
  if (document.is_object()) Collect(document["items"], "", report);
  return report;
}

// The values of one column of a saved CSV file, in row order.
std::vector<std::string> Column(const std::string& csv, const std::string& name) {
  std::vector<std::string> values;
  std::istringstream lines(csv);
  std::string line;
  std::getline(lines, line);
  std::vector<std::string> header;
  std::istringstream cells(line);
  for (std::string cell; std::getline(cells, cell, ',');) header.push_back(cell);
  const auto at = std::find(header.begin(), header.end(), name) - header.begin();
  while (std::getline(lines, line)) {
    std::istringstream row(line);
    std::string cell;
    for (std::ptrdiff_t i = 0; i <= at && std::getline(row, cell, ','); ++i) {
    }
    values.push_back(cell);
  }
  return values;
}

// Model systems that no OUTFILE names are kept in the temporary folder: the test's own.
class ModelRun : public TcmProgram {
 protected:
  // Writes the data of `stores` with its dictionary and the command, runs it with a JSON report
  // and `extra` arguments, and reads the report.
  Report Run(const std::vector<std::string>& stores, const std::string& command,
             const std::string& extra = {}) {
    Write(Path("data.csv"), Data(stores));
    Write(Path("data.dict.json"), kDictionary);
    const std::string syntax = Write(Path("model.tcm"), command);
    outcome_ = Tcm("run " + syntax + " --data " + Path("data.csv").string() + " --json " +
                   Path("report.json").string() + " " + extra);
    return ReadReport(Path("report.json"));
  }

  Outcome outcome_;
};

const std::vector<std::string> kWholeStores = {"1", "2", "10"};

// One command and what its report must and must not show.
struct ReportCase {
  const char* what;
  std::vector<std::string> stores;
  std::string subcommands;
  std::vector<std::string> shown;
  std::vector<std::string> notShown;
};

TEST_F(ModelRun, ReportsShowWhatTheCommandAsks) {
  const std::string system = "Interpretation/Overall Model System/Overall Model System: ";
  const std::string fit = "Interpretation/Model Fit Statistics/";
  const ReportCase cases[] = {
      // Single series of a numeric dimension are named in its print format, in the engine's
      // document as in the plan, so each gets its system view and its fit table.
      {"whole codes printed F8.2",
       kWholeStores,
       "/SERIESFILTER FIELDS=y /FILTEREDOUTPUT INCLUDE=SERIES PRINT=MODELFIT",
       {system + "y-store:1.00", system + "y-store:2.00", system + "y-store:10.00",
        fit + "y-store:1.00", fit + "y-store:2.00", fit + "y-store:10.00"},
       {}},
      {"fractions printed F8.2",
       {"1.5", "2.25", "10"},
       "/SERIESFILTER FIELDS=y /FILTEREDOUTPUT INCLUDE=SERIES PRINT=MODELFIT",
       {system + "y-store:1.50", system + "y-store:2.25", system + "y-store:10.00",
        fit + "y-store:1.50", fit + "y-store:2.25", fit + "y-store:10.00"},
       {}},
      // A selection of no target with forecasts asked for stops after the model build, and
      // says why; nothing else is shown.
      {"no target without inputs",
       kWholeStores,
       "/BUILDOPTIONS FORECASTPERIODS=3 /TARGETFILTER DISPLAY=TARGETSNOINPUTS",
       {"message:NO_TARGET_NOINPUTS_KEY"},
       {"Review/Model Specifications", "note:Model File"}},
      {"best fit of none",
       kWholeStores,
       "/BUILDOPTIONS FORECASTPERIODS=3 /TARGETFILTER DISPLAY=BESTFIT(N=0)",
       {"message:NO_TARGET_BESTFIT_KEY"},
       {"Review/Model Specifications", "note:Model File"}},
      // PCT is read, and the user is told that it does not choose the share.
      {"PCT",
       kWholeStores,
       "/TARGETFILTER DISPLAY=BESTFIT(PCT=50)",
       {"message:PCT_NOT_APPLIED_KEY", "Interpretation/Overall Model System/Top models"},
       {}},
      // The output flows run series first, then targets; without SERIESFILTER the run draws the
      // targets output and adds no notes, with one it does. No empty heading is left over.
      {"flows without SERIESFILTER",
       kWholeStores,
       "/DEBUG_",
       {"line:Generated Targets Output ASL", "Interpretation/Overall Model System/Top models"},
       {"line:Generated Series Output ASL", "note:Model File",
        "Scenario: BESTFIT/", "Scenario: Single Series/", "Interpretation/Sequence Plot/"}},
      {"flows with SERIESFILTER",
       kWholeStores,
       "/DEBUG_ /SERIESFILTER FIELDS=y DIMVALUES=store(INCLUDE=2)",
       {"line:Generated Series Output ASL", "line:Generated Targets Output ASL", "note:Model File"},
       {"Scenario: BESTFIT/", "Scenario: Single Series/"}},
      // Residuals asked without forecasts or saving: the fit-only output pass gives the charts.
      {"residuals without scoring",
       kWholeStores,
       "/TARGETFILTER DISPLAY=ALLTARGETS /FILTEREDOUTPUT PLOT=NRESIDUAL",
       {"Evaluation/Residuals by Time/y-store:1.00", "Evaluation/Residuals by Time/y-store:10.00"},
       {}},
  };
  for (const ReportCase& c : cases) {
    const Report report = Run(c.stores, kSettings + c.subcommands + kFields);
    EXPECT_EQ(outcome_.status, 0) << c.what << "\n" << outcome_.out;
    for (const std::string& entry : c.shown) {
      EXPECT_TRUE(report.Has(entry)) << c.what << ": " << entry << " missing from\n"
                                     << report.Text();
    }
    for (const std::string& entry : c.notShown) {
      EXPECT_FALSE(report.Has(entry)) << c.what << ": " << entry << " shown in\n" << report.Text();
    }
  }
  // The flows come in their order.
  const Report flows =
      Run(kWholeStores, kSettings + std::string("/DEBUG_ /SERIESFILTER FIELDS=y") + kFields);
  const auto at = [&](const char* line) {
    return std::find(flows.entries.begin(), flows.entries.end(), std::string("line:") + line) -
           flows.entries.begin();
  };
  EXPECT_LT(at("Generated Series Output ASL"), at("Generated Targets Output ASL"));
  EXPECT_LT(at("Generated Targets Output ASL"), at("Converted JSON to Output"));
}

// The output pass of residuals runs in place of the plain data for the output: the traces show
// which flows ran.
TEST_F(ModelRun, ResidualsWithoutScoringRunTheFitOnlyPass) {
  fs::create_directory(Path("trace"));
  Run(kWholeStores, kSettings + std::string("/FILTEREDOUTPUT PLOT=NRESIDUAL") + kFields,
      "--trace " + Path("trace").string());
  ASSERT_EQ(outcome_.status, 0) << outcome_.out;
  EXPECT_TRUE(fs::exists(Path("trace") / "TCMMODEL_NRESIDUAL_OUTPUT.asl"));
  EXPECT_FALSE(fs::exists(Path("trace") / "TCMMODEL_DATA_FOR_OUTPUT.asl"));
  EXPECT_FALSE(fs::exists(Path("trace") / "TCMMODEL_SCORING.asl"));
}

// ISO 8601 times leave through every saving flow as the times the user gave, and a run on the
// saved data reads the same time axis.
TEST_F(ModelRun, SavedDataKeepIsoTimesAndReadBack) {
  const std::vector<std::string> given = Column(Data(kWholeStores), "stamp");
  struct SaveCase {
    const char* what;
    std::string subcommands;
    std::string extra;   // program arguments
    std::string saved;   // the file that holds the saved data
    std::size_t forecastRows;
  };
  const SaveCase cases[] = {
      {"a file, without scoring", "/OUTFILE DATA='" + Path("saved.csv").string() + "'", "",
       "saved.csv", 0},
      {"the active dataset, without scoring", "/OUTFILE DATA=*",
       "--save-data " + Path("final.csv").string(), "final.csv", 0},
      {"a file, with forecasts",
       "/BUILDOPTIONS FORECASTPERIODS=2 /TARGETFILTER DISPLAY=ALLTARGETS /SAVE PREDICTED "
       "/OUTFILE DATA='" + Path("scored.csv").string() + "'",
       "", "scored.csv", 2 * 3},
  };
  for (const SaveCase& c : cases) {
    Run(kWholeStores, kSettings + c.subcommands + kFields, c.extra);
    ASSERT_EQ(outcome_.status, 0) << c.what << "\n" << outcome_.out;
    const std::vector<std::string> saved = Column(ReadAll(Path(c.saved)), "stamp");
    ASSERT_EQ(saved.size(), given.size() + c.forecastRows) << c.what;
    EXPECT_TRUE(std::equal(given.begin(), given.end(), saved.begin())) << c.what;
    for (std::size_t i = given.size(); i < saved.size(); ++i)
      EXPECT_GT(saved[i], given.back()) << c.what << ": forecast row " << i;
  }

  // The saved file with the dictionary written beside it is data for the same command.
  const std::string model = "/OUTFILE MODELSYSTEM='" + Path("first.zip").string() + "'";
  Run(kWholeStores, kSettings + model + kFields);
  ASSERT_EQ(outcome_.status, 0) << outcome_.out;
  const std::string again =
      Write(Path("again.tcm"), kSettings + std::string("/OUTFILE MODELSYSTEM='") +
                                   Path("second.zip").string() + "'" + kFields);
  const Outcome reread = Tcm("run " + again + " --data " + Path("saved.csv").string());
  ASSERT_EQ(reread.status, 0) << reread.out;
  const auto timeAxis = [&](const char* archive) {
    const Json record =
        Json::parse(ArchiveMember(Path(archive), "TSDPOutput.json"), nullptr, false);
    return record.is_object() ? record["output"]["timeVariable"] : Json();
  };
  const Json first = timeAxis("first.zip");
  const Json second = timeAxis("second.zip");
  EXPECT_EQ(first.size(), static_cast<std::size_t>(kDays));
  EXPECT_EQ(second, first);
}

// Results merged into the active dataset keep only the cases that have results, and the user is
// told how many were dropped.
TEST_F(ModelRun, MergingIntoTheActiveDatasetDropsCasesOutsideTheEstimationPeriod) {
  const Report report =
      Run(kWholeStores,
          "TCM MODEL /DATASETTINGS TIMETYPE=NONE\n"
          " /BUILDOPTIONS ESTIMATIONPERIOD=OBSERVATIONS(TYPE=NEWEST NUMBER=100) FORECASTPERIODS=4\n"
          " /SAVE PREDICTED /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n",
          "--save-data " + Path("final.csv").string());
  ASSERT_EQ(outcome_.status, 0) << outcome_.out;
  EXPECT_TRUE(report.Has("message:MERGE_CASES_DROPPED_KEY(80)")) << report.Text();
  const std::string saved = ReadAll(Path("final.csv"));
  EXPECT_NE(saved.find("Predicted_y"), std::string::npos);
  EXPECT_EQ(std::count(saved.begin(), saved.end(), '\n'), 1 + 100 + 4);
}

}  // namespace
