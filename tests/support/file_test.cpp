// Tests of the atomic file writer, of temporary files and folders, with injected faults, and of
// the run's files: outputs staged as twins and put in place together, refusals of an output that
// is an input, what a dropped command or an abandoned run leaves, the removal of a killed run's
// leftovers, and outputs written in place.
#include "support/file_io.h"
#include "support/run_files.h"
#include "support/temp_file.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

namespace support {
namespace {
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

Names Listing(const fs::path& folder) {
  Names names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A producer that writes `text` by path and returns `result`.
std::function<Status(const fs::path&)> Producer(const std::string& text, Status result = {}) {
  return [text, result](const fs::path& path) {
    std::ofstream(path) << text;
    return result;
  };
}

// A test in a temporary folder of its own, which holds report.html ("old content").
class AtomicWrite : public ::testing::Test {
 protected:
  void SetUp() override {
    Result<TempDir> made = TempDir::Create("tcm-test");
    ASSERT_TRUE(made) << made.message();
    dir_ = std::make_unique<TempDir>(std::move(made).value());
    ASSERT_TRUE(WriteFileAtomically(target_ = dir_->path() / "report.html", "old content"));
  }

  std::unique_ptr<TempDir> dir_;
  fs::path target_;
};

TEST_F(AtomicWrite, ReplacesContentKeepsPermissionsAndFollowsLinks) {
  ::chmod(target_.c_str(), 0640);
  ASSERT_TRUE(WriteFileAtomically(target_, std::string("new\0content", 11)));
  EXPECT_EQ(*ReadFileToString(target_), std::string("new\0content", 11));
  struct stat info {};
  ASSERT_EQ(::stat(target_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  ASSERT_TRUE(WriteFileAtomically(target_, Producer("produced")));
  EXPECT_EQ(*ReadFileToString(target_), "produced");
  EXPECT_EQ(Listing(dir_->path()), Names{"report.html"});

  fs::path link = dir_->path() / "link.html";
  fs::create_symlink(target_, link);
  ASSERT_TRUE(WriteFileAtomically(link, "through the link"));
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(*ReadFileToString(target_), "through the link");
}

TEST_F(AtomicWrite, FailuresLeaveTheExistingFileAndNoLitter) {
  fs::create_directory(dir_->path() / "out");
  const auto failed = [&](const char* what, const Status& status, const std::string& says) {
    SCOPED_TRACE(what);
    EXPECT_FALSE(status);
    EXPECT_NE(status.message().find(says), std::string::npos) << status.message();
    EXPECT_EQ(*ReadFileToString(target_), "old content");
    EXPECT_EQ(Listing(dir_->path()), (Names{"out", "report.html"}));
  };
  failed("a folder", WriteFileAtomically(dir_->path() / "out", "x"), "is a folder");
  failed("no folder", WriteFileAtomically(dir_->path() / "missing" / "a.txt", "x"),
         "does not exist");
  failed("a file as folder", WriteFileAtomically(target_ / "a.txt", "x"), "");
  const Status full = WriteFileAtomically(target_, Producer("half written", Error{"disk full"}));
  failed("the producer fails", full, "disk full");
  EXPECT_EQ(full.message(), "disk full");
  failed("the producer throws", WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
           std::ofstream(temp) << "half written";
           throw std::runtime_error("boom");
         }), "boom");
  failed("the producer removed its file",
         WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
           fs::remove(temp);
           return {};
         }), "");
  if (::geteuid() == 0) return;  // permissions do not bind the super-user
  ::chmod(dir_->path().c_str(), 0555);
  const Status unwritable = WriteFileAtomically(target_, "new");
  ::chmod(dir_->path().c_str(), 0755);
  failed("an unwritable folder", unwritable, "Permission denied");
}

TEST(ReadFileToString, ExplainsFailures) {
  for (const auto& [path, says] : {std::pair<fs::path, std::string>{
                                       "/nonexistent-folder/file.txt", "No such file or directory"},
                                   {TempFolder(), "is a folder"}}) {
    Result<std::string> read = ReadFileToString(path);
    ASSERT_FALSE(read) << path;
    EXPECT_NE(read.message().find(says), std::string::npos) << read.message();
  }
}

// Temporary files and folders are removed with their owner unless preserved; a move hands the
// ownership on, and assigning over an owner removes what it owned.
TEST(TempFile, RemovedUnlessPreservedAndMovedWithTheirOwner) {
  fs::path removed_path, kept_path, removed_dir, kept_dir;
  {
    Result<TempFile> file = TempFile::Create("zip", "model");
    ASSERT_TRUE(file) << file.message();
    removed_path = file->path();
    EXPECT_TRUE(fs::is_regular_file(removed_path));
    EXPECT_EQ(removed_path.extension(), ".zip");
    EXPECT_EQ(removed_path.filename().string().rfind("model", 0), 0u);
    EXPECT_EQ(removed_path.parent_path(), TempFolder());
    Result<TempFile> kept = TempFile::Create(".json");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->path().extension(), ".json");
    kept->Preserve();
    kept_path = kept->path();
    EXPECT_NE(kept_path, removed_path);

    Result<TempDir> dir = TempDir::Create("run");
    ASSERT_TRUE(dir);
    removed_dir = dir->path();
    fs::create_directories(removed_dir / "a" / "b");
    std::ofstream(removed_dir / "a" / "b" / "data.asbf") << "x";
    Result<TempDir> moved_from = TempDir::Create("run");
    ASSERT_TRUE(moved_from);
    TempDir other = std::move(moved_from).value();
    other.Preserve();
    kept_dir = other.path();
  }
  EXPECT_FALSE(fs::exists(removed_path));
  EXPECT_TRUE(fs::exists(kept_path));
  EXPECT_FALSE(fs::exists(removed_dir));
  EXPECT_TRUE(fs::is_directory(kept_dir));
  fs::remove(kept_path);
  fs::remove_all(kept_dir);

  Result<TempFile> made = TempFile::Create("txt");
  ASSERT_TRUE(made);
  const fs::path path = made->path();
  {
    TempFile first = std::move(made).value();
    TempFile second = std::move(first);
    EXPECT_TRUE(first.path().empty());
    EXPECT_EQ(second.path(), path);
  }
  EXPECT_FALSE(fs::exists(path));
  Result<TempFile> a = TempFile::Create();
  Result<TempFile> b = TempFile::Create();
  ASSERT_TRUE(a && b);
  const fs::path a_path = a->path(), b_path = b->path();
  *a = std::move(*b);
  EXPECT_FALSE(fs::exists(a_path));
  EXPECT_TRUE(fs::exists(b_path));
  EXPECT_EQ(a->path(), b_path);
}

// $TMPDIR is the temporary folder while it is a folder; a missing folder fails creation.
TEST_F(AtomicWrite, TempFolderHonoursTmpdirAndFailsInAMissingFolder) {
  Result<TempFile> file = TempFile::CreateIn("/nonexistent-folder", "zip");
  ASSERT_FALSE(file);
  EXPECT_NE(file.message().find("/nonexistent-folder"), std::string::npos);
  EXPECT_FALSE(TempDir::CreateIn("/nonexistent-folder"));

  const char* saved = std::getenv("TMPDIR");
  const std::string saved_value = saved ? saved : "";
  ::setenv("TMPDIR", dir_->path().c_str(), 1);
  EXPECT_EQ(TempFolder(), dir_->path());
  Result<TempFile> inside = TempFile::Create("csv");
  ASSERT_TRUE(inside);
  EXPECT_EQ(inside->path().parent_path(), dir_->path());
  ::setenv("TMPDIR", (dir_->path() / "not-there").c_str(), 1);
  EXPECT_EQ(TempFolder(), fs::path("/tmp"));
  saved ? ::setenv("TMPDIR", saved_value.c_str(), 1) : ::unsetenv("TMPDIR");
}

// A run whose temporary base folder ($TMPDIR) is tmp, and whose outputs go to out, which holds
// a.txt, b.txt and data.csv ("old " and the name).
class RunFilesTest : public AtomicWrite {
 protected:
  void SetUp() override {
    AtomicWrite::SetUp();
    fs::create_directory(Base());
    fs::create_directory(Out());
    setenv("TMPDIR", Base().c_str(), 1);
    for (const char* name : {"a.txt", "b.txt", "data.csv"}) {
      ASSERT_TRUE(WriteFileAtomically(Out() / name, std::string("old ") + name));
    }
    run_ = RunFiles::Begin();
    ASSERT_TRUE(run_) << run_.message();
  }
  void TearDown() override {
    run_ = Error{"ended"};
    unsetenv("TMPDIR");
  }
  fs::path Base() const { return dir_->path() / "tmp"; }
  fs::path Out() const { return dir_->path() / "out"; }
  std::string Read(const std::string& name) const { return *ReadFileToString(Out() / name); }
  RunFiles& Run() { return **run_; }

  Result<std::unique_ptr<RunFiles>> run_ = Error{"not begun"};
};

TEST_F(RunFilesTest, OutputsLandTogetherWhenTheRunCommits) {
  EXPECT_EQ(TempFolder(), Run().folder());
  Run().BeginCommand();
  ASSERT_TRUE(WriteFileAtomically(Out() / "a.txt", "new a"));
  ASSERT_TRUE(WriteFileAtomically(Out() / "b.txt", Producer("new b")));
  // Until the end the targets are the old files, while the run itself reads its new ones.
  EXPECT_EQ(*ReadFileToString(Out() / "a.txt"), "new a");
  std::ifstream direct(Out() / "a.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(direct), {}), "old a.txt");
  Run().EndCommand(true);
  // A later command reads the earlier one's output.
  Run().BeginCommand();
  EXPECT_EQ(*ReadFileToString(Out() / "b.txt"), "new b");
  Run().EndCommand(true);
  ASSERT_TRUE(Run().Commit());
  const fs::path folder = Run().folder();
  run_->reset();
  EXPECT_EQ(Read("a.txt"), "new a");
  EXPECT_EQ(Read("b.txt"), "new b");
  EXPECT_EQ(Listing(Out()), (Names{"a.txt", "b.txt", "data.csv"}));
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_EQ(TempFolder(), Base());
}

TEST_F(RunFilesTest, AFailedCommandOrAnAbandonedRunLeavesTheOldFiles) {
  run_->reset();
  for (const bool commit : {false, true}) {
    SCOPED_TRACE(commit ? "committed" : "abandoned");
    run_ = RunFiles::Begin();
    ASSERT_TRUE(run_);
    Run().BeginCommand();
    ASSERT_TRUE(WriteFileAtomically(Out() / "a.txt", "failed command's a"));
    Run().EndCommand(false);
    Run().BeginCommand();
    ASSERT_TRUE(WriteFileAtomically(Out() / "b.txt", "abandoned b"));
    ASSERT_TRUE(Run().AddOutput(Out() / "c.txt", "never written"));
    Run().EndCommand(true);
    if (commit) {
      ASSERT_TRUE(Run().Commit());
    }
    run_->reset();
    EXPECT_EQ(Read("a.txt"), "old a.txt");
    EXPECT_EQ(Read("b.txt"), commit ? "abandoned b" : "old b.txt");
    EXPECT_EQ(Listing(Out()), (Names{"a.txt", "b.txt", "data.csv"}));
    EXPECT_TRUE(fs::is_empty(Base()));
  }
}

TEST_F(RunFilesTest, AnOutputThatIsAnInputIsRefused) {
  fs::create_symlink(Out() / "data.csv", Out() / "link.csv");
  fs::create_hard_link(Out() / "data.csv", Out() / "hard.csv");
  fs::create_directory(Out() / "sub");
  ASSERT_TRUE(Run().AddInput(Out() / "data.csv", "the data file"));
  for (const char* same : {"data.csv", "sub/../data.csv", "link.csv", "hard.csv"}) {
    SCOPED_TRACE(same);
    const Status refused = Run().AddOutput(Out() / same, "the report");
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.message().find("the data file"), std::string::npos) << refused.message();
    EXPECT_NE(refused.message().find("the report"), std::string::npos) << refused.message();
    EXPECT_FALSE(WriteFileAtomically(Out() / same, "x"));
  }
  // A command's own input and output clash in either order; another command's do not.
  Run().BeginCommand();
  ASSERT_TRUE(Run().AddOutput(Out() / "a.txt", "the model written"));
  EXPECT_FALSE(Run().AddInput(Out() / "a.txt", "the model read"));
  ASSERT_TRUE(Run().AddInput(Out() / "b.txt", "the model read"));
  EXPECT_FALSE(Run().AddOutput(Out() / "b.txt", "the model written"));
  Run().EndCommand(true);
  Run().BeginCommand();
  EXPECT_TRUE(Run().AddOutput(Out() / "b.txt", "the model written"));
  Run().EndCommand(true);
  // Missing and unusable folders are found when the output is declared.
  for (const char* unusable : {"missing/x.txt", "a.txt/x.txt", "sub"}) {
    EXPECT_FALSE(Run().AddOutput(Out() / unusable, "r")) << unusable;
  }
  run_->reset();
  EXPECT_EQ(Read("data.csv"), "old data.csv");
}

TEST_F(RunFilesTest, TheNextRunRemovesWhatAKilledRunLeft) {
  run_->reset();
  const pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);  // a process id that is gone
  const fs::path left = Base() / ("tcm-run-" + std::to_string(child) + "-abc");
  fs::create_directories(left);
  std::ofstream(left / "as123.asbf") << "engine data";
  const fs::path twin = Out() / ".a.txt.tcm-new-0123456789ab";
  std::ofstream(twin) << "half";
  std::ofstream(left / "twins") << twin.string() << '\n' << (Out() / "a.txt").string() << '\n';
  // A live run's folder stays.
  const fs::path live = Base() / ("tcm-run-" + std::to_string(getppid()) + "-abc");
  fs::create_directories(live);

  run_ = RunFiles::Begin();
  ASSERT_TRUE(run_);
  EXPECT_FALSE(fs::exists(left));
  EXPECT_FALSE(fs::exists(twin));
  EXPECT_EQ(Read("a.txt"), "old a.txt");  // listed, but no twin: never removed
  EXPECT_TRUE(fs::exists(live));
}

TEST_F(RunFilesTest, DevicesAndPipesAreWrittenInPlace) {
  EXPECT_TRUE(Run().AddOutput("/dev/null", "the report"));
  EXPECT_TRUE(WriteFileAtomically("/dev/null", "discarded"));
  struct stat info {};
  ASSERT_EQ(::stat("/dev/null", &info), 0);
  EXPECT_TRUE(S_ISCHR(info.st_mode));

  const fs::path fifo = Out() / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::string received;
  std::thread reader([&] {
    std::ifstream in(fifo);
    received.assign(std::istreambuf_iterator<char>(in), {});
  });
  EXPECT_TRUE(WriteFileAtomically(fifo, Producer("through the pipe")));
  reader.join();
  EXPECT_EQ(received, "through the pipe");
  ASSERT_EQ(::stat(fifo.c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
  EXPECT_EQ(KindOfOutput("-"), OutputKind::kStdout);
  EXPECT_EQ(KindOfOutput(Out() / "new.txt"), OutputKind::kFile);
}

}  // namespace
}  // namespace support
