// End-to-end tests of the tcm program: run as a user would, with files in a temporary folder.
#include <algorithm>
#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "e2e/tcm_run.h"

namespace {
using namespace tcm_e2e;

// What a command that needs no set-up says, and its exit status: 2 for a usage error, 1 for a
// command that fails with a clear message.
TEST_F(TcmProgram, ExitStatusAndMessages) {
  const std::string broken = Write(Path("broken.csv"), "a,b\n1,\"unterminated\n");
  const std::string messages = Path("messages.json").string();
  struct Case {
    std::string arguments, input;
    int status;
    std::vector<std::string> says;  // in the output
    std::string reports;            // in the messages' JSON, when not empty
  };
  const Case cases[] = {
      {"--help", "", 0, {}, ""},
      {"", "", 2, {}, ""},
      {"run", "", 2, {}, ""},
      {"frobnicate x", "", 2, {}, ""},
      {"describe", "", 2, {}, ""},
      {"encode-password elevenchars", "", 2, {}, ""},
      {"describe --data " + kSales, "", 0, {"date", "DATE11", "region", "Nominal", "Beverages",
                                            "8772"}, ""},
      {"describe --data " + Path("nowhere.csv").string(), "", 1, {"nowhere.csv"}, ""},
      {"describe --data " + broken, "", 1, {"broken.csv"}, ""},
      {"run " + Path("absent.tcm").string(), "", 1, {"absent.tcm"}, ""},
      {"run - --text --width 5", "", 2, {"--width"}, ""},
      {"check " + std::string(TCM_SOURCE_DIR) + "/examples/retail/retail.tcm --data " + kSales,
       "", 0, {}, ""},
      {"check - --data " + kSales + " --json " + messages, "TCM MODEL /BUILDOPTIONS CILEVEL=100.\n",
       1, {"Error: TCM MODEL: "}, "\"InvalidParamValue\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = Tcm(c.arguments, c.input);
    EXPECT_EQ(outcome.status, c.status) << outcome.out;
    ExpectContains(outcome.out, c.says);
    if (c.reports.empty()) continue;
    const auto document = nlohmann::json::parse(ReadAll(messages), nullptr, false);
    ASSERT_FALSE(document.is_discarded());
    EXPECT_NE(document.dump().find(c.reports), std::string::npos) << document.dump();
  }
}

TEST_F(TcmProgram, RunWritesSelfContainedReportsAndKeepsFilesOnFailure) {
  const std::string syntax = "TCM MODEL /DEBUG_ /DATASETTINGS TIMETYPE=NONE\n"
                             "  /FIELDSGROUP /FIELDS TARGETS=sales.\n";
  const std::string html = Path("report.html").string();
  const std::string json = Path("report.json").string();
  const Outcome outcome = Run(syntax, "--data " + kSales + " --out " + html + " --json " + json);
  EXPECT_EQ(outcome.status, 0) << outcome.out;
  const std::string page = ReadAll(html);
  ExpectContains(page, {"<html", "Done Parsing"});
  for (const char* link : {"http://", "https://"}) {
    EXPECT_EQ(page.find(link), std::string::npos) << link;
  }
  // A report that cannot be written fails the run and leaves the old report as it was.
  const std::string blocked = Path("no/such/folder/report.html").string();
  EXPECT_EQ(Run(syntax, "--data " + kSales + " --out " + blocked).status, 1);
  EXPECT_EQ(ReadAll(html), page);
}

// 240 days of two regions, x driving y a day later; the second region, "Süd", is written in
// latin-1, and `odd_day` (when not empty) takes the place of North's 58th day, 2019-02-27.
std::string SmallData(const std::string& odd_day = {}) {
  using namespace std::chrono;
  std::string csv = "day,region,x,y\n";
  unsigned state = 7;
  const auto noise = [&state] {
    state = state * 1103515245u + 12345u;
    return static_cast<double>((state >> 16) % 1000) / 1000.0;
  };
  for (const std::string region : {"North", "S\xFC" "d"}) {
    double previous = 0;
    for (int d = 0; d < 240; ++d) {
      const year_month_day day{sys_days{year{2019} / 1 / 1} + days{d}};
      char date[32];
      std::snprintf(date, sizeof date, "2019-%02u-%02u", unsigned{day.month()},
                    unsigned{day.day()});
      const double x = 10 + 5 * noise();
      const double y = 2 + 0.8 * previous + 0.2 * noise();
      previous = x;
      const bool odd = !odd_day.empty() && d == 57 && region == "North";
      csv += (odd ? odd_day : date) + "," + region + "," + std::to_string(x) + "," +
             std::to_string(y) + "\n";
    }
  }
  return csv;
}

// Data that are odd but valid run through a whole TCM MODEL: the impossible date is a missing
// time with a warning naming its line and value, the latin-1 region reads as UTF-8.
TEST_F(TcmProgram, OddButValidDataRunWithWarnings) {
  const std::string data = Write(Path("odd.csv"), SmallData("2019-02-30"));
  const std::string json = Path("odd.json").string();
  const Outcome outcome =
      Run("TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
          "  /TARGETFILTER DISPLAY=ALLTARGETS /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n",
          "--data " + data + " --json " + json + " --text");
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  ExpectContains(outcome.out, {"line 59 \"2019-02-30\"", "DATE11", "\"S\xC3\xBC" "d\"", "latin-1"});
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

  const std::string saved = Path("scored.csv").string();
  const Outcome run =
      Run("TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
          "  /SAVE PREDICTED /OUTFILE DATA='" + saved + "'\n" + encoded.out +
              "  /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x.\n",
          "--data " + Write(Path("small.csv"), SmallData()) + " --text");
  ASSERT_EQ(run.status, 0) << run.out;
  auto archive = support::ZipArchiveReader::Open(saved, "s3cret");
  ASSERT_TRUE(archive.ok()) << archive.message();
  const auto cases = archive->ReadText("data.csv");
  ASSERT_TRUE(cases.ok()) << cases.message();
  EXPECT_NE(cases->find("Predicted_y"), std::string::npos);

  const std::string run_again = "run " + Path("model.tcm").string();
  for (const std::string& command : {std::string("describe"), run_again}) {
    SCOPED_TRACE(command);
    const Outcome refused = Tcm(command + " --data " + saved);
    EXPECT_EQ(refused.status, 1);
    ExpectContains(refused.out, {"is a password-protected archive"});
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
  const std::string arguments = "--data " + Write(Path("many.csv"), csv) + " --json " +
                                Path("r.json").string() + " --text";
  const auto run = [&](const std::string& settings) {
    return Run("TCM MODEL /DATASETTINGS DIMENSIONS=id TIMETYPE=DATETIMEVAR TIMEVAR=day " +
                   settings + "\n /FIELDSGROUP /FIELDS TARGETS=y.\n",
               arguments);
  };
  const std::pair<std::string, std::string> checks[] = {  // the settings and the report's key
      {"MAXDIMVALUES=101", "MAX_EXCEED_KEY"},
      {"/DATAFILTER DIMVALUES=id(INCLUDE=k1 zz)", "INVALID_DIM_VAL_KEY"},
      {"ANALYSISINTERVAL=SECOND", "MISMATCHING_INTERVAL_KEY"}};
  for (const auto& [settings, key] : checks) {
    SCOPED_TRACE(settings);
    fs::remove(Path("r.json"));  // so that each case's report is its own
    const Outcome failed = run(settings);
    EXPECT_EQ(failed.status, 1) << failed.out;
    ExpectContains(ReadAll(Path("r.json")), {"\"" + key + "\""});
    EXPECT_TRUE(fs::is_empty(Path("tmp")));  // the program's $TMPDIR
  }
  // Data that pass the checks go on to the model build, which finds nothing to model in three
  // days of constant series and says so. A failed command keeps nothing, not even the model
  // system that a command without OUTFILE MODELSYSTEM keeps in the temporary folder.
  ExpectContains(run("").out, {"no target series"});
  EXPECT_TRUE(fs::is_empty(Path("tmp")));
}

// The inputs of every target of a graph: target metric -> input metric codes of the same
// combination, over all combinations, and the count of inputs from another combination.
struct FoundGraph {
  std::map<std::string, std::set<std::string>> inputs;
  int targets = 0;
  int crossCombination = 0;
};

FoundGraph ReadGraph(const std::string& text) {
  FoundGraph found;
  const auto graph = nlohmann::json::parse(text, nullptr, false);
  if (!graph.is_object()) return found;
  for (const auto& target : graph["targets"]) {
    ++found.targets;
    const std::string id = target["id"];
    for (const auto& input : target["inputs"]) {
      const std::string inputId = input["id"];
      const std::size_t dash = inputId.rfind('-');
      if (inputId.substr(0, dash) != id.substr(0, id.rfind('-'))) ++found.crossCombination;
      found.inputs[target["metric"]].insert(inputId.substr(dash + 1));
    }
  }
  return found;
}

// The example's TCM MODEL run as a user makes it: the model system and the scored data are
// written where OUTFILE says, the scored data carry predictions, limits, residuals and the
// forecast flag, and the graph is the one the data were generated from.
TEST_F(TcmProgram, RetailModelFindsTheGeneratingGraphAndSavesScoredData) {
  const Outcome outcome = Tcm("run " + std::string(TCM_SOURCE_DIR) +
                              "/examples/retail/retail.tcm --data " + kSales + " --out " +
                              Path("report.html").string() + " --text --width 72");
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  // The text fits 72 columns (box characters are one column each), but for the messages that
  // standard error echoes; no progress line comes when standard error is no terminal.
  std::size_t widest = 0;
  for (std::size_t start = 0, end; (end = outcome.out.find('\n', start)) != std::string::npos;
       start = end + 1) {
    const std::string line = outcome.out.substr(start, end - start);
    if (line.rfind("Warning: ", 0) == 0) continue;
    widest = std::max<std::size_t>(
        widest, std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xC0) != 0x80; }));
  }
  EXPECT_LE(widest, 72u);
  EXPECT_EQ(outcome.out.find('\r'), std::string::npos);
  EXPECT_EQ(outcome.out.find("Building the models"), std::string::npos);

  // The preparation: 84 daily series (12 combinations, 7 metrics) on one axis of 731 days,
  // 2023-01-01 to 2024-12-31 as day numbers.
  const fs::path model = Path("tmp") / "retail.tcm.zip";
  const auto prepared =
      nlohmann::json::parse(ArchiveMember(model, "TSDPOutput.json"), nullptr, false);
  ASSERT_TRUE(prepared.is_object()) << outcome.out;
  const auto& output = prepared["output"];
  EXPECT_EQ(output["timeFormat"], "date");
  ASSERT_EQ(output["timeVariable"].size(), 731u);
  EXPECT_EQ(output["timeVariable"].front().get<double>(), 19358);
  EXPECT_EQ(output["timeVariable"].back().get<double>(), 20088);
  EXPECT_EQ(output["series"].size(), 84u);

  const std::string graph = ArchiveMember(model, "TCMGraph.json");
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

  const std::string scored = ReadAll(Path("tmp") / "retail_scored.csv");
  ExpectContains(scored.substr(0, scored.find('\n')),
                 {"Pred_sales", "Lcl_sales", "Ucl_sales", "NRes_sales", "Forecast"});
  // 14 forecast days for each of the 12 combinations follow the 8,772 cases.
  EXPECT_EQ(std::count(scored.begin(), scored.end(), '\n'), 1 + 8772 + 12 * 14);
  ExpectContains(ReadAll(Path("report.html")), {"Model File"});
}

// OUTFILE DATA=* puts the scored data in place of the active dataset for what follows: the
// dataset that the program saves at the end has the new columns.
TEST_F(TcmProgram, ScoredDataCanReplaceTheActiveDataset) {
  const fs::path saved = Path("final.csv");
  const Outcome outcome =
      Run("TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=date\n"
          "  /DATAFILTER DIMVALUES=region(INCLUDE=North)\n"
          "  /BUILDOPTIONS FORECASTPERIODS=5 /TARGETFILTER DISPLAY=ALLTARGETS\n"
          "  /SAVE PREDICTED /OUTFILE DATA=*\n"
          "  /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=visits.\n",
          "--data " + kSales + " --save-data " + saved.string() + " --text");
  ASSERT_EQ(outcome.status, 0) << outcome.out;
  const std::string data = ReadAll(saved);
  ExpectContains(data.substr(0, data.find('\n')), {"Predicted_sales"});
  // The rows of the scored data: the aggregated region's 731 days and 5 forecast days.
  EXPECT_EQ(std::count(data.begin(), data.end(), '\n'), 1 + 731 + 5);
}

}  // namespace
