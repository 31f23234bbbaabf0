// This file contains the descriptor tree's operations.
#include "host/syntax/descriptors.h"

#include "host/syntax/token.h"

namespace {
template <typename Container>
auto FindByName(Container& items, const std::string& name) -> decltype(&items.front()) {
  const std::string upper = host::UpperAscii(name);
  for (auto& item : items) {
    if (host::UpperAscii(item.Name()) == upper)
      return &item;
  }
  return nullptr;
}
} // namespace

ParamDescriptor::ParamDescriptor(const std::string& name, UPSpecTypes::ParamSpec spec,
                                 bool required, bool equals, UPSpecTypes::BracketOptions brackets)
    : name_(host::UpperAscii(name)), spec_(spec), required_(required), equals_(equals),
      brackets_(brackets) {}

void ParamDescriptor::addStringValue(const std::string& text) {
  values_.push_back(text);
}

ParamDescriptor& ParamDescriptor::addQualifDesc(const ParamDescriptor& qualifier) {
  qualifiers_.push_back(qualifier);
  return qualifiers_.back();
}

ParamDescriptor& ParamDescriptor::addQualifDesc(const std::string& name) {
  return addQualifDesc(ParamDescriptor(name, UPSpecTypes::ParamSpec::BareKeyword, false, false,
                                       UPSpecTypes::BracketOptions::None));
}

void ParamDescriptor::setQualifOption(UPSpecTypes::QualifOptions option) {
  qualif_option_ = option;
}

void ParamDescriptor::setLowerBoundary(double value, UPSpecTypes::LowerBdryOptions option) {
  lower_ = Bound{value, option != UPSpecTypes::LowerBdryOptions::Exclusive};
}

void ParamDescriptor::setUpperBoundary(double value, UPSpecTypes::UpperBdryOptions option) {
  upper_ = Bound{value, option != UPSpecTypes::UpperBdryOptions::Exclusive};
}

ParamDescriptor* ParamDescriptor::getQualifDesc(const std::string& name) {
  return FindByName(qualifiers_, name);
}

const ParamDescriptor* ParamDescriptor::getQualifDesc(const std::string& name) const {
  return FindByName(qualifiers_, name);
}

bool ParamDescriptor::HasValue(const std::string& word) const {
  const std::string upper = host::UpperAscii(word);
  for (const auto& value : values_) {
    if (host::UpperAscii(value) == upper)
      return true;
  }
  return false;
}

bool ParamDescriptor::WithinBounds(double number) const {
  if (lower_ && (lower_->inclusive ? number < lower_->value : number <= lower_->value)) {
    return false;
  }
  if (upper_ && (upper_->inclusive ? number > upper_->value : number >= upper_->value)) {
    return false;
  }
  return true;
}

SubComDescriptor::SubComDescriptor(const std::string& name, UPSpecTypes::SubComSpec spec,
                                   bool required, bool second)
    : name_(host::UpperAscii(name)), spec_(spec), required_(required), second_(second) {}

ParamDescriptor& SubComDescriptor::addParamDesc(const ParamDescriptor& parameter) {
  params_.push_back(parameter);
  return params_.back();
}

ParamDescriptor& SubComDescriptor::addParamDesc(const std::string& name,
                                                UPSpecTypes::ParamSpec spec, bool required,
                                                bool equals, UPSpecTypes::BracketOptions brackets) {
  return addParamDesc(ParamDescriptor(name, spec, required, equals, brackets));
}

ParamDescriptor* SubComDescriptor::getParamDesc(const std::string& name) {
  return FindByName(params_, name);
}

const ParamDescriptor* SubComDescriptor::getParamDesc(const std::string& name) const {
  return FindByName(params_, name);
}

GroupComDescriptor::GroupComDescriptor(UPSpecTypes::GroupSpec spec, bool repeating)
    : spec_(spec), repeating_(repeating) {}

SubComDescriptor& GroupComDescriptor::addSubComDesc(const SubComDescriptor& subcommand,
                                                    bool leading) {
  subcoms_.push_back(subcommand);
  if (leading && leading_.empty())
    leading_ = subcommand.Name();
  return subcoms_.back();
}

SubComDescriptor* GroupComDescriptor::getSubComDesc(const std::string& name) {
  return FindByName(subcoms_, name);
}

const SubComDescriptor* GroupComDescriptor::getSubComDesc(const std::string& name) const {
  return FindByName(subcoms_, name);
}

CommandDescriptor::CommandDescriptor(const std::string& command_name,
                                     const std::string& procedure_title)
    : command_name_(command_name), procedure_title_(procedure_title),
      global_(UPSpecTypes::GroupSpec::Repeating, false) {}

SubComDescriptor& CommandDescriptor::addSubComDesc(const SubComDescriptor& subcommand) {
  return global_.addSubComDesc(subcommand, false);
}

GroupComDescriptor& CommandDescriptor::addGroupDesc(const GroupComDescriptor& group) {
  groups_.push_back(group);
  return groups_.back();
}
