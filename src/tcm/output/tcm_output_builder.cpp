// This file contains TCMOutputBuilder: the output flows of TCM MODEL and TCM APPLY and the
// drawing of their archives.
#include "tcm/output/tcm_output_builder.h"

#include <utility>

#include "host/bridge/as_trace.h"
#include "host/output/debug_display.h"
#include "tcm/flows/flow_scripts.h"
#include "tcm/output/output_confs.h"
#include "tcm/stages/tsdp_runner.h"

TCMOutputBuilder::TCMOutputBuilder(TSDPRunner& tsdp, TSRunner& ts)
    : OutputPlan(tsdp.spec), tsdpRunner(&tsdp), tsRunner(&ts) {}

TCMOutputBuilder::~TCMOutputBuilder() = default;

const std::vector<SeriesKey>& TCMOutputBuilder::SingleSeries() {
  if (!singleSeriesBuilt_) {
    singleSeriesBuilt_ = true;
    std::vector<std::string> dimensions;
    for (const QuorVarName& dimension : spec->dimensions) dimensions.push_back(dimension.GetName());
    const std::vector<SeriesKey>& keys = tsRunner->SeriesFilterKeys();
    // The data model is read only when a key has a value to multiply out.
    const CFMetaData* metadata = nullptr;
    for (const SeriesKey& key : keys) {
      for (std::size_t d = 0; d < dimensions.size() && d < key.size(); ++d) {
        if (key[d].empty() && metadata == nullptr) metadata = tsRunner->ModelMetadata();
      }
    }
    singleSeries_ = SelectSingleSeries(keys, metadata, dimensions);
  }
  return singleSeries_;
}

const std::vector<SeriesKey>& TCMOutputBuilder::DetailTargets() {
  if (!detailTargetsBuilt_) {
    detailTargetsBuilt_ = true;
    const std::vector<SeriesKey>& single = SingleSeries();
    // With all places taken the ranking is not needed, and not asked of the engine.
    if (single.size() < kMaxDetailSeries)
      detailTargets_ = SelectDetailTargets(tsRunner->RankedTargets(), single);
  }
  return detailTargets_;
}

std::string TCMOutputBuilder::ModelFilePath() const {
  if (spec->commandKind() == 1 && spec->buildOptions.reestimate && tsRunner->newModelFile)
    return tsRunner->newModelFile->getAbsolutePath();
  if (tsRunner->modelFile) return tsRunner->modelFile->getAbsolutePath();
  return {};
}

OutputFlowInputs TCMOutputBuilder::ModelFlowInputs(bool seriesFlow) const {
  OutputFlowInputs inputs;
  if (spec->commandKind() != 2 && spec->transformations && tsdpRunner->qualityFile)
    inputs.qualityPath = tsdpRunner->qualityFile->getAbsolutePath();
  inputs.modelPath = ModelFilePath();
  if (seriesFlow) {
    if (spec->needsRootCause()) {
      const ASSimpleContainer* outliers =
          tsRunner->rcaOutlierFile ? tsRunner->rcaOutlierFile.get() : tsRunner->outlierFile.get();
      inputs.outlierPath = outliers ? outliers->getAbsolutePath() : std::string();
    }
  } else if (spec->needsOutlierDetection()) {
    inputs.outlierPath =
        tsRunner->outlierFile ? tsRunner->outlierFile->getAbsolutePath() : std::string();
  }
  return inputs;
}

template <typename Compose>
bool TCMOutputBuilder::RunOutputFlow(std::unique_ptr<ASSimpleContainer>& slot,
                                     const std::string& trace, Compose compose,
                                     bool keepOnFailure) {
  auto container = std::make_unique<ASSimpleContainer>("tcmStatJson", "");
  const std::string script = compose(*container);
  traceASLFile(script, "TCM", trace);
  const bool result = tsRunner->RunFlow(script, false);
  if (result || keepOnFailure) slot = std::move(container);
  return result;
}

bool TCMOutputBuilder::RunOutputFlows(ASDebug* debugList) {
  const int kind = spec->commandKind();
  if (kind != 0 && kind != 1) return true;  // the scenario output has its own flows
  const std::string& reader = tsRunner->OutputReaderBlock();
  const std::string sortConfig = SortConfigText(*spec);
  auto line = [debugList](const char* text) {
    if (debugList != nullptr) debugList->addOutputLine(text);
  };

  bool result = true;
  if (!spec->seriesFilters.empty()) {
    const std::string conf = OutputConfText(*spec, SeriesArtifacts(*spec, SingleSeries()), false);
    const OutputFlowInputs inputs = ModelFlowInputs(true);
    result = RunOutputFlow(
        seriesContainer, "OUTPUT_SERIESFILTER",
        [&](const ASSimpleContainer& statJson) {
          return SeriesOutputFlowScript(reader, conf, inputs, sortConfig, statJson);
        },
        true);
    line("Generated Series Output ASL");
  }
  if (result) {
    const std::string conf = OutputConfText(
        *spec, TargetsArtifacts(*spec, DetailTargets(), SingleSeries().size()), false);
    const OutputFlowInputs inputs = ModelFlowInputs(false);
    result = RunOutputFlow(
        targetsContainer, "OUTPUT_TARGETS",
        [&](const ASSimpleContainer& statJson) {
          return TargetsOutputFlowScript(reader, conf, inputs, sortConfig, statJson);
        },
        true);
    line("Generated Targets Output ASL");
  }
  if (result && TargetsAskOutlierTable(*spec)) {
    // Nothing reads this archive; the flow runs for what the engine checks on the way.
    const std::string conf = OutputConfText(*spec, OutlierTableArtifacts(), true);
    const OutputFlowInputs inputs = ModelFlowInputs(false);
    result = RunOutputFlow(
        outlierTableContainer, "OUTPUT_OUTLIER_TABLE",
        [&](const ASSimpleContainer& statJson) {
          return OutlierTableOutputFlowScript(reader, conf, inputs, sortConfig, statJson);
        },
        true);
    line("Generated Outlier Table ASL");
  }
  if (result && !tsRunner->rootCauseRecords.empty()) {
    const std::string conf = OutputConfText(*spec, RootCauseArtifacts(), false);
    const std::string modelPath = ModelFilePath();
    const auto& records = tsRunner->rootCauseRecords;
    for (std::size_t i = 0; result && i < records.size(); ++i) {
      const ASSimpleContainer* archive = records[i].rootCauseFile.get();
      std::unique_ptr<ASSimpleContainer> slot;
      result = RunOutputFlow(
          slot, "OUTPUT_RCA_" + std::to_string(i + 1),
          [&](const ASSimpleContainer& statJson) {
            if (archive == nullptr) return std::string();  // its root cause flow never ran
            return RootCauseOutputFlowScript(reader, conf, modelPath, *archive, sortConfig,
                                             statJson);
          },
          false);
      if (result) rcaContainers.push_back(std::move(slot));
    }
    line("Generated RCA Output ASL");
  }
  return result;
}

bool TCMOutputBuilder::GenerateOutput(RvProcedure* procedure,
                                      const ProcedureDataSource* dataSource,
                                      FacSTDictionary& dictionary, const ValidSpec& commandSpec,
                                      ASDebug* debugList) {
  this->spec = &commandSpec;
  const int kind = commandSpec.commandKind();
  if (kind != 0 && kind != 1) {
    // No scenario result has been drawn: nothing to show, and no failure.
    RunOutputFlows(debugList);
    if (debugList != nullptr) debugList->addOutputLine("Converted JSON to Output");
    return true;
  }
  ModelOutputArchives archives;
  archives.flowsSucceeded = RunOutputFlows(debugList);
  if (dataSource != nullptr) ResolveDimensionVariables(*dataSource);
  archives.targets = targetsContainer.get();
  archives.series = seriesContainer.get();
  for (const auto& container : rcaContainers) archives.rootCauses.push_back(container.get());
  for (const OutlierRecord& record : tsRunner->rootCauseRecords)
    archives.rootCauseSeries.push_back(record.series);
  archives.singleSeries = &SingleSeries();
  return DrawModelOutput(archives, procedure, dataSource, dictionary, debugList);
}
