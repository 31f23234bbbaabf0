// End-to-end tests of what a run does to the user's files: an output never replaces an input or
// a device, a command that did not run says so in the exit status, and an interrupted or killed
// run leaves the old files and no temporary file.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "e2e/tcm_run.h"

extern char** environ;

namespace {
using namespace tcm_e2e;

constexpr const char* kModel =
    "TCM MODEL /DATASETTINGS DIMENSIONS=region product TIMETYPE=DATETIMEVAR TIMEVAR=date\n"
    "  /BUILDOPTIONS FORECASTPERIODS=7 /SAVE PREDICTED\n";
constexpr const char* kFields = "  /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=visits price promo.\n";

class RunFiles : public TcmProgram {
 protected:
  void SetUp() override {
    TcmProgram::SetUp();
    fs::copy_file(kSales, Path("data.csv"));
    fs::create_directory(Path("tmp"));
  }
  std::string Data() const { return Path("data.csv").string(); }

  // Every file of a folder, hidden ones too, with its content.
  static std::map<std::string, std::string> Contents(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
      files[entry.path().filename().string()] = ReadAll(entry.path());
    }
    return files;
  }
};

TEST_F(RunFiles, AnOutputThatIsAnInputIsRefusedBeforeAnythingRuns) {
  fs::create_symlink(Path("data.csv"), Path("alias.csv"));
  const std::string syntax_path = Path("model.tcm").string();
  struct Case {
    std::string outfile;    // the command's OUTFILE subcommand
    std::string arguments;  // more arguments of tcm run
    std::string names;      // what the message must say
  };
  const std::string command = "Refused: the output file";  // before the command runs
  const std::string run = "is the data file of this run: nothing is written over it. Nothing";
  const std::vector<Case> cases = {
      {"/OUTFILE MODELSYSTEM='" + Data() + "'", "", command},
      {"/OUTFILE DATA='" + Data() + "'", "", command},
      {"/OUTFILE DATA='" + Path("sub/../alias.csv").string() + "'", "", command},
      {"", "--out " + syntax_path, "is the syntax file of this run"},
      {"", "--json " + Path("alias.csv").string(), run},
      {"", "--save-data " + Data(), run},
  };
  fs::create_directory(Path("sub"));
  for (const Case& c : cases) {
    const std::string syntax = Write(syntax_path, kModel + c.outfile + "\n" + kFields);
    const std::string data_before = ReadAll(Data());
    const Outcome outcome =
        Tcm("run " + syntax + " --data " + Data() + " --text " + c.arguments);
    EXPECT_EQ(outcome.status, 1) << c.outfile << c.arguments << "\n" << outcome.out;
    EXPECT_NE(outcome.out.find(c.names), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.out.find("stage '"), std::string::npos) << "a flow ran:\n" << outcome.out;
    EXPECT_EQ(ReadAll(Data()), data_before);
    EXPECT_EQ(ReadAll(syntax_path), kModel + c.outfile + "\n" + kFields);
    EXPECT_TRUE(fs::is_symlink(Path("alias.csv")));
  }
}

// Standard output and devices are written in place. Without OUTFILE MODELSYSTEM the model system
// is the one file that outlives the run, and the program says where.
TEST_F(RunFiles, DevicesAndStandardOutputAreWrittenInPlace) {
  const std::string syntax = Write(Path("model.tcm"), std::string(kModel) + kFields);
  setenv("TMPDIR", Path("tmp").c_str(), 1);
  const Outcome json = Tcm("run " + syntax + " --data " + Data() + " --out /dev/null --json -");
  unsetenv("TMPDIR");
  ASSERT_EQ(json.status, 0) << json.out;
  EXPECT_NE(json.out.find("\"Temporal Causal Modeling\""), std::string::npos);
  std::vector<std::string> kept;
  for (const auto& entry : fs::directory_iterator(Path("tmp"))) kept.push_back(entry.path());
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_NE(json.out.find("\"keptModelSystems\": [\n    \"" + kept[0] + "\""), std::string::npos);
  EXPECT_NE(json.out.find("Model system kept at " + kept[0]), std::string::npos);
  struct stat info {};
  ASSERT_EQ(::stat("/dev/null", &info), 0);
  EXPECT_TRUE(S_ISCHR(info.st_mode)) << "/dev/null was replaced by a file";

  const Outcome data = Tcm("run " + syntax + " --data " + Data() + " --save-data /dev/stdout");
  ASSERT_EQ(data.status, 0) << data.out;
  EXPECT_NE(data.out.find("date,region,product"), std::string::npos);
  EXPECT_FALSE(fs::exists("-"));
}

TEST_F(RunFiles, ACommandThatDidNotRunExitsOne) {
  struct Case {
    std::string syntax;
    std::string key;
  };
  const std::vector<Case> cases = {
      {"TCM MODEL /DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=date INPUTINTERVL=DAY\n" +
           std::string(kFields),
       "COMMAND_NOT_RUN_KEY"},
      {"TCM MODEL /DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=date region\n" + std::string(kFields),
       "COMMAND_NOT_RUN_KEY"},
      {"", "NO_COMMANDS_KEY"},
      {"* a comment and nothing else.\n", "NO_COMMANDS_KEY"},
  };
  for (const Case& c : cases) {
    const std::string syntax = Write(Path("model.tcm"), c.syntax);
    const Outcome outcome =
        Tcm("run " + syntax + " --data " + Data() + " --json " + Path("r.json").string());
    EXPECT_EQ(outcome.status, 1) << c.syntax << "\n" << outcome.out;
    EXPECT_NE(ReadAll(Path("r.json")).find(c.key), std::string::npos) << c.syntax;
  }
}

// Starts tcm with TMPDIR set, and returns its process id.
pid_t Spawn(const std::vector<std::string>& arguments, const fs::path& tmpdir) {
  std::vector<std::string> words{TCM_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::vector<std::string> env_text{"TMPDIR=" + tmpdir.string()};
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::string(*e).rfind("TMPDIR=", 0) != 0) env_text.emplace_back(*e);
  }
  std::vector<char*> envp;
  for (std::string& e : env_text) envp.push_back(e.data());
  envp.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  posix_spawn(&pid, TCM_PROGRAM, &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

int Wait(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A run that writes a model system, scored data and a report over old ones is stopped at moments
// spread over its length: after SIGINT or SIGTERM the folder holds the old files or, when the
// run had ended, the new ones, never a mix, and no temporary file is left anywhere. After
// SIGKILL the next run removes what the killed one left.
TEST_F(RunFiles, InterruptsLeaveTheOldFilesOrTheNewOnesAndNoTemporaryFile) {
  const fs::path out = Path("out");
  const fs::path tmp = Path("tmp");
  fs::create_directory(out);
  const std::string syntax =
      Write(Path("model.tcm"), std::string(kModel) + "/OUTFILE MODELSYSTEM='" +
                                   (out / "model.zip").string() + "' DATA='" +
                                   (out / "scored.csv").string() + "'\n" + kFields);
  const std::vector<std::string> arguments{"run", syntax, "--data", Data(), "--out",
                                           (out / "report.html").string()};
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Wait(Spawn(arguments, tmp)), 0);
  const auto length = std::chrono::steady_clock::now() - start;
  const auto fresh = Contents(out);
  ASSERT_EQ(fresh.size(), 4u);  // the model, the data, its dictionary and the report
  EXPECT_TRUE(fs::is_empty(tmp));

  std::map<std::string, std::string> old;
  for (const auto& [name, content] : fresh) old[name] = "old " + name;
  for (const double fraction : {0.02, 0.1, 0.25, 0.4, 0.55, 0.7, 0.85, 0.97, 1.2}) {
    for (const int signal_number : {SIGINT, SIGTERM}) {
      for (const auto& [name, content] : old) Write(out / name, content);
      const pid_t pid = Spawn(arguments, tmp);
      std::this_thread::sleep_for(length * fraction);
      kill(pid, signal_number);
      const int status = Wait(pid);
      const auto now = Contents(out);
      SCOPED_TRACE("signal " + std::to_string(signal_number) + " at " + std::to_string(fraction));
      if (status == 0) {
        EXPECT_EQ(now.size(), fresh.size());
        for (const auto& [name, content] : now) EXPECT_NE(content.rfind("old ", 0), 0u) << name;
      } else {
        EXPECT_EQ(status, 128 + signal_number);
        EXPECT_EQ(now, old);
      }
      EXPECT_TRUE(fs::is_empty(tmp));
    }
  }

  for (const auto& [name, content] : old) Write(out / name, content);
  const pid_t killed = Spawn(arguments, tmp);
  std::this_thread::sleep_for(length / 2);
  kill(killed, SIGKILL);
  Wait(killed);
  setenv("TMPDIR", tmp.c_str(), 1);
  const Outcome cleaned = Tcm("check " + syntax + " --data " + Data());
  unsetenv("TMPDIR");
  EXPECT_EQ(cleaned.status, 0) << cleaned.out;
  EXPECT_TRUE(fs::is_empty(tmp));
  EXPECT_EQ(Contents(out), old);
}

}  // namespace
