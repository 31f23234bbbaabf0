// This file contains the engine's entry.
#include "engine/job/engine.h"

#include "engine/stages/registry.h"

namespace engine {

std::vector<std::string> Engine::StageNames() {
  std::vector<std::string> names;
  for (const StageInfo& info : AllStages()) names.emplace_back(info.name);
  return names;
}

}  // namespace engine
