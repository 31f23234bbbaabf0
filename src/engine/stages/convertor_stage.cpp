// This file contains the `tsdp:convertor` stage: a time specification into time points of a
// model system, written as TIME_POINTS.json.
//
// Call: tsdp:convertor(apiConf, inConf, outConf). inConf names the archive holding
// TSDPOutput.json (a model system or a preparation archive), outConf the archive to write.
#include "engine/prep/archives.h"
#include "engine/prep/time_points.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class ConvertorStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    place_ = StagePlace(call);
    const support::Json* api = nullptr;
    const support::Json* inputs = nullptr;
    const support::Json* outputs = nullptr;
    if (!ConfigurationAndFiles(call, script, true, &api, &inputs, &outputs, messages)) return false;
    api_ = *api;
    input_ = ArchivePath(*inputs, "JSON");
    output_ = ArchivePath(*outputs, "JSON");
    if (input_.empty()) return messages.Error(place_ + "the input archive is not named");
    if (output_.empty()) return messages.Error(place_ + "the output archive is not named");
    if (input_ == output_) {
      return messages.Error(place_ + "the output archive would replace the input archive");
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>&) override {
    auto record = ReadPreparationRecord(input_);
    if (!record) return context.messages.Error(place_ + record.message());
    support::OrderedJson points;
    if (!ConvertTimeSpec((*record)["output"], api_, place_, context.messages, points)) return false;
    if (auto written = WriteJsonArchive(output_, kTimePointsMember, points); !written) {
      return context.messages.Error(place_ + written.message());
    }
    return true;
  }

 private:
  std::string place_;
  support::Json api_;
  std::string input_;
  std::string output_;
};

}  // namespace

std::unique_ptr<Stage> MakeConvertorStage() { return std::make_unique<ConvertorStage>(); }

}  // namespace engine
