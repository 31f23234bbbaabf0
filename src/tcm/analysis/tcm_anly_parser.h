// This file contains TCMAnlyParser: the descriptor tree of TCM ANALYSIS and the reading of the parsed
// command into TCMAnlySpec.
#pragma once

#include "tcm/frame/parser_shell.h"
#include "tcm/analysis/tcm_anly_spec.h"

// Adds every subcommand of the command, DEBUG_ first, to `tree`.
void AddTCMAnalysisTree(CommandDescriptor& tree);

class TCMAnlyParser : public TCMParserShell {
 public:
  TCMAnlyParser(QUOR_TokenSequence& tokens, TCMAnlySpec* spec, CommandContext* context,
                 ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource) {}

 protected:
  void BuildTree() override;
  bool ReadCommand(CommandSpec& result) override;
};
