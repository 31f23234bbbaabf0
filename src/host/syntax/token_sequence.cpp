// This file contains QUOR_TokenSequence.
#include "host/syntax/token_sequence.h"

#include "host/session.h"

QUOR_TokenSequence::QUOR_TokenSequence(bool from_session) {
  if (!from_session)
    return;
  const host::Session* session = host::CurrentSession();
  if (session != nullptr && session->command.tokens != nullptr) {
    tokens_ = *session->command.tokens;
  }
}

QUOR_TokenSequence::QUOR_TokenSequence(std::vector<host::Token> tokens)
    : tokens_(std::move(tokens)) {}

const host::Token& QUOR_TokenSequence::at(std::size_t index) const {
  static const host::Token kNone;
  return index < tokens_.size() ? tokens_[index] : kNone;
}
