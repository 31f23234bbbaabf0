// This file contains FlowBlocks, the script pieces that most flows of a run share, each built at
// its first request and then kept for the whole run.
#pragma once

#include <optional>
#include <string>

#include "host/bridge/as_simple_container.h"
#include "tcm/frame/spec/valid_spec.h"

// The job files of the preparation side of a run; none is owned here. All must outlive the
// FlowBlocks that names them.
struct FlowFiles {
  const ASSimpleContainer* jsonFile = nullptr;
  const ASSimpleContainer* convertedData = nullptr;
  const ASSimpleContainer* convertedDataModel = nullptr;
  const ASSimpleContainer* preparedData = nullptr;
  const ASSimpleContainer* preparedDataModel = nullptr;
};

class FlowBlocks {
 public:
  // Every member of `files` must be set.
  FlowBlocks(const ValidSpec& spec, const FlowFiles& files) : spec_(spec), files_(files) {}

  // The readerConf declaration on the converted pair, with its "\n".
  const std::string& ConvertedReaderBlock();
  // The readerConf declaration on the prepared pair, with its "\n".
  const std::string& PreparedReaderBlock();
  // The declarations rtsdpConf and rtsdpInConf, each with its "\n". The flag of the first
  // request decides for the whole run: exportFutureFlag is true when forced, otherwise whether
  // SAVE asks for FORECASTFLAG.
  const std::string& RtsdpBlock(bool forceFutureFlag);
  // The reverse preparation stage.
  const std::string& RtsdpStage();

  const ValidSpec& spec() const { return spec_; }
  const FlowFiles& files() const { return files_; }

 private:
  const ValidSpec& spec_;
  FlowFiles files_;
  std::optional<std::string> converted_reader_;
  std::optional<std::string> prepared_reader_;
  std::optional<std::string> rtsdp_block_;
  std::optional<std::string> rtsdp_stage_;
};
