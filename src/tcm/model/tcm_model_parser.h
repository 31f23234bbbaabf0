// This file contains TCMModelParser: the descriptor tree of TCM MODEL and the reading of the
// parsed command into TCMModelValidSpecs, in a fixed order whatever the order written.
#pragma once

#include <string>
#include <vector>

#include "tcm/frame/parser_shell.h"
#include "tcm/model/tcm_model_spec.h"

// Adds every subcommand of the command, DEBUG_ first, to `tree`.
void AddTCMModelTree(CommandDescriptor& tree);

class TCMModelParser : public TCMParserShell {
 public:
  TCMModelParser(QUOR_TokenSequence& tokens, TCMModelValidSpecs* spec, CommandContext* context,
                 ProcedureDataSource* dataSource)
      : TCMParserShell(tokens, spec, context, dataSource), modelSpec(spec) {}

  TCMModelValidSpecs* modelSpec;

 protected:
  void BuildTree() override;
  // The reading order: global group, field groups, then SERIESFILTER. (tcm_model_parser.cpp)
  bool ReadCommand(CommandSpec& result) override;
  bool ReadGlobalGroup(const GroupComObj& global);

  // DATASETTINGS. (read_data_settings.cpp)
  bool ReadDataSettings(const SubComObj& subcommand);
  bool ReadDimensions(const ParamObj& param);
  bool ReadTimeVar(const ParamObj& param);
  bool ReadInputInterval(const ParamObj& param);
  // The time axis from the dataset's date variables.
  bool ReadDateSpecification();
  bool ReadMethodList(const ParamObj& param, const char* const* table, std::string& method,
                      std::vector<FieldMethod>& overrides);

  // DATAFILTER, FIELDSGROUP and FIELDS. (read_fields.cpp)
  bool ReadDataFilter(const SubComObj& subcommand);
  // `position` is the group's position in the command's group list, for messages.
  bool ReadFieldsGroup(const GroupComObj& group, int position);
  bool ReadFields(const SubComObj& subcommand, FieldsSpec& fields);

  // BUILDOPTIONS. (read_build_options.cpp)
  bool ReadBuildOptions(const SubComObj& subcommand);
};
