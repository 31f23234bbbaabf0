// Tests of the model system readers over archives written here: the data model cut out of
// StatXML.xml, the decoding of coded series IDs, the summary's IDs, the ranked targets by display,
// and the check of aggregation.
#include "tcm/files/model_system_file.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "tcm/model/tcm_model_spec.h"

namespace {

// The data model of a model with the dimensions region (text) and store (numbers).
const char* const kDataModel =
    "<DataModel>"
    "<Field name=\"region\" storage=\"integer\" base=\"$base_region\">"
    "<Category value=\"1\" code=\"1\" label=\"East\"/><Category value=\"2\" code=\"2\" "
    "label=\"West\"/></Field>"
    "<Field name=\"$base_region\" storage=\"string\"><Category value=\"East\" code=\"1\" "
    "label=\"East\"/><Category value=\"West\" code=\"2\" label=\"West\"/></Field>"
    "<Field name=\"store\" storage=\"integer\" base=\"$base_store\">"
    "<Category value=\"1\" code=\"1\" label=\"17\"/></Field>"
    "<Field name=\"$base_store\" storage=\"real\"><Category value=\"17\" code=\"1\" "
    "label=\"17\"/></Field>"
    "<Field name=\"metricField\" storage=\"integer\"><Category value=\"1\" code=\"1\" "
    "label=\"sales\"/><Category value=\"2\" code=\"2\" label=\"net-sales\"/></Field>";

class ModelSystemFile : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("model_system");
    ASSERT_TRUE(dir.ok());
    dir_ = std::make_unique<support::TempDir>(std::move(dir.value()));
  }
  std::string Archive(const std::string& name, const std::map<std::string, std::string>& members) {
    support::ZipArchiveWriter writer;
    for (const auto& [member, text] : members)
      EXPECT_TRUE(writer.AddText(member, text).ok());
    const std::string path = (dir_->path() / name).string();
    EXPECT_TRUE(writer.WriteTo(path).ok());
    return path;
  }
  std::unique_ptr<support::TempDir> dir_;
};

TEST_F(ModelSystemFile, DataModelIsCutOutAndClosedWhenItsEndIsLost) {
  CFMetaData metadata;
  const std::string whole = Archive(
      "whole.zip", {{"StatXML.xml", std::string("<StatXML>") + kDataModel +
                                        "</DataModel><Parameter name=\"maxLag\"/></StatXML>"}});
  ASSERT_TRUE(ExtractDataModel(whole, metadata));
  EXPECT_EQ(metadata.FieldCount(), 5u);
  // "</DataModel>" lost but "</StatXML>" there: the element is closed by the reader.
  const std::string cut =
      Archive("cut.zip", {{"StatXML.xml", std::string("<StatXML>") + kDataModel + "</StatXML>"}});
  CFMetaData closed;
  ASSERT_TRUE(ExtractDataModel(cut, closed));
  EXPECT_EQ(closed.FieldCount(), 5u);
  // No member: false, and the metadata stays as it was.
  const std::string none = Archive("none.zip", {{"other.txt", "x"}});
  EXPECT_FALSE(ExtractDataModel(none, metadata));
  EXPECT_EQ(metadata.FieldCount(), 5u);
  EXPECT_FALSE(ExtractDataModel((dir_->path() / "absent.zip").string(), metadata));
  EXPECT_EQ(metadata.FieldCount(), 5u);
  // No data model in the document: what is there is read, and describes no field.
  const std::string bare =
      Archive("bare.zip", {{"StatXML.xml", "<StatXML><Parameter name=\"maxLag\"/></StatXML>"}});
  ASSERT_TRUE(ExtractDataModel(bare, metadata));
  EXPECT_EQ(metadata.FieldCount(), 0u);
}

TEST_F(ModelSystemFile, SeriesIdsDecodeToValuesAndTheMetricName) {
  CFMetaData metadata(std::string(kDataModel) + "</DataModel>", nullptr);
  ASSERT_EQ(metadata.FieldCount(), 5u);
  std::vector<std::vector<std::string>> decoded;
  // A text base gives its value, a number base the value whose label matches; a metric with a
  // "-" in its name splits into too many pieces and gives an empty series; an unknown code
  // leaves its dimension out.
  DecodeSeriesIds({"2-1-1", "1-1-2", "1-1", "9-1-1"}, metadata, {"region", "store"}, decoded);
  EXPECT_EQ(decoded,
            (std::vector<std::vector<std::string>>{
                {"West", "17", "sales"}, {"East", "17", "net-sales"}, {}, {"17", "sales"}}));
  // Without dimensions an ID is the metric alone.
  decoded.clear();
  DecodeSeriesIds({"1", "2-3"}, metadata, {}, decoded);
  EXPECT_EQ(decoded, (std::vector<std::vector<std::string>>{{"sales"}, {}}));
}

TEST_F(ModelSystemFile, SummaryIdsAndGraphTargets) {
  ASSimpleContainer summary(
      "ModelsSummay",
      Archive("summary.zip",
              {{"modelSummary.json", "{\"topNModels\":{\"IDs\":[\"1-1-1\",\"\",3,\"2-1-1\"]}}"}}));
  std::vector<std::string> ids{"kept"};
  ReadTopModelIds(summary, ids);
  // The empty ID and the number are left out; what the list held stays.
  EXPECT_EQ(ids, (std::vector<std::string>{"kept", "1-1-1", "2-1-1"}));
  for (const std::string text : {"{\"IDs\":[\"x\"]}", "{\"topNModels\":{\"ids\":[\"x\"]}}",
                                 "{\"topNModels\":{\"IDs\":\"x\"}}", "not json"}) {
    ASSimpleContainer broken("ModelsSummay", Archive("broken.zip", {{"modelSummary.json", text}}));
    ReadTopModelIds(broken, ids);
    EXPECT_EQ(ids.size(), 3u) << text;
  }
  ASSimpleContainer noMember("ModelsSummay", Archive("nomember.zip", {{"other.json", "{}"}}));
  ReadTopModelIds(noMember, ids);
  EXPECT_EQ(ids.size(), 3u);

  const std::string graph =
      "{\"targets\":[{\"id\":\"1-1-1\",\"inputs\":[{\"id\":\"1-1-2\"}]},"
      "{\"id\":\"2-1-1\",\"inputs\":[]},{\"id\":\"2-1-2\"}],\"arModelSeries\":[\"1-1-2\"]}";
  const std::string statXml = std::string("<StatXML>") + kDataModel + "</DataModel></StatXML>";
  const std::vector<std::string> top = {"2-1-2", "1-1-1"};
  int summaries = 0;
  const auto summaryFlow = [&](std::vector<std::string>& found) {
    ++summaries;
    found.insert(found.end(), top.begin(), top.end());
  };
  const std::string model =
      Archive("model.zip", {{"StatXML.xml", statXml}, {"TCMGraph.json", graph}});
  std::vector<std::string> all;
  ASSERT_TRUE(RankedTargetIds(model, "ALLTARGETS", summaryFlow, all));
  EXPECT_EQ(all, (std::vector<std::string>{"1-1-1", "2-1-1", "2-1-2"}));
  std::vector<std::string> alone;
  ASSERT_TRUE(RankedTargetIds(model, "TARGETSNOINPUTS", summaryFlow, alone));
  EXPECT_EQ(alone, (std::vector<std::string>{"2-1-1", "2-1-2"}));
  EXPECT_EQ(summaries, 0);
  std::vector<std::string> best;
  ASSERT_TRUE(RankedTargetIds(model, "BESTFIT", summaryFlow, best));
  EXPECT_EQ(best, top);
  EXPECT_EQ(summaries, 1);

  // Without "StatXML.xml" nothing is selected and no summary runs; without the graph the
  // graph's displays select nothing, while best fit needs no graph.
  std::vector<std::string> none;
  const std::string noStat = Archive("nostat.zip", {{"TCMGraph.json", graph}});
  EXPECT_FALSE(RankedTargetIds(noStat, "ALLTARGETS", summaryFlow, none));
  EXPECT_FALSE(RankedTargetIds(noStat, "BESTFIT", summaryFlow, none));
  EXPECT_EQ(summaries, 1);
  const std::string noGraph = Archive("nograph.zip", {{"StatXML.xml", statXml}});
  EXPECT_FALSE(RankedTargetIds(noGraph, "TARGETSNOINPUTS", summaryFlow, none));
  EXPECT_TRUE(none.empty());
  ASSERT_TRUE(RankedTargetIds(noGraph, "BESTFIT", summaryFlow, none));
  EXPECT_EQ(none, top);

  // The choice by display over a graph text, with the summary's IDs given.
  std::vector<std::string> chosen;
  TargetIdsByDisplay("BESTFIT", graph, {"9-9-9"}, chosen);
  TargetIdsByDisplay("TARGETSNOINPUTS", graph, {"9-9-9"}, chosen);
  TargetIdsByDisplay("ALLTARGETS", "not json", {"9-9-9"}, chosen);
  EXPECT_EQ(chosen, (std::vector<std::string>{"9-9-9", "2-1-1", "2-1-2"}));
}

TEST_F(ModelSystemFile, AggregationCheckAndTimeInfo) {
  TCMModelValidSpecs spec;
  ASSimpleContainer json(
      "JSON", Archive("tsdp.zip", {{"TSDPOutput.json", "{\"settings\":{\"aggreLevel\":0},"
                                                       "\"output\":{\"timeFormat\":\"date\","
                                                       "\"timeVariable\":[19000,19001]}}"}}));
  spec.timeType = "NONE";
  EXPECT_TRUE(AggregationChecked(spec, json));
  spec.timeType = "DATETIMEVAR";
  EXPECT_FALSE(AggregationChecked(spec, json));
  spec.timeType = "DATESPEC";
  EXPECT_TRUE(AggregationChecked(spec, json));
  ASSimpleContainer aggregated(
      "JSON", Archive("agg.zip", {{"TSDPOutput.json", "{\"settings\":{\"aggreLevel\":2}}"}}));
  EXPECT_FALSE(AggregationChecked(spec, aggregated));
  // Absent, no number, or no readable preparation: not checked.
  for (const std::string text : {"{\"settings\":{}}", "{\"settings\":{\"aggreLevel\":\"0\"}}",
                                 "{\"settings\":{\"aggreLevel\":null}}", "{\"aggreLevel\":0}",
                                 "{\"settings\":{\"aggreLevel\":0}"}) {
    ASSimpleContainer other("JSON", Archive("noagg.zip", {{"TSDPOutput.json", text}}));
    EXPECT_FALSE(AggregationChecked(spec, other)) << text;
  }
  ASSimpleContainer missing("JSON", (dir_->path() / "missing.zip").string());
  EXPECT_FALSE(AggregationChecked(spec, missing));

  std::string timeVariable;
  std::string timeFormat;
  ReadTimeInfo("{\"output\":{\"timeFormat\":\"date\",\"timeVariable\":[19000,19001]}}",
               timeVariable, timeFormat);
  EXPECT_EQ(timeFormat, "date");
  EXPECT_EQ(timeVariable, "[19000,19001]");
  ReadTimeInfo("{\"output\":{\"timeFormat\":\"CYCLIC_PERIOD\",\"timeVariable\":"
               "{\"week\":[1,1],\"day\":[1,2]}}}",
               timeVariable, timeFormat);
  EXPECT_EQ(timeFormat, "CYCLIC_PERIOD");
  EXPECT_EQ(timeVariable, "{\"week\":[1,1],\"day\":[1,2]}");
  // Nothing is tested: a text without them gives empty texts.
  ReadTimeInfo("not json", timeVariable, timeFormat);
  EXPECT_EQ(timeFormat, "");
  EXPECT_EQ(timeVariable, "");
}

} // namespace
