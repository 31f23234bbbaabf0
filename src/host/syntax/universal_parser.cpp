// This file contains UniversalParser.
#include "host/syntax/universal_parser.h"

#include <exception>
#include <string>

#include "host/messages/parser_message.h"
#include "host/syntax/grammar.h"

UniversalParser::UniversalParser(QUOR_TokenSequence& tokens, CommandSpec& spec,
                                 CommandDescriptor& descriptor, ParserMessage* messages)
    : tokens_(tokens), spec_(spec), descriptor_(descriptor), messages_(messages) {
  if (messages_ == nullptr) {
    own_messages_ = std::make_unique<ParserMessage>();
    own_messages_->SetCommandName(descriptor_.getCommandName());
    own_messages_->SetProcedureTitle(descriptor_.getProcedureTitle());
    messages_ = own_messages_.get();
  }
}

UniversalParser::~UniversalParser() = default;

int UniversalParser::getCommandSpecifications() {
  try {
    host::syntax_detail::Grammar grammar(tokens_.tokens(), descriptor_, *messages_);
    return grammar.Parse(spec_) ? 0 : 1;
  } catch (const std::exception& error) {
    // Only resource exhaustion can land here; the command stops with a message all the same.
    const int line = tokens_.empty() ? 0 : tokens_.at(0).line;
    messages_->HostError("SYNTAX_PARSER_FAILED_KEY", {std::to_string(line), error.what()});
    return 1;
  }
}
