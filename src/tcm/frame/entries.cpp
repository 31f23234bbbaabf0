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
#include "tcm/analysis/check_prepared_data.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/apply/check_prepared_data.h"
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

// The active dataset as the engine reads it: the data model of the variables the command uses,
// and the iterator over it, which the stop processor can cancel.
struct ActiveData {
  ActiveData(const TCMParserShell& parser, ProcedureDataSource& dataSource,
             ASStopProcessor& stopProcessor)
      : indexList(parser.AnalysisVariableIndices()),
        dataModel(&dataSource, true, true, false),
        iterator(Narrowed(dataModel, indexList), nullptr) {
    iterator.SetName("_activeTCMDataset_");
    iterator.SetStopProcessor(&stopProcessor);
  }
  // The data model cut to the command's variables, before the iterator is made on it.
  static ASDataModel& Narrowed(ASDataModel& model, const std::vector<int32_t>& indexes) {
    model.UpdateAnalysMetadata(std::vector<int>(indexes.begin(), indexes.end()));
    return model;
  }
  const std::vector<int32_t> indexList;
  ASDataModel dataModel;
  ASRawDataIterator iterator;
};

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

// The frame of TCM APPLY and TCM ANALYSIS. Both take their data settings from a saved model
// system, run the data gates as one chain and print no debug lines; `checkData` is the
// command's check of the data (null while the command has none, and it then stops after
// reading), `notes` whether the notes follow the output. `notBuilt` names the error of a command
// whose runs do not exist yet: it stops there after its checks, unless only checks were asked.
template <typename Spec>
using DataCheck = bool (*)(Spec&, ASRunner&, TSDPRunner&, const ProcedureDataSource&,
                           ParserMessage&, QUORMBConverter*);

template <typename Spec, typename Parser>
void RunSavedModelCommand(const char* command, const char* title,
                          DataCheck<Spec> checkData, bool notes,
                          const char* notBuilt = nullptr) {
  RvProcedure procedure(title, 10);
  FacSTDictionary* dictionary = MakeDictionary(title);
  QUOR_TokenSequence tokens(true);
  ProcedureDataSource dataSource;
  Spec spec;
  CommandContext context;
  context.Fill(command, title);
  ASRunner runner(procedure);
  runner.prepareActiveDS(dataSource, true, true);
  runner.resetJNI();
  ASStopProcessor stopProcessor(0.0);
  Parser parser(tokens, &spec, &context, &dataSource);
  BEPesRepos::BEPesClear();
  QUORMBConverter* converter = QUORMBConverterNew_A(0);
  bool completed = false;

  if (parser.ParseCommand() && checkData != nullptr) {
    ActiveData active(parser, dataSource, stopProcessor);
    ASRawDataIterator& iterator = active.iterator;
    TSDPRunner tsdpRunner(spec, runner, iterator, spec.modelSettingsJson.c_str());
    const bool checked =
        tsdpRunner.ConvertTimeStrings() &&
        checkData(spec, runner, tsdpRunner, dataSource, context.GetParserMessage(), converter);
    // `tcm check` stops after the data checks.
    if (checked && ChecksOnly()) completed = true;
    if (checked && !ChecksOnly() && notBuilt != nullptr)
      context.GetParserMessage().SimpleError(notBuilt);
    if (checked && !ChecksOnly() && notBuilt == nullptr && tsdpRunner.RunTSDP()) {
      TSRunner tsRunner(tsdpRunner, runner, dataSource, context, nullptr);
      const bool modeled = tsRunner.Run();
      completed = tsRunner.nothingSelected;
      if (modeled) {
        TCMOutputBuilder output(tsdpRunner, tsRunner);
        const bool shown =
            output.GenerateOutput(&procedure, &dataSource, *dictionary, spec, nullptr);
        // A new model system is worth a note only when this command made it.
        if (shown && notes) {
          AddModelNotes(spec, spec.buildOptions.reestimate && !spec.modelSystemPath.empty());
        }
        completed = true;
      }
    }
  }

  if (converter != nullptr) QUORMBConverterDelete_A(converter);
  BEPesRepos::BEPesCheckError();
  if (!completed) host::CommandStopped();
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
    ActiveData active(parser, dataSource, stopProcessor);
    ASRawDataIterator& iterator = active.iterator;
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
  RunSavedModelCommand<TCMApplySpec, TCMApplyParser>("TCM APPLY", kApplyTitle,
                                                      &CheckPreparedData, true);
}

extern "C" void TCMANLYS() {
  // The scenario runs are not built yet: the command is read and checked and goes no further.
  RunSavedModelCommand<TCMAnlySpec, TCMAnlyParser>("TCM ANALYSIS", kAnalysisTitle,
                                                    &CheckPreparedData, false,
                                                    "SCENARIO_RUNS_NOT_BUILT_KEY");
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
