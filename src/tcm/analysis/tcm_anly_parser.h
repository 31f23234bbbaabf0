// This file contains TCMAnlyParser: the descriptor tree of TCM ANALYSIS and the reading of the
// parsed command into TCMAnlySpec. The expressions file comes first, then the model system,
// the scenario period, the target lists, the scenarios and groups, and the output subcommands.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/frame/parser_shell.h"

// Adds every subcommand of the command, DEBUG_ first, to `tree`.
void AddTCMAnalysisTree(CommandDescriptor& tree);

class TCMAnlyParser : public TCMParserShell {
 public:
  TCMAnlyParser(QUOR_TokenSequence& tokens, TCMAnlySpec* spec, CommandContext* context,
                ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource), anlySpec(spec) {}

  TCMAnlySpec* anlySpec;

 protected:
  void BuildTree() override;
  bool ReadCommand(CommandSpec& result) override;
  bool ReadGlobalGroup(const GroupComObj& global);

  // EXPRESSIONS: the file's path and the names and field references of its expressions.
  bool ReadExpressions(const SubComObj& subcommand);
  // MODELSYSTEM, then the model's settings. The graph is read only when expressions read fields.
  bool ReadModelSystem(const SubComObj& subcommand);

  // SCENARIOPERIOD with its order checks; the model settings must be read. (read_scenario_period.cpp)
  bool ReadScenarioPeriod(const SubComObj& subcommand);
  // START, END or PREDICTTHRU (`name`): a date into `time` and `format`, or integers into
  // `periods` (one offset when relative). Absent, it gives nothing and succeeds.
  bool ReadPeriodBound(const SubComObj& subcommand, const std::string& name, int64_t& time,
                       int32_t& format, std::vector<int32_t>& periods);

  // (read_scenarios.cpp) Each appends its record; `number` counts the repetitions from 1.
  bool ReadTargetList(const SubComObj& subcommand);
  bool ReadScenario(const SubComObj& subcommand, int number);
  bool ReadScenarioGroup(const SubComObj& subcommand, int number);
  // ROOTFIELD of a scenario or group: a variable of the dictionary, in its spelling.
  bool ReadRootField(const SubComObj& subcommand, std::string& rootField);
  // An expression's name must be one of the file's, without regard to case; `missingKey` names
  // the fault of an unknown one.
  bool CheckExpressionName(const std::string& name, const std::string& subcommand, int number,
                           const std::string& missingKey);
  // EFFECTS, if present: AUTOMATIC, or TARGETLIST with the ID of a list read before.
  bool ReadEffects(const SubComObj& subcommand, int number, const std::string& missingKey,
                   bool& automatic, std::string& listId);
  // A list that nobody refers to is no fault, but the user is told.
  void WarnUnusedTargetLists();

  bool ReadOptions(const SubComObj& subcommand);

 private:
  std::vector<std::string> seenScenarioIds;  // upper-cased IDs read so far
  std::vector<std::string> seenPrefixes;     // upper-cased prefixes read so far
  std::set<std::string> listIds;             // upper-cased LISTIDs, "" for a list without one
  std::set<std::string> usedListIds;         // upper-cased list names a scenario or group names
};
