// This file contains the `tsdp:tsdp` stage: case data into regular series, with the archive of
// TSDPOutput.json and, when asked, the quality report.
//
// Call: tsdp:tsdp(tsdpConf, _, tsdpOutConf). tsdpOutConf lists the archives by name: "JSON"
// (TSDPOutput.json) and "TSDP_DataQuality" (TSDPQuality.json).
#include "engine/prep/archives.h"
#include "engine/prep/prepare.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class TsdpStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    place_ = StagePlace(call);
    const support::Json* conf = nullptr;
    const support::Json* outputs = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &conf, messages) ||
        !ArgumentJson(call, script, 2, true, false, &outputs, messages)) {
      return false;
    }
    if (!ReadTsdpOptions(*conf, place_, messages, options_)) return false;
    for (const auto& entry : *outputs) {
      const std::string name = support::GetString(entry, "name");
      const std::string path = PathFromUri(support::GetString(entry, "uri"));
      if (path.empty()) return messages.Error(place_ + "the output '" + name + "' has no 'uri'");
      if (name == "JSON") {
        json_path_ = path;
      } else if (name == "TSDP_DataQuality") {
        quality_path_ = path;
      } else {
        return messages.Error(place_ + "the output '" + name + "' is unknown; the outputs are "
                                       "'JSON' and 'TSDP_DataQuality'");
      }
    }
    if (json_path_.empty()) return messages.Error(place_ + "the output 'JSON' is required");
    // A configured report is written whatever exportQuality says.
    if (!quality_path_.empty()) options_.export_quality = true;
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    if (!table) return context.messages.Error(place_ + "there is no data to prepare");
    PreparedData prepared;
    if (!Prepare(*table, options_, place_, context.messages, prepared)) return false;
    support::OrderedJson record = support::OrderedJson::object();
    record["settings"] = std::move(prepared.settings);
    record["output"] = std::move(prepared.output);
    if (auto written = WriteJsonArchive(json_path_, kPreparationMember, record); !written) {
      return context.messages.Error(place_ + written.message());
    }
    if (!quality_path_.empty()) {
      if (auto written = WriteJsonArchive(quality_path_, kQualityMember, prepared.quality);
          !written) {
        return context.messages.Error(place_ + written.message());
      }
    }
    table = std::move(prepared.table);
    return true;
  }

 private:
  StageCall call_;
  std::string place_;
  TsdpOptions options_;
  std::string json_path_;
  std::string quality_path_;
};

}  // namespace

std::unique_ptr<Stage> MakeTsdpStage() { return std::make_unique<TsdpStage>(); }

}  // namespace engine
