// This file contains TCMApplyParser: the descriptor tree of TCM APPLY and the reading of the parsed
// command into TCMApplySpec.
#pragma once

#include "tcm/frame/parser_shell.h"
#include "tcm/apply/tcm_apply_spec.h"

// Adds every subcommand of the command, DEBUG_ first, to `tree`.
void AddTCMApplyTree(CommandDescriptor& tree);

class TCMApplyParser : public TCMParserShell {
 public:
  TCMApplyParser(QUOR_TokenSequence& tokens, TCMApplySpec* spec, CommandContext* context,
                 ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource) {}

 protected:
  void BuildTree() override;
  bool ReadCommand(CommandSpec& result) override;
};
