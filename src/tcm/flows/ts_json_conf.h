// This file contains TSJsonConf, the composer of a stage's JSON configuration, and the helpers
// that give the file and stream configurations and the small script pieces of every flow.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/jni_json.h"

// One configuration object under composition; `put` passes through to it. The static helpers
// build fresh values and never touch the object. JSON texts are compact, with keys in the order
// in which they are put (the order of the tables of the file configurations).
class TSJsonConf {
 public:
  TSJsonConf();
  // Starts from a saved configuration. Text that is not a JSON object starts an empty object and
  // isGood() is false.
  explicit TSJsonConf(std::string_view text);

  bool isGood() const { return object_->isGood(); }

  void put(const std::string& key, int value) { object_->put(key, value); }
  void put(const std::string& key, std::int64_t value) { object_->put(key, value); }
  void put(const std::string& key, double value) { object_->put(key, value); }
  void put(const std::string& key, bool value) { object_->put(key, value); }
  void put(const std::string& key, const std::string& value) { object_->put(key, value); }
  void put(const std::string& key, const char* value) { object_->put(key, value); }
  void put(const std::string& key, const JNIJSONObject& value) { object_->put(key, value); }
  void put(const std::string& key, const JNIJSONArray& value) { object_->put(key, value); }
  void putNull(const std::string& key) { object_->putNull(key); }

  std::string toString() const { return object_->toString(); }
  JNIJSONObject& object() { return *object_; }
  const JNIJSONObject& object() const { return *object_; }

  // {"dataSource": name, "readErrorThreshold": -1}
  static std::string DataSourceConf(const std::string& name);
  // {"dataDestination", "dataModelDestination", "type"}: FileUri of both absolute paths; the
  // text without backslashes.
  static std::string WriterConf(const ASSimpleContainer& dataFile,
                                const ASSimpleContainer& modelFile, const std::string& type);
  // As WriterConf, with ".asbf" behind the data path when `type` is "asbf".
  static std::string WriterConfAsbf(const ASSimpleContainer& dataFile,
                                    const ASSimpleContainer& modelFile, const std::string& type);
  // The declaration "val <name> = {"filesystem":...}\n" of a file reader; an empty name means
  // readerConf.
  static std::string ReaderBlock(const std::string& dataPath, const std::string& modelPath,
                                 const std::string& name);
  // [{"name", "uri"}]: the override when not empty, else the container's name.
  static std::string InputConf(const ASSimpleContainer& file, const std::string& nameOverride = {});
  // One {"name", "uri"} per pair of name and path, in order.
  static std::string InputConfList(const std::vector<std::pair<std::string, std::string>>& pairs);
  // [{"export", "name", "uri"}]; export is false only for "TSDP_DataQuality".
  static std::string OutputConf(const ASSimpleContainer& file);
  // One {"export", "name", "uri"} per file, uri by FileUri; the text without backslashes.
  static std::string OutputConfList(const std::vector<const ASSimpleContainer*>& files);
  // The OutputConf array written by hand, as re-estimation's engine side expects it.
  static std::string ExportConfText(const ASSimpleContainer& file);
  // "file:///" and the path with every backslash turned into "/"; nothing escaped.
  static std::string FileUri(const std::string& path);
  // `text` without any backslash.
  static std::string DropBackslashes(const std::string& text);
  // The declarations of the functions toTS and toStr over the field `field`, with the host's
  // locale text; no newline at the end. The name goes in as it stands.
  static std::string ToTSBlock(const std::string& field);
  static std::string ToStrBlock(const std::string& field);

 private:
  std::unique_ptr<JNIJSONObject> object_;
};
