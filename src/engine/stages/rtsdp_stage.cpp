// This file contains the `rtsdp:rtsdp` stage: prepared or scored data back to the input's shape.
//
// Call: rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _). rtsdpConf is {"exportFutureFlag": bool};
// rtsdpInConf names the preparation archive ("JSON") or a model system holding TSDPOutput.json.
#include "engine/prep/archives.h"
#include "engine/prep/reverse.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class RtsdpStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    place_ = StagePlace(call);
    const support::Json* conf = nullptr;
    const support::Json* inputs = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &conf, messages) ||
        !ArgumentJson(call, script, 1, true, false, &inputs, messages)) {
      return false;
    }
    const support::Json* flag = support::FindMember(*conf, "exportFutureFlag");
    if (flag != nullptr && !flag->is_boolean()) {
      return messages.Error(place_ + "'exportFutureFlag' must be true or false");
    }
    export_future_flag_ = flag != nullptr && flag->get<bool>();
    archive_ = ArchivePath(*inputs, "JSON");
    if (archive_.empty()) return messages.Error(place_ + "the input 'JSON' is required");
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    if (!table) return context.messages.Error(place_ + "there is no data to bring back");
    auto record = ReadPreparationRecord(archive_);
    if (!record) return context.messages.Error(place_ + record.message());
    Table result;
    if (!ReverseToInput(*table, (*record)["output"], export_future_flag_, place_, context.messages,
                        result)) {
      return false;
    }
    table = std::move(result);
    return true;
  }

 private:
  std::string place_;
  bool export_future_flag_ = false;
  std::string archive_;
};

}  // namespace

std::unique_ptr<Stage> MakeRtsdpStage() { return std::make_unique<RtsdpStage>(); }

}  // namespace engine
