// This file contains the per-command fill of CommandContext.
#include "tcm/frame/command_context.h"

void CommandContext::Fill(const std::string& commandName, const std::string& procedureTitle) {
  commandName_ = commandName;
  procedureTitle_ = procedureTitle;
  messages_.SetCommandName(commandName);
  messages_.SetProcedureTitle(procedureTitle);
}
