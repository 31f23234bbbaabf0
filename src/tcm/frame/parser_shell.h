// This file contains the part that the three parser shells share: the members every reader
// uses, the three-stage ParseCommand (build the tree, parse, read), and the small readers and
// tree builders that all commands use.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/syntax/descriptors.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/param_obj.h"
#include "host/syntax/token_sequence.h"
#include "tcm/frame/command_context.h"
#include "tcm/frame/spec/valid_spec.h"

struct FieldsSpec;
// The fields a SERIESFILTER may name: the lists of one FIELDS subcommand.
struct FieldsGroupRef {
  const std::vector<QuorVarName>* targets;
  const std::vector<QuorVarName>* inputs;
  const std::vector<QuorVarName>* force;
};

class TCMParserShell : public CommandDescriptor {
 public:
  TCMParserShell(QUOR_TokenSequence& tokens, ValidSpec* spec, CommandContext* context,
                 ProcedureDataSource* dataSource);

  // Builds the tree, runs the host's parser and reads the result into the command's settings. False means a
  // failure was reported already.
  bool ParseCommand();
  // The dictionary indexes of the variables the command names, ascending.
  std::vector<int32_t> AnalysisVariableIndices() const;

  QUOR_TokenSequence& tokens;
  ValidSpec* spec;
  CommandContext* context;
  ProcedureDataSource* dataSource;
  ParserMessage* messages;
  std::set<int32_t> usedVariables;

 protected:
  // Adds every subcommand of the command to this tree.
  virtual void BuildTree() = 0;
  // Reads a successfully parsed command into the command's settings.
  virtual bool ReadCommand(CommandSpec& result) = 0;

  // `DEBUG_`, the first subcommand of every command, sets the settings' debug flag; reading it
  // cannot fail.
  bool ReadDebug(const GroupComObj& global);

  // Readers that TCM MODEL and TCM APPLY share; each fills `spec`, reports its first fault
  // and gives false then. (read_field_list.cpp)
  // Reads a list of variables with TO ranges and ALL into `out` (dictionary spelling, no
  // duplicates, in the order of a set); string variables that are no dimensions are set aside
  // with a warning. `numericOnly` refuses dimensions and time variables. On a saved model
  // system ALL is refused and a TO range may run backwards. `targets` is the stricter list of
  // TARGETLIST: ALL is no name at all, and a dimension or time variable is refused as
  // WRONG_TARGET_FIELD_KEY (it implies `numericOnly`).
  bool ReadFieldList(const ParamObj& param, std::vector<QuorVarName>& out,
                     const std::string& subcommand, bool numericOnly, bool targets = false);
  bool CheckField(const std::string& name, const std::string& param, const std::string& subcommand,
                  std::vector<QuorVarName>& set, std::vector<std::string>& ignored,
                  bool numericOnly, bool targets = false);
  // The time variables of the settings: timeVar, periodVar and the cycle variables.
  bool IsTimeVariable(const std::string& name) const;

  // ESTIMATIONPERIOD of BUILDOPTIONS or OPTIONS, `subcommand` naming which in messages; the
  // time type and time variables must be known. (read_estimation_period.cpp)
  bool ReadEstimationPeriod(const ParamObj& param, const std::string& subcommand);
  // A date literal of TIMES (or of a scenario period) into `time` and its print format `kind`:
  // read as the time variable's values by `formatKind` 0, as ISO 8601 by 1; -1 is FORMAT not
  // given. The messages name TIMES and `subcommand`.
  bool ReadDateLiteral(const std::string& literal, int32_t formatKind, int64_t& time,
                       int32_t& kind, const std::string& subcommand);
  // START or END of TIMES: a date literal into `time` and `kind`, or period integers.
  bool ReadPeriodValue(const std::vector<TokenInfoObj>& tokens, int64_t& time,
                       std::vector<int32_t>& periods, int32_t& kind,
                       const std::string& subcommand);
  // FORECASTPERIODS, CILEVEL or OUTLIERTHRESH (`name`) of BUILDOPTIONS or OPTIONS (`owner`), if
  // present.
  bool ReadBuildNumber(const SubComObj& subcommand, const std::string& name,
                       const std::string& owner);
  // True for the commands on a saved model system, whose messages differ in places.
  bool OnSavedModel() const;

  // (read_output.cpp)
  bool ReadTargetFilter(const SubComObj& subcommand);
  // All SERIESFILTER subcommands; their fields must be targets, inputs or forced inputs of
  // `fieldsGroups` (empty for a command without field groups: then any field passes).
  bool ReadSeriesFilters(const GroupComObj& global, const std::vector<FieldsGroupRef>& groups);
  // Reads FIELDS of one SERIESFILTER into the list, checked; false once a fault was reported.
  using SeriesFieldsReader =
      std::function<bool(const ParamObj& fields, std::vector<QuorVarName>& out)>;
  // All SERIESFILTER subcommands, their fields read by `readFields`.
  bool ReadSeriesFilters(const GroupComObj& global, const SeriesFieldsReader& readFields);
  // All FILTEREDOUTPUT subcommands, then the merge that keeps at most two records.
  bool ReadFilteredOutputs(const GroupComObj& global);
  bool ReadSystemOutput(const SubComObj& subcommand);
  bool ReadSave(const SubComObj& subcommand);
  bool ReadPassProtect(const SubComObj& subcommand);
  // OUTFILE: MODELSYSTEM, then DATA with the password. A command may add rules of its own.
  virtual bool ReadOutfile(const SubComObj& subcommand);
  // SYSTEMOUTPUT, SAVE, PASSPROTECT and OUTFILE, each if present, then the warning below.
  // PASSPROTECT comes before OUTFILE whatever the order written: the data file takes the password.
  bool ReadOutputAndFiles(const GroupComObj& global);
  // After OUTFILE: a password with no data file to protect warns that it is not used.
  void WarnPasswordWithoutFile();
};

// Keeps at most two FILTEREDOUTPUT records: the last written for each series type wins, and a
// final BOTH stands alone. The result starts with the record written last.
std::vector<FilteredOutputSpec> MergeFilteredOutputs(const std::vector<FilteredOutputSpec>& records);
// The root name a SAVE keyword gets when none is written.
std::string DefaultRootName(const std::string& keyword);

// The text of a path parameter as written, for messages.
std::string WrittenPath(const ParamObj& param);
// A YES/NO parameter: null gives the fallback, YES true, NO false, anything else the fallback.
bool ReadYesNo(const ParamObj* param, bool fallback);
// Adds a parameter of role 3 with the equals sign and the values "YES" and "NO".
void AddYesNoParam(SubComDescriptor& subcommand, const std::string& name, bool required);
// Adds a parameter with the equals sign, a list of keywords (role 5) or one of them (role 3).
void AddKeywordParam(SubComDescriptor& subcommand, const std::string& name,
                     const char* const* keywords, bool asList, bool required);
// Exact comparison over a null-terminated table.
bool KeywordInList(const char* const* list, const std::string& text);
// Reads a path parameter: "*/" or "*\" at the front stands for the temporary folder; the
// result goes through the host's expansion. When that fails the input is kept and, with
// `messages`, FileNoAccess is reported; false then.
bool ResolvePath(std::string& out, const ParamObj* param, bool forInput, bool forOutput,
                 ParserMessage* messages);
