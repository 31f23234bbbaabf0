// This file contains UniversalParser: it checks a command's tokens against the command's
// descriptor tree and fills a CommandSpec.
#pragma once

#include <memory>

#include "host/syntax/command_spec.h"
#include "host/syntax/descriptors.h"
#include "host/syntax/token_sequence.h"

class ParserMessage;

class UniversalParser {
 public:
  // Binds the input, the result and the tree. Faults are reported through `messages`; when it
  // is null, through a ParserMessage of the parser's own that carries the tree's command name
  // and procedure title (see Messages()).
  UniversalParser(QUOR_TokenSequence& tokens, CommandSpec& spec, CommandDescriptor& descriptor,
                  ParserMessage* messages = nullptr);
  ~UniversalParser();
  UniversalParser(const UniversalParser&) = delete;
  UniversalParser& operator=(const UniversalParser&) = delete;

  // Parses. 0: success, the result is filled. Otherwise the first fault has been reported and the
  // result is left as it was. Never throws, whatever the tokens.
  int getCommandSpecifications();

  // Where the parser reports.
  ParserMessage& Messages() { return *messages_; }

 private:
  QUOR_TokenSequence& tokens_;
  CommandSpec& spec_;
  CommandDescriptor& descriptor_;
  std::unique_ptr<ParserMessage> own_messages_;
  ParserMessage* messages_;
};
