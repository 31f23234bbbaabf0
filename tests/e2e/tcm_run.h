// This file contains what the end-to-end tests share: the tcm program run as a user runs it, the
// files of a test in a temporary folder, and the reading of what a run leaves.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_file.h"
#include "support/zip_archive.h"

namespace tcm_e2e {
namespace fs = std::filesystem;

struct Outcome {
  int status = -1;  // the exit status; 128 + N when signal N ended the program
  std::string out;  // standard output and standard error together
};

// Runs the program with `arguments`; `input` goes to its standard input.
inline Outcome Tcm(const std::string& arguments, const std::string& input = {}) {
  std::string command = std::string(TCM_PROGRAM) + " " + arguments + " 2>&1";
  if (!input.empty()) command = "printf '%s' '" + input + "' | " + command;
  Outcome outcome;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = fread(buffer, 1, sizeof buffer, pipe)) > 0) outcome.out.append(buffer, read);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.status = 128 + WTERMSIG(status);
  return outcome;
}

inline std::string Write(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
  return path.string();
}

inline std::string ReadAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// One member of a zip archive as text; empty when it cannot be read.
inline std::string ArchiveMember(const fs::path& archive, const std::string& member) {
  auto reader = support::ZipArchiveReader::Open(archive.string());
  if (!reader) return {};
  auto text = reader->ReadText(member);
  return text ? *text : std::string();
}

// Expects each of `parts` in `text`.
inline void ExpectContains(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
  }
}

inline const std::string kSales = std::string(TCM_SOURCE_DIR) + "/examples/retail/sales.csv";

// A test with a temporary folder of its own; its subfolder tmp is the program's $TMPDIR, so
// what a run keeps or leaves there can be seen.
class TcmProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("tcm_program");
    ASSERT_TRUE(dir.ok()) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(dir.value()));
    fs::create_directory(Path("tmp"));
    setenv("TMPDIR", Path("tmp").c_str(), 1);
  }
  void TearDown() override { unsetenv("TMPDIR"); }
  fs::path Path(const std::string& name) const { return dir_->path() / name; }
  // Writes `syntax` to model.tcm and runs it with `arguments`.
  Outcome Run(const std::string& syntax, const std::string& arguments) {
    return Tcm("run " + Write(Path("model.tcm"), syntax) + " " + arguments);
  }

  std::unique_ptr<support::TempDir> dir_;
};

}  // namespace tcm_e2e
