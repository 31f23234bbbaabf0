// This file contains the `write` stage: the table to an .asbf file and its data model file, and
// as a result stream that the host can read after the job.
#include <filesystem>

#include "engine/data/asbf.h"
#include "engine/stages/registry.h"
#include "support/json_util.h"

namespace engine {
namespace {

struct WriteOptions {
  std::string data_path;    // empty when writing only a result stream
  std::string model_path;
  std::string stream_name;  // the data file's name, or `resultStream`
};

class WriteStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const support::Json* json = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &json, messages)) return false;
    const std::string place = StagePlace(call);
    const std::string type = support::GetString(*json, "type", "asbf");
    if (type != "asbf") {
      return messages.Error(place + "the type '" + type + "' is unknown; only 'asbf' is written");
    }
    options_.data_path = PathFromUri(support::GetString(*json, "dataDestination"));
    options_.model_path = PathFromUri(support::GetString(*json, "dataModelDestination"));
    options_.stream_name = support::GetString(*json, "resultStream");
    if (options_.data_path.empty()) {
      if (options_.stream_name.empty()) {
        return messages.Error(place + "the configuration has neither 'dataDestination' nor "
                                      "'resultStream'");
      }
      return true;
    }
    if (options_.model_path.empty()) {
      return messages.Error(place + "'dataModelDestination' is required with 'dataDestination'");
    }
    if (options_.model_path == options_.data_path) {
      return messages.Error(place + "the data file and the data model file are the same file");
    }
    if (options_.stream_name.empty()) {
      options_.stream_name = std::filesystem::path(options_.data_path).filename().string();
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (!table) return context.messages.Error(place + "there is no data to write");
    if (!table->IsConsistent()) {
      return context.messages.Error(place + "the data do not match their data model");
    }
    if (!options_.data_path.empty()) {
      auto status = WriteAsbfWithModel(options_.data_path, options_.model_path, *table);
      if (!status) return context.messages.Error(place + status.message());
    }
    if (context.table_needed_after) {
      context.results[options_.stream_name] = std::make_shared<const Table>(*table);
    } else {
      context.results[options_.stream_name] = std::make_shared<const Table>(std::move(*table));
      table.reset();
    }
    return true;
  }

 private:
  StageCall call_;
  WriteOptions options_;
};

}  // namespace

std::unique_ptr<Stage> MakeWriteStage() { return std::make_unique<WriteStage>(); }

}  // namespace engine
