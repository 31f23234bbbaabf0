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

std::vector<std::string> Listing(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class AtomicWrite : public ::testing::Test {
 protected:
  void SetUp() override {
    Result<TempDir> made = TempDir::Create("tcm-test");
    ASSERT_TRUE(made) << made.message();
    dir_ = std::make_unique<TempDir>(std::move(made).value());
    target_ = dir_->path() / "report.html";
    ASSERT_TRUE(WriteFileAtomically(target_, "old content"));
  }

  std::unique_ptr<TempDir> dir_;
  fs::path target_;
};

TEST_F(AtomicWrite, ReplacesContentAndKeepsPermissions) {
  ::chmod(target_.c_str(), 0640);
  ASSERT_TRUE(WriteFileAtomically(target_, std::string("new\0content", 11)));
  EXPECT_EQ(*ReadFileToString(target_), std::string("new\0content", 11));
  struct stat info {};
  ASSERT_EQ(::stat(target_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  EXPECT_EQ(Listing(dir_->path()), std::vector<std::string>{"report.html"});
}

TEST_F(AtomicWrite, FollowsSymbolicLinks) {
  fs::path link = dir_->path() / "link.html";
  fs::create_symlink(target_, link);
  ASSERT_TRUE(WriteFileAtomically(link, "through the link"));
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(*ReadFileToString(target_), "through the link");
}

TEST_F(AtomicWrite, FailuresLeaveTheExistingFileAndNoLitter) {
  // The target is a folder.
  fs::path folder_target = dir_->path() / "out";
  fs::create_directory(folder_target);
  Status is_folder = WriteFileAtomically(folder_target, "x");
  EXPECT_FALSE(is_folder);
  EXPECT_NE(is_folder.message().find("is a folder"), std::string::npos) << is_folder.message();

  // The folder is missing, or is a file.
  Status no_folder = WriteFileAtomically(dir_->path() / "missing" / "a.txt", "x");
  EXPECT_FALSE(no_folder);
  EXPECT_NE(no_folder.message().find("does not exist"), std::string::npos);
  EXPECT_FALSE(WriteFileAtomically(target_ / "a.txt", "x"));

  // The producer fails half way, by status and by exception.
  Status failed = WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
    std::ofstream(temp) << "half written";
    return Error{"disk full"};
  });
  EXPECT_EQ(failed.message(), "disk full");
  Status threw = WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
    std::ofstream(temp) << "half written";
    throw std::runtime_error("boom");
  });
  EXPECT_FALSE(threw);
  EXPECT_NE(threw.message().find("boom"), std::string::npos);

  // The producer removed its file instead of writing it.
  Status vanished = WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
    fs::remove(temp);
    return {};
  });
  EXPECT_FALSE(vanished);

  EXPECT_EQ(*ReadFileToString(target_), "old content");
  EXPECT_EQ(Listing(dir_->path()), (std::vector<std::string>{"out", "report.html"}));
}

TEST_F(AtomicWrite, UnwritableFolder) {
  if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind the super-user";
  ::chmod(dir_->path().c_str(), 0555);
  Status status = WriteFileAtomically(target_, "new");
  ::chmod(dir_->path().c_str(), 0755);
  EXPECT_FALSE(status);
  EXPECT_NE(status.message().find("Permission denied"), std::string::npos);
  EXPECT_EQ(*ReadFileToString(target_), "old content");
}

TEST_F(AtomicWrite, ProducerWritesByPath) {
  ASSERT_TRUE(WriteFileAtomically(target_, [](const fs::path& temp) -> Status {
    std::ofstream(temp) << "produced";
    return {};
  }));
  EXPECT_EQ(*ReadFileToString(target_), "produced");
  EXPECT_EQ(Listing(dir_->path()), std::vector<std::string>{"report.html"});
}

TEST(ReadFileToString, ExplainsFailures) {
  Result<std::string> missing = ReadFileToString("/nonexistent-folder/file.txt");
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.message().find("No such file or directory"), std::string::npos);
  Result<std::string> folder = ReadFileToString(TempFolder());
  ASSERT_FALSE(folder);
  EXPECT_NE(folder.message().find("is a folder"), std::string::npos);
}

TEST(TempFile, RemovedUnlessPreserved) {
  fs::path removed_path;
  fs::path kept_path;
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
  }
  EXPECT_FALSE(fs::exists(removed_path));
  EXPECT_TRUE(fs::exists(kept_path));
  fs::remove(kept_path);
}

TEST(TempFile, MovesOwnership) {
  Result<TempFile> made = TempFile::Create("txt");
  ASSERT_TRUE(made);
  fs::path path = made->path();
  TempFile first = std::move(made).value();
  {
    TempFile second = std::move(first);
    EXPECT_TRUE(first.path().empty());
    EXPECT_EQ(second.path(), path);
  }
  EXPECT_FALSE(fs::exists(path));

  // Assigning over an owner removes what it owned.
  Result<TempFile> a = TempFile::Create();
  Result<TempFile> b = TempFile::Create();
  ASSERT_TRUE(a && b);
  fs::path a_path = a->path();
  fs::path b_path = b->path();
  *a = std::move(*b);
  EXPECT_FALSE(fs::exists(a_path));
  EXPECT_TRUE(fs::exists(b_path));
  EXPECT_EQ(a->path(), b_path);
}

TEST(TempFile, FailsInAMissingFolder) {
  Result<TempFile> file = TempFile::CreateIn("/nonexistent-folder", "zip");
  ASSERT_FALSE(file);
  EXPECT_NE(file.message().find("/nonexistent-folder"), std::string::npos);
  EXPECT_FALSE(TempDir::CreateIn("/nonexistent-folder"));
}

TEST(TempDir, RemovesItsTreeUnlessPreserved) {
  fs::path removed;
  fs::path kept;
  {
    Result<TempDir> dir = TempDir::Create("run");
    ASSERT_TRUE(dir);
    removed = dir->path();
    fs::create_directories(removed / "a" / "b");
    std::ofstream(removed / "a" / "b" / "data.asbf") << "x";
    Result<TempDir> moved_from = TempDir::Create("run");
    ASSERT_TRUE(moved_from);
    TempDir other = std::move(moved_from).value();
    other.Preserve();
    kept = other.path();
  }
  EXPECT_FALSE(fs::exists(removed));
  EXPECT_TRUE(fs::is_directory(kept));
  fs::remove_all(kept);
}

TEST(TempFolder, HonoursTmpdir) {
  Result<TempDir> dir = TempDir::Create();
  ASSERT_TRUE(dir);
  const char* saved = std::getenv("TMPDIR");
  std::string saved_value = saved ? saved : "";
  ::setenv("TMPDIR", dir->path().c_str(), 1);
  EXPECT_EQ(TempFolder(), dir->path());
  Result<TempFile> inside = TempFile::Create("csv");
  ASSERT_TRUE(inside);
  EXPECT_EQ(inside->path().parent_path(), dir->path());
  ::setenv("TMPDIR", (dir->path() / "not-there").c_str(), 1);
  EXPECT_EQ(TempFolder(), fs::path("/tmp"));
  if (saved) {
    ::setenv("TMPDIR", saved_value.c_str(), 1);
  } else {
    ::unsetenv("TMPDIR");
  }
}

class RunFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Result<TempDir> made = TempDir::Create("tcm-run-files-test");
    ASSERT_TRUE(made) << made.message();
    dir_ = std::make_unique<TempDir>(std::move(made).value());
    fs::create_directory(Base());
    fs::create_directory(Out());
    setenv("TMPDIR", Base().c_str(), 1);
    for (const char* name : {"a.txt", "b.txt", "data.csv"}) {
      ASSERT_TRUE(WriteFileAtomically(Out() / name, std::string("old ") + name));
    }
  }
  void TearDown() override { unsetenv("TMPDIR"); }
  fs::path Base() const { return dir_->path() / "tmp"; }
  fs::path Out() const { return dir_->path() / "out"; }
  std::string Read(const std::string& name) const { return *ReadFileToString(Out() / name); }

  std::unique_ptr<TempDir> dir_;
};

TEST_F(RunFilesTest, OutputsLandTogetherWhenTheRunCommits) {
  auto run = RunFiles::Begin();
  ASSERT_TRUE(run) << run.message();
  EXPECT_EQ(TempFolder(), (*run)->folder());
  (*run)->BeginCommand();
  ASSERT_TRUE(WriteFileAtomically(Out() / "a.txt", "new a"));
  ASSERT_TRUE(WriteFileAtomically(Out() / "b.txt", [](const fs::path& path) -> Status {
    std::ofstream(path) << "new b";
    return {};
  }));
  // Until the end the targets are the old files, while the run itself reads its new ones.
  EXPECT_EQ(*ReadFileToString(Out() / "a.txt"), "new a");
  std::ifstream direct(Out() / "a.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(direct), {}), "old a.txt");
  (*run)->EndCommand(true);
  // A later command reads the earlier one's output.
  (*run)->BeginCommand();
  EXPECT_EQ(*ReadFileToString(Out() / "b.txt"), "new b");
  (*run)->EndCommand(true);
  ASSERT_TRUE((*run)->Commit());
  const fs::path folder = (*run)->folder();
  run->reset();
  EXPECT_EQ(Read("a.txt"), "new a");
  EXPECT_EQ(Read("b.txt"), "new b");
  EXPECT_EQ(Listing(Out()), (std::vector<std::string>{"a.txt", "b.txt", "data.csv"}));
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_EQ(TempFolder(), Base());
}

TEST_F(RunFilesTest, AFailedCommandOrAnAbandonedRunLeavesTheOldFiles) {
  for (const bool commit : {false, true}) {
    auto run = RunFiles::Begin();
    ASSERT_TRUE(run);
    (*run)->BeginCommand();
    ASSERT_TRUE(WriteFileAtomically(Out() / "a.txt", "failed command's a"));
    (*run)->EndCommand(false);
    (*run)->BeginCommand();
    ASSERT_TRUE(WriteFileAtomically(Out() / "b.txt", "abandoned b"));
    ASSERT_TRUE((*run)->AddOutput(Out() / "c.txt", "never written"));
    (*run)->EndCommand(true);
    if (commit) {
      ASSERT_TRUE((*run)->Commit());
    }
    run->reset();
    EXPECT_EQ(Read("a.txt"), "old a.txt");
    EXPECT_EQ(Read("b.txt"), commit ? "abandoned b" : "old b.txt");
    EXPECT_EQ(Listing(Out()), (std::vector<std::string>{"a.txt", "b.txt", "data.csv"}));
    EXPECT_TRUE(fs::is_empty(Base()));
  }
}

TEST_F(RunFilesTest, AnOutputThatIsAnInputIsRefused) {
  fs::create_symlink(Out() / "data.csv", Out() / "link.csv");
  fs::create_hard_link(Out() / "data.csv", Out() / "hard.csv");
  fs::create_directory(Out() / "sub");
  auto run = RunFiles::Begin();
  ASSERT_TRUE(run);
  ASSERT_TRUE((*run)->AddInput(Out() / "data.csv", "the data file"));
  for (const fs::path& same : {Out() / "data.csv", Out() / "sub/../data.csv", Out() / "link.csv",
                               Out() / "hard.csv"}) {
    const Status refused = (*run)->AddOutput(same, "the report");
    ASSERT_FALSE(refused) << same;
    EXPECT_NE(refused.message().find("the data file"), std::string::npos) << refused.message();
    EXPECT_NE(refused.message().find("the report"), std::string::npos) << refused.message();
    EXPECT_FALSE(WriteFileAtomically(same, "x")) << same;
  }
  // A command's own input and output clash in either order; another command's do not.
  (*run)->BeginCommand();
  ASSERT_TRUE((*run)->AddOutput(Out() / "a.txt", "the model written"));
  EXPECT_FALSE((*run)->AddInput(Out() / "a.txt", "the model read"));
  ASSERT_TRUE((*run)->AddInput(Out() / "b.txt", "the model read"));
  EXPECT_FALSE((*run)->AddOutput(Out() / "b.txt", "the model written"));
  (*run)->EndCommand(true);
  (*run)->BeginCommand();
  EXPECT_TRUE((*run)->AddOutput(Out() / "b.txt", "the model written"));
  (*run)->EndCommand(true);
  // Missing and unusable folders are found when the output is declared.
  EXPECT_FALSE((*run)->AddOutput(Out() / "missing" / "x.txt", "r"));
  EXPECT_FALSE((*run)->AddOutput(Out() / "a.txt" / "x.txt", "r"));
  EXPECT_FALSE((*run)->AddOutput(Out() / "sub", "r"));
  run->reset();
  EXPECT_EQ(Read("data.csv"), "old data.csv");
}

TEST_F(RunFilesTest, TheNextRunRemovesWhatAKilledRunLeft) {
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

  auto run = RunFiles::Begin();
  ASSERT_TRUE(run);
  EXPECT_FALSE(fs::exists(left));
  EXPECT_FALSE(fs::exists(twin));
  EXPECT_EQ(Read("a.txt"), "old a.txt");  // listed, but no twin: never removed
  EXPECT_TRUE(fs::exists(live));
}

TEST_F(RunFilesTest, DevicesAndPipesAreWrittenInPlace) {
  auto run = RunFiles::Begin();
  ASSERT_TRUE(run);
  EXPECT_TRUE((*run)->AddOutput("/dev/null", "the report"));
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
  EXPECT_TRUE(WriteFileAtomically(fifo, [](const fs::path& path) -> Status {
    std::ofstream(path) << "through the pipe";
    return {};
  }));
  reader.join();
  EXPECT_EQ(received, "through the pipe");
  ASSERT_EQ(::stat(fifo.c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
  EXPECT_EQ(KindOfOutput("-"), OutputKind::kStdout);
  EXPECT_EQ(KindOfOutput(Out() / "new.txt"), OutputKind::kFile);
}

}  // namespace
}  // namespace support
