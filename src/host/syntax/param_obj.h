// This file contains ParamObj: one parsed parameter (or qualifier) with its value tokens and,
// for parameters with qualifiers, the parsed qualifiers.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/quor_var_name.h"
#include "host/syntax/token_info_obj.h"

class ParamDescriptor;
class ParserMessage;
namespace host::syntax_detail {
class Grammar;
}

// Every value accessor returns true on success and writes nothing on failure, without a
// message unless its comment says otherwise. "The value" is the tokens after the equals sign,
// or inside the parentheses that follow the name directly; commas are dropped.
class ParamObj {
 public:
  ParamObj() = default;

  // One integer (an integral number within 32 bits).
  bool getIntegerValue(int& value) const;
  // One number.
  bool getNumberValue(double& value) const;
  // One or more numbers.
  bool getNumberList(std::vector<double>& list) const;
  // One word (a name or a quoted string) as written, or upper-cased.
  bool getStringGeneric(std::string& text) const;
  bool getUpStringGeneric(std::string& text) const;
  // One or more words as written.
  bool getStringList(std::vector<std::string>& list) const;
  // All value tokens, parentheses and operators included; may be empty. False only for a
  // ParamObj that the parser did not make.
  bool getTokenList(std::vector<TokenInfoObj>& list) const;
  // One or more variable names (reserved words such as TO are none).
  bool getVarList(std::vector<QuorVarName>& list) const;
  // One variable name.
  bool getVarName(QuorVarName& name) const;
  bool getVarName(std::string& name) const;
  // One quoted string's content.
  bool getLiteral(std::string& text) const;
  // One name or quoted string; `quoted` tells which.
  bool getStringOrLiteral(std::string& text, bool& quoted) const;
  // One name or quoted string taken as a path and expanded ("~", a leading "*/", relative to
  // the current folder). With `check_access`: a file to write (`for_output`) needs an existing
  // folder, a file to read must exist.
  bool getFilePath(std::string& path, bool for_output, bool check_access) const;
  // The keyword of a parameter whose value is a qualifier (P=KW, P=KW(...)), upper-cased, with
  // that qualifier as a ParamObj; on a ParamObj written with parentheses (KW(Q=...)) the first
  // qualifier inside. A value of one bare word gives that word with an empty ParamObj. When
  // `descriptor` is given the keyword must be one of its qualifiers. On failure reports
  // SyntaxErrorInParam (no keyword) or InvalidParamOption (keyword not in `descriptor`)
  // through `messages` when given.
  bool getStringAndQual(std::pair<std::string, ParamObj>& out, const ParamDescriptor* descriptor,
                        ParserMessage* messages) const;
  // All parsed qualifiers (P(Q1=... Q2=...), or P=Q1(...) Q2(...)); empty for a bare keyword
  // that may take qualifiers. False for a value that is no qualifier list; with `descriptor`
  // given, also when a qualifier is not one of its qualifiers, which is reported as
  // InvalidParamOption through `messages` when given.
  bool getStringQualList(std::vector<ParamObj>& list, const ParamDescriptor* descriptor,
                         ParserMessage* messages) const;

  // The name token of the parameter.
  const TokenInfoObj& getKeyWordToken() const { return keyword_; }
  // Value token `index`, or null.
  const TokenInfoObj* getTokenObj(int index) const;
  int getTokenListSize() const { return static_cast<int>(tokens_.size()); }
  // The name as the descriptor tree has it, and as written (upper-cased).
  const std::string& getParamName() const { return name_; }
  const std::string& getParamExtName() const { return ext_name_; }
  const std::string& getSubComExtName() const { return subcommand_; }
  // The value as written, tokens joined by blanks.
  std::string getStringToken() const;
  // True when the parameter stands as one bare word: no parentheses, at most one value token.
  bool isLeadingToken() const;
  // True when parentheses follow the name or stand in the value.
  bool areParenUsed() const;
  // True when the value is exactly one operator of that code (10 for `*`).
  bool isOperatorValue(int code) const;
  // True when the value is exactly one word equal to `text` without regard to case.
  bool isStringValueCase(const std::string& text) const;
  // Checks the value as a file specification: `*` (the working file), a quoted path, or the
  // name of a dataset of the session. Kind 23 is a file to write, whose folder must exist; any
  // other kind a file to read, which must exist. Reports FileNameInvalid or FileNoAccess
  // through `messages` when given.
  bool processSysFileSpec(int kind, ParserMessage* messages) const;

  // The parsed qualifiers, in the order written.
  const std::vector<ParamObj>& Qualifiers() const { return qualifiers_; }
  // The first qualifier of that name, or null.
  const ParamObj* FindQualifier(const std::string& name) const;
  bool HasEqualsSign() const { return equals_; }

 private:
  friend class host::syntax_detail::Grammar;

  bool OneToken() const { return tokens_.size() == 1; }

  bool made_ = false;
  std::string name_;
  std::string ext_name_;
  std::string subcommand_;
  TokenInfoObj keyword_;
  std::vector<TokenInfoObj> tokens_;
  std::vector<ParamObj> qualifiers_;
  bool qualified_ = false;  // the value was read as qualifiers
  bool equals_ = false;     // an equals sign followed the name
  bool paren_used_ = false; // parentheses followed the name directly
};
