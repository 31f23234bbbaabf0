// This file contains the stage registry over stages.def.
#include "engine/stages/registry.h"

namespace engine {
namespace {
constexpr StageInfo kStages[] = {
#define ENGINE_STAGE(name, factory) {name, &factory},
#include "engine/stages/stages.def"
#undef ENGINE_STAGE
};
}  // namespace

std::span<const StageInfo> AllStages() { return kStages; }

std::unique_ptr<Stage> MakeStage(std::string_view qualified_name) {
  for (const StageInfo& info : kStages) {
    if (info.name == qualified_name) return info.make();
  }
  return nullptr;
}

}  // namespace engine
