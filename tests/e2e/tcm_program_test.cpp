// End-to-end tests of the tcm program: run as a user would, with files in a temporary folder.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "e2e/tcm_run.h"

namespace {
using namespace tcm_e2e;


TEST_F(TcmProgram, UsageErrorsExitTwoAndHelpExitsZero) {
  EXPECT_EQ(Tcm("--help").status, 0);
  EXPECT_EQ(Tcm("").status, 2);
  EXPECT_EQ(Tcm("run").status, 2);
  EXPECT_EQ(Tcm("frobnicate x").status, 2);
  EXPECT_EQ(Tcm("describe").status, 2);
}

TEST_F(TcmProgram, DescribePrintsTheDictionaryAsRead) {
  const Outcome outcome = Tcm("describe --data " + kSales);
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  for (const char* expected : {"date", "DATE11", "region", "Nominal", "Beverages", "8772"}) {
    EXPECT_NE(outcome.out.find(expected), std::string::npos) << expected << "\n" << outcome.out;
  }
  const Outcome missing = Tcm("describe --data " + Path("nowhere.csv").string());
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.out.find("nowhere.csv"), std::string::npos) << missing.out;
}

TEST_F(TcmProgram, CheckTheExampleAndABrokenCommand) {
  const std::string example = std::string(TCM_SOURCE_DIR) + "/examples/retail/retail.tcm";
  const Outcome good = Tcm("check " + example + " --data " + kSales);
  EXPECT_EQ(good.status, 0) << good.out;

  const std::string json = Path("messages.json").string();
  const Outcome bad =
      Tcm("check - --data " + kSales + " --json " + json, "TCM MODEL /BUILDOPTIONS CILEVEL=100.\n");
  EXPECT_EQ(bad.status, 1) << bad.out;
  EXPECT_NE(bad.out.find("Error: TCM MODEL: "), std::string::npos) << bad.out;
  const auto document = nlohmann::json::parse(ReadAll(json), nullptr, false);
  ASSERT_FALSE(document.is_discarded());
  EXPECT_NE(document.dump().find("\"InvalidParamValue\""), std::string::npos) << document.dump();
}

TEST_F(TcmProgram, RunWritesSelfContainedReportsAndKeepsFilesOnFailure) {
  const std::string syntax = Write(Path("model.tcm"),
                                   "TCM MODEL /DEBUG_ /DATASETTINGS TIMETYPE=NONE\n"
                                   "  /FIELDSGROUP /FIELDS TARGETS=sales.\n");
  const std::string html = Path("report.html").string();
  const Outcome outcome =
      Tcm("run " + syntax + " --data " + kSales + " --out " + html + " --json " +
          Path("report.json").string());
  EXPECT_EQ(outcome.status, 0) << outcome.out;
  const std::string page = ReadAll(html);
  EXPECT_NE(page.find("<html"), std::string::npos);
  EXPECT_NE(page.find("Done Parsing"), std::string::npos);
  EXPECT_EQ(page.find("http://"), std::string::npos);
  EXPECT_EQ(page.find("https://"), std::string::npos);

  // A report that cannot be written fails the run and leaves the old report as it was.
  const Outcome blocked = Tcm("run " + syntax + " --data " + kSales + " --out " +
                              Path("no/such/folder/report.html").string());
  EXPECT_EQ(blocked.status, 1);
  EXPECT_EQ(ReadAll(html), page);
  const Outcome missing_syntax = Tcm("run " + Path("absent.tcm").string());
  EXPECT_EQ(missing_syntax.status, 1);
  EXPECT_NE(missing_syntax.out.find("absent.tcm"), std::string::npos);
}

TEST_F(TcmProgram, BrokenDataIsAClearMessageNotACrash) {
  const std::string csv = Write(Path("broken.csv"), "a,b\n1,\"unterminated\n");
  const Outcome outcome = Tcm("describe --data " + csv);
  EXPECT_EQ(outcome.status, 1) << outcome.out;
  EXPECT_NE(outcome.out.find("broken.csv"), std::string::npos) << outcome.out;
}

// 240 days of two regions, x driving y a day later; the second region, "Süd", is written in
// latin-1, and `odd_day` (when not empty) takes the place of North's 58th day, 2019-02-27.
std::string SmallData(const std::string& odd_day = {}) {
  std::string csv = "day,region,x,y\n";
  unsigned state = 7;
  const auto noise = [&state] {
    state = state * 1103515245u + 12345u;
    return static_cast<double>((state >> 16) % 1000) / 1000.0;
  };
  for (const char* region : {"North", "S\xFC" "d"}) {
    double previous = 0;
    for (int d = 0; d < 240; ++d) {
      const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 31};
      int month = 0;
      int day = d;
      while (day >= days[month]) day -= days[month++];
      char date[32];
      std::snprintf(date, sizeof date, "2019-%02d-%02d", month + 1, day + 1);
      const double x = 10 + 5 * noise();
      const double y = 2 + 0.8 * previous + 0.2 * noise();
      previous = x;
      const bool odd = !odd_day.empty() && d == 57 && std::string(region) == "North";
      csv += (odd ? odd_day : std::string(date)) + "," + region + "," + std::to_string(x) + "," +
             std::to_string(y) + "\n";
    }
  }
  return csv;
}

// Data that are odd but valid run through a whole TCM MODEL: the impossible date is a missing
// time with a warning naming its line and value, the latin-1 region reads as UTF-8.
TEST_F(TcmProgram, OddButValidDataRunWithWarnings) {
  const std::string data = Write(Path("odd.csv"), SmallData("2019-02-30"));
  const std::string syntax =
      Write(Path("odd.tcm"),
            "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
            "  /TARGETFILTER DISPLAY=ALLTARGETS /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n");
  const std::string json = Path("odd.json").string();
  const Outcome outcome = Tcm("run " + syntax + " --data " + data + " --json " + json + " --text");
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  for (const char* expected : {"line 59 \"2019-02-30\"", "DATE11", "\"S\xC3\xBC" "d\"", "latin-1"}) {
    EXPECT_NE(outcome.out.find(expected), std::string::npos) << expected << "\n" << outcome.out;
  }
  const auto report = nlohmann::json::parse(ReadAll(json), nullptr, false);
  ASSERT_FALSE(report.is_discarded());
  EXPECT_NE(report.dump().find("S\xC3\xBC" "d"), std::string::npos);
}

// ENCRYPTEDPW=YES takes what `tcm encode-password` prints, and the archive opens with the
// plain password; the archive given as data says what it is.
TEST_F(TcmProgram, EncodedPasswordProtectsTheSavedData) {
  const Outcome encoded = Tcm("encode-password s3cret");
  ASSERT_EQ(encoded.status, 0) << encoded.out;
  EXPECT_EQ(Tcm("encode-password -", "s3cret\n").out, encoded.out);
  EXPECT_EQ(encoded.out.find("s3cret"), std::string::npos) << encoded.out;
  EXPECT_EQ(Tcm("encode-password elevenchars").status, 2);

  const std::string data = Write(Path("small.csv"), SmallData());
  const fs::path saved = Path("scored.csv");
  const std::string syntax =
      Write(Path("protect.tcm"),
            "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
            "  /SAVE PREDICTED /OUTFILE DATA='" + saved.string() + "'\n" + encoded.out +
            "  /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n");
  const Outcome run = Tcm("run " + syntax + " --data " + data + " --text");
  ASSERT_EQ(run.status, 0) << run.out;
  auto archive = support::ZipArchiveReader::Open(saved, "s3cret");
  ASSERT_TRUE(archive.ok()) << archive.message();
  const auto cases = archive->ReadText("data.csv");
  ASSERT_TRUE(cases.ok()) << cases.message();
  EXPECT_NE(cases->find("Predicted_y"), std::string::npos);

  for (const std::string& command : {"describe --data " + saved.string(),
                                     "run " + syntax + " --data " + saved.string()}) {
    const Outcome refused = Tcm(command);
    EXPECT_EQ(refused.status, 1) << command;
    EXPECT_NE(refused.out.find("is a password-protected archive"), std::string::npos)
        << command << "\n" << refused.out;
    EXPECT_EQ(refused.out.find("UTF-8"), std::string::npos) << refused.out;
  }
}

// The data checks of TCM MODEL stop a run with their message, and the run leaves no temporary
// file behind either way.
TEST_F(TcmProgram, DataChecksStopTheRunAndNoTemporaryFileStays) {
  std::string csv = "day,id,y\n";
  for (int day = 1; day <= 3; ++day) {
    for (int id = 0; id < 150; ++id) {
      csv += "2023-01-0" + std::to_string(day) + ",k" + std::to_string(id) + "," +
             std::to_string(id % 7) + "\n";
    }
  }
  const std::string data = Write(Path("many.csv"), csv);
  const fs::path temp = Path("tmp");
  fs::create_directory(temp);
  const auto run = [&](const std::string& settings) {
    const std::string syntax = Write(Path("check.tcm"),
                                     "TCM MODEL /DATASETTINGS DIMENSIONS=id TIMETYPE=DATETIMEVAR "
                                     "TIMEVAR=day " + settings +
                                     "\n /FIELDSGROUP /FIELDS TARGETS=y.\n");
    return Tcm("run " + syntax + " --data " + data + " --json " + Path("r.json").string() +
               " --text");
  };
  // The program's temporary files go to $TMPDIR; the test's own folder must stay empty.
  setenv("TMPDIR", temp.c_str(), 1);
  struct Case {
    std::string settings;
    std::string key;
  };
  for (const Case& check : {Case{"MAXDIMVALUES=101", "MAX_EXCEED_KEY"},
                            Case{"/DATAFILTER DIMVALUES=id(INCLUDE=k1 zz)", "INVALID_DIM_VAL_KEY"},
                            Case{"ANALYSISINTERVAL=SECOND", "MISMATCHING_INTERVAL_KEY"}}) {
    const Outcome failed = run(check.settings);
    EXPECT_EQ(failed.status, 1) << check.settings << "\n" << failed.out;
    EXPECT_NE(ReadAll(Path("r.json")).find("\"" + check.key + "\""), std::string::npos)
        << check.settings << "\n" << failed.out;
    EXPECT_TRUE(fs::is_empty(temp)) << check.settings;
  }
  // Data that pass the checks go on to the model build, which finds nothing to model in three
  // days of constant series and says so. A failed command keeps nothing, not even the model
  // system that a command without OUTFILE MODELSYSTEM keeps in the temporary folder.
  const Outcome passed = run("");
  unsetenv("TMPDIR");
  EXPECT_NE(passed.out.find("no target series"), std::string::npos) << passed.out;
  EXPECT_TRUE(fs::is_empty(temp));
}

}  // namespace

namespace {

// The inputs of every target of a graph: target metric and combination -> input metrics of
// the same combination, and the count of inputs from another combination.
struct FoundGraph {
  std::map<std::string, std::set<std::string>> inputs;  // "sales" -> {"visits", ...} all combos
  int targets = 0;
  int crossCombination = 0;
};

FoundGraph ReadGraph(const std::string& text) {
  FoundGraph found;
  const auto graph = nlohmann::json::parse(text, nullptr, false);
  if (!graph.is_object()) return found;
  std::map<std::string, std::string> metricOf;  // id -> metric
  for (const auto& target : graph["targets"]) metricOf[target["id"]] = target["metric"];
  for (const auto& target : graph["targets"]) {
    ++found.targets;
    const std::string id = target["id"];
    const std::string combination = id.substr(0, id.rfind('-'));
    for (const auto& input : target["inputs"]) {
      const std::string inputId = input["id"];
      const std::string metricCode = inputId.substr(inputId.rfind('-') + 1);
      if (inputId.substr(0, inputId.rfind('-')) != combination) ++found.crossCombination;
      found.inputs[target["metric"]].insert(metricCode);
    }
  }
  return found;
}

}  // namespace

// The example's TCM MODEL run as a user makes it: the model system and the scored data are
// written where OUTFILE says, the scored data carry predictions, limits, residuals and the
// forecast flag, and the graph is the one the data were generated from.
TEST_F(TcmProgram, RetailModelFindsTheGeneratingGraphAndSavesScoredData) {
  const fs::path temp = Path("tmp");
  fs::create_directory(temp);
  setenv("TMPDIR", temp.c_str(), 1);
  const Outcome outcome = Tcm("run " + std::string(TCM_SOURCE_DIR) +
                              "/examples/retail/retail.tcm --data " + kSales + " --out " +
                              Path("report.html").string());
  unsetenv("TMPDIR");
  ASSERT_EQ(outcome.status, 0) << outcome.out;

  // The preparation: 84 daily series (12 combinations, 7 metrics) on one axis of 731 days,
  // 2023-01-01 to 2024-12-31 as day numbers.
  const auto prepared = nlohmann::json::parse(
      ArchiveMember(temp / "retail.tcm.zip", "TSDPOutput.json"), nullptr, false);
  ASSERT_TRUE(prepared.is_object()) << outcome.out;
  const auto& output = prepared["output"];
  EXPECT_EQ(output["timeFormat"], "date");
  ASSERT_EQ(output["timeVariable"].size(), 731u);
  EXPECT_EQ(output["timeVariable"].front().get<double>(), 19358);
  EXPECT_EQ(output["timeVariable"].back().get<double>(), 20088);
  EXPECT_EQ(output["series"].size(), 84u);

  const std::string graph = ArchiveMember(temp / "retail.tcm.zip", "TCMGraph.json");
  ASSERT_FALSE(graph.empty()) << outcome.out;
  FoundGraph found = ReadGraph(graph);
  // 12 combinations of region and product, three targets each. Metrics are coded in name
  // order: ad_spend 1, price 2, promo 3, returns 4, sales 5, temperature 6, visits 7.
  EXPECT_EQ(found.targets, 36);
  EXPECT_EQ(found.inputs["visits"], (std::set<std::string>{"1", "6"}));
  EXPECT_EQ(found.inputs["sales"], (std::set<std::string>{"2", "3", "7"}));
  EXPECT_EQ(found.inputs["returns"], (std::set<std::string>{"5"}));
  // Temperature is the region's, the same on all three products' rows, so a model may take any
  // product's copy; nothing else crosses combinations.
  EXPECT_LE(found.crossCombination, 12);

  const std::string scored = ReadAll(temp / "retail_scored.csv");
  const std::string header = scored.substr(0, scored.find('\n'));
  for (const char* column : {"Pred_sales", "Lcl_sales", "Ucl_sales", "NRes_sales", "Forecast"}) {
    EXPECT_NE(header.find(column), std::string::npos) << column << " in " << header;
  }
  // 14 forecast days for each of the 12 combinations follow the 8,772 cases.
  const auto lines = std::count(scored.begin(), scored.end(), '\n');
  EXPECT_EQ(lines, 1 + 8772 + 12 * 14);
  const std::string page = ReadAll(Path("report.html"));
  EXPECT_NE(page.find("Model File"), std::string::npos);
}

// OUTFILE DATA=* puts the scored data in place of the active dataset for what follows: the
// dataset that the program saves at the end has the new columns.
TEST_F(TcmProgram, ScoredDataCanReplaceTheActiveDataset) {
  const std::string syntax =
      Write(Path("star.tcm"),
            "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=date\n"
            "  /DATAFILTER DIMVALUES=region(INCLUDE=North)\n"
            "  /BUILDOPTIONS FORECASTPERIODS=5 /TARGETFILTER DISPLAY=ALLTARGETS\n"
            "  /SAVE PREDICTED /OUTFILE DATA=*\n"
            "  /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=visits.\n");
  const fs::path saved = Path("final.csv");
  const Outcome outcome = Tcm("run " + syntax + " --data " + kSales + " --save-data " +
                              saved.string() + " --text");
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  const std::string data = ReadAll(saved);
  const std::string header = data.substr(0, data.find('\n'));
  EXPECT_NE(header.find("Predicted_sales"), std::string::npos) << header;
  // The rows of the scored data: the aggregated region's 731 days and 5 forecast days.
  EXPECT_EQ(std::count(data.begin(), data.end(), '\n'), 1 + 731 + 5);
}
