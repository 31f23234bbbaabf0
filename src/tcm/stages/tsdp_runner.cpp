// This file contains the construction of TSDPRunner, its time string conversion flow and the
// update of the converted data model.
#include "tcm/stages/tsdp_runner.h"

#include <fstream>

#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_trace.h"
#include "host/bridge/ext_name_str.h"
#include "tcm/flows/flow_scripts.h"

TSDPRunner::TSDPRunner(ValidSpec& spec, ASRunner& runner, ASRawDataIterator& iterator,
                       const char* modelSettings)
    : spec(spec),
      runner(runner),
      iterator(iterator),
      jsonFile(std::make_unique<ASSimpleContainer>("JSON", "")),
      qualityFile(std::make_unique<ASSimpleContainer>("TSDP_DataQuality", "")),
      convertedData(std::make_unique<ASSimpleContainer>("data", "")),
      convertedDataModel(std::make_unique<ASSimpleContainer>("dataModel", "")),
      preparedData(std::make_unique<ASSimpleContainer>("data", "")),
      preparedDataModel(std::make_unique<ASSimpleContainer>("dataModel", "")),
      commandKind_(spec.commandKind()),
      modelSettings_(modelSettings != nullptr ? modelSettings : ""),
      metaData_(iterator.DataModelXml(), nullptr) {
  FlowFiles files;
  files.jsonFile = jsonFile.get();
  files.convertedData = convertedData.get();
  files.convertedDataModel = convertedDataModel.get();
  files.preparedData = preparedData.get();
  files.preparedDataModel = preparedDataModel.get();
  blocks_ = std::make_unique<FlowBlocks>(spec, files);
}

// The containers go in the order they were made.
TSDPRunner::~TSDPRunner() {
  jsonFile.reset();
  qualityFile.reset();
  convertedData.reset();
  convertedDataModel.reset();
  preparedData.reset();
  preparedDataModel.reset();
}

bool TSDPRunner::ConvertTimeStrings() {
  if (iterator.Failed()) return false;
  conversionScript_ = ConversionFlowScript(*blocks_, iterator.Name());
  runner.prepareASLJob(conversionScript_);
  traceASLFile(conversionScript_, "TCM", "TimeStrConversion");
  runner.addInputIterator(&iterator);
  bool result = false;
  try {
    result = runner.execute();
  } catch (...) {
    result = false;
  }
  if (iterator.GetCancelStatus()) {
    result = false;
  } else {
    runner.displayAllMessages(true);
  }
  runner.cleanExecution();
  return result;
}

bool TSDPRunner::UpdateConvertedDataModel(const CFMetaData& metaData) {
  metaData_ = metaData;
  std::string text;
  if (!metaData_.ExportXMLDoc(text)) return false;
  ExtNameStr file;
  file.SetGeneric(convertedDataModel->getGenericPath());
  std::ofstream stream;
  if (!file.Open(stream, 34)) return false;
  stream << text;
  return static_cast<bool>(stream);
}

std::string TSDPRunner::DescriptiveScript() { return DescriptiveFlowScript(*blocks_); }
