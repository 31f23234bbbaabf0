// This file contains JNITargetMap, read once from the graph text.
#include "host/bridge/jni_target_map.h"

#include "support/json_util.h"

JNITargetMap::JNITargetMap(const std::string& graphText) {
  auto graph = support::ParseJson<support::Json>(graphText);
  if (!graph || !graph->is_object())
    return;
  if (const auto* targets = support::FindMember(*graph, "targets");
      targets && targets->is_array()) {
    for (const auto& target : *targets) {
      if (!target.is_object())
        continue;
      const std::string id = support::GetString(target, "id");
      if (id.empty() || !targetSet_.insert(id).second)
        continue;
      targets_.push_back(id);
      const auto* inputs = support::FindMember(target, "inputs");
      if (inputs == nullptr || !inputs->is_array() || inputs->empty())
        withoutInput_.push_back(id);
    }
  }
  if (const auto* ar = support::FindMember(*graph, "arModelSeries"); ar && ar->is_array()) {
    for (const auto& id : *ar) {
      if (id.is_string())
        arSeries_.insert(id.get<std::string>());
    }
  }
}

void JNITargetMap::GetAllTargets(std::vector<std::string>& list) const {
  list.insert(list.end(), targets_.begin(), targets_.end());
}

void JNITargetMap::GetTargetsWithoutInput(std::vector<std::string>& list) const {
  list.insert(list.end(), withoutInput_.begin(), withoutInput_.end());
}

bool JNITargetMap::IsTarget(const std::string& name) const {
  return targetSet_.count(name) > 0;
}

bool JNITargetMap::IsArModelSeries(const std::string& name) const {
  return arSeries_.count(name) > 0;
}
