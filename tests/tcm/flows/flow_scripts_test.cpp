// Golden tests of the flow scripts: every flow composed from settings and job files made here,
// compared byte for byte with its required text.
#include "tcm/flows/flow_scripts.h"

#include <string>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "tcm/flows/flow_blocks.h"
#include "tcm/flows/ts_json_conf.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/tcm_test_util.h"

namespace {

// Pieces of the required texts for the files below, written out once.
const std::string kPreparedReader =
    "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/prep.xml\",\"locations\":"
    "[{\"path\":\"file:////run/prep\",\"parser\":{\"name\":\"asbf\"}}]}}\n";
const std::string kConvertedReader =
    "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/conv.xml\",\"locations\":"
    "[{\"path\":\"file:////run/conv\",\"parser\":{\"name\":\"asbf\"}}]}}\n";
const std::string kRtsdpNoFlag =
    "val rtsdpConf = {\"exportFutureFlag\":false}\n"
    "val rtsdpInConf = [{\"name\":\"JSON\",\"uri\":\"file:///run/tsdp.zip\"}]\n";
const std::string kRtsdpFlag =
    "val rtsdpConf = {\"exportFutureFlag\":true}\n"
    "val rtsdpInConf = [{\"name\":\"JSON\",\"uri\":\"file:///run/tsdp.zip\"}]\n";
const std::string kOutWriter = "{\"dataDestination\":\"file:////run/out\",\"dataModelDestination\":"
                               "\"file:////run/out.xml\",\"type\":\"asbf\"}";
const std::string kOutWriterAsbf =
    "{\"dataDestination\":\"file:////run/out.asbf\",\"dataModelDestination\":"
    "\"file:////run/out.xml\",\"type\":\"asbf\"}";
const std::string kModelIn = "[{\"name\":\"InputTCMXML\",\"uri\":\"file:///run/model.zip\"}]";

class FlowScripts : public ::testing::Test {
 protected:
  FlowScripts() {
    spec.timeType = "DATETIMEVAR";
    spec.timeVars.timeVar = "when";
    CFAppHost::getInstance().setLocale("en_US");
  }

  FlowBlocks MakeBlocks() {
    return FlowBlocks(spec, FlowFiles{&json_file, &converted_data, &converted_model, &prepared_data,
                                      &prepared_model});
  }

  TCMModelValidSpecs spec;
  ASSimpleContainer json_file{"JSON", "/run/tsdp.zip"};
  ASSimpleContainer quality_file{"TSDP_DataQuality", "/run/quality.zip"};
  ASSimpleContainer converted_data{"data", "/run/conv"};
  ASSimpleContainer converted_model{"dataModel", "/run/conv.xml"};
  ASSimpleContainer prepared_data{"data", "/run/prep"};
  ASSimpleContainer prepared_model{"dataModel", "/run/prep.xml"};
  ASSimpleContainer model_file{"TCMXML", "/run/model.zip"};
  ASSimpleContainer new_model_file{"TCMXML", "/run/new.zip"};
  ASSimpleContainer output_data{"outputdata", "/run/out"};
  ASSimpleContainer output_model{"outputdatamodel", "/run/out.xml"};
  ASSimpleContainer merged_data{"mergedData", "/run/merged"};
  ASSimpleContainer merged_model{"mergedDM", "/run/merged.xml"};
  ASSimpleContainer analysis_file{"TCMAnalysis", "/run/analysis.zip"};
};

TEST_F(FlowScripts, ConversionWithAndWithoutTimeStrings) {
  FlowBlocks plain = MakeBlocks();
  EXPECT_EQ(ConversionFlowScript(plain, "_activeTCMDataset_"),
            "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
            "val writerConf = {\"dataDestination\":\"file:////run/conv\",\"dataModelDestination\":"
            "\"file:////run/conv.xml\",\"type\":\"asbf\"}\n"
            "read(readerConf)->write(writerConf)");

  // ISO8601 times go through toTS; a blank in the name is left as it stands.
  spec.timeType = "ISO8601";
  spec.timeVars.timeVar = "order date";
  CFAppHost::getInstance().setLocale("fr_FR");
  FlowBlocks iso = MakeBlocks();
  EXPECT_EQ(ConversionFlowScript(iso, "_activeTCMDataset_"),
            "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
            "val toTS = ctx => x => (\"order date\", toTimestamp(x.order date, "
            "\"yyyy-MM-dd HH:mm:ss\", \"yyyy-MM-dd\", \"HH:mm:ss\", \"fr_FR\", "
            "date(1970,1,1)))\n"
            "val writerConf = {\"dataDestination\":\"file:////run/conv\",\"dataModelDestination\":"
            "\"file:////run/conv.xml\",\"type\":\"asbf\"}\n"
            "read(readerConf)->reclassifyField(_,toTS)->write(writerConf)");
}

TEST_F(FlowScripts, DescriptivePreparationAndConvertor) {
  FlowBlocks blocks = MakeBlocks();
  EXPECT_EQ(DescriptiveFlowScript(blocks), kConvertedReader + "read(readerConf)");

  const std::string tsdp_conf = "{\"encodeSeriesID\":true}";
  EXPECT_EQ(PreparationFlowScript(blocks, tsdp_conf, {&json_file, &quality_file}),
            kConvertedReader +
                "val tsdpOutConf = [{\"export\":true,\"name\":\"JSON\",\"uri\":"
                "\"file:////run/tsdp.zip\"},{\"export\":false,\"name\":\"TSDP_DataQuality\","
                "\"uri\":\"file:////run/quality.zip\"}]\n"
                "val tsdpConf = {\"encodeSeriesID\":true}\n"
                "val writerConf = {\"dataDestination\":\"file:////run/prep\","
                "\"dataModelDestination\":\"file:////run/prep.xml\",\"type\":\"asbf\"}\n"
                "read(readerConf)->tsdp:tsdp(tsdpConf,_,tsdpOutConf)->write(writerConf)");
  // Without the quality report the output list has one element.
  const std::string one = PreparationFlowScript(blocks, tsdp_conf, {&json_file});
  EXPECT_NE(one.find("val tsdpOutConf = [{\"export\":true,\"name\":\"JSON\",\"uri\":"
                     "\"file:////run/tsdp.zip\"}]\n"),
            std::string::npos);

  ASSimpleContainer in("JSON", "/models/m.zip");
  ASSimpleContainer out("JSON", "/run/points.zip");
  EXPECT_EQ(ConvertorFlowScript("{\"apiType\":\"NEWEST\"}", in, out),
            "val inConf = [{\"name\":\"JSON\",\"uri\":\"file:///models/m.zip\"}]\n"
            "val outConf = [{\"export\":true,\"name\":\"JSON\",\"uri\":"
            "\"file:///run/points.zip\"}]\n"
            "val apiConf = {\"apiType\":\"NEWEST\"}\n"
            "tsdp:convertor(apiConf,inConf,outConf)");
}

TEST_F(FlowScripts, ModelBuildAndSummary) {
  FlowBlocks blocks = MakeBlocks();
  EXPECT_EQ(ModelBuildFlowScript(blocks, "{\"maxLag\":5}", model_file),
            "val tcmModelConfig ={\"maxLag\":5}\n"
            "val tcmModelInConf =[{\"name\":\"JSON\",\"uri\":\"file:///run/tsdp.zip\"}]\n"
            "val tcmModelOutConf =[{\"export\":true,\"name\":\"TCMXML\",\"uri\":"
            "\"file:///run/model.zip\"}]\n" +
                kPreparedReader + "\n" +
                "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, tcmModelOutConf)");

  ASSimpleContainer summary("ModelsSummay", "/run/summary.zip");
  EXPECT_EQ(SummaryFlowScript("{\"topN\":10}", model_file, summary),
            "val summaryConf = {\"topN\":10}\n"
            "val inConf = " +
                kModelIn + "\n" +
                "val outConf =[{\"export\":true,\"name\":\"ModelsSummay\",\"uri\":"
                "\"file:///run/summary.zip\"}]\n"
                "tcm:summary(summaryConf, inConf, outConf)");
}

TEST_F(FlowScripts, ReverseDataAndTheRtsdpCache) {
  FlowBlocks blocks = MakeBlocks();
  const std::string reverse = kRtsdpNoFlag + "\n" + kPreparedReader + "\n" +
                              "val dataWriterConf = " + kOutWriter + "\n" +
                              "read(readerConf)->rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->"
                              "write(dataWriterConf)";
  EXPECT_EQ(ReverseDataFlowScript(blocks, output_data, output_model), reverse);
  // The first request decides the flag for the whole run, also for a flow that forces it.
  EXPECT_EQ(blocks.RtsdpBlock(true), kRtsdpNoFlag);
  ASSimpleContainer other_data("outputdata", "/run/out");
  EXPECT_EQ(ReverseDataFlowScript(blocks, other_data, output_model), reverse);

  // SAVE with FORECASTFLAG asks for the flag without forcing; a forced first request sets it.
  spec.saveEntries.push_back({"FORECASTFLAG", "Flag"});
  FlowBlocks saving = MakeBlocks();
  EXPECT_EQ(saving.RtsdpBlock(false), kRtsdpFlag);
  spec.saveEntries.clear();
  FlowBlocks forced = MakeBlocks();
  EXPECT_EQ(forced.RtsdpBlock(true), kRtsdpFlag);
  EXPECT_EQ(forced.RtsdpBlock(false), kRtsdpFlag);
  EXPECT_EQ(forced.RtsdpStage(), "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)");
}

TEST_F(FlowScripts, ScoringPassesAndReestimation) {
  const std::string conf = "{\"ciLevel\":0.95}";
  ScoringFlowFiles files{&model_file, &output_data, &output_model, nullptr};
  const std::string head = "val scoreConf = {\"ciLevel\":0.95}\n"
                           "val dataWriterConf = " +
                           kOutWriter + "\n" + "val scoreInConf = " + kModelIn + "\n" +
                           kRtsdpNoFlag + "\n" + kPreparedReader + "\n";
  const std::string plain = head + "read(readerConf)->tcm:score(scoreConf, scoreInConf,_)->"
                                   "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->write(dataWriterConf)";
  {
    FlowBlocks blocks = MakeBlocks();
    EXPECT_EQ(ScoringFlowScript(blocks, conf, false, false, files), plain);
    EXPECT_EQ(ScoringFlowScript(blocks, conf, false, true, files), plain);
    // An empty configuration ends the composition.
    EXPECT_EQ(ScoringFlowScript(blocks, "", false, false, files), "");
  }

  // ISO8601: the first pass turns times back into text, the output pass does not.
  spec.timeType = "ISO8601";
  spec.timeVars.timeVar = "stamp";
  FlowBlocks iso = MakeBlocks();
  EXPECT_EQ(ScoringFlowScript(iso, conf, false, false, files),
            head + "val toStr = ctx => x => (\"stamp\", format(x.stamp, \"yyyy-MM-dd HH:mm:ss\", "
                   "\"en_US\"))\n"
                   "read(readerConf)->tcm:score(scoreConf, scoreInConf,_)->"
                   "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->reclassifyField(_,toStr)->"
                   "write(dataWriterConf)");
  EXPECT_EQ(ScoringFlowScript(iso, conf, false, true, files), plain);

  // Re-estimation: no writer, both inputs, the hand-made output list, and the script ends at
  // the stage, with no toStr even for ISO8601.
  ScoringFlowFiles reest{&model_file, nullptr, nullptr, &new_model_file};
  EXPECT_EQ(ScoringFlowScript(iso, conf, true, false, reest),
            "val scoreConf = {\"ciLevel\":0.95}\n"
            "val scoreInConf = [{\"name\":\"JSON\",\"uri\":\"file:///run/tsdp.zip\"},"
            "{\"name\":\"InputTCMXML\",\"uri\":\"file:///run/model.zip\"}]\n" +
                kRtsdpNoFlag + "\n" + kPreparedReader + "\n" +
                "val scoreOutConf = [{\"export\":true, \"name\":\"TCMXML\",\"uri\":"
                "\"file:///run/new.zip\"}]\n"
                "read(readerConf)->tcm:score(scoreConf, scoreInConf, scoreOutConf)");
  // A file that the form needs and lacks gives no script rather than a broken one.
  EXPECT_EQ(ScoringFlowScript(iso, conf, true, false, files), "");
  EXPECT_EQ(ScoringFlowScript(iso, conf, false, false, reest), "");
}

TEST_F(FlowScripts, OutlierRootCauseAndScenario) {
  FlowBlocks blocks = MakeBlocks();
  const std::string out = "[{\"export\":true,\"name\":\"TCMAnalysis\",\"uri\":"
                          "\"file:///run/analysis.zip\"}]";
  EXPECT_EQ(OutlierFlowScript(blocks, "{\"od\":1}", model_file, analysis_file),
            "val tcmODConf = {\"od\":1}\n"
            "val ODInCon = " +
                kModelIn + "\n" + "val ODOutCon =" + out + "\n" + kPreparedReader + "\n" +
                "read(readerConf)->tcm:od(tcmODConf, ODInCon, ODOutCon)");
  EXPECT_EQ(RootCauseFlowScript(blocks, "{\"rca\":1}", model_file, analysis_file),
            "val tcmRCAConf = {\"rca\":1}\n"
            "val RCAInCon = " +
                kModelIn + "\n" + "val RCAOutCon =" + out + "\n" + kPreparedReader + "\n" +
                "read(readerConf)->tcm:rca(tcmRCAConf, RCAInCon, RCAOutCon)");
  EXPECT_EQ(ScenarioFlowScript(blocks, "{\"sa\":1}", model_file, analysis_file),
            "val tcmSAConf = {\"sa\":1}\n"
            "val SAInCon = " +
                kModelIn + "\n" + "val SAOutCon =" + out + "\n" + kPreparedReader + "\n" +
                "read(readerConf)->tcm:sa(tcmSAConf, SAInCon, SAOutCon)");
  EXPECT_EQ(OutlierFlowScript(blocks, "", model_file, analysis_file), "");
}

TEST_F(FlowScripts, ScenarioScoringFlowsEndInANewline) {
  FlowBlocks blocks = MakeBlocks();
  ASSimpleContainer tcm_data("tcmData", "/run/tcm");
  ASSimpleContainer tcm_dm("tcmDM", "/run/tcm.xml");
  const std::string tail_writer =
      "\"dataModelDestination\":\"file:////run/tcm.xml\",\"type\":\"asbf\"}\n";
  const std::string expression =
      kRtsdpFlag + "\n" + kPreparedReader +
      "val tcmScoreConf = {\"s\":1}\n"
      "val tcmScoreInConf = " +
      kModelIn + "\n" + "val tcmDataWriterConf = {\"dataDestination\":\"file:////run/tcm\"," +
      tail_writer +
      "read(readerConf)->tcm:score(tcmScoreConf, tcmScoreInConf,_)->"
      "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->write(tcmDataWriterConf)\n";
  EXPECT_EQ(ScenarioScoreFlowScript(blocks, "{\"s\":1}", model_file, tcm_data, tcm_dm, false),
            expression);
  // The output pass writes its data under the longer name.
  std::string output = expression;
  const std::string from = "file:////run/tcm\"";
  output.replace(output.find(from), from.size(), "file:////run/tcm.asbf\"");
  EXPECT_EQ(ScenarioScoreFlowScript(blocks, "{\"s\":1}", model_file, tcm_data, tcm_dm, true),
            output);

  ASSimpleContainer ar_data("arData", "/run/ar");
  ASSimpleContainer ar_dm("arDM", "/run/ar.xml");
  EXPECT_EQ(ArScoreFlowScript(blocks, "{\"a\":2}", model_file, ar_data, ar_dm),
            kRtsdpFlag + "\n" + kPreparedReader +
                "val arScoreConf = {\"a\":2}\n"
                "val arSoreInConf = " +
                kModelIn + "\n" +
                "val arDataWriterConf = {\"dataDestination\":\"file:////run/ar\","
                "\"dataModelDestination\":\"file:////run/ar.xml\",\"type\":\"asbf\"}\n"
                "read(readerConf)->tcm:ar(arScoreConf, arSoreInConf,_)->"
                "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->write(arDataWriterConf)\n");
}

TEST_F(FlowScripts, ScenarioOutputAndMerge) {
  FlowBlocks blocks = MakeBlocks();
  EXPECT_EQ(ScenarioOutputFlowScript(blocks, output_data, output_model),
            kPreparedReader + kRtsdpFlag + "\n" + "val dataWriterConf = " + kOutWriterAsbf + "\n" +
                "read(readerConf)->rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->"
                "write(dataWriterConf)");

  const std::string merged_reader =
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/merged.xml\","
      "\"locations\":[{\"path\":\"file:////run/merged\",\"parser\":{\"name\":\"asbf\"}}]}}\n";
  EXPECT_EQ(ScenarioMergedOutputFlowScript(merged_data, merged_model, output_data, output_model,
                                           {"sales", "cost"}),
            merged_reader + "val dataWriterConf = " + kOutWriterAsbf + "\n" +
                "read(readerConf)->"
                "reclassifyField(_,ctx => x => (\"sales\", match{case x.\"$FutureFlag\" == 1 => "
                "x.sales_predicted case _ => x.sales}))->"
                "reclassifyField(_,ctx => x => (\"cost\", match{case x.\"$FutureFlag\" == 1 => "
                "x.cost_predicted case _ => x.cost}))->"
                "write(dataWriterConf)");
  EXPECT_EQ(
      ScenarioMergedOutputFlowScript(merged_data, merged_model, output_data, output_model, {}),
      merged_reader + "val dataWriterConf = " + kOutWriterAsbf + "\n" +
          "read(readerConf)->write(dataWriterConf)");

  EXPECT_EQ(MergeFlowScript(blocks, "/run/tcm.asbf", "/run/tcm.xml", merged_data, merged_model),
            "val readTcmConf = {\"filesystem\":{\"dataModel\":\"file:////run/tcm.xml\","
            "\"locations\":[{\"path\":\"file:////run/tcm.asbf\",\"parser\":{\"name\":"
            "\"asbf\"}}]}}\n" +
                kRtsdpFlag + "\n" +
                "val dataWriterConf = {\"dataDestination\":\"file:////run/merged\","
                "\"dataModelDestination\":\"file:////run/merged.xml\",\"type\":\"asbf\"}\n"
                "read(readTcmConf)->rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->"
                "write(dataWriterConf)");
}

TEST_F(FlowScripts, OutputComponentFlows) {
  const std::string reader = TSJsonConf::ReaderBlock("/run/out", "/run/out.xml", "");
  const std::string conf = "{\"artifacts\":[],\"isEncoded\":false}";
  const std::string sort = "{\"sortFields\":[{\"direction\":\"ascending\",\"name\":\"when\"}]}";
  ASSimpleContainer stat_json("tcmStatJson", "/run/stat.zip");
  const std::string head =
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/out.xml\",\"locations\":"
      "[{\"path\":\"file:////run/out\",\"parser\":{\"name\":\"asbf\"}}]}}\n"
      "val outputConf = {\"artifacts\":[],\"isEncoded\":false}\n";
  const std::string tail =
      "val outputCons = [{\"export\":true,\"name\":\"tcmStatJson\",\"uri\":"
      "\"file:///run/stat.zip\"}]\n"
      "val sortConfig = {\"sortFields\":[{\"direction\":\"ascending\",\"name\":\"when\"}]}\n"
      "read(readerConf)->sort(sortConfig)->"
      "OutputComponent:TCMOutputComponent(outputConf,inputCons,outputCons)";

  // All three inputs, the quality report first and the outliers last.
  OutputFlowInputs all{std::string("/run/quality.zip"), "/run/model.zip",
                       std::string("/run/od.zip")};
  const std::string full =
      head +
      "val inputCons = [{\"name\":\"TSDP\",\"uri\":\"file:///run/quality.zip\"},"
      "{\"name\":\"TCM\",\"uri\":\"file:///run/model.zip\"},"
      "{\"name\":\"TCMOD\",\"uri\":\"file:///run/od.zip\"}]\n" +
      tail;
  EXPECT_EQ(SeriesOutputFlowScript(reader, conf, all, sort, stat_json), full);
  EXPECT_EQ(TargetsOutputFlowScript(reader, conf, all, sort, stat_json), full);
  EXPECT_EQ(OutlierTableOutputFlowScript(reader, conf, all, sort, stat_json), full);

  // The model alone; a model path that no file has goes to the engine as it stands.
  OutputFlowInputs model_only{std::nullopt, "", std::nullopt};
  EXPECT_EQ(TargetsOutputFlowScript(reader, conf, model_only, sort, stat_json),
            head + "val inputCons = [{\"name\":\"TCM\",\"uri\":\"file:///\"}]\n" + tail);

  EXPECT_EQ(RootCauseOutputFlowScript(reader, conf, "/run/model.zip", analysis_file, sort,
                                      stat_json),
            head +
                "val inputCons = [{\"name\":\"TCM\",\"uri\":\"file:///run/model.zip\"},"
                "{\"name\":\"TCMRCA\",\"uri\":\"file:///run/analysis.zip\"}]\n" +
                tail);
  EXPECT_EQ(ScenarioStatJsonFlowScript(reader, conf, "/run/model.zip", analysis_file, sort,
                                       stat_json),
            head +
                "val inputCons = [{\"name\":\"TCM\",\"uri\":\"file:///run/model.zip\"},"
                "{\"name\":\"TCMSA\",\"uri\":\"file:///run/analysis.zip\"}]\n" +
                tail);

  // No output pair to read, or nothing composed: no script.
  EXPECT_EQ(SeriesOutputFlowScript("", conf, all, sort, stat_json), "");
  EXPECT_EQ(TargetsOutputFlowScript(reader, "", all, sort, stat_json), "");
}

} // namespace

// The flows of a command read from its text: ISO 8601 time strings and a forecast flag asked by
// SAVE reach the conversion, reverse and scoring flows through the real readers.
TEST_F(FlowScripts, FlowsOfACommandReadFromItsText) {
  auto dataset = tcm_test::MakeDataset({{"sales"}, {"stamp", 20, "A20"}}, 3);
  auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=stamp INPUTINTERVAL=DAY "
      "/SAVE TARGETS PREDICTED FORECASTFLAG(Future) /FIELDSGROUP /FIELDS TARGETS=sales.",
      dataset, "TCM MODEL", "Temporal Causal Modeling");
  ASSERT_TRUE(parsed.ok) << parsed.Describe();
  spec = parsed.spec;
  FlowBlocks blocks = MakeBlocks();
  EXPECT_EQ(ConversionFlowScript(blocks, "_activeTCMDataset_"),
            "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
            "val toTS = ctx => x => (\"stamp\", toTimestamp(x.stamp, \"yyyy-MM-dd HH:mm:ss\", "
            "\"yyyy-MM-dd\", \"HH:mm:ss\", \"en_US\", date(1970,1,1)))\n"
            "val writerConf = {\"dataDestination\":\"file:////run/conv\",\"dataModelDestination\":"
            "\"file:////run/conv.xml\",\"type\":\"asbf\"}\n"
            "read(readerConf)->reclassifyField(_,toTS)->write(writerConf)");
  // FORECASTFLAG in SAVE turns the flag on without forcing it.
  EXPECT_EQ(blocks.RtsdpBlock(false), kRtsdpFlag);
  ScoringFlowFiles files{&model_file, &output_data, &output_model, nullptr};
  EXPECT_EQ(ScoringFlowScript(blocks, "{}", false, false, files),
            "val scoreConf = {}\nval dataWriterConf = " + kOutWriter + "\n" +
                "val scoreInConf = " + kModelIn + "\n" + kRtsdpFlag + "\n" + kPreparedReader +
                "\n" +
                "val toStr = ctx => x => (\"stamp\", format(x.stamp, \"yyyy-MM-dd HH:mm:ss\", "
                "\"en_US\"))\n"
                "read(readerConf)->tcm:score(scoreConf, scoreInConf,_)->"
                "rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->reclassifyField(_,toStr)->"
                "write(dataWriterConf)");
}
