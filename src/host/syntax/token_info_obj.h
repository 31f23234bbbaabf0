// This file contains TokenInfoObj, one token of a parsed value as the readers see it.
#pragma once

#include <string>

#include "host/quor_var_name.h"
#include "host/syntax/token.h"

class TokenInfoObj {
 public:
  TokenInfoObj() = default;
  explicit TokenInfoObj(host::Token token) : token_(std::move(token)) {}

  // A number with an integral value that fits in 32 bits ("12", also "1e2").
  bool IsInteger() const;
  bool IsNumber() const { return token_.IsNumber(); }
  // A word: a name or a quoted string.
  bool IsString() const { return token_.IsName() || token_.IsString(); }
  // A quoted string.
  bool IsLiteral() const { return token_.IsString(); }
  // A name that can stand for a variable (reserved words such as TO and ALL cannot).
  bool IsVarName() const { return host::IsVariableNameToken(token_); }
  bool IsOperator() const { return token_.kind == host::TokenKind::Operator; }

  // The integer value; 0 when the token is no integer.
  int getInteger() const;
  // The numeric value; 0 when the token is no number.
  double getNumber() const { return token_.IsNumber() ? token_.number : 0.0; }
  // As written; a quoted string's content.
  const std::string& getString() const { return token_.text; }
  const std::string& getUpperString() const { return token_.upper; }
  // True, with the name, when IsVarName.
  bool getVarName(QuorVarName& name) const;
  bool getVarName(std::string& name) const;
  // The operator code (3 `=`, 10 `*`, 13 `(`, 14 `)` ...); 0 for a token that is no operator.
  int getOperatorCode() const { return IsOperator() ? token_.op : 0; }
  int getLine() const { return token_.line; }
  const host::Token& Token() const { return token_; }

 private:
  host::Token token_;
};
