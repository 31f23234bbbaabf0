// End-to-end tests of what a run does to the user's files: an output never replaces an input or
// a device, a command that did not run says so in the exit status, and an interrupted or killed
// run leaves the old files and no temporary file.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <thread>
#include <vector>

#include "e2e/tcm_run.h"

namespace {
using namespace tcm_e2e;

const std::string kModel =
    "TCM MODEL /DATASETTINGS DIMENSIONS=region product TIMETYPE=DATETIMEVAR TIMEVAR=date\n"
    "  /BUILDOPTIONS FORECASTPERIODS=7 /SAVE PREDICTED\n";
const std::string kFields = "  /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=visits price promo.\n";

class RunFiles : public TcmProgram {
 protected:
  void SetUp() override {
    TcmProgram::SetUp();
    fs::copy_file(kSales, Path("data.csv"));
  }
  std::string Data() const { return Path("data.csv").string(); }
  Outcome Run(const std::string& syntax, const std::string& arguments) {
    return TcmProgram::Run(syntax, "--data " + Data() + " " + arguments);
  }
};

// An output that is an input is refused before anything runs, and a command that did not run
// exits 1 with its reason in the report; the data and the syntax stay as they were.
TEST_F(RunFiles, RefusedAndUnrunCommandsExitOneAndChangeNothing) {
  fs::create_symlink(Path("data.csv"), Path("alias.csv"));
  fs::create_directory(Path("sub"));
  const std::string command = "Refused: the output file";  // before the command runs
  const std::string run = "is the data file of this run: nothing is written over it. Nothing";
  const std::string settings = "TCM MODEL /DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=date ";
  const std::string report = "--json " + Path("r.json").string();
  const auto outfile = [](const std::string& what) { return kModel + what + "\n" + kFields; };
  struct Case {
    std::string syntax, arguments;  // of tcm run
    std::string says;               // in its output or, with `report`, in r.json
  };
  const Case cases[] = {
      {outfile("/OUTFILE MODELSYSTEM='" + Data() + "'"), "--text", command},
      {outfile("/OUTFILE DATA='" + Data() + "'"), "--text", command},
      {outfile("/OUTFILE DATA='" + Path("sub/../alias.csv").string() + "'"), "--text", command},
      {outfile(""), "--text --out " + Path("model.tcm").string(), "is the syntax file of this run"},
      {outfile(""), "--text --json " + Path("alias.csv").string(), run},
      {outfile(""), "--text --save-data " + Data(), run},
      {settings + "INPUTINTERVL=DAY\n" + kFields, report, "COMMAND_NOT_RUN_KEY"},
      {settings + "region\n" + kFields, report, "COMMAND_NOT_RUN_KEY"},
      {"", report, "NO_COMMANDS_KEY"},
      {"* a comment and nothing else.\n", report, "NO_COMMANDS_KEY"},
  };
  const std::string data_before = ReadAll(Data());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.syntax + c.arguments);
    fs::remove(Path("r.json"));
    const Outcome outcome = Run(c.syntax, c.arguments);
    EXPECT_EQ(outcome.status, 1) << outcome.out;
    const std::string said = c.arguments == report ? ReadAll(Path("r.json")) : outcome.out;
    EXPECT_NE(said.find(c.says), std::string::npos) << said;
    EXPECT_EQ(outcome.out.find("stage '"), std::string::npos) << "a flow ran:\n" << outcome.out;
    EXPECT_EQ(ReadAll(Data()), data_before);
    EXPECT_EQ(ReadAll(Path("model.tcm")), c.syntax);
    EXPECT_TRUE(fs::is_symlink(Path("alias.csv")));
  }
}

// Standard output and devices are written in place. Without OUTFILE MODELSYSTEM the model system
// is the one file that outlives the run, and the program says where.
TEST_F(RunFiles, DevicesAndStandardOutputAreWrittenInPlace) {
  const Outcome json = Run(kModel + kFields, "--out /dev/null --json -");
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

  const Outcome data = Run(kModel + kFields, "--save-data /dev/stdout");
  ASSERT_EQ(data.status, 0) << data.out;
  EXPECT_NE(data.out.find("date,region,product"), std::string::npos);
  EXPECT_FALSE(fs::exists("-"));
}

// Starts tcm, quiet, in the test's environment, and returns its process id.
pid_t Spawn(std::vector<std::string> arguments) {
  std::vector<char*> argv{const_cast<char*>(TCM_PROGRAM)};
  for (std::string& word : arguments) argv.push_back(word.data());
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid != 0) return pid;
  const int quiet = open("/dev/null", O_WRONLY);
  dup2(quiet, 1);
  dup2(quiet, 2);
  execv(TCM_PROGRAM, argv.data());
  _exit(127);
}

int Wait(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Every file of a folder, hidden ones too, with its content.
std::map<std::string, std::string> Contents(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = ReadAll(entry.path());
  }
  return files;
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
      Write(Path("model.tcm"), kModel + "/OUTFILE MODELSYSTEM='" + (out / "model.zip").string() +
                                   "' DATA='" + (out / "scored.csv").string() + "'\n" + kFields);
  const std::vector<std::string> arguments{"run", syntax, "--data", Data(), "--out",
                                           (out / "report.html").string()};
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Wait(Spawn(arguments)), 0);
  const auto length = std::chrono::steady_clock::now() - start;
  const auto fresh = Contents(out);
  ASSERT_EQ(fresh.size(), 4u);  // the model, the data, its dictionary and the report
  EXPECT_TRUE(fs::is_empty(tmp));

  std::map<std::string, std::string> old;
  for (const auto& [name, content] : fresh) old[name] = "old " + name;
  // Writes the old files, starts a run and sends it `signal_number` after `wait`.
  const auto stopped = [&](int signal_number, auto wait) {
    for (const auto& [name, content] : old) Write(out / name, content);
    const pid_t pid = Spawn(arguments);
    std::this_thread::sleep_for(wait);
    kill(pid, signal_number);
    return Wait(pid);
  };
  for (const double fraction : {0.02, 0.1, 0.25, 0.4, 0.55, 0.7, 0.85, 0.97, 1.2}) {
    for (const int signal_number : {SIGINT, SIGTERM}) {
      SCOPED_TRACE("signal " + std::to_string(signal_number) + " at " + std::to_string(fraction));
      const int status = stopped(signal_number, length * fraction);
      const auto now = Contents(out);
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

  // The reference run may have been slowed by a busy machine: a run killed after its end has
  // written the new files, one killed before has left the old ones.
  const int killed = stopped(SIGKILL, length / 4);
  const Outcome cleaned = Tcm("check " + syntax + " --data " + Data());
  EXPECT_EQ(cleaned.status, 0) << cleaned.out;
  EXPECT_TRUE(fs::is_empty(tmp));
  if (killed == 0) {
    EXPECT_EQ(Contents(out).size(), fresh.size());
  } else {
    EXPECT_EQ(killed, 128 + SIGKILL);
    EXPECT_EQ(Contents(out), old);
  }
}

}  // namespace
