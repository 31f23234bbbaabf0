// This file contains the shared script pieces of a run and their build-once rule.
#include "tcm/flows/flow_blocks.h"

#include "host/bridge/jni_json.h"
#include "tcm/flows/ts_json_conf.h"

const std::string& FlowBlocks::ConvertedReaderBlock() {
  if (!converted_reader_) {
    converted_reader_ = TSJsonConf::ReaderBlock(files_.convertedData->getAbsolutePath(),
                                                files_.convertedDataModel->getAbsolutePath(), "");
  }
  return *converted_reader_;
}

const std::string& FlowBlocks::PreparedReaderBlock() {
  if (!prepared_reader_) {
    prepared_reader_ = TSJsonConf::ReaderBlock(files_.preparedData->getAbsolutePath(),
                                               files_.preparedDataModel->getAbsolutePath(), "");
  }
  return *prepared_reader_;
}

const std::string& FlowBlocks::RtsdpBlock(bool forceFutureFlag) {
  if (!rtsdp_block_) {
    SaveEntry entry;
    JNIJSONObject conf;
    conf.put("exportFutureFlag", forceFutureFlag || spec_.FindSaveEntry("FORECASTFLAG", entry));
    rtsdp_block_ = "val rtsdpConf = " + conf.toString() + "\n" +
                   "val rtsdpInConf = " + TSJsonConf::InputConf(*files_.jsonFile) + "\n";
  }
  return *rtsdp_block_;
}

const std::string& FlowBlocks::RtsdpStage() {
  if (!rtsdp_stage_)
    rtsdp_stage_ = "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)";
  return *rtsdp_stage_;
}
