// This file contains TSRunner: the flows of a command after the preparation (building the model
// system, scoring, saving), the run forms through which they go, and the files they leave.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/cf_metadata.h"
#include "tcm/flows/ts_json_conf.h"
#include "tcm/model/tcm_model_spec.h"

class ASRunner;
class CommandContext;
class ProcedureDataSource;
class TSDPRunner;

// A series: the dimension values in the order of the command's dimensions, then the metric name.
using SeriesKey = std::vector<std::string>;

// A series in which outlier detection found outliers, and the archive of its root cause flow.
struct OutlierRecord {
  std::string key;                                  // the archive member's name up to its first "."
  std::shared_ptr<ASSimpleContainer> rootCauseFile;  // null until its flow ran
  SeriesKey series;
};

class TSRunner {
 public:
  // `fieldsGroups` is the TCM MODEL list of field groups, null for the other commands.
  TSRunner(TSDPRunner& tsdp, ASRunner& runner, ProcedureDataSource& dataSource,
           CommandContext& context, const std::vector<FieldsGroupSpec>* fieldsGroups);
  ~TSRunner();
  TSRunner(const TSRunner&) = delete;
  TSRunner& operator=(const TSRunner&) = delete;

  // The sequence of the command kind of the TSDPRunner. False ends the command; what went wrong
  // was said by the engine.
  bool Run();
  // The target filter selected no target, so the sequence ended after the model build with a
  // warning: the command did its work, and only its output is empty.
  bool nothingSelected = false;

  // SAVE asks for a fitted value, a limit or a residual.
  bool NeedsFit() const;
  // OUTFILE DATA names a destination, or SAVE asks for fitted values.
  bool NeedsSaving() const;

  // The run helper of nearly every flow: prepare, execute (every exception is a failure), the
  // merge of the result data when `merge` and the job succeeded, then the engine's messages and
  // the clean-up. An empty script is a failure with no job started.
  bool RunFlow(std::string script, bool merge);

  // The IDs of the best models by the target filter's statistic (the summary flow); the list is
  // left as it is when the job or a member is missing.
  void GetTopModels(std::vector<std::string>& ids);
  // The targets that the detail output and the scoring of selected targets use, built once.
  const std::vector<SeriesKey>& RankedTargets();
  // The data model of the model system, built at the first request; null when unreadable.
  const CFMetaData* ModelMetadata();
  // The series of the series filters, built once: scoreConf lists them after the ranked targets,
  // and the output's single series are made from them.
  const std::vector<SeriesKey>& SeriesFilterKeys();

  // Compositions: the scoring flow with the flags forecast, fit, re-estimation and output
  // pass, and the reverse data flow. Each makes the files its flow writes.
  std::string Score(bool forecast, bool fit, bool reestimate, bool outputPass);
  std::string DataFlow();
  std::string ModelFlow();

  // The reader block on the latest output pair, for the output flows.
  const std::string& OutputReaderBlock() const { return outputReaderBlock; }

  TSDPRunner* tsdp;
  ASRunner* runner;
  ProcedureDataSource* dataSource;
  CommandContext* context;
  const std::vector<FieldsGroupSpec>* fieldsGroups;
  TSJsonConf conf;
  std::string outputReaderBlock;

  std::unique_ptr<ASSimpleContainer> modelFile;
  std::unique_ptr<ASSimpleContainer> newModelFile;
  std::unique_ptr<ASSimpleContainer> outputData;
  std::unique_ptr<ASSimpleContainer> outputDataModel;
  std::unique_ptr<ASSimpleContainer> mergedData;
  std::unique_ptr<ASSimpleContainer> mergedDataModel;
  std::unique_ptr<ASSimpleContainer> outlierFile;
  std::unique_ptr<ASSimpleContainer> rcaOutlierFile;
  std::unique_ptr<ASSimpleContainer> scenarioFile;
  std::vector<OutlierRecord> outlierRecords;
  std::vector<OutlierRecord> rootCauseRecords;

 private:
  bool RunModelSequence();
  // TCM APPLY: re-estimation into a new model system when asked, then the scoring steps on the
  // saved (or new) model system.
  bool RunApplySequence();
  // The scoring, saving and output-data steps that TCM MODEL and TCM APPLY share.
  bool RunScoringSteps(const ValidSpec& spec, const char* prefix);
  // Merges the result stream of the finished job into the saved data.
  bool SaveResultData();
  // The model system a re-estimation writes: at OUTFILE MODELSYSTEM, or a kept temporary file
  // whose path becomes the command's model system path.
  void NewModelFile();
  // Outlier detection when the output asks for outliers, and the root cause flows of the series
  // the series filters choose.
  bool RunOutlierSteps(const ValidSpec& spec, const char* prefix);
  // The detection flow into a new outlierFile, or with `forRootCause` (the series filters' series
  // only) into a new rcaOutlierFile.
  std::string Detect(bool forRootCause);
  // One root cause flow per record of rootCauseRecords, in order; the first failure ends them.
  bool RunRootCauseFlows();
  // A new output pair; the former one stays until the end of the run.
  void NewOutputPair();
  // Says that the target filter and the series filters selected no target to score.
  void ReportNoTargetSelected();
  // The model system that the readers use: the re-estimated one when there is one.
  const ASSimpleContainer* CurrentModelFile() const;

  std::vector<SeriesKey> rankedTargets_;
  bool rankedTargetsBuilt_ = false;
  std::vector<SeriesKey> seriesFilterKeys_;
  bool seriesFilterKeysBuilt_ = false;
  std::unique_ptr<CFMetaData> modelMetadata_;
  bool modelMetadataRead_ = false;
  // Output pairs of earlier passes, kept so that their files are removed with the runner.
  std::vector<std::unique_ptr<ASSimpleContainer>> formerOutputs_;
};
