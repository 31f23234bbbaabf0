// This file contains the descriptor tree that a command hands to UniversalParser: the command,
// its groups of subcommands, the subcommands, their parameters and the parameters' qualifiers.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "host/syntax/up_spec_types.h"

// One parameter, or one qualifier inside a parameter. Every add takes a copy; a reference
// returned by an add or a lookup stays valid while more are added to the same node.
class ParamDescriptor {
 public:
  struct Bound {
    double value = 0.0;
    bool inclusive = true;
  };

  ParamDescriptor() = default;
  // `required`: the parameter must be given; `equals`: its value follows an equals sign (without
  // it the value, if any, comes in parentheses).
  ParamDescriptor(const std::string& name, UPSpecTypes::ParamSpec spec, bool required, bool equals,
                  UPSpecTypes::BracketOptions brackets);

  // An allowed keyword of a Keyword, KeywordList or Integer value.
  void addStringValue(const std::string& text);
  ParamDescriptor& addQualifDesc(const ParamDescriptor& qualifier);
  // A bare keyword qualifier.
  ParamDescriptor& addQualifDesc(const std::string& name);
  void setQualifOption(UPSpecTypes::QualifOptions option);
  void setLowerBoundary(double value, UPSpecTypes::LowerBdryOptions option);
  void setUpperBoundary(double value, UPSpecTypes::UpperBdryOptions option);
  // The qualifier of that name (any case), or null.
  ParamDescriptor* getQualifDesc(const std::string& name);
  const ParamDescriptor* getQualifDesc(const std::string& name) const;

  const std::string& Name() const { return name_; }
  UPSpecTypes::ParamSpec Spec() const { return spec_; }
  bool IsRequired() const { return required_; }
  bool UsesEquals() const { return equals_; }
  UPSpecTypes::BracketOptions Brackets() const { return brackets_; }
  const std::vector<std::string>& Values() const { return values_; }
  const std::deque<ParamDescriptor>& Qualifiers() const { return qualifiers_; }
  const std::optional<UPSpecTypes::QualifOptions>& QualifOption() const { return qualif_option_; }
  const std::optional<Bound>& LowerBound() const { return lower_; }
  const std::optional<Bound>& UpperBound() const { return upper_; }
  // True when `word` is one of the added values, compared without regard to case.
  bool HasValue(const std::string& word) const;
  // True when `number` lies within the bounds that were set.
  bool WithinBounds(double number) const;

 private:
  std::string name_;
  UPSpecTypes::ParamSpec spec_ = UPSpecTypes::ParamSpec::TokenList;
  bool required_ = false;
  bool equals_ = true;
  UPSpecTypes::BracketOptions brackets_ = UPSpecTypes::BracketOptions::None;
  std::vector<std::string> values_;
  std::deque<ParamDescriptor> qualifiers_;
  std::optional<UPSpecTypes::QualifOptions> qualif_option_;
  std::optional<Bound> lower_;
  std::optional<Bound> upper_;
};

class SubComDescriptor {
 public:
  SubComDescriptor() = default;
  // `required`: must be present in its group. `second`: may occur more than once within one
  // instance of a repeating group.
  SubComDescriptor(const std::string& name, UPSpecTypes::SubComSpec spec, bool required,
                   bool second);

  ParamDescriptor& addParamDesc(const ParamDescriptor& parameter);
  ParamDescriptor& addParamDesc(const std::string& name, UPSpecTypes::ParamSpec spec, bool required,
                                bool equals, UPSpecTypes::BracketOptions brackets);
  void setSubComRepeatable(bool repeatable) { repeatable_ = repeatable; }
  void allowSubComEmpty(bool allowed) { empty_allowed_ = allowed; }
  ParamDescriptor* getParamDesc(const std::string& name);
  const ParamDescriptor* getParamDesc(const std::string& name) const;

  const std::string& Name() const { return name_; }
  UPSpecTypes::SubComSpec Spec() const { return spec_; }
  bool IsRequired() const { return required_; }
  bool IsSecond() const { return second_; }
  bool IsRepeatable() const { return repeatable_; }
  bool IsEmptyAllowed() const { return empty_allowed_; }
  const std::deque<ParamDescriptor>& Params() const { return params_; }

 private:
  std::string name_;
  UPSpecTypes::SubComSpec spec_ = UPSpecTypes::SubComSpec::NamedParams;
  bool required_ = false;
  bool second_ = false;
  bool repeatable_ = false;
  bool empty_allowed_ = false;
  std::deque<ParamDescriptor> params_;
};

// A group of subcommands. The global group holds the subcommands that stand once in the command;
// a repeating group starts anew with each occurrence of its leading subcommand.
class GroupComDescriptor {
 public:
  GroupComDescriptor(UPSpecTypes::GroupSpec spec, bool repeating);

  SubComDescriptor& addSubComDesc(const SubComDescriptor& subcommand, bool leading);
  SubComDescriptor* getSubComDesc(const std::string& name);
  const SubComDescriptor* getSubComDesc(const std::string& name) const;

  UPSpecTypes::GroupSpec Spec() const { return spec_; }
  bool IsRepeating() const { return repeating_; }
  const std::deque<SubComDescriptor>& SubComs() const { return subcoms_; }
  // The leading subcommand's name; empty when none was marked.
  const std::string& LeadingName() const { return leading_; }

 private:
  UPSpecTypes::GroupSpec spec_;
  bool repeating_;
  std::deque<SubComDescriptor> subcoms_;
  std::string leading_;
};

// The root of a command's tree. Parser shells derive from it.
class CommandDescriptor {
 public:
  CommandDescriptor(const std::string& command_name, const std::string& procedure_title);
  virtual ~CommandDescriptor() = default;
  CommandDescriptor(const CommandDescriptor&) = default;
  CommandDescriptor& operator=(const CommandDescriptor&) = default;

  // Adds to the global group.
  SubComDescriptor& addSubComDesc(const SubComDescriptor& subcommand);
  GroupComDescriptor& addGroupDesc(const GroupComDescriptor& group);
  GroupComDescriptor* getGlobalGroupDesc() { return &global_; }
  const GroupComDescriptor* getGlobalGroupDesc() const { return &global_; }

  const std::string& getCommandName() const { return command_name_; }
  const std::string& getProcedureTitle() const { return procedure_title_; }
  const std::deque<GroupComDescriptor>& Groups() const { return groups_; }

 private:
  std::string command_name_;
  std::string procedure_title_;
  GroupComDescriptor global_;
  std::deque<GroupComDescriptor> groups_;
};
