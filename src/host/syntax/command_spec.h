// This file contains the parsed form of a command: CommandSpec, its groups (GroupComObj) and
// their subcommands (SubComObj), each holding ParamObj parameters.
#pragma once

#include <string>
#include <vector>

#include "host/syntax/param_obj.h"

namespace host::syntax_detail {
class Grammar;
}

class SubComObj {
 public:
  // The first parameter of that name (any case), or null.
  const ParamObj* getParamObj(const std::string& name) const;
  // The parameter at `index` in the order written, or null.
  const ParamObj* getParamObj(int index) const;
  int getParamListSize() const { return static_cast<int>(params_.size()); }
  // The name as the descriptor tree has it, and as written (upper-cased).
  const std::string& getSubComName() const { return name_; }
  const std::string& getSubComExtName() const { return ext_name_; }
  // The line where the subcommand's name stands.
  int Line() const { return line_; }

 private:
  friend class host::syntax_detail::Grammar;
  std::string name_;
  std::string ext_name_;
  int line_ = 0;
  std::vector<ParamObj> params_;
};

class GroupComObj {
 public:
  bool isGroupGlobal() const { return global_; }
  // The first subcommand of that name, or null.
  const SubComObj* getSubComObj(const std::string& name) const;
  // Replaces `list` with all subcommands of that name in order; gives their count.
  int getSubComObj(std::vector<const SubComObj*>& list, const std::string& name) const;
  // The subcommand at `index` in the order written, or null.
  const SubComObj* getSubComObj(int index) const;
  int getSubComListSize() const { return static_cast<int>(subcoms_.size()); }

 private:
  friend class host::syntax_detail::Grammar;
  bool global_ = false;
  std::vector<SubComObj> subcoms_;
};

// The global group, when the command has global subcommands, comes first; then one group per
// occurrence of a repeating group's leading subcommand, in the order written.
class CommandSpec {
 public:
  CommandSpec() = default;

  int getGroupListSize() const { return static_cast<int>(groups_.size()); }
  // The group at `index`, or null.
  const GroupComObj* getGroupObj(int index) const;
  // The global group, or null when the command has no global subcommand.
  const GroupComObj* getGlobalGroupObj() const;

 private:
  friend class host::syntax_detail::Grammar;
  std::vector<GroupComObj> groups_;
};
