// This file contains TCMApplyParser: the descriptor tree of TCM APPLY and the reading of the parsed
// command into TCMApplySpec, the model system first, then the rest in a fixed order.
#pragma once

#include <string>
#include <vector>

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
  bool ReadOptions(const SubComObj& subcommand);
  // The fields of one SERIESFILTER, each a metric of the model system.
  bool ReadSeriesFields(const ParamObj& fields, std::vector<QuorVarName>& out);
  // OUTFILE: the model system may not be written over the one read; without MODELSYSTEM and
  // without REESTIMATE the run's model system is the one read.
  bool ReadOutfile(const SubComObj& subcommand) override;

 private:
  // The model's metric names, read from the file when SERIESFILTER first asks.
  std::vector<std::string> metrics_;
  bool metricsRead_ = false;
};
