// This file contains TCMApplyParser: the descriptor tree of TCM APPLY and the reading of the parsed
// command into TCMApplySpec, the model system first.
#pragma once

#include "tcm/apply/tcm_apply_spec.h"
#include "tcm/frame/parser_shell.h"

// Adds every subcommand of the command, DEBUG_ first, to `tree`.
void AddTCMApplyTree(CommandDescriptor& tree);

class TCMApplyParser : public TCMParserShell {
 public:
  TCMApplyParser(QUOR_TokenSequence& tokens, TCMApplySpec* spec, CommandContext* context,
                 ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource), applySpec(spec) {}

  TCMApplySpec* applySpec;

 protected:
  void BuildTree() override;
  bool ReadCommand(CommandSpec& result) override;
  bool ReadGlobalGroup(const GroupComObj& global);

  // MODELSYSTEM: FILE must name a model system; its saved settings are then read. Runs also
  // without the subcommand, which the parser requires.
  bool ReadModelSystem(const SubComObj* subcommand);
};
