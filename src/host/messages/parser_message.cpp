// This file contains ParserMessage: each method names its string-table entry and arguments.
#include "host/messages/parser_message.h"

#include <charconv>

#include "host/messages/fac_st_dictionary.h"
#include "host/session.h"

namespace {
using host::Severity;

std::string NumberText(double value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string Join(const std::vector<std::string>& names) {
  std::string out;
  for (const auto& name : names) out += (out.empty() ? "" : ", ") + name;
  return out;
}
}  // namespace

ParserMessage::ParserMessage() = default;

void ParserMessage::SetCommandName(const std::string& name) { command_name_ = name; }
void ParserMessage::SetProcedureTitle(const std::string& title) { procedure_title_ = title; }

void ParserMessage::Emit(Severity severity, const std::string& source, bool by_key,
                         std::vector<std::string> args) {
  // Keys stand in the table under their own name; methods under "ParserMessage.".
  const std::string table_key = by_key ? source : "ParserMessage." + source;
  while (!args.empty() && args.back().empty()) args.pop_back();
  host::MessageRecord record;
  record.severity = severity;
  record.source = source;
  record.text = FacSTDictionary::Shared().Format(table_key, args);
  record.args = std::move(args);
  record.command = command_name_;
  if (severity == Severity::Error) ++errors_;
  if (severity == Severity::Warning) ++warnings_;
  raised_.push_back(record);
  if (host::Session* session = host::CurrentSession()) session->Post(std::move(record));
}

void ParserMessage::SimpleError(const std::string& key, const std::string& a1,
                                const std::string& a2, const std::string& a3,
                                const std::string& a4, const std::string& a5) {
  Emit(Severity::Error, key, true, {a1, a2, a3, a4, a5});
}
void ParserMessage::SimpleWarning(const std::string& key, const std::string& a1,
                                  const std::string& a2, const std::string& a3,
                                  const std::string& a4, const std::string& a5) {
  Emit(Severity::Warning, key, true, {a1, a2, a3, a4, a5});
}
void ParserMessage::GenericError(const std::string& key, const std::string& a1,
                                 const std::string& a2, const std::string& a3,
                                 const std::string& a4, const std::string& a5) {
  Emit(Severity::Error, key, true, {a1, a2, a3, a4, a5});
}
void ParserMessage::GenericWarning(const std::string& key, const std::string& a1,
                                   const std::string& a2, const std::string& a3,
                                   const std::string& a4, const std::string& a5) {
  Emit(Severity::Warning, key, true, {a1, a2, a3, a4, a5});
}
std::string ParserMessage::GetTranslatedText(const std::string& key, const std::string& a1,
                                             const std::string& a2, const std::string& a3,
                                             const std::string& a4,
                                             const std::string& a5) const {
  return FacSTDictionary::Shared().Format(key, {a1, a2, a3, a4, a5});
}

void ParserMessage::HostError(const std::string& key, const std::vector<std::string>& args) {
  Emit(Severity::Error, key, true, args);
}

#define TCM_ERROR(Method, ...) Emit(Severity::Error, #Method, false, {__VA_ARGS__})
#define TCM_WARNING(Method, ...) Emit(Severity::Warning, #Method, false, {__VA_ARGS__})

using S = const std::string&;

void ParserMessage::NoSubCom() { TCM_ERROR(NoSubCom); }
void ParserMessage::SubComRequired(S name) { TCM_ERROR(SubComRequired, name); }
void ParserMessage::SubComRequired(const std::vector<std::string>& names) {
  TCM_ERROR(SubComRequired, Join(names));
}
void ParserMessage::SubComNeedSubCom(S a, S b) { TCM_ERROR(SubComNeedSubCom, a, b); }
void ParserMessage::InvalidSubComName(S name) { TCM_ERROR(InvalidSubComName, name); }
void ParserMessage::ModeUnknown(S text) { TCM_ERROR(ModeUnknown, text); }
void ParserMessage::InvalidParam(S param, S sub) { TCM_ERROR(InvalidParam, param, sub); }
void ParserMessage::InvalidParamValue(S value, S param, S sub) {
  TCM_ERROR(InvalidParamValue, value, param, sub);
}
void ParserMessage::InvalidParamValue(double number, S param, S sub) {
  TCM_ERROR(InvalidParamValue, NumberText(number), param, sub);
}
void ParserMessage::InvalidParamOption(S option, S param, S sub) {
  TCM_ERROR(InvalidParamOption, option, param, sub);
}
void ParserMessage::IgnoredParam(S param, S sub) { TCM_WARNING(IgnoredParam, param, sub); }
void ParserMessage::IgnoredParamValue(S value, S param, S sub) {
  TCM_WARNING(IgnoredParamValue, value, param, sub);
}
void ParserMessage::IgnoredParamOtherParamValue(S param, S other, S other_value, S sub) {
  TCM_WARNING(IgnoredParamOtherParamValue, param, other, other_value, sub);
}
void ParserMessage::ParamRequiredForSubCom(S param, S sub) {
  TCM_ERROR(ParamRequiredForSubCom, param, sub);
}
void ParserMessage::ParamNeedParam(S param, S needed, S sub) {
  TCM_ERROR(ParamNeedParam, param, needed, sub);
}
void ParserMessage::ParamNeedQualif(S param, S sub, S qualifier) {
  TCM_ERROR(ParamNeedQualif, param, sub, qualifier);
}
void ParserMessage::ParamExclusive(S a, S b, S sub) { TCM_ERROR(ParamExclusive, a, b, sub); }
void ParserMessage::ParamExclAnyOther(S value, S param) {
  TCM_ERROR(ParamExclAnyOther, value, param);
}
void ParserMessage::ParamRepeated(S param, S sub) { TCM_ERROR(ParamRepeated, param, sub); }
void ParserMessage::ParamValueRepeat(S value, S sub, S param) {
  TCM_ERROR(ParamValueRepeat, value, sub, param);
}
void ParserMessage::ParamNeedInteger(S param, S sub) { TCM_ERROR(ParamNeedInteger, param, sub); }
void ParserMessage::ParamNeedIntegerList(S param, S sub) {
  TCM_ERROR(ParamNeedIntegerList, param, sub);
}
void ParserMessage::ParamNeedNumber(S param, S sub) { TCM_ERROR(ParamNeedNumber, param, sub); }
void ParserMessage::ParamNeedNumberList(S param, S sub) {
  TCM_ERROR(ParamNeedNumberList, param, sub);
}
void ParserMessage::ParamNeedStringList(S param, S sub) {
  TCM_ERROR(ParamNeedStringList, param, sub);
}
void ParserMessage::ParamNeedVarList(S param, S sub) { TCM_ERROR(ParamNeedVarList, param, sub); }
void ParserMessage::ParamMustBeString(S param, S sub) { TCM_ERROR(ParamMustBeString, param, sub); }
void ParserMessage::ParamQuotedString(S param, S sub) { TCM_ERROR(ParamQuotedString, param, sub); }
void ParserMessage::ParamNeedAmerDate(S param, S sub) { TCM_ERROR(ParamNeedAmerDate, param, sub); }
void ParserMessage::ParamNeedEuroDate(S param, S sub) { TCM_ERROR(ParamNeedEuroDate, param, sub); }
void ParserMessage::ParamLessOtherParam(S a, S b, S sub) {
  TCM_ERROR(ParamLessOtherParam, a, b, sub);
}
void ParserMessage::SyntaxErrorInParam(S text, S param, S sub) {
  TCM_ERROR(SyntaxErrorInParam, text, param, sub);
}
void ParserMessage::SyntaxErrorAfterText(S text, S param, S sub) {
  TCM_ERROR(SyntaxErrorAfterText, text, param, sub);
}
void ParserMessage::SyntaxErrorInText(S text, S param, S sub) {
  TCM_ERROR(SyntaxErrorInText, text, param, sub);
}
void ParserMessage::VariableNotInDict(S name, S param, S sub) {
  TCM_ERROR(VariableNotInDict, name, param, sub);
}
void ParserMessage::InvalidVarName(S name, S param, S sub) {
  TCM_ERROR(InvalidVarName, name, param, sub);
}
void ParserMessage::VarNameRepeated(S name) { TCM_ERROR(VarNameRepeated, name); }
void ParserMessage::NoVarNameAfterSymbol(S a, S b, S c) {
  TCM_ERROR(NoVarNameAfterSymbol, a, b, c);
}
void ParserMessage::WordNeedVarName(S a, S b, S c) { TCM_ERROR(WordNeedVarName, a, b, c); }
void ParserMessage::TooLongVarList(S a, S b, int n) {
  TCM_ERROR(TooLongVarList, a, b, std::to_string(n));
}
void ParserMessage::InvalidCatValue(S value, S var, S param, S sub) {
  TCM_ERROR(InvalidCatValue, value, var, param, sub);
}
void ParserMessage::NeedDepVarCat(S var, S param, S sub) {
  TCM_ERROR(NeedDepVarCat, var, param, sub);
}
void ParserMessage::FileNameInvalid(S name) { TCM_ERROR(FileNameInvalid, name); }
void ParserMessage::FileNoAccess(S name) { TCM_ERROR(FileNoAccess, name); }
void ParserMessage::FileNoAccess(S name, S param, S sub) {
  TCM_ERROR(FileNoAccess, name, param, sub);
}
void ParserMessage::FileTwoSubCom(S a, S b, S c) { TCM_ERROR(FileTwoSubCom, a, b, c); }
