// This file contains ASSimpleContainer, the job file of the engine bridge.
#include "host/bridge/as_simple_container.h"

#include <system_error>
#include <utility>

#include "support/run_files.h"

ASSimpleContainer::ASSimpleContainer(std::string name, const std::string& path)
    : name_(std::move(name)) {
  if (!path.empty()) {
    path_ = path;
    return;
  }
  auto made = support::TempFile::Create({}, "as");
  if (!made.ok()) {
    error_ = "cannot make a temporary file for \"" + name_ + "\": " + made.message();
    return;
  }
  temp_.emplace(std::move(made).value());
  path_ = temp_->path();
}

// The temporary file, if any, goes with `temp_` unless preserved.
ASSimpleContainer::~ASSimpleContainer() = default;

std::string ASSimpleContainer::getAbsolutePath() const {
  if (path_.empty())
    return {};
  std::error_code ec;
  std::filesystem::path absolute = std::filesystem::absolute(path_, ec);
  return ec ? path_.string() : absolute.string();
}

std::string ASSimpleContainer::getGenericPath() const {
  return std::filesystem::path(getAbsolutePath()).generic_string();
}

void ASSimpleContainer::preserveTempFile() {
  if (!temp_ || temp_->preserved())
    return;
  // The run's folder goes with the run, so a file meant to outlive it is made an output of the
  // run in the system's temporary folder: it appears there when the run ends well, and not at
  // all when the command fails or the run is interrupted.
  if (support::RunFiles* run = support::RunFiles::Current(); run != nullptr) {
    const std::filesystem::path lasting =
        support::BaseTempFolder() / ("tcm-model-system-" + support::RandomSuffix() + ".zip");
    if (run->AddOutput(lasting, kKeptFileRole).ok()) {
      temp_.reset();
      path_ = lasting;
      return;
    }
  }
  temp_->Preserve();
}
