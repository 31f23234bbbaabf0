// This file contains the value accessors of ParamObj.
#include "host/syntax/param_obj.h"

#include "host/messages/parser_message.h"
#include "host/syntax/descriptors.h"
#include "host/syntax/file_path.h"

namespace {
bool IsWord(const TokenInfoObj& token) {
  return token.IsString();
}
} // namespace

bool ParamObj::getIntegerValue(int& value) const {
  if (!OneToken() || !tokens_[0].IsInteger())
    return false;
  value = tokens_[0].getInteger();
  return true;
}

bool ParamObj::getNumberValue(double& value) const {
  if (!OneToken() || !tokens_[0].IsNumber())
    return false;
  value = tokens_[0].getNumber();
  return true;
}

bool ParamObj::getNumberList(std::vector<double>& list) const {
  if (tokens_.empty())
    return false;
  std::vector<double> numbers;
  for (const auto& token : tokens_) {
    if (!token.IsNumber())
      return false;
    numbers.push_back(token.getNumber());
  }
  list = std::move(numbers);
  return true;
}

bool ParamObj::getStringGeneric(std::string& text) const {
  if (!OneToken() || !IsWord(tokens_[0]))
    return false;
  text = tokens_[0].getString();
  return true;
}

bool ParamObj::getUpStringGeneric(std::string& text) const {
  if (!OneToken() || !IsWord(tokens_[0]))
    return false;
  text = tokens_[0].getUpperString();
  return true;
}

bool ParamObj::getStringList(std::vector<std::string>& list) const {
  if (tokens_.empty())
    return false;
  std::vector<std::string> words;
  for (const auto& token : tokens_) {
    if (!IsWord(token))
      return false;
    words.push_back(token.getString());
  }
  list = std::move(words);
  return true;
}

bool ParamObj::getTokenList(std::vector<TokenInfoObj>& list) const {
  if (!made_)
    return false;
  list = tokens_;
  return true;
}

bool ParamObj::getVarList(std::vector<QuorVarName>& list) const {
  if (tokens_.empty())
    return false;
  std::vector<QuorVarName> names;
  for (const auto& token : tokens_) {
    QuorVarName name;
    if (!token.getVarName(name))
      return false;
    names.push_back(std::move(name));
  }
  list = std::move(names);
  return true;
}

bool ParamObj::getVarName(QuorVarName& name) const {
  return OneToken() && tokens_[0].getVarName(name);
}

bool ParamObj::getVarName(std::string& name) const {
  return OneToken() && tokens_[0].getVarName(name);
}

bool ParamObj::getLiteral(std::string& text) const {
  if (!OneToken() || !tokens_[0].IsLiteral())
    return false;
  text = tokens_[0].getString();
  return true;
}

bool ParamObj::getStringOrLiteral(std::string& text, bool& quoted) const {
  if (!OneToken() || !IsWord(tokens_[0]))
    return false;
  text = tokens_[0].getString();
  quoted = tokens_[0].IsLiteral();
  return true;
}

bool ParamObj::getFilePath(std::string& path, bool for_output, bool check_access) const {
  std::string raw;
  bool quoted = false;
  std::string expanded;
  if (!getStringOrLiteral(raw, quoted) || !host::ExpandUserPath(raw, expanded))
    return false;
  if (check_access && !host::CheckCommandFile(expanded, for_output)) return false;
  path = std::move(expanded);
  return true;
}

bool ParamObj::getStringAndQual(std::pair<std::string, ParamObj>& out,
                                const ParamDescriptor* descriptor, ParserMessage* messages) const {
  std::pair<std::string, ParamObj> result;
  if (!qualifiers_.empty()) {
    result.first = qualifiers_.front().name_;
    result.second = qualifiers_.front();
  } else if (OneToken() && tokens_[0].IsString() && !tokens_[0].IsLiteral()) {
    result.first = tokens_[0].getUpperString();
    result.second.made_ = true;
    result.second.name_ = result.first;
    result.second.ext_name_ = result.first;
    result.second.subcommand_ = subcommand_;
    result.second.keyword_ = tokens_[0];
  } else {
    if (messages != nullptr)
      messages->SyntaxErrorInParam(getStringToken(), name_, subcommand_);
    return false;
  }
  if (descriptor != nullptr && descriptor->getQualifDesc(result.first) == nullptr) {
    if (messages != nullptr)
      messages->InvalidParamOption(result.first, name_, subcommand_);
    return false;
  }
  out = std::move(result);
  return true;
}

bool ParamObj::getStringQualList(std::vector<ParamObj>& list, const ParamDescriptor* descriptor,
                                 ParserMessage* messages) const {
  if (!made_ || (!qualified_ && !tokens_.empty()))
    return false;
  if (descriptor != nullptr) {
    for (const auto& qualifier : qualifiers_) {
      if (descriptor->getQualifDesc(qualifier.name_) == nullptr) {
        if (messages != nullptr)
          messages->InvalidParamOption(qualifier.name_, name_, subcommand_);
        return false;
      }
    }
  }
  list = qualifiers_;
  return true;
}

const TokenInfoObj* ParamObj::getTokenObj(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= tokens_.size())
    return nullptr;
  return &tokens_[static_cast<std::size_t>(index)];
}

std::string ParamObj::getStringToken() const {
  std::string text;
  for (const auto& token : tokens_) {
    if (!text.empty())
      text += ' ';
    text += host::SourceText(token.Token());
  }
  return text;
}

bool ParamObj::isLeadingToken() const {
  return made_ && !areParenUsed() && tokens_.size() <= 1;
}

bool ParamObj::areParenUsed() const {
  if (paren_used_)
    return true;
  for (const auto& token : tokens_) {
    if (token.getOperatorCode() == host::kOpOpenParen)
      return true;
  }
  return false;
}

bool ParamObj::isOperatorValue(int code) const {
  return OneToken() && tokens_[0].IsOperator() && tokens_[0].getOperatorCode() == code;
}

bool ParamObj::isStringValueCase(const std::string& text) const {
  return OneToken() && IsWord(tokens_[0]) && tokens_[0].getUpperString() == host::UpperAscii(text);
}

bool ParamObj::processSysFileSpec(int kind, ParserMessage* messages) const {
  constexpr int kOutputCaseFile = 23;
  if (isOperatorValue(host::kOpAsterisk))
    return true;
  std::string text;
  bool quoted = false;
  if (!getStringOrLiteral(text, quoted)) {
    if (messages != nullptr)
      messages->FileNameInvalid(getStringToken());
    return false;
  }
  if (!quoted) {
    if (host::IsValidDatasetName(text))
      return true;
    if (messages != nullptr)
      messages->FileNameInvalid(text);
    return false;
  }
  std::string path;
  if (!host::ExpandUserPath(text, path)) {
    if (messages != nullptr)
      messages->FileNameInvalid(text);
    return false;
  }
  const bool ok =
      kind == kOutputCaseFile ? host::IsWritableLocation(path) : host::IsReadableFile(path);
  if (!ok && messages != nullptr)
    messages->FileNoAccess(path, name_, subcommand_);
  return ok;
}

const ParamObj* ParamObj::FindQualifier(const std::string& name) const {
  const std::string upper = host::UpperAscii(name);
  for (const auto& qualifier : qualifiers_) {
    if (qualifier.name_ == upper)
      return &qualifier;
  }
  return nullptr;
}
