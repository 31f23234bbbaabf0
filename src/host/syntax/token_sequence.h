// This file contains QUOR_TokenSequence, the tokens of one command as the parser reads them.
#pragma once

#include <cstddef>
#include <vector>

#include "host/syntax/token.h"

class QUOR_TokenSequence {
 public:
  // With `from_session` true: a copy of the tokens of the current session's command, empty when
  // there is no session or no command. With false: empty.
  explicit QUOR_TokenSequence(bool from_session);
  // The given tokens (tests, and callers that tokenized themselves).
  explicit QUOR_TokenSequence(std::vector<host::Token> tokens);

  std::size_t size() const { return tokens_.size(); }
  bool empty() const { return tokens_.empty(); }
  // The token at `index`; an index past the end gives an empty name token.
  const host::Token& at(std::size_t index) const;
  const std::vector<host::Token>& tokens() const { return tokens_; }

 private:
  std::vector<host::Token> tokens_;
};
