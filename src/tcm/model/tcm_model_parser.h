// This file contains TCMModelParser: the descriptor tree of TCM MODEL and the reading of the
// parsed command into TCMModelValidSpecs.
#pragma once

#include "tcm/frame/parser_shell.h"
#include "tcm/model/tcm_model_spec.h"

class TCMModelParser : public TCMParserShell {
 public:
  TCMModelParser(QUOR_TokenSequence& tokens, TCMModelValidSpecs* spec, CommandContext* context,
                 ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource), modelSpec(spec) {}

  TCMModelValidSpecs* modelSpec;

 protected:
  void BuildTree() override;
  bool ReadCommand(CommandSpec& result) override;
};
