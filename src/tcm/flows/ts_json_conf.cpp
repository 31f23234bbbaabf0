// This file contains TSJsonConf and the file and stream configurations of the flows.
#include "tcm/flows/ts_json_conf.h"

#include "host/bridge/app_host.h"
#include "host/bridge/asl_path.h"

namespace {

const char* const kQualityName = "TSDP_DataQuality";

bool ExportsFile(const std::string& name) {
  return name != kQualityName;
}

} // namespace

TSJsonConf::TSJsonConf() : object_(std::make_unique<JNIJSONObject>()) {}

TSJsonConf::TSJsonConf(std::string_view text) : object_(std::make_unique<JNIJSONObject>(text)) {}

std::string TSJsonConf::DataSourceConf(const std::string& name) {
  JNIJSONObject conf;
  conf.put("dataSource", name);
  conf.put("readErrorThreshold", -1);
  return conf.toString();
}

std::string TSJsonConf::WriterConf(const ASSimpleContainer& dataFile,
                                   const ASSimpleContainer& modelFile, const std::string& type) {
  JNIJSONObject conf;
  conf.put("dataDestination", FileUri(dataFile.getAbsolutePath()));
  conf.put("dataModelDestination", FileUri(modelFile.getAbsolutePath()));
  conf.put("type", type);
  return DropBackslashes(conf.toString());
}

std::string TSJsonConf::WriterConfAsbf(const ASSimpleContainer& dataFile,
                                       const ASSimpleContainer& modelFile,
                                       const std::string& type) {
  // The engine writes the data under the longer name, so its readers must ask for it too.
  std::string data = FileUri(dataFile.getAbsolutePath());
  if (type == "asbf")
    data += ".asbf";
  JNIJSONObject conf;
  conf.put("dataDestination", data);
  conf.put("dataModelDestination", FileUri(modelFile.getAbsolutePath()));
  conf.put("type", type);
  return DropBackslashes(conf.toString());
}

std::string TSJsonConf::ReaderBlock(const std::string& dataPath, const std::string& modelPath,
                                    const std::string& name) {
  JNIJSONObject parser;
  parser.put("name", "asbf");
  JNIJSONObject location;
  location.put("path", FileUri(dataPath));
  location.put("parser", parser);
  JNIJSONArray locations;
  locations.add(location);
  JNIJSONObject filesystem;
  filesystem.put("dataModel", FileUri(modelPath));
  filesystem.put("locations", locations);
  JNIJSONObject conf;
  conf.put("filesystem", filesystem);
  const std::string declared = name.empty() ? std::string("readerConf") : name;
  return "val " + declared + " = " + DropBackslashes(conf.toString()) + "\n";
}

std::string TSJsonConf::InputConf(const ASSimpleContainer& file, const std::string& nameOverride) {
  return InputConfList(
      {{nameOverride.empty() ? file.getName() : nameOverride, file.getAbsolutePath()}});
}

std::string
TSJsonConf::InputConfList(const std::vector<std::pair<std::string, std::string>>& pairs) {
  JNIJSONArray list;
  for (const auto& [name, path] : pairs) {
    JNIJSONObject entry;
    entry.put("name", name);
    entry.put("uri", NormalizeAslPathU(path, "file"));
    list.add(entry);
  }
  return list.serialize();
}

std::string TSJsonConf::OutputConf(const ASSimpleContainer& file) {
  JNIJSONObject entry;
  entry.put("export", ExportsFile(file.getName()));
  entry.put("name", file.getName());
  entry.put("uri", NormalizeAslPathU(file.getAbsolutePath(), "file"));
  JNIJSONArray list;
  list.add(entry);
  return list.serialize();
}

std::string TSJsonConf::OutputConfList(const std::vector<const ASSimpleContainer*>& files) {
  JNIJSONArray list;
  for (const ASSimpleContainer* file : files) {
    if (file == nullptr)
      continue;
    JNIJSONObject entry;
    entry.put("export", ExportsFile(file->getName()));
    entry.put("name", file->getName());
    entry.put("uri", FileUri(file->getAbsolutePath()));
    list.add(entry);
  }
  return DropBackslashes(list.serialize());
}

std::string TSJsonConf::ExportConfText(const ASSimpleContainer& file) {
  const std::string name = file.getName();
  return std::string("[{\"export\":") + (ExportsFile(name) ? "true" : "false") + ", \"name\":\"" +
         name + "\",\"uri\":\"" + NormalizeAslPathU(file.getAbsolutePath(), "file") + "\"}]";
}

std::string TSJsonConf::FileUri(const std::string& path) {
  std::string uri = "file:///" + path;
  for (std::size_t i = 8; i < uri.size(); ++i) {
    if (uri[i] == '\\')
      uri[i] = '/';
  }
  return uri;
}

std::string TSJsonConf::DropBackslashes(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c != '\\')
      out += c;
  }
  return out;
}

std::string TSJsonConf::ToTSBlock(const std::string& field) {
  const std::string& locale = CFAppHost::getInstance().getLocale();
  return "val toTS = ctx => x => (\"" + field + "\", toTimestamp(x." + field +
         ", \"yyyy-MM-dd HH:mm:ss\", \"yyyy-MM-dd\", \"HH:mm:ss\", \"" + locale +
         "\", date(1970,1,1)))";
}

std::string TSJsonConf::ToStrBlock(const std::string& field) {
  const std::string& locale = CFAppHost::getInstance().getLocale();
  return "val toStr = ctx => x => (\"" + field + "\", format(x." + field +
         ", \"yyyy-MM-dd HH:mm:ss\", \"" + locale + "\"))";
}
