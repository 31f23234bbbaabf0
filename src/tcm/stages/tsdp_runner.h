// This file contains TSDPRunner: the owner of the files of the data preparation and of its
// flows. This part holds the time string conversion and the data model of the converted data.
#pragma once

#include <memory>
#include <string>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/cf_metadata.h"
#include "tcm/flows/flow_blocks.h"
#include "tcm/frame/spec/valid_spec.h"

class ASRunner;
class ASRawDataIterator;

class TSDPRunner {
 public:
  // Makes the six job files in order (jsonFile, qualityFile, convertedData,
  // convertedDataModel, preparedData, preparedDataModel) and reads the iterator's data model.
  // `modelSettings` is the settings text of a saved model system, or null.
  TSDPRunner(ValidSpec& spec, ASRunner& runner, ASRawDataIterator& iterator,
             const char* modelSettings);
  ~TSDPRunner();
  TSDPRunner(const TSDPRunner&) = delete;
  TSDPRunner& operator=(const TSDPRunner&) = delete;

  // The first flow: the active dataset into the converted pair, ISO 8601 time strings turned
  // into timestamps on the way. False when the iterator reports trouble before it starts, when
  // the user cancelled (with no message), or when the engine failed (its messages shown).
  bool ConvertTimeStrings();
  // Keeps `metaData` as the current data model and writes it over convertedDataModel.
  bool UpdateConvertedDataModel(const CFMetaData& metaData);
  // The text of the descriptive flow over the converted data.
  std::string DescriptiveScript();

  int CommandKind() const { return commandKind_; }
  const CFMetaData& MetaData() const { return metaData_; }
  FlowBlocks& Blocks() { return *blocks_; }
  const std::string& ModelSettings() const { return modelSettings_; }

  ValidSpec& spec;
  ASRunner& runner;
  ASRawDataIterator& iterator;
  std::unique_ptr<ASSimpleContainer> jsonFile;
  std::unique_ptr<ASSimpleContainer> qualityFile;
  std::unique_ptr<ASSimpleContainer> convertedData;
  std::unique_ptr<ASSimpleContainer> convertedDataModel;
  std::unique_ptr<ASSimpleContainer> preparedData;
  std::unique_ptr<ASSimpleContainer> preparedDataModel;

 private:
  int commandKind_;
  std::string modelSettings_;
  CFMetaData metaData_;
  std::unique_ptr<FlowBlocks> blocks_;
  std::string conversionScript_;
};
