// This file contains ASSimpleContainer: a job file under a logical name, either a file the caller
// names or a temporary file that dies with the container unless preserved.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "support/temp_file.h"

// The role under which a run lists a preserved temporary file among its outputs. The one file
// the module preserves is a model system with no OUTFILE MODELSYSTEM, hence its name.
inline constexpr const char* kKeptFileRole = "the model system kept in the temporary folder";

class ASSimpleContainer {
 public:
  // With an empty `path` a new empty temporary file is made; when that fails, good() is false,
  // error() says why and every path reads as "". With a path the container stands for that file
  // and neither makes nor removes it.
  ASSimpleContainer(std::string name, const std::string& path);
  virtual ~ASSimpleContainer();
  ASSimpleContainer(const ASSimpleContainer&) = delete;
  ASSimpleContainer& operator=(const ASSimpleContainer&) = delete;

  // The logical name under which a stage finds the file.
  virtual std::string getName() const { return name_; }
  // The absolute path in the platform's form.
  virtual std::string getAbsolutePath() const;
  // The absolute path with "/" separators, as a write of the file wants it.
  std::string getGenericPath() const;
  // A temporary file stays when the container is destroyed. Within the program's run it moves out
  // of the run's folder (its path changes): call this before taking the path.
  void preserveTempFile();

  bool isTemporary() const { return temp_.has_value(); }
  bool good() const { return error_.empty(); }
  const std::string& error() const { return error_; }

 private:
  std::string name_;
  std::filesystem::path path_;
  std::optional<support::TempFile> temp_;
  std::string error_;
};
