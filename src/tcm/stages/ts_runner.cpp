// This file contains TSRunner: the model sequence of TCM MODEL, the run forms of its flows and
// the compositions that make each flow's files.
#include "tcm/stages/ts_runner.h"

#include <filesystem>

#include "host/bridge/as_runner.h"
#include "host/bridge/as_trace.h"
#include "host/bridge/asl_path.h"
#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"
#include "host/data/procedure_data_source.h"
#include "tcm/apply/tcm_apply_spec.h"
#include "tcm/files/model_system_file.h"
#include "tcm/frame/command_context.h"
#include "tcm/files/save_result_data.h"
#include "tcm/flows/flow_scripts.h"
#include "tcm/stages/model_confs.h"
#include "tcm/stages/outlier_records.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

constexpr const char* kModelPrefix = "TCMMODEL";
constexpr const char* kApplyPrefix = "TCMAPPLY";

bool HasMember(const ASSimpleContainer& file, const char* member) {
  ZipReader reader(file.getAbsolutePath());
  return reader.GotoFile(member);
}

}  // namespace

TSRunner::TSRunner(TSDPRunner& tsdp, ASRunner& runner, ProcedureDataSource& dataSource,
                   CommandContext& context, const std::vector<FieldsGroupSpec>* fieldsGroups)
    : tsdp(&tsdp),
      runner(&runner),
      dataSource(&dataSource),
      context(&context),
      fieldsGroups(fieldsGroups) {}

// Files go in the order the run made them; the model system itself is preserved.
TSRunner::~TSRunner() {
  modelFile.reset();
  outputData.reset();
  outputDataModel.reset();
  formerOutputs_.clear();
  mergedData.reset();
  mergedDataModel.reset();
  outlierFile.reset();
  rcaOutlierFile.reset();
  scenarioFile.reset();
}

bool TSRunner::Run() {
  switch (tsdp->CommandKind()) {
    case 0:
      return RunModelSequence();
    case 1:
      return RunApplySequence();
    default:
      // The sequence of TCM ANALYSIS comes with that command's scenario steps.
      return true;
  }
}

bool TSRunner::NeedsFit() const {
  SaveEntry entry;
  const ValidSpec& spec = tsdp->spec;
  return spec.FindSaveEntry("LCLROOT", entry) || spec.FindSaveEntry("UCLROOT", entry) ||
         spec.FindSaveEntry("PREDICTED", entry) || spec.FindSaveEntry("NRESIDUAL", entry);
}

bool TSRunner::NeedsSaving() const { return tsdp->spec.outData.IsInit() || NeedsFit(); }

bool TSRunner::RunFlow(std::string script, bool merge) {
  if (script.empty()) return false;
  bool result = false;
  try {
    runner->prepareASLJob(script);
    result = runner->execute();
  } catch (...) {
    result = false;
  }
  if (merge && result) result = SaveResultData();
  runner->displayAllMessages(true);
  runner->cleanJRef();
  runner->cleanExecution();
  return result;
}

bool TSRunner::RunModelSequence() {
  const ValidSpec& spec = tsdp->spec;
  const std::string script = ModelFlow();
  traceASLFile(script, kModelPrefix, "MODELING");
  if (!RunFlow(script, false)) return false;
  // A model system without its graph has no model to work on; the engine said why.
  if (!HasMember(*modelFile, "TCMGraph.json")) return false;
  return RunScoringSteps(spec, kModelPrefix);
}

bool TSRunner::RunApplySequence() {
  const ValidSpec& spec = tsdp->spec;
  const auto* applySpec = dynamic_cast<const TCMApplySpec*>(&spec);
  if (applySpec == nullptr) return false;
  // The saved model system is read, never written: a re-estimated one goes to a file of its own.
  modelFile = std::make_unique<ASSimpleContainer>("TCMXML", applySpec->inputModelPath);
  modelFile->preserveTempFile();
  if (spec.buildOptions.reestimate) {
    const std::string script = Score(false, false, true, true);
    const bool reestimated = RunFlow(script, false);
    traceASLFile(script, kApplyPrefix, "DO_REESTIMATE");
    if (!reestimated || !newModelFile) return false;
    modelFile = std::move(newModelFile);
    modelFile->preserveTempFile();
    if (spec.targetFilter.display != "ALLTARGETS") {
      rankedTargets_.clear();
      rankedTargetsBuilt_ = false;
      RankedTargets();
    }
  }
  return RunScoringSteps(spec, kApplyPrefix);
}

bool TSRunner::RunScoringSteps(const ValidSpec& spec, const char* prefix) {
  if (spec.needsScoring()) {
    const bool forecast = spec.buildOptions.forecastPeriods > 0;
    std::string script = Score(forecast, NeedsFit(), false, false);
    traceASLFile(script, prefix, "SCORING");
    if (!RunFlow(script, NeedsSaving())) return false;
    script = Score(forecast, true, false, true);
    // TCM APPLY traces the output pass once it ran.
    const bool traceFirst = spec.commandKind() == 0;
    if (traceFirst) traceASLFile(script, prefix, "SCORING_OUTPUT");
    const bool scored = RunFlow(script, false);
    if (!traceFirst) traceASLFile(script, prefix, "SCORING_OUTPUT");
    if (!scored) return false;
  } else {
    if (NeedsSaving()) {
      const std::string script = DataFlow();
      traceASLFile(script, kModelPrefix, "DATA_FOR_SAVE");
      RunFlow(script, true);  // a failed save does not stop the output
    }
    std::string script;
    if (spec.needsNResidual()) {
      script = Score(false, true, false, true);
      traceASLFile(script, kModelPrefix, "NRESIDUAL_OUTPUT");
    } else {
      script = DataFlow();
      traceASLFile(script, kModelPrefix, "DATA_FOR_OUTPUT");
    }
    if (!RunFlow(script, false)) return false;
  }
  outputReaderBlock = TSJsonConf::ReaderBlock(outputData->getAbsolutePath(),
                                              outputDataModel->getAbsolutePath(), "");
  return RunOutlierSteps(spec, prefix);
}

bool TSRunner::RunOutlierSteps(const ValidSpec& spec, const char* prefix) {
  const auto isNumeric = [this](const std::string& field) {
    const int index = dataSource->FindVarIndex(field, 0);
    const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
    return variable != nullptr && variable->GetType() == 0;
  };
  if (spec.needsOutlierDetection()) {
    const std::string script = Detect(false);
    traceASLFile(script, prefix, "OD");
    if (!RunFlow(script, false)) return false;
    if (!ReadOutlierRecords(outlierFile->getAbsolutePath(), outlierRecords)) return false;
  }
  if (!spec.needsRootCause()) return true;
  if (spec.needsOutlierDetection()) {
    // The detection of all targets serves: the series filters choose among its series.
    rootCauseRecords = SelectRootCauseRecords(spec, outlierRecords, isNumeric);
  } else {
    const std::string script = Detect(true);
    traceASLFile(script, prefix, "OD_FOR_RCA");
    if (!RunFlow(script, false)) return false;
    if (!ReadOutlierRecords(rcaOutlierFile->getAbsolutePath(), rootCauseRecords)) return false;
  }
  return rootCauseRecords.empty() || RunRootCauseFlows();
}

std::string TSRunner::Detect(bool forRootCause) {
  const std::string conf = TcmODConf(tsdp->spec, forRootCause, SeriesFilterKeys());
  const ASSimpleContainer* model = CurrentModelFile();
  if (conf.empty() || model == nullptr) return {};
  std::unique_ptr<ASSimpleContainer>& file = forRootCause ? rcaOutlierFile : outlierFile;
  file = std::make_unique<ASSimpleContainer>("TCMAnalysis", "");
  return OutlierFlowScript(tsdp->Blocks(), conf, *model, *file);
}

bool TSRunner::RunRootCauseFlows() {
  const ASSimpleContainer* model = CurrentModelFile();
  if (rootCauseRecords.empty() || model == nullptr) return false;
  for (OutlierRecord& record : rootCauseRecords) {
    auto archive = std::make_shared<ASSimpleContainer>("TCMAnalysis", "");
    const std::string script = RootCauseFlowScript(
        tsdp->Blocks(), TcmRCAConf(tsdp->spec, record.series), *model, *archive);
    traceASLFile(script, "TCM", "RCA_FOR_" + record.key);
    if (!RunFlow(script, false)) return false;
    record.rootCauseFile = std::move(archive);
  }
  return true;
}

std::string TSRunner::ModelFlow() {
  ValidSpec& spec = tsdp->spec;
  const auto* modelSpec = dynamic_cast<const TCMModelValidSpecs*>(&spec);
  if (fieldsGroups == nullptr || modelSpec == nullptr) return {};
  const std::string config = TcmModelConfig(*modelSpec, *fieldsGroups);
  if (config.empty()) return {};
  if (spec.modelSystemPath.empty()) {
    modelFile = std::make_unique<ASSimpleContainer>("TCMXML", "");
    modelFile->preserveTempFile();
    spec.modelSystemPath = modelFile->getAbsolutePath();
  } else {
    modelFile = std::make_unique<ASSimpleContainer>("TCMXML", spec.modelSystemPath);
  }
  modelFile->preserveTempFile();
  return ModelBuildFlowScript(tsdp->Blocks(), config, *modelFile);
}

std::string TSRunner::Score(bool forecast, bool fit, bool reestimate, bool outputPass) {
  const ValidSpec& spec = tsdp->spec;
  std::vector<SeriesKey> targets;
  if (ScoreNeedsTargetList(spec, outputPass)) {
    targets = RankedTargets();
    const auto& filterKeys = SeriesFilterKeys();
    targets.insert(targets.end(), filterKeys.begin(), filterKeys.end());
    // The empty composition ends the run with nothing shown; the user is told why.
    if (targets.empty()) ReportNoTargetSelected();
  }
  const std::string scoreConf = ScoreConf(spec, forecast, fit, reestimate, outputPass, targets);
  if (scoreConf.empty()) return {};
  ScoringFlowFiles files;
  files.modelFile = modelFile.get();
  if (!reestimate) {
    NewOutputPair();
    files.outputData = outputData.get();
    files.outputDataModel = outputDataModel.get();
  } else {
    NewModelFile();
    files.newModelFile = newModelFile.get();
  }
  return ScoringFlowScript(tsdp->Blocks(), scoreConf, reestimate, outputPass, files);
}

void TSRunner::ReportNoTargetSelected() {
  nothingSelected = true;
  const TargetFilterSpec& filter = tsdp->spec.targetFilter;
  if (filter.display == "TARGETSNOINPUTS") {
    context->GenericWarning("NO_TARGET_NOINPUTS_KEY");
  } else {
    context->GenericWarning("NO_TARGET_BESTFIT_KEY", std::to_string(filter.n));
  }
}

std::string TSRunner::DataFlow() {
  tsdp->Blocks().RtsdpBlock(false);
  NewOutputPair();
  return ReverseDataFlowScript(tsdp->Blocks(), *outputData, *outputDataModel);
}

void TSRunner::NewModelFile() {
  ValidSpec& spec = tsdp->spec;
  // A file already at the path is replaced only when the run ends well: the new archive is
  // written beside it and renamed over it then.
  if (!spec.modelSystemPath.empty()) {
    newModelFile = std::make_unique<ASSimpleContainer>("TCMXML", spec.modelSystemPath);
    return;
  }
  newModelFile = std::make_unique<ASSimpleContainer>("TCMXML", "");
  newModelFile->preserveTempFile();
  spec.modelSystemPath = newModelFile->getAbsolutePath();
}

void TSRunner::NewOutputPair() {
  if (outputData) formerOutputs_.push_back(std::move(outputData));
  if (outputDataModel) formerOutputs_.push_back(std::move(outputDataModel));
  outputData = std::make_unique<ASSimpleContainer>("outputdata", "");
  outputDataModel = std::make_unique<ASSimpleContainer>("outputdatamodel", "");
}

const ASSimpleContainer* TSRunner::CurrentModelFile() const {
  if (newModelFile && tsdp->spec.commandKind() == 1) return newModelFile.get();
  return modelFile.get();
}

void TSRunner::GetTopModels(std::vector<std::string>& ids) {
  const ASSimpleContainer* model = CurrentModelFile();
  if (model == nullptr) return;
  ASSimpleContainer summaryFile("ModelsSummay", "");
  const std::string script = SummaryFlowScript(SummaryConf(tsdp->spec), *model, summaryFile);
  traceASLFile(script, "TCM", "GET_TOPMODELS");
  bool result = false;
  try {
    // A prepare that fails skips the run; its reason is among the engine's messages.
    if (runner->prepareASLJob(script)) result = runner->execute();
  } catch (...) {
    result = false;
  }
  runner->displayAllMessages(true);
  runner->cleanExecution();
  if (result) ReadTopModelIds(summaryFile, ids);
}

const std::vector<SeriesKey>& TSRunner::RankedTargets() {
  if (rankedTargetsBuilt_) return rankedTargets_;
  rankedTargetsBuilt_ = true;
  const ASSimpleContainer* model = CurrentModelFile();
  if (model == nullptr) return rankedTargets_;
  std::vector<std::string> ids;
  // The summary flow runs only for BESTFIT, and only once the model's StatXML.xml was read.
  if (!RankedTargetIds(model->getAbsolutePath(), tsdp->spec.targetFilter.display,
                       [this](std::vector<std::string>& top) { GetTopModels(top); }, ids)) {
    return rankedTargets_;
  }
  const CFMetaData* metadata = ModelMetadata();
  if (!ids.empty() && metadata != nullptr) {
    std::vector<std::string> dimensionNames;
    for (const auto& dimension : tsdp->spec.dimensions) dimensionNames.push_back(dimension.GetName());
    DecodeSeriesIds(ids, *metadata, dimensionNames, rankedTargets_);
  }
  return rankedTargets_;
}

const std::vector<SeriesKey>& TSRunner::SeriesFilterKeys() {
  if (!seriesFilterKeysBuilt_) {
    seriesFilterKeys_ = SeriesFilterKeyList(tsdp->spec);
    seriesFilterKeysBuilt_ = true;
  }
  return seriesFilterKeys_;
}

const CFMetaData* TSRunner::ModelMetadata() {
  if (!modelMetadataRead_) {
    modelMetadataRead_ = true;
    const ASSimpleContainer* model = CurrentModelFile();
    auto metadata = std::make_unique<CFMetaData>();
    if (model != nullptr && ExtractDataModel(model->getAbsolutePath(), *metadata)) {
      modelMetadata_ = std::move(metadata);
    }
  }
  return modelMetadata_.get();
}

bool TSRunner::SaveResultData() {
  if (!outputData || !outputDataModel) return false;
  return ::SaveResultData(*runner, *outputData, *outputDataModel, tsdp->spec,
                          AggregationChecked(tsdp->spec, *tsdp->jsonFile), *dataSource);
}
