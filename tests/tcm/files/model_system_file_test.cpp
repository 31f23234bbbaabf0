// Tests of the model system readers over archives written here: the data model cut out of
// StatXML.xml, the decoding of coded series IDs, the summary's IDs, the graph's targets, and
// the check of aggregation.
#include "tcm/files/model_system_file.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bridge/jni_target_map.h"
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
    for (const auto& [member, text] : members) EXPECT_TRUE(writer.AddText(member, text).ok());
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
}

TEST_F(ModelSystemFile, SeriesIdsDecodeToValuesAndTheMetricName) {
  CFMetaData metadata(std::string(kDataModel) + "</DataModel>", nullptr);
  ASSERT_EQ(metadata.FieldCount(), 5u);
  std::vector<std::vector<std::string>> decoded;
  // A text base gives its value, a number base the value whose label matches; a metric with a
  // "-" in its name splits into too many pieces and gives an empty series; an unknown code
  // leaves its dimension out.
  DecodeSeriesIds({"2-1-1", "1-1-2", "1-1", "9-1-1"}, metadata, {"region", "store"}, decoded);
  EXPECT_EQ(decoded, (std::vector<std::vector<std::string>>{
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
              {{"modelSummary.json", "{\"topNModels\":{\"IDs\":[\"1-1-1\",\"\",\"2-1-1\"]}}"}}));
  std::vector<std::string> ids{"kept"};
  ReadTopModelIds(summary, ids);
  EXPECT_EQ(ids, (std::vector<std::string>{"kept", "1-1-1", "2-1-1"}));
  ASSimpleContainer broken("ModelsSummay",
                           Archive("broken.zip", {{"modelSummary.json", "{\"IDs\":[\"x\"]}"}}));
  ReadTopModelIds(broken, ids);
  EXPECT_EQ(ids.size(), 3u);

  const std::string graph =
      "{\"targets\":[{\"id\":\"1-1-1\",\"inputs\":[{\"id\":\"1-1-2\"}]},"
      "{\"id\":\"2-1-1\",\"inputs\":[]},{\"id\":\"2-1-2\"}],\"arModelSeries\":[\"1-1-2\"]}";
  const JNITargetMap map(graph);
  EXPECT_TRUE(map.IsTarget("2-1-1"));
  EXPECT_FALSE(map.IsTarget("1-1-2"));
  EXPECT_TRUE(map.IsArModelSeries("1-1-2"));
  const std::string model = Archive("model.zip", {{"TCMGraph.json", graph}});
  std::vector<std::string> all;
  ASSERT_TRUE(RankedTargetIds(model, "ALLTARGETS", all));
  EXPECT_EQ(all, (std::vector<std::string>{"1-1-1", "2-1-1", "2-1-2"}));
  std::vector<std::string> alone;
  ASSERT_TRUE(RankedTargetIds(model, "TARGETSNOINPUTS", alone));
  EXPECT_EQ(alone, (std::vector<std::string>{"2-1-1", "2-1-2"}));
  EXPECT_FALSE(RankedTargetIds(Archive("empty.zip", {{"a", "b"}}), "ALLTARGETS", alone));
  // Text that is no graph answers nothing.
  std::vector<std::string> nothing;
  JNITargetMap("not json").GetAllTargets(nothing);
  EXPECT_TRUE(nothing.empty());
}

TEST_F(ModelSystemFile, AggregationCheckAndTimeInfo) {
  TCMModelValidSpecs spec;
  ASSimpleContainer json("JSON", Archive("tsdp.zip", {{"TSDPOutput.json",
                                                       "{\"settings\":{\"aggreLevel\":0},"
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
  ASSimpleContainer absent("JSON", Archive("noagg.zip", {{"TSDPOutput.json", "{\"settings\":{}}"}}));
  EXPECT_FALSE(AggregationChecked(spec, absent));

  std::string timeVariable;
  std::string timeFormat;
  ReadTimeInfo("{\"output\":{\"timeFormat\":\"date\",\"timeVariable\":[19000,19001]}}",
               timeVariable, timeFormat);
  EXPECT_EQ(timeFormat, "date");
  EXPECT_EQ(timeVariable, "[19000,19001]");
}

}  // namespace
