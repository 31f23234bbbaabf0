// This file contains ParserMessage: the one way syntax and module checks report errors and
// warnings. Every method writes its message to the output at once; the text comes from the
// string table (a message key of the module, or the method's own entry "ParserMessage.<Method>").
#pragma once

#include <string>
#include <vector>

#include "host/output/document.h"

class ParserMessage {
 public:
  ParserMessage();

  void SetCommandName(const std::string& name);
  void SetProcedureTitle(const std::string& title);
  const std::string& GetCommandName() const { return command_name_; }
  const std::string& GetProcedureTitle() const { return procedure_title_; }

  // Messages of the module, by key.
  void SimpleError(const std::string& key, const std::string& a1 = {}, const std::string& a2 = {},
                   const std::string& a3 = {}, const std::string& a4 = {},
                   const std::string& a5 = {});
  void SimpleWarning(const std::string& key, const std::string& a1 = {},
                     const std::string& a2 = {}, const std::string& a3 = {},
                     const std::string& a4 = {}, const std::string& a5 = {});
  void GenericError(const std::string& key, const std::string& a1 = {},
                    const std::string& a2 = {}, const std::string& a3 = {},
                    const std::string& a4 = {}, const std::string& a5 = {});
  void GenericWarning(const std::string& key, const std::string& a1 = {},
                      const std::string& a2 = {}, const std::string& a3 = {},
                      const std::string& a4 = {}, const std::string& a5 = {});
  // The text of a key with its arguments, for use in output; writes nothing.
  std::string GetTranslatedText(const std::string& key, const std::string& a1 = {},
                                const std::string& a2 = {}, const std::string& a3 = {},
                                const std::string& a4 = {}, const std::string& a5 = {}) const;

  // Syntax messages of the parser and the readers. Names of parameters and subcommands are
  // passed upper case, as the descriptor tree has them.
  void NoSubCom();
  void SubComRequired(const std::string& name);
  void SubComRequired(const std::vector<std::string>& names);
  void SubComNeedSubCom(const std::string& a, const std::string& b);
  void InvalidSubComName(const std::string& name);
  void ModeUnknown(const std::string& text);
  void InvalidParam(const std::string& param, const std::string& subcommand);
  void InvalidParamValue(const std::string& value, const std::string& param,
                         const std::string& subcommand);
  void InvalidParamValue(double number, const std::string& param, const std::string& subcommand);
  void InvalidParamOption(const std::string& option, const std::string& param,
                          const std::string& subcommand);
  void IgnoredParam(const std::string& param, const std::string& subcommand);
  void IgnoredParamValue(const std::string& value, const std::string& param,
                         const std::string& subcommand);
  void IgnoredParamOtherParamValue(const std::string& param, const std::string& other_param,
                                   const std::string& other_value, const std::string& subcommand);
  void ParamRequiredForSubCom(const std::string& param, const std::string& subcommand);
  void ParamNeedParam(const std::string& param, const std::string& needed,
                      const std::string& subcommand);
  void ParamNeedQualif(const std::string& param, const std::string& subcommand,
                       const std::string& qualifier);
  void ParamExclusive(const std::string& a, const std::string& b, const std::string& subcommand);
  void ParamExclAnyOther(const std::string& value, const std::string& param);
  void ParamRepeated(const std::string& param, const std::string& subcommand);
  void ParamValueRepeat(const std::string& value, const std::string& subcommand,
                        const std::string& param);
  void ParamNeedInteger(const std::string& param, const std::string& subcommand);
  void ParamNeedIntegerList(const std::string& param, const std::string& subcommand);
  void ParamNeedNumber(const std::string& param, const std::string& subcommand);
  void ParamNeedNumberList(const std::string& param, const std::string& subcommand);
  void ParamNeedStringList(const std::string& param, const std::string& subcommand);
  void ParamNeedVarList(const std::string& param, const std::string& subcommand);
  void ParamMustBeString(const std::string& param, const std::string& subcommand);
  void ParamQuotedString(const std::string& param, const std::string& subcommand);
  void ParamNeedAmerDate(const std::string& param, const std::string& subcommand);
  void ParamNeedEuroDate(const std::string& param, const std::string& subcommand);
  void ParamLessOtherParam(const std::string& a, const std::string& b,
                           const std::string& subcommand);
  void SyntaxErrorInParam(const std::string& text, const std::string& param,
                          const std::string& subcommand);
  void SyntaxErrorAfterText(const std::string& text, const std::string& param,
                            const std::string& subcommand);
  void SyntaxErrorInText(const std::string& text, const std::string& param,
                         const std::string& subcommand);
  void VariableNotInDict(const std::string& name, const std::string& param,
                         const std::string& subcommand);
  void InvalidVarName(const std::string& name, const std::string& param,
                      const std::string& subcommand);
  void VarNameRepeated(const std::string& name);
  void NoVarNameAfterSymbol(const std::string& a, const std::string& b, const std::string& c);
  void WordNeedVarName(const std::string& a, const std::string& b, const std::string& c);
  void TooLongVarList(const std::string& a, const std::string& b, int n);
  void InvalidCatValue(const std::string& value, const std::string& var, const std::string& param,
                       const std::string& subcommand);
  void NeedDepVarCat(const std::string& var, const std::string& param,
                     const std::string& subcommand);
  void FileNameInvalid(const std::string& name);
  void FileNoAccess(const std::string& name);
  void FileNoAccess(const std::string& name, const std::string& param,
                    const std::string& subcommand);
  void FileTwoSubCom(const std::string& a, const std::string& b, const std::string& c);

  // Errors of the host's own that have no fixed method (tokenizer faults with their line, a
  // broken file): raised with a string-table key like the module's.
  void HostError(const std::string& key, const std::vector<std::string>& args);

  // How many errors and warnings this object raised.
  int ErrorCount() const { return errors_; }
  int WarningCount() const { return warnings_; }
  // The messages this object raised, in order (also posted to the session's output).
  const std::vector<host::MessageRecord>& Raised() const { return raised_; }

 private:
  void Emit(host::Severity severity, const std::string& source, bool by_key,
            std::vector<std::string> args);

  std::string command_name_;
  std::string procedure_title_;
  int errors_ = 0;
  int warnings_ = 0;
  std::vector<host::MessageRecord> raised_;
};
