// This file contains the syntax tree of a script: declarations, function literals, expressions
// and the pipeline of stage calls.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/json_util.h"

namespace engine {

struct Expression;

// One `case` of a match: `case left == right => result`, or `case _ => result` (no condition).
struct MatchCase {
  std::unique_ptr<Expression> left;   // null for the default case
  std::unique_ptr<Expression> right;
  std::unique_ptr<Expression> result;
};

struct Expression {
  enum class Kind { kField, kText, kNumber, kCall, kMatch };
  Kind kind = Kind::kText;
  int line = 0;
  std::string text;    // field name, text literal or function name
  double number = 0;   // number literal
  std::vector<Expression> arguments;  // call arguments
  std::vector<MatchCase> cases;
};

// `ctx => x => ("name", expression)`: gives the field `name` the value of `expression`.
struct FunctionLiteral {
  std::string result_field;
  Expression body;
  int line = 0;
};

struct Declaration {
  std::string name;
  int line = 0;
  bool is_function = false;
  support::Json json;  // object or array
  std::shared_ptr<const FunctionLiteral> function;
};

// An argument of a stage call: "_" (nothing), a declared name, or a function literal in place.
struct StageArgument {
  enum class Kind { kNone, kName, kFunction };
  Kind kind = Kind::kNone;
  std::string name;
  std::shared_ptr<const FunctionLiteral> function;
};

struct StageCall {
  std::string component;  // empty for the built-in stages
  std::string name;
  int line = 0;
  std::vector<StageArgument> arguments;
  // "component:name", or "name" without a component.
  std::string QualifiedName() const { return component.empty() ? name : component + ":" + name; }
};

struct Script {
  std::vector<Declaration> declarations;
  std::vector<StageCall> pipeline;
  // The declaration of `name`, or null.
  const Declaration* Find(const std::string& name) const;
};

}  // namespace engine
