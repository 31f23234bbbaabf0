// End-to-end tests of the tcm program: run as a user would, with files in a temporary folder.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "support/temp_file.h"

namespace {
namespace fs = std::filesystem;

struct Outcome {
  int status = -1;
  std::string out;  // standard output and standard error together
};

Outcome Tcm(const std::string& arguments, const std::string& input = {}) {
  std::string command = std::string(TCM_PROGRAM) + " " + arguments + " 2>&1";
  if (!input.empty()) command = "printf '%s' '" + input + "' | " + command;
  Outcome outcome;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = fread(buffer, 1, sizeof buffer, pipe)) > 0) outcome.out.append(buffer, read);
  const int status = pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

std::string Write(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
  return path.string();
}

std::string ReadAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

const std::string kSales = std::string(TCM_SOURCE_DIR) + "/examples/retail/sales.csv";

class TcmProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("tcm_program");
    ASSERT_TRUE(dir.ok()) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(dir.value()));
  }
  fs::path Path(const std::string& name) const { return dir_->path() / name; }

  std::unique_ptr<support::TempDir> dir_;
};

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
  const Outcome passed = run("");
  unsetenv("TMPDIR");
  EXPECT_EQ(passed.status, 0) << passed.out;
  EXPECT_TRUE(fs::is_empty(temp));
}

}  // namespace
