// This file contains the grammar behind UniversalParser (internal to the syntax library): it
// checks a command's tokens against a descriptor tree and builds the CommandSpec.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "host/syntax/command_spec.h"
#include "host/syntax/descriptors.h"
#include "host/syntax/token.h"

class ParserMessage;

namespace host::syntax_detail {

class Grammar {
 public:
  // `tokens` are the command's tokens after its name; commas are dropped here.
  Grammar(const std::vector<Token>& tokens, const CommandDescriptor& tree, ParserMessage& messages);

  // Fills `out` and answers true; or reports the first fault and answers false with `out`
  // untouched.
  bool Parse(CommandSpec& out);

 private:
  // Names that end a list value when they stand at its depth: the parameters (or qualifiers)
  // of one level, and the levels around it up to the nearest parenthesis.
  struct Scope {
    const std::deque<ParamDescriptor>* params;
    const Scope* outer;
  };

  bool ParseSubCommand(const SubComDescriptor& descriptor, std::size_t begin, std::size_t end,
                       SubComObj& out);
  bool ParseParam(const ParamDescriptor& descriptor, const std::string& owner, std::size_t& pos,
                  std::size_t end, const Scope* scope, ParamObj& out);
  bool ParseQualifiers(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                       const Scope* scope, bool single, ParamObj& out, int& count);
  bool ParseParenValue(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                       ParamObj& out);
  bool ParseEqualsValue(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                        const Scope* scope, ParamObj& out);
  bool CheckValue(const ParamDescriptor& descriptor, const ParamObj& param,
                  const std::string& last_text);
  bool CheckRequiredQualifiers(const ParamDescriptor& descriptor, const ParamObj& param);
  bool MissingValue(const ParamDescriptor& descriptor, const std::string& last_text);
  bool OutOfBounds(const ParamDescriptor& descriptor, double number);

  bool IsParamStart(const Scope* scope, std::size_t pos, std::size_t end) const;
  std::size_t MatchingParen(std::size_t open, std::size_t end) const;
  bool AnyRequired() const;
  const Token& At(std::size_t pos) const { return tokens_[pos]; }
  bool IsOp(std::size_t pos, std::size_t end, int code) const {
    return pos < end && tokens_[pos].IsOperator(code);
  }

  std::vector<Token> tokens_;
  const CommandDescriptor& tree_;
  ParserMessage& messages_;
  std::string subcommand_; // the subcommand being read, for messages
  const std::deque<ParamDescriptor>* top_params_ = nullptr; // its parameters
};

} // namespace host::syntax_detail
