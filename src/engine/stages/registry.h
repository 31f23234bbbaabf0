// This file contains the stage registry, read from the one table in stages.def.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "engine/stages/stage.h"

namespace engine {

// The factories of stages.def, each defined in its stage's file.
#define ENGINE_STAGE(name, factory) std::unique_ptr<Stage> factory();
#include "engine/stages/stages.def"
#undef ENGINE_STAGE

struct StageInfo {
  std::string_view name;  // qualified: "read", "tsdp:tsdp"
  std::unique_ptr<Stage> (*make)();
};

// Every stage, in the order of stages.def.
std::span<const StageInfo> AllStages();
// A new stage for a qualified name, or null when there is none.
std::unique_ptr<Stage> MakeStage(std::string_view qualified_name);

}  // namespace engine
