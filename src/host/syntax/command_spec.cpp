// This file contains the lookups of the parsed command.
#include "host/syntax/command_spec.h"

#include "host/syntax/token.h"

const ParamObj* SubComObj::getParamObj(const std::string& name) const {
  const std::string upper = host::UpperAscii(name);
  for (const auto& param : params_) {
    if (param.getParamName() == upper)
      return &param;
  }
  return nullptr;
}

const ParamObj* SubComObj::getParamObj(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= params_.size())
    return nullptr;
  return &params_[static_cast<std::size_t>(index)];
}

const SubComObj* GroupComObj::getSubComObj(const std::string& name) const {
  const std::string upper = host::UpperAscii(name);
  for (const auto& subcom : subcoms_) {
    if (subcom.getSubComName() == upper)
      return &subcom;
  }
  return nullptr;
}

int GroupComObj::getSubComObj(std::vector<const SubComObj*>& list, const std::string& name) const {
  const std::string upper = host::UpperAscii(name);
  list.clear();
  for (const auto& subcom : subcoms_) {
    if (subcom.getSubComName() == upper)
      list.push_back(&subcom);
  }
  return static_cast<int>(list.size());
}

const SubComObj* GroupComObj::getSubComObj(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= subcoms_.size())
    return nullptr;
  return &subcoms_[static_cast<std::size_t>(index)];
}

const GroupComObj* CommandSpec::getGroupObj(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= groups_.size())
    return nullptr;
  return &groups_[static_cast<std::size_t>(index)];
}

const GroupComObj* CommandSpec::getGlobalGroupObj() const {
  for (const auto& group : groups_) {
    if (group.isGroupGlobal())
      return &group;
  }
  return nullptr;
}
