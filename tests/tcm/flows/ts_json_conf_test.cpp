// Tests of TSJsonConf and the file and stream configurations, key by key.
#include "tcm/flows/ts_json_conf.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/bridge/app_host.h"
#include "host/bridge/asl_path.h"

namespace {

using nlohmann::json;

json Parse(const std::string& text) {
  json parsed = json::parse(text, nullptr, false);
  EXPECT_FALSE(parsed.is_discarded()) << text;
  return parsed;
}

TEST(FileConfigurations, StreamSourceAndWriters) {
  const std::string source = TSJsonConf::DataSourceConf("_activeTCMDataset_");
  EXPECT_EQ(source, R"({"dataSource":"_activeTCMDataset_","readErrorThreshold":-1})");

  ASSimpleContainer data("outputdata", "/run/out");
  ASSimpleContainer model("outputdatamodel", "/run/out.xml");
  const json writer = Parse(TSJsonConf::WriterConf(data, model, "asbf"));
  EXPECT_EQ(writer.size(), 3u);
  EXPECT_EQ(writer.at("dataDestination"), "file:////run/out");
  EXPECT_EQ(writer.at("dataModelDestination"), "file:////run/out.xml");
  EXPECT_EQ(writer.at("type"), "asbf");
  EXPECT_EQ(TSJsonConf::WriterConf(data, model, "asbf"),
            R"({"dataDestination":"file:////run/out",)"
            R"("dataModelDestination":"file:////run/out.xml","type":"asbf"})");

  // The longer name goes on the data path only, and only for the type "asbf".
  const json asbf = Parse(TSJsonConf::WriterConfAsbf(data, model, "asbf"));
  EXPECT_EQ(asbf.at("dataDestination"), "file:////run/out.asbf");
  EXPECT_EQ(asbf.at("dataModelDestination"), "file:////run/out.xml");
  EXPECT_EQ(asbf.at("type"), "asbf");
  const json other = Parse(TSJsonConf::WriterConfAsbf(data, model, "csv"));
  EXPECT_EQ(other.at("dataDestination"), "file:////run/out");
  EXPECT_EQ(other.at("type"), "csv");

  // A relative path is made absolute before it becomes a URI.
  ASSimpleContainer relative("data", "rel/part");
  const std::string expected = "file:///" + (std::filesystem::current_path() / "rel/part").string();
  EXPECT_EQ(Parse(TSJsonConf::WriterConf(relative, model, "asbf")).at("dataDestination"), expected);
}

TEST(FileConfigurations, ReaderBlockDeclaresOneFilesystemObject) {
  const std::string block = TSJsonConf::ReaderBlock("/run/prep", "/run/prep.xml", "");
  EXPECT_EQ(block,
            "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/prep.xml\","
            "\"locations\":[{\"path\":\"file:////run/prep\",\"parser\":{\"name\":\"asbf\"}}]}}\n");
  const std::string prefix = "val readerConf = ";
  const json conf = Parse(block.substr(prefix.size()));
  ASSERT_EQ(conf.size(), 1u);
  const json& fs = conf.at("filesystem");
  EXPECT_EQ(fs.size(), 2u);
  EXPECT_EQ(fs.at("dataModel"), "file:////run/prep.xml");
  ASSERT_EQ(fs.at("locations").size(), 1u);
  const json& location = fs.at("locations").at(0);
  EXPECT_EQ(location.at("path"), "file:////run/prep");
  EXPECT_EQ(location.at("parser"), json::parse(R"({"name":"asbf"})"));

  // A named reader, and paths in the backslash form: forward slashes only, no backslash left.
  const std::string named =
      TSJsonConf::ReaderBlock("C:\\tmp\\run\\merged", "C:\\tmp\\run\\merged.xml", "readTcmConf");
  EXPECT_EQ(named,
            "val readTcmConf = {\"filesystem\":{\"dataModel\":\"file:///C:/tmp/run/merged.xml\","
            "\"locations\":[{\"path\":\"file:///C:/tmp/run/merged\",\"parser\":{\"name\":"
            "\"asbf\"}}]}}\n");
  EXPECT_EQ(named.find('\\'), std::string::npos);
}

TEST(FileConfigurations, InputLists) {
  ASSimpleContainer json_file("JSON", "/run/tsdp.zip");
  EXPECT_EQ(TSJsonConf::InputConf(json_file), R"([{"name":"JSON","uri":"file:///run/tsdp.zip"}])");
  EXPECT_EQ(TSJsonConf::InputConf(json_file, ""), TSJsonConf::InputConf(json_file));
  ASSimpleContainer model("TCMXML", "/run/model.zip");
  EXPECT_EQ(TSJsonConf::InputConf(model, "InputTCMXML"),
            R"([{"name":"InputTCMXML","uri":"file:///run/model.zip"}])");

  const json list = Parse(
      TSJsonConf::InputConfList({{"JSON", "/run/tsdp.zip"}, {"InputTCMXML", "D:\\models\\m.zip"}}));
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0], json::parse(R"({"name":"JSON","uri":"file:///run/tsdp.zip"})"));
  EXPECT_EQ(list[1], json::parse(R"({"name":"InputTCMXML","uri":"file:///D:/models/m.zip"})"));
  EXPECT_EQ(TSJsonConf::InputConfList({}), "[]");

  // Input lists keep the serialiser's escapes; output lists drop every backslash.
  ASSimpleContainer quoted("JSON", "/run/a\"b");
  EXPECT_EQ(TSJsonConf::InputConf(quoted), R"([{"name":"JSON","uri":"file:///run/a\"b"}])");
  EXPECT_EQ(TSJsonConf::OutputConfList({&quoted}),
            R"([{"export":true,"name":"JSON","uri":"file:////run/a"b"}])");
}

TEST(FileConfigurations, OutputListsAndTheQualityReport) {
  ASSimpleContainer json_file("JSON", "/run/tsdp.zip");
  ASSimpleContainer quality("TSDP_DataQuality", "/run/quality.zip");
  EXPECT_EQ(TSJsonConf::OutputConf(json_file),
            R"([{"export":true,"name":"JSON","uri":"file:///run/tsdp.zip"}])");
  EXPECT_EQ(TSJsonConf::OutputConf(quality),
            R"([{"export":false,"name":"TSDP_DataQuality","uri":"file:///run/quality.zip"}])");

  // Only the exact name turns export off.
  ASSimpleContainer lower("tsdp_dataquality", "/run/q2.zip");
  ASSimpleContainer longer("TSDP_DataQuality2", "/run/q3.zip");
  EXPECT_TRUE(Parse(TSJsonConf::OutputConf(lower))[0].at("export").get<bool>());
  EXPECT_TRUE(Parse(TSJsonConf::OutputConf(longer))[0].at("export").get<bool>());

  // The list form names its files by FileUri, in the order given.
  const json list = Parse(TSJsonConf::OutputConfList({&json_file, &quality}));
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0], json::parse(R"({"export":true,"name":"JSON","uri":"file:////run/tsdp.zip"})"));
  EXPECT_EQ(list[1], json::parse(R"({"export":false,"name":"TSDP_DataQuality",
                                     "uri":"file:////run/quality.zip"})"));
  EXPECT_EQ(TSJsonConf::OutputConfList({&json_file}),
            R"([{"export":true,"name":"JSON","uri":"file:////run/tsdp.zip"}])");

  // The hand-made text form, with its one blank.
  ASSimpleContainer new_model("TCMXML", "/run/new model.zip");
  EXPECT_EQ(TSJsonConf::ExportConfText(new_model),
            R"([{"export":true, "name":"TCMXML","uri":"file:///run/new model.zip"}])");
  EXPECT_EQ(TSJsonConf::ExportConfText(quality),
            R"([{"export":false, "name":"TSDP_DataQuality","uri":"file:///run/quality.zip"}])");
}

TEST(FileConfigurations, PathForms) {
  EXPECT_EQ(TSJsonConf::FileUri("C:\\Users\\me\\a b.asbf"), "file:///C:/Users/me/a b.asbf");
  EXPECT_EQ(TSJsonConf::FileUri("/tmp/x"), "file:////tmp/x");
  EXPECT_EQ(TSJsonConf::FileUri(""), "file:///");
  EXPECT_EQ(TSJsonConf::FileUri("%20?#"), "file:///%20?#"); // nothing escaped
  EXPECT_EQ(TSJsonConf::DropBackslashes("a\\b\\\\c\\"), "abc");
  EXPECT_EQ(TSJsonConf::DropBackslashes("{\"p\":\"x\\\"y\"}"), "{\"p\":\"x\"y\"}");

  EXPECT_EQ(NormalizeAslPathU("/tmp/x", "file"), "file:///tmp/x");
  EXPECT_EQ(NormalizeAslPathU("C:\\tmp\\x", "file"), "file:///C:/tmp/x");
  EXPECT_EQ(NormalizeAslPathU("C:\\tmp\\x", ""), "C:/tmp/x");
}

TEST(FileConfigurations, TimeFunctionLiterals) {
  CFAppHost& app = CFAppHost::getInstance();
  const std::string saved = app.getLocale();
  app.setLocale("de_DE");
  EXPECT_EQ(TSJsonConf::ToTSBlock("stamp"),
            "val toTS = ctx => x => (\"stamp\", toTimestamp(x.stamp, \"yyyy-MM-dd HH:mm:ss\", "
            "\"yyyy-MM-dd\", \"HH:mm:ss\", \"de_DE\", date(1970,1,1)))");
  EXPECT_EQ(TSJsonConf::ToStrBlock("stamp"),
            "val toStr = ctx => x => (\"stamp\", format(x.stamp, \"yyyy-MM-dd HH:mm:ss\", "
            "\"de_DE\"))");
  // A blank in the name goes in as it stands, in both places.
  EXPECT_EQ(TSJsonConf::ToStrBlock("my date"),
            "val toStr = ctx => x => (\"my date\", format(x.my date, \"yyyy-MM-dd HH:mm:ss\", "
            "\"de_DE\"))");
  app.setLocale(saved);
}

TEST(TsJsonConf, ComposesOneObject) {
  TSJsonConf conf;
  EXPECT_TRUE(conf.isGood());
  EXPECT_EQ(conf.toString(), "{}");
  conf.put("dimFieldList", JNIJSONArray("[\"region\"]"));
  conf.put("encodeSeriesID", true);
  conf.put("numOfDaysPerWeek", 7);
  conf.put("missingValueHandlingThreshold", 25 / 100.0);
  conf.put("startDayOfWeek", "SUNDAY");
  conf.put("stdStartTime", std::int64_t{1262304000000});
  conf.putNull("gone");
  EXPECT_EQ(conf.toString(),
            "{\"dimFieldList\":[\"region\"],\"encodeSeriesID\":true,\"numOfDaysPerWeek\":7,"
            "\"missingValueHandlingThreshold\":0.25,\"startDayOfWeek\":\"SUNDAY\","
            "\"stdStartTime\":1262304000000,\"gone\":null}");

  // Starting from saved settings: the saved keys stay, a put replaces in place.
  TSJsonConf saved(R"({"valuesSelStrategy":"NONE","encodeSeriesID":true})");
  EXPECT_TRUE(saved.isGood());
  saved.put("valuesSelStrategy", "TIME");
  saved.put("stdStartTime", std::int64_t{5});
  EXPECT_EQ(saved.toString(),
            R"({"valuesSelStrategy":"TIME","encodeSeriesID":true,"stdStartTime":5})");
  TSJsonConf broken("not json");
  EXPECT_FALSE(broken.isGood());
  EXPECT_EQ(broken.toString(), "{}");
}

TEST(JobFiles, TemporaryContainersLiveAsLongAsAsked) {
  std::string removed_path;
  std::string kept_path;
  {
    ASSimpleContainer temp("data", "");
    ASSERT_TRUE(temp.good()) << temp.error();
    EXPECT_TRUE(temp.isTemporary());
    EXPECT_EQ(temp.getName(), "data");
    removed_path = temp.getAbsolutePath();
    EXPECT_TRUE(std::filesystem::path(removed_path).is_absolute());
    EXPECT_TRUE(std::filesystem::exists(removed_path));
    EXPECT_EQ(temp.getGenericPath(), std::filesystem::path(removed_path).generic_string());

    ASSimpleContainer kept("TCMXML", "");
    ASSERT_TRUE(kept.good());
    kept.preserveTempFile();
    kept_path = kept.getAbsolutePath();
    EXPECT_NE(kept_path, removed_path);
  }
  EXPECT_FALSE(std::filesystem::exists(removed_path));
  EXPECT_TRUE(std::filesystem::exists(kept_path));
  std::filesystem::remove(kept_path);

  // A named file is neither made nor removed.
  const std::filesystem::path named = std::filesystem::temp_directory_path() / "flows_named_file";
  { std::ofstream(named) << "user data"; }
  {
    ASSimpleContainer container("TCMXML", named.string());
    EXPECT_FALSE(container.isTemporary());
    EXPECT_EQ(container.getAbsolutePath(), named.string());
  }
  EXPECT_TRUE(std::filesystem::exists(named));
  std::filesystem::remove(named);
  ASSimpleContainer absent("TCMXML", "/no/such/folder/model.zip");
  EXPECT_FALSE(std::filesystem::exists("/no/such/folder/model.zip"));
  EXPECT_EQ(absent.getAbsolutePath(), "/no/such/folder/model.zip");
}

} // namespace
