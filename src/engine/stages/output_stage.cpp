// This file contains the `OutputComponent:TCMOutputComponent` stage: the output document
// statJson.json of a model system, its scored data stream and the other results it is given.
//
// Call: OutputComponent:TCMOutputComponent(outputConf, inputCons, outputCons). outputConf names
// the artefacts; inputCons the model system ("TCM") and, when given, the quality report
// ("TSDP"), outlier ("TCMOD"), root cause ("TCMRCA") and scenario ("TCMSA") results;
// outputCons the archive ("tcmStatJson"). The table that comes in is the scored data.
#include "engine/output/output_config.h"
#include "engine/output/output_data.h"
#include "engine/output/output_document.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class OutputStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    place_ = StagePlace(call);
    const support::Json* conf = nullptr;
    const support::Json* inputs = nullptr;
    const support::Json* outputs = nullptr;
    if (!ConfigurationAndFiles(call, script, true, &conf, &inputs, &outputs, messages)) return false;
    auto config = output::ReadOutputConfig(*conf, *inputs, *outputs);
    if (!config) return messages.Error(place_ + config.message());
    config_ = std::move(*config);
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    std::vector<std::string> warnings;
    auto data = output::LoadOutputData(config_, table ? &*table : nullptr, warnings);
    if (!data) return context.messages.Error(place_ + data.message());
    const output::Node document = output::BuildOutputDocument(config_, *data, warnings);
    for (const std::string& warning : warnings) context.messages.Warning(place_ + warning);
    if (auto status = output::WriteOutputArchive(config_.output_path, document); !status) {
      return context.messages.Error(place_ + "the output document could not be written: " +
                                    status.message());
    }
    return true;
  }

 private:
  std::string place_;
  output::OutputConfig config_;
};

}  // namespace

std::unique_ptr<Stage> MakeOutputComponentStage() { return std::make_unique<OutputStage>(); }

}  // namespace engine
