// This file contains the composers of the flow scripts: each gives the exact text of one flow
// from its configuration texts and job files. An empty script means nothing to run.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "tcm/flows/flow_blocks.h"

// TimeStrConversion: the active dataset stream `iteratorName` into the converted pair; with the
// time type ISO8601 the time field is turned into timestamps on the way.
std::string ConversionFlowScript(FlowBlocks& blocks, const std::string& iteratorName);

// The descriptive job's flow over the converted pair.
std::string DescriptiveFlowScript(FlowBlocks& blocks);

// TSDP: the converted pair through tsdp:tsdp into the prepared pair; `outputs` are the archives
// of tsdpOutConf in order (jsonFile, then qualityFile when asked).
std::string PreparationFlowScript(FlowBlocks& blocks, const std::string& tsdpConf,
                                  const std::vector<const ASSimpleContainer*>& outputs);

// CalculateTimeVar: the convertor stage from `input` (the model system) into `output`.
std::string ConvertorFlowScript(const std::string& apiConf, const ASSimpleContainer& input,
                                const ASSimpleContainer& output);

// MODELING: the prepared series and jsonFile through tcm:tcm into `modelFile`.
std::string ModelBuildFlowScript(FlowBlocks& blocks, const std::string& tcmModelConfig,
                                 const ASSimpleContainer& modelFile);

// GET_TOPMODELS: tcm:summary over `modelFile` into `summaryFile`.
std::string SummaryFlowScript(const std::string& summaryConf, const ASSimpleContainer& modelFile,
                              const ASSimpleContainer& summaryFile);

// DATA_FOR_SAVE, DATA_FOR_OUTPUT: the prepared series back to the shape of the input, written
// to the output pair.
std::string ReverseDataFlowScript(FlowBlocks& blocks, const ASSimpleContainer& outputData,
                                  const ASSimpleContainer& outputDataModel);

// What a scoring flow reads and writes. `outputData` and `outputDataModel` are needed unless
// re-estimating; `newModelFile` only then.
struct ScoringFlowFiles {
  const ASSimpleContainer* modelFile = nullptr;
  const ASSimpleContainer* outputData = nullptr;
  const ASSimpleContainer* outputDataModel = nullptr;
  const ASSimpleContainer* newModelFile = nullptr;
};

// SCORING, SCORING_OUTPUT, NRESIDUAL_OUTPUT, DO_REESTIMATE. An empty `scoreConf`, or a file the
// form needs that is missing, gives the empty script.
std::string ScoringFlowScript(FlowBlocks& blocks, const std::string& scoreConf, bool reestimate,
                              bool outputPass, const ScoringFlowFiles& files);

// OD, OD_FOR_RCA; RCA_FOR_<outlier>; the scenario flow. Each reads the prepared series and the
// model system `modelFile` (under "InputTCMXML") and writes `resultFile`. An empty configuration
// gives the empty script.
std::string OutlierFlowScript(FlowBlocks& blocks, const std::string& tcmODConf,
                              const ASSimpleContainer& modelFile,
                              const ASSimpleContainer& resultFile);
std::string RootCauseFlowScript(FlowBlocks& blocks, const std::string& tcmRCAConf,
                                const ASSimpleContainer& modelFile,
                                const ASSimpleContainer& resultFile);
std::string ScenarioFlowScript(FlowBlocks& blocks, const std::string& tcmSAConf,
                               const ASSimpleContainer& modelFile,
                               const ASSimpleContainer& resultFile);

// TCM_SCORE_EXPRESSION, and with `outputPass` TCM_SCORE_OUTPUT (data written under ".asbf"):
// the scenario's scoring into `data` and `dataModel`. Ends in "\n".
std::string ScenarioScoreFlowScript(FlowBlocks& blocks, const std::string& tcmScoreConf,
                                    const ASSimpleContainer& modelFile,
                                    const ASSimpleContainer& data,
                                    const ASSimpleContainer& dataModel, bool outputPass);
// AR_SCORE: autoregressive scoring of the scenario into `data` and `dataModel`. Ends in "\n".
std::string ArScoreFlowScript(FlowBlocks& blocks, const std::string& arScoreConf,
                              const ASSimpleContainer& modelFile, const ASSimpleContainer& data,
                              const ASSimpleContainer& dataModel);

// OUTPUT_DATA without scoring: the prepared series back to the input's shape, into the output
// pair (data under ".asbf").
std::string ScenarioOutputFlowScript(FlowBlocks& blocks, const ASSimpleContainer& outputData,
                                     const ASSimpleContainer& outputDataModel);
// OUTPUT_DATA after scoring: the merged pair, each saved field taking its prediction on future
// rows, into the output pair (data under ".asbf").
std::string ScenarioMergedOutputFlowScript(const ASSimpleContainer& mergedData,
                                           const ASSimpleContainer& mergedDataModel,
                                           const ASSimpleContainer& outputData,
                                           const ASSimpleContainer& outputDataModel,
                                           const std::vector<std::string>& savedFields);
// The stage, with its trailing arrow, that puts F_predicted into F on future rows.
std::string SavedFieldFragment(const std::string& field);

// MERGE_RTSDP: a scored pair at `dataPath` and `modelPath` back to the input's shape, into the
// merged pair.
std::string MergeFlowScript(FlowBlocks& blocks, const std::string& dataPath,
                            const std::string& modelPath, const ASSimpleContainer& mergedData,
                            const ASSimpleContainer& mergedDataModel);

// The files that an output component flow of the model commands reads, by logical name: "TSDP"
// (the quality report) first when given, "TCM" always (an empty path goes to the engine as it
// stands), then "TCMOD" when given.
struct OutputFlowInputs {
  std::optional<std::string> qualityPath;
  std::string modelPath;
  std::optional<std::string> outlierPath;
};

// The output component flows: the reader block of the output pair, outputConf, inputCons,
// outputCons on `statJson` (the archive that receives "statJson.json"), sortConfig, then the
// pipeline read, sort, TCMOutputComponent. An empty reader block or configuration gives the
// empty script. OUTPUT_SERIESFILTER, OUTPUT_TARGETS and OUTPUT_OUTLIER_TABLE:
std::string SeriesOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                   const OutputFlowInputs& inputs, const std::string& sortConfig,
                                   const ASSimpleContainer& statJson);
std::string TargetsOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                    const OutputFlowInputs& inputs, const std::string& sortConfig,
                                    const ASSimpleContainer& statJson);
std::string OutlierTableOutputFlowScript(const std::string& readerBlock,
                                         const std::string& outputConf,
                                         const OutputFlowInputs& inputs,
                                         const std::string& sortConfig,
                                         const ASSimpleContainer& statJson);
// OUTPUT_RCA_<i>: inputs "TCM" and "TCMRCA", the archive of that root cause.
std::string RootCauseOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                      const std::string& modelPath,
                                      const ASSimpleContainer& rootCauseFile,
                                      const std::string& sortConfig,
                                      const ASSimpleContainer& statJson);
// TCMANALYSIS_OUTPUT: inputs "TCM" and "TCMSA", the scenario's results archive.
std::string ScenarioStatJsonFlowScript(const std::string& readerBlock,
                                       const std::string& outputConf, const std::string& modelPath,
                                       const ASSimpleContainer& scenarioFile,
                                       const std::string& sortConfig,
                                       const ASSimpleContainer& statJson);
