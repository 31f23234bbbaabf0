// This file contains the composers of the flow scripts. Blanks, newlines and empty lines are part
// of the engine's accepted forms, so every piece is spelled out literally.
#include "tcm/flows/flow_scripts.h"

#include <sstream>
#include <utility>

#include "tcm/flows/ts_json_conf.h"

namespace {

const char* const kModelInputName = "InputTCMXML";

bool IsIso(const ValidSpec& spec) {
  return spec.timeType == "ISO8601";
}

// The common shape of the outlier, root cause and scenario flows: configuration, input, output,
// the prepared reader with an empty line after it, then one stage behind the reader.
std::string AnalysisFlowScript(FlowBlocks& blocks, const std::string& confPrefix,
                               const std::string& conf, const std::string& inPrefix,
                               const std::string& outPrefix, const ASSimpleContainer& modelFile,
                               const ASSimpleContainer& resultFile, const std::string& stage) {
  if (conf.empty())
    return {};
  std::ostringstream script;
  script << confPrefix << conf << "\n";
  script << inPrefix << TSJsonConf::InputConf(modelFile, kModelInputName) << "\n";
  script << outPrefix << TSJsonConf::OutputConf(resultFile) << "\n";
  script << blocks.PreparedReaderBlock() << "\n";
  script << "read(readerConf)"
         << "->" << stage;
  return script.str();
}

// Every output component flow has this one shape; only its inputs differ.
std::string OutputComponentScript(
    const std::string& readerBlock, const std::string& outputConf,
    const std::vector<std::pair<std::string, std::string>>& inputs,
    const std::string& sortConfig, const ASSimpleContainer& statJson) {
  if (readerBlock.empty() || outputConf.empty() || sortConfig.empty())
    return {};
  std::ostringstream script;
  script << readerBlock;
  script << "val outputConf = " << outputConf << "\n";
  script << "val inputCons = " << TSJsonConf::InputConfList(inputs) << "\n";
  script << "val outputCons = " << TSJsonConf::OutputConf(statJson) << "\n";
  script << "val sortConfig = " << sortConfig << "\n";
  script << "read(readerConf)"
         << "->"
         << "sort(sortConfig)"
         << "->"
         << "OutputComponent:TCMOutputComponent(outputConf,inputCons,outputCons)";
  return script.str();
}

std::vector<std::pair<std::string, std::string>> ModelOutputInputs(const OutputFlowInputs& inputs) {
  std::vector<std::pair<std::string, std::string>> pairs;
  if (inputs.qualityPath)
    pairs.emplace_back("TSDP", *inputs.qualityPath);
  pairs.emplace_back("TCM", inputs.modelPath);
  if (inputs.outlierPath)
    pairs.emplace_back("TCMOD", *inputs.outlierPath);
  return pairs;
}

// The two scenario scoring flows differ only in names and in the writer.
std::string ScenarioScoringScript(FlowBlocks& blocks, const std::string& confPrefix,
                                  const std::string& conf, const std::string& inPrefix,
                                  const std::string& writerPrefix, const std::string& writer,
                                  const ASSimpleContainer& modelFile, const std::string& stage,
                                  const std::string& sink) {
  std::ostringstream script;
  script << blocks.RtsdpBlock(true) << "\n";
  script << blocks.PreparedReaderBlock();
  script << confPrefix << conf << "\n";
  script << inPrefix << TSJsonConf::InputConf(modelFile, kModelInputName) << "\n";
  script << writerPrefix << writer << "\n";
  script << "read(readerConf)"
         << "->" << stage << blocks.RtsdpStage() << sink << "\n";
  return script.str();
}

} // namespace

std::string ConversionFlowScript(FlowBlocks& blocks, const std::string& iteratorName) {
  const ValidSpec& spec = blocks.spec();
  const bool iso = IsIso(spec);
  std::ostringstream script;
  script << "val readerConf = " << TSJsonConf::DataSourceConf(iteratorName) << "\n";
  if (iso)
    script << TSJsonConf::ToTSBlock(spec.timeVars.timeVar) << "\n";
  script << "val writerConf = "
         << TSJsonConf::WriterConf(*blocks.files().convertedData,
                                   *blocks.files().convertedDataModel, "asbf")
         << "\n";
  script << "read(readerConf)";
  if (iso)
    script << "->"
           << "reclassifyField(_,toTS)";
  script << "->write(writerConf)";
  return script.str();
}

std::string DescriptiveFlowScript(FlowBlocks& blocks) {
  return blocks.ConvertedReaderBlock() + "read(readerConf)";
}

std::string PreparationFlowScript(FlowBlocks& blocks, const std::string& tsdpConf,
                                  const std::vector<const ASSimpleContainer*>& outputs) {
  std::ostringstream script;
  script << blocks.ConvertedReaderBlock();
  script << "val tsdpOutConf = " << TSJsonConf::OutputConfList(outputs) << "\n";
  script << "val tsdpConf = " << tsdpConf << "\n";
  script << "val writerConf = "
         << TSJsonConf::WriterConf(*blocks.files().preparedData, *blocks.files().preparedDataModel,
                                   "asbf")
         << "\n";
  script << "read(readerConf)->tsdp:tsdp(tsdpConf,_,tsdpOutConf)->write(writerConf)";
  return script.str();
}

std::string ConvertorFlowScript(const std::string& apiConf, const ASSimpleContainer& input,
                                const ASSimpleContainer& output) {
  std::ostringstream script;
  script << "val inConf = " << TSJsonConf::InputConf(input) << "\n";
  script << "val outConf = " << TSJsonConf::OutputConf(output) << "\n";
  script << "val apiConf = " << apiConf << "\n";
  script << "tsdp:convertor(apiConf,inConf,outConf)";
  return script.str();
}

std::string ModelBuildFlowScript(FlowBlocks& blocks, const std::string& tcmModelConfig,
                                 const ASSimpleContainer& modelFile) {
  std::ostringstream script;
  script << "val tcmModelConfig =" << tcmModelConfig << "\n";
  script << "val tcmModelInConf =" << TSJsonConf::InputConf(*blocks.files().jsonFile) << "\n";
  script << "val tcmModelOutConf =" << TSJsonConf::OutputConf(modelFile) << "\n";
  script << blocks.PreparedReaderBlock() << "\n";
  script << "read(readerConf)"
         << "->"
         << "tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)";
  return script.str();
}

std::string SummaryFlowScript(const std::string& summaryConf, const ASSimpleContainer& modelFile,
                              const ASSimpleContainer& summaryFile) {
  std::ostringstream script;
  script << "val summaryConf = " << summaryConf << "\n";
  script << "val inConf = " << TSJsonConf::InputConf(modelFile, kModelInputName) << "\n";
  script << "val outConf =" << TSJsonConf::OutputConf(summaryFile) << "\n";
  script << "tcm:summary(summaryConf, inConf, outConf)";
  return script.str();
}

std::string ReverseDataFlowScript(FlowBlocks& blocks, const ASSimpleContainer& outputData,
                                  const ASSimpleContainer& outputDataModel) {
  std::ostringstream script;
  script << blocks.RtsdpBlock(false) << "\n";
  script << blocks.PreparedReaderBlock() << "\n";
  script << "val dataWriterConf = " << TSJsonConf::WriterConf(outputData, outputDataModel, "asbf")
         << "\n";
  script << "read(readerConf)"
         << "->" << blocks.RtsdpStage() << "->"
         << "write(dataWriterConf)";
  return script.str();
}

std::string ScoringFlowScript(FlowBlocks& blocks, const std::string& scoreConf, bool reestimate,
                              bool outputPass, const ScoringFlowFiles& files) {
  if (scoreConf.empty() || files.modelFile == nullptr)
    return {};
  if (reestimate && files.newModelFile == nullptr)
    return {};
  if (!reestimate && (files.outputData == nullptr || files.outputDataModel == nullptr))
    return {};
  const ValidSpec& spec = blocks.spec();
  // Text times go back to text only on the pass whose data is saved.
  const bool toStr = IsIso(spec) && !reestimate && !outputPass;

  std::ostringstream script;
  script << "val scoreConf = " << scoreConf << "\n";
  if (!reestimate) {
    script << "val dataWriterConf = "
           << TSJsonConf::WriterConf(*files.outputData, *files.outputDataModel, "asbf") << "\n";
  }
  script << "val scoreInConf = ";
  if (reestimate) {
    script << TSJsonConf::InputConfList({{"JSON", blocks.files().jsonFile->getAbsolutePath()},
                                         {kModelInputName, files.modelFile->getAbsolutePath()}});
  } else {
    script << TSJsonConf::InputConf(*files.modelFile, kModelInputName);
  }
  script << "\n";
  script << blocks.RtsdpBlock(false) << "\n";
  script << blocks.PreparedReaderBlock() << "\n";
  if (toStr)
    script << TSJsonConf::ToStrBlock(spec.timeVars.timeVar) << "\n";
  if (reestimate) {
    script << "val scoreOutConf = " << TSJsonConf::ExportConfText(*files.newModelFile) << "\n";
  }
  script << "read(readerConf)"
         << "->";
  if (reestimate) {
    script << "tcm:score(scoreConf, scoreInConf, scoreOutConf)";
    return script.str();
  }
  script << "tcm:score(scoreConf, scoreInConf,_)"
         << "->" << blocks.RtsdpStage();
  if (toStr)
    script << "->"
           << "reclassifyField(_,toStr)";
  script << "->"
         << "write(dataWriterConf)";
  return script.str();
}

std::string OutlierFlowScript(FlowBlocks& blocks, const std::string& tcmODConf,
                              const ASSimpleContainer& modelFile,
                              const ASSimpleContainer& resultFile) {
  return AnalysisFlowScript(blocks, "val tcmODConf = ", tcmODConf,
                            "val ODInCon = ", "val ODOutCon =", modelFile, resultFile,
                            "tcm:od(tcmODConf, ODInCon, ODOutCon)");
}

std::string RootCauseFlowScript(FlowBlocks& blocks, const std::string& tcmRCAConf,
                                const ASSimpleContainer& modelFile,
                                const ASSimpleContainer& resultFile) {
  return AnalysisFlowScript(blocks, "val tcmRCAConf = ", tcmRCAConf,
                            "val RCAInCon = ", "val RCAOutCon =", modelFile, resultFile,
                            "tcm:rca(tcmRCAConf, RCAInCon, RCAOutCon)");
}

std::string ScenarioFlowScript(FlowBlocks& blocks, const std::string& tcmSAConf,
                               const ASSimpleContainer& modelFile,
                               const ASSimpleContainer& resultFile) {
  return AnalysisFlowScript(blocks, "val tcmSAConf = ", tcmSAConf,
                            "val SAInCon = ", "val SAOutCon =", modelFile, resultFile,
                            "tcm:sa(tcmSAConf, SAInCon, SAOutCon)");
}

std::string ScenarioScoreFlowScript(FlowBlocks& blocks, const std::string& tcmScoreConf,
                                    const ASSimpleContainer& modelFile,
                                    const ASSimpleContainer& data,
                                    const ASSimpleContainer& dataModel, bool outputPass) {
  const std::string writer = outputPass ? TSJsonConf::WriterConfAsbf(data, dataModel, "asbf")
                                        : TSJsonConf::WriterConf(data, dataModel, "asbf");
  return ScenarioScoringScript(blocks, "val tcmScoreConf = ", tcmScoreConf,
                               "val tcmScoreInConf = ", "val tcmDataWriterConf = ", writer,
                               modelFile, "tcm:score(tcmScoreConf, tcmScoreInConf,_)->",
                               "->write(tcmDataWriterConf)");
}

std::string ArScoreFlowScript(FlowBlocks& blocks, const std::string& arScoreConf,
                              const ASSimpleContainer& modelFile, const ASSimpleContainer& data,
                              const ASSimpleContainer& dataModel) {
  return ScenarioScoringScript(
      blocks, "val arScoreConf = ", arScoreConf, "val arSoreInConf = ", "val arDataWriterConf = ",
      TSJsonConf::WriterConf(data, dataModel, "asbf"), modelFile,
      "tcm:ar(arScoreConf, arSoreInConf,_)->", "->write(arDataWriterConf)");
}

std::string ScenarioOutputFlowScript(FlowBlocks& blocks, const ASSimpleContainer& outputData,
                                     const ASSimpleContainer& outputDataModel) {
  std::ostringstream script;
  script << blocks.PreparedReaderBlock() << blocks.RtsdpBlock(true) << "\n";
  script << "val dataWriterConf = "
         << TSJsonConf::WriterConfAsbf(outputData, outputDataModel, "asbf") << "\n";
  script << "read(readerConf)"
         << "->" << blocks.RtsdpStage() << "->"
         << "write(dataWriterConf)";
  return script.str();
}

std::string ScenarioMergedOutputFlowScript(const ASSimpleContainer& mergedData,
                                           const ASSimpleContainer& mergedDataModel,
                                           const ASSimpleContainer& outputData,
                                           const ASSimpleContainer& outputDataModel,
                                           const std::vector<std::string>& savedFields) {
  std::ostringstream script;
  script << TSJsonConf::ReaderBlock(mergedData.getAbsolutePath(), mergedDataModel.getAbsolutePath(),
                                    "");
  script << "val dataWriterConf = "
         << TSJsonConf::WriterConfAsbf(outputData, outputDataModel, "asbf") << "\n";
  script << "read(readerConf)"
         << "->";
  for (const std::string& field : savedFields)
    script << SavedFieldFragment(field);
  script << "write(dataWriterConf)";
  return script.str();
}

std::string SavedFieldFragment(const std::string& field) {
  return "reclassifyField(_,ctx => x => (\"" + field +
         "\", match{case x.\"$FutureFlag\" == 1 => x." + field + "_predicted case _ => x." + field +
         "}))->";
}

std::string MergeFlowScript(FlowBlocks& blocks, const std::string& dataPath,
                            const std::string& modelPath, const ASSimpleContainer& mergedData,
                            const ASSimpleContainer& mergedDataModel) {
  std::ostringstream script;
  script << TSJsonConf::ReaderBlock(dataPath, modelPath, "readTcmConf");
  script << blocks.RtsdpBlock(true) << "\n";
  script << "val dataWriterConf = " << TSJsonConf::WriterConf(mergedData, mergedDataModel, "asbf")
         << "\n";
  script << "read(readTcmConf)"
         << "->" << blocks.RtsdpStage() << "->"
         << "write(dataWriterConf)";
  return script.str();
}

std::string SeriesOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                   const OutputFlowInputs& inputs, const std::string& sortConfig,
                                   const ASSimpleContainer& statJson) {
  return OutputComponentScript(readerBlock, outputConf, ModelOutputInputs(inputs), sortConfig,
                               statJson);
}

std::string TargetsOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                    const OutputFlowInputs& inputs, const std::string& sortConfig,
                                    const ASSimpleContainer& statJson) {
  return OutputComponentScript(readerBlock, outputConf, ModelOutputInputs(inputs), sortConfig,
                               statJson);
}

std::string OutlierTableOutputFlowScript(const std::string& readerBlock,
                                         const std::string& outputConf,
                                         const OutputFlowInputs& inputs,
                                         const std::string& sortConfig,
                                         const ASSimpleContainer& statJson) {
  return OutputComponentScript(readerBlock, outputConf, ModelOutputInputs(inputs), sortConfig,
                               statJson);
}

std::string RootCauseOutputFlowScript(const std::string& readerBlock, const std::string& outputConf,
                                      const std::string& modelPath,
                                      const ASSimpleContainer& rootCauseFile,
                                      const std::string& sortConfig,
                                      const ASSimpleContainer& statJson) {
  return OutputComponentScript(readerBlock, outputConf,
                               {{"TCM", modelPath}, {"TCMRCA", rootCauseFile.getAbsolutePath()}},
                               sortConfig, statJson);
}

std::string ScenarioStatJsonFlowScript(const std::string& readerBlock,
                                       const std::string& outputConf, const std::string& modelPath,
                                       const ASSimpleContainer& scenarioFile,
                                       const std::string& sortConfig,
                                       const ASSimpleContainer& statJson) {
  return OutputComponentScript(readerBlock, outputConf,
                               {{"TCM", modelPath}, {"TCMSA", scenarioFile.getAbsolutePath()}},
                               sortConfig, statJson);
}
