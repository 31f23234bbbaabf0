// This file contains CommandContext: the command's name, the procedure's title and the run's
// ParserMessage, shared by the parser shell and the later steps.
#pragma once

#include <string>

#include "host/messages/parser_message.h"

class CommandContext {
 public:
  CommandContext() = default;
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  // The per-command fill: both texts, and the same two given to the ParserMessage.
  void Fill(const std::string& commandName, const std::string& procedureTitle);

  const std::string& GetCommandName() const { return commandName_; }
  const std::string& GetProcedureTitle() const { return procedureTitle_; }
  ParserMessage& GetParserMessage() { return messages_; }

  std::string GetTranslatedText(const std::string& key, const std::string& a1 = {},
                                const std::string& a2 = {}, const std::string& a3 = {},
                                const std::string& a4 = {}, const std::string& a5 = {}) const {
    return messages_.GetTranslatedText(key, a1, a2, a3, a4, a5);
  }
  void GenericError(const std::string& key, const std::string& a1 = {}, const std::string& a2 = {},
                    const std::string& a3 = {}, const std::string& a4 = {},
                    const std::string& a5 = {}) {
    messages_.GenericError(key, a1, a2, a3, a4, a5);
  }
  void GenericWarning(const std::string& key, const std::string& a1 = {},
                      const std::string& a2 = {}, const std::string& a3 = {},
                      const std::string& a4 = {}, const std::string& a5 = {}) {
    messages_.GenericWarning(key, a1, a2, a3, a4, a5);
  }

 private:
  std::string commandName_;
  std::string procedureTitle_;
  ParserMessage messages_;
};
