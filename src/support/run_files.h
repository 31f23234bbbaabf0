// This file contains RunFiles, the files of one run of the program. Its temporary files live in
// one private folder that goes with the run. Its outputs are written beside their targets under
// hidden names ("twins") and renamed over the targets together when the run ends, so a run that
// is interrupted leaves the user's old files and a run that ends leaves the new set. A run
// killed outright leaves its folder and twins behind; the next run removes them.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/result.h"

namespace support {

// How a path is to be written.
enum class OutputKind {
  kFile,    // a regular file (or a new one): replaced whole, never left half-written
  kStdout,  // "-": the program's standard output
  kDevice,  // a device, a pipe, a socket, or anything under /dev or /proc: written in place
};
OutputKind KindOfOutput(const std::filesystem::path& path);

// The file to read for `path`: within a run, the newest written twin of an output of the run.
std::filesystem::path ReadPath(const std::filesystem::path& path);

class RunFiles {
 public:
  // Removes what earlier runs whose process is gone left behind, makes this run's folder in
  // BaseTempFolder() and makes the object current (TempFolder() then names its folder).
  static Result<std::unique_ptr<RunFiles>> Begin();
  // Removes the run folder and every twin that was not committed; no longer current.
  ~RunFiles();
  RunFiles(const RunFiles&) = delete;
  RunFiles& operator=(const RunFiles&) = delete;

  // The run of this process, or null outside one.
  static RunFiles* Current();

  const std::filesystem::path& folder() const { return folder_; }

  // An input of the run (`role` names it in messages, e.g. "the data file"); one declared while
  // a command is open belongs to that command. Fails, naming both, when it is an output of the
  // open command or of the whole run.
  Status AddInput(const std::filesystem::path& path, const std::string& role);

  // An output of the open command (of the whole run when none is open). Makes its twin, which
  // proves that the folder takes a new file. Fails, naming both, when it is the same file as an
  // input of the run or of the open command; fails when the path is a folder or its folder is
  // missing or not writable. Standard output and devices are written in place, so they are
  // accepted and nothing is recorded.
  Status AddOutput(const std::filesystem::path& path, const std::string& role);

  // The file to read or write for `path` now: the twin of an output of the open command, or of
  // an earlier command's output once written; else `path` itself.
  std::filesystem::path Resolve(const std::filesystem::path& path) const;

  // For writers. The twin to write for `target`, declaring `target` as an output when nothing
  // declared it yet; an empty path when `target` is no output of the run (a file of the run's
  // folder). Fails as AddOutput does.
  Result<std::filesystem::path> TwinForWriting(const std::filesystem::path& target);
  // A writer finished `twin` (true) or left it incomplete (false): only finished twins are
  // committed.
  void MarkWritten(const std::filesystem::path& twin, bool written);

  // Commands: outputs declared between the two calls are dropped at the end unless `keep`.
  void BeginCommand();
  void EndCommand(bool keep);

  // The targets of the finished outputs declared with `role`, as they stand before Commit.
  std::vector<std::filesystem::path> Finished(const std::string& role) const;

  // Renames every finished twin over its target, in the order declared; the others are removed.
  // Fails with the targets that could not be replaced (their twins are removed too).
  Status Commit();

 private:
  struct Input {
    std::filesystem::path key;  // normalised absolute path
    std::string role;
    int command = 0;  // 0: the whole run
  };
  struct Output {
    std::filesystem::path key;
    std::filesystem::path target;  // the file to replace (a link's file, not the link)
    std::filesystem::path twin;
    std::string role;
    int command = 0;
    bool written = false;
    bool dropped = false;
  };

  explicit RunFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}
  Status AddOutputLocked(const std::filesystem::path& path, const std::string& role);
  const Output* LatestOutput(const std::filesystem::path& key) const;
  bool InRunFolder(const std::filesystem::path& key) const;
  void RemoveTwin(Output& output);

  std::filesystem::path folder_;
  mutable std::mutex mutex_;
  std::vector<Input> inputs_;
  std::vector<Output> outputs_;
  int command_ = 0;       // the open command's number, 0 when none is open
  int last_command_ = 0;
};

}  // namespace support
