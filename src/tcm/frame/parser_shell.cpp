// This file contains the parser shells' common part: ParseCommand and the shared small readers.
#include "tcm/frame/parser_shell.h"

#include <cstring>

#include "host/syntax/file_path.h"
#include "host/syntax/universal_parser.h"

TCMParserShell::TCMParserShell(QUOR_TokenSequence& tokens, ValidSpec* spec,
                               CommandContext* context, ProcedureDataSource* dataSource)
    : CommandDescriptor(context->GetCommandName(), context->GetProcedureTitle()),
      tokens(tokens),
      spec(spec),
      context(context),
      dataSource(dataSource),
      messages(&context->GetParserMessage()) {}

bool TCMParserShell::ParseCommand() {
  CommandSpec result;
  BuildTree();
  UniversalParser parser(tokens, result, *this, messages);
  if (parser.getCommandSpecifications() != 0) return false;
  return ReadCommand(result);
}

std::vector<int32_t> TCMParserShell::AnalysisVariableIndices() const {
  return std::vector<int32_t>(usedVariables.begin(), usedVariables.end());
}

bool TCMParserShell::ReadDebug(const GroupComObj& global) {
  if (global.getSubComObj("DEBUG_") != nullptr) spec->debug = true;
  return true;
}

bool ReadYesNo(const ParamObj* param, bool fallback) {
  if (param == nullptr) return fallback;
  if (param->isStringValueCase("YES")) return true;
  if (param->isStringValueCase("NO")) return false;
  return fallback;
}

void AddYesNoParam(SubComDescriptor& subcommand, const std::string& name, bool required) {
  static const char* const kYesNo[] = {"YES", "NO", nullptr};
  AddKeywordParam(subcommand, name, kYesNo, false, required);
}

void AddKeywordParam(SubComDescriptor& subcommand, const std::string& name,
                     const char* const* keywords, bool asList, bool required) {
  ParamDescriptor param(name, UPSpecTypes::ParamSpec{asList ? 5 : 3}, required, true,
                        UPSpecTypes::BracketOptions{0});
  for (const char* const* keyword = keywords; *keyword != nullptr; ++keyword) {
    param.addStringValue(*keyword);
  }
  subcommand.addParamDesc(param);
}

bool KeywordInList(const char* const* list, const std::string& text) {
  for (const char* const* keyword = list; *keyword != nullptr; ++keyword) {
    if (text == *keyword) return true;
  }
  return false;
}

bool ResolvePath(std::string& out, const ParamObj* param, bool forInput, bool forOutput,
                 ParserMessage* messages) {
  std::string value;
  bool quoted = false;
  if (param == nullptr || !param->getStringOrLiteral(value, quoted)) return false;
  std::string path = value;
  if (path.size() > 2 && path[0] == '*' && (path[1] == '/' || path[1] == '\\')) {
    path = host::TempFolder() + "/" + path.substr(2);
  }
  const std::string extended = GetExtendFilePath(path, forInput, false, forOutput);
  if (extended.empty()) {
    out = value;
    if (messages != nullptr) {
      messages->FileNoAccess(value, param->getParamName(), param->getSubComExtName());
    }
    return false;
  }
  out = extended;
  return true;
}
