// This file contains TSDPRunner: the owner of the files of the data preparation and of its
// flows: the time string conversion, the preparation stage and the convertor of time points.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/cf_metadata.h"
#include "tcm/flows/flow_blocks.h"
#include "tcm/flows/ts_json_conf.h"
#include "tcm/frame/spec/valid_spec.h"

class ASRunner;
class ASRawDataIterator;

class TSDPRunner {
 public:
  // Makes the six job files in order (jsonFile, qualityFile, convertedData,
  // convertedDataModel, preparedData, preparedDataModel) and reads the iterator's data model.
  // `modelSettings` is the settings text of a saved model system, or null; the preparation's
  // configuration starts from it (or from an empty object).
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

  // The preparation flow: the converted pair through the preparation stage into the prepared
  // pair, jsonFile and, when asked, qualityFile. For TCM MODEL a successful job's time range
  // is read back into the settings (ReadTimeRange). The answer is whether the prepared data file is
  // there: the engine reports its own failures, and a job that left the file counts as done.
  bool RunTSDP();
  // tsdpConf of the command kind, composed into the runner's configuration; gives its text.
  // TCM MODEL composes afresh from the settings (and may shorten a date specification in it), TCM
  // APPLY changes the saved settings' selection, TCM ANALYSIS keeps them as they are.
  std::string ComposeTsdpConf();
  // The archives of tsdpOutConf: jsonFile, then qualityFile unless the command is TCM ANALYSIS
  // or the settings ask for no transformations.
  std::vector<const ASSimpleContainer*> TsdpOutputs() const;
  // Reads the time range that the preparation reported in jsonFile into the estimation period
  // of the settings: startTime and endTime in seconds, or for cyclic data startPeriods and
  // endPeriods (the first and last value of each cyclic field the stage kept, the period field
  // last). An unreadable archive, or a time axis without points, leaves the settings as they
  // were and says nothing.
  void ReadTimeRange();

  // The time points of a time specification on the axis of the model system at `modelPath`,
  // through the convertor stage. `relative` takes the first elements of the lists as indexes
  // from the last observation; otherwise they are seconds (`isDateTime`) or cyclic period
  // values. Fills the indexes of the points from the last observation and the first and last
  // point (one value for a date time, the values of the cyclic fields otherwise). False when
  // the job failed (the engine says why), when its result cannot be read or holds no point, and
  // when the start or end list is empty (no job then).
  bool CalculateTimeVar(bool relative, bool isDateTime, const std::string& modelPath,
                        const std::vector<std::int64_t>& startList,
                        const std::vector<std::int64_t>& endList,
                        std::vector<std::int64_t>& indexList,
                        std::vector<std::int64_t>& startPoints,
                        std::vector<std::int64_t>& endPoints);

  int CommandKind() const { return commandKind_; }
  const CFMetaData& MetaData() const { return metaData_; }
  FlowBlocks& Blocks() { return *blocks_; }
  const std::string& ModelSettings() const { return modelSettings_; }
  // The metric fields of TCM MODEL, once tsdpConf was composed.
  const std::vector<std::string>& MetricFields() const { return metricFields_; }
  const TSJsonConf& Conf() const { return conf_; }
  // The last preparation script.
  const std::string& PreparationScript() const { return preparationScript_; }

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
  std::string preparationScript_;
  TSJsonConf conf_;
  std::vector<std::string> metricFields_;
};
