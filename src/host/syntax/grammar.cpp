// This file contains the grammar of parameters, qualifiers and subcommands.
#include "host/syntax/grammar.h"

#include <map>

#include "host/messages/parser_message.h"

namespace host::syntax_detail {
namespace {
using UPSpecTypes::ParamSpec;

bool TakesQualifiers(const ParamDescriptor& descriptor) {
  return descriptor.Spec() == ParamSpec::KeywordQualifier ||
         descriptor.Spec() == ParamSpec::QualifierList;
}

bool IsListSpec(ParamSpec spec) {
  return spec == ParamSpec::TokenList || spec == ParamSpec::KeywordList ||
         spec == ParamSpec::NumberList;
}

bool IsNumericSpec(ParamSpec spec) {
  return spec == ParamSpec::Number || spec == ParamSpec::NumberList || spec == ParamSpec::Integer;
}

std::string Shown(const Token& token) {
  return token.IsName() ? token.upper : SourceText(token);
}

std::string Joined(const std::vector<TokenInfoObj>& tokens) {
  std::string text;
  for (const auto& token : tokens)
    text += (text.empty() ? "" : " ") + SourceText(token.Token());
  return text;
}

bool HasParam(const SubComObj& subcom, const std::string& name) {
  return subcom.getParamObj(name) != nullptr;
}
} // namespace

Grammar::Grammar(const std::vector<Token>& tokens, const CommandDescriptor& tree,
                 ParserMessage& messages)
    : tree_(tree), messages_(messages) {
  // A comma between items means nothing.
  for (const auto& token : tokens) {
    if (!token.IsOperator(kOpComma))
      tokens_.push_back(token);
  }
}

bool Grammar::AnyRequired() const {
  for (const auto& subcom : tree_.getGlobalGroupDesc()->SubComs()) {
    if (subcom.IsRequired())
      return true;
  }
  for (const auto& group : tree_.Groups()) {
    for (const auto& subcom : group.SubComs()) {
      if (subcom.IsRequired())
        return true;
    }
  }
  return false;
}

bool Grammar::Parse(CommandSpec& out) {
  if (tokens_.empty()) {
    if (AnyRequired()) {
      messages_.NoSubCom();
      return false;
    }
    out = CommandSpec();
    return true;
  }
  const GroupComDescriptor& global_tree = *tree_.getGlobalGroupDesc();
  GroupComObj global;
  global.global_ = true;
  std::vector<GroupComObj> instances;
  std::vector<std::size_t> instance_group;    // the tree's group of each instance
  std::map<std::size_t, std::size_t> current; // tree group -> its open instance
  const std::size_t n = tokens_.size();
  std::size_t pos = 0;
  while (pos < n) {
    const int slash_line = At(pos).line;
    if (At(pos).IsOperator(kOpSlash))
      ++pos;
    if (pos >= n || At(pos).IsOperator(kOpSlash)) {
      messages_.HostError("SYNTAX_SUBCOM_NAME_MISSING_KEY", {std::to_string(slash_line)});
      return false;
    }
    const Token& name = At(pos);
    const SubComDescriptor* descriptor = nullptr;
    std::size_t group_index = 0;
    bool is_global = false;
    if (name.IsName()) {
      descriptor = global_tree.getSubComDesc(name.upper);
      is_global = descriptor != nullptr;
      for (std::size_t g = 0; descriptor == nullptr && g < tree_.Groups().size(); ++g) {
        descriptor = tree_.Groups()[g].getSubComDesc(name.upper);
        group_index = g;
      }
    }
    if (descriptor == nullptr) {
      messages_.InvalidSubComName(Shown(name));
      return false;
    }
    std::size_t segment_end = pos + 1;
    while (segment_end < n && !At(segment_end).IsOperator(kOpSlash))
      ++segment_end;
    SubComObj subcom;
    subcom.name_ = descriptor->Name();
    subcom.ext_name_ = name.upper;
    subcom.line_ = name.line;
    if (!ParseSubCommand(*descriptor, pos + 1, segment_end, subcom))
      return false;
    pos = segment_end;

    const auto repeated = [&](const GroupComObj& group) {
      if (descriptor->IsRepeatable() || group.getSubComObj(descriptor->Name()) == nullptr) {
        return false;
      }
      messages_.HostError("SYNTAX_SUBCOM_REPEATED_KEY",
                          {std::to_string(name.line), descriptor->Name()});
      return true;
    };
    if (is_global) {
      if (repeated(global))
        return false;
      global.subcoms_.push_back(std::move(subcom));
      continue;
    }
    const GroupComDescriptor& group_tree = tree_.Groups()[group_index];
    const bool leading = group_tree.LeadingName() == descriptor->Name();
    auto open = current.find(group_index);
    if (leading || open == current.end()) {
      if (!leading && !group_tree.LeadingName().empty()) {
        messages_.SubComNeedSubCom(group_tree.LeadingName(), descriptor->Name());  // needed, needer
        return false;
      }
      instances.emplace_back();
      instance_group.push_back(group_index);
      current[group_index] = instances.size() - 1;
    } else if (!descriptor->IsSecond() && repeated(instances[open->second])) {
      return false;
    }
    instances[current[group_index]].subcoms_.push_back(std::move(subcom));
  }

  // Required subcommands: a global one must stand in the command; a member of a repeating
  // group must stand in at least one of the group's occurrences.
  std::vector<std::string> missing;
  for (const auto& subcom : global_tree.SubComs()) {
    if (subcom.IsRequired() && global.getSubComObj(subcom.Name()) == nullptr) {
      missing.push_back(subcom.Name());
    }
  }
  for (std::size_t g = 0; g < tree_.Groups().size(); ++g) {
    for (const auto& subcom : tree_.Groups()[g].SubComs()) {
      if (!subcom.IsRequired())
        continue;
      bool found = false;
      for (std::size_t i = 0; i < instances.size() && !found; ++i) {
        found = instance_group[i] == g && instances[i].getSubComObj(subcom.Name()) != nullptr;
      }
      if (!found)
        missing.push_back(subcom.Name());
    }
  }
  if (missing.size() == 1) {
    messages_.SubComRequired(missing.front());
    return false;
  }
  if (!missing.empty()) {
    messages_.SubComRequired(missing);
    return false;
  }

  CommandSpec spec;
  if (!global.subcoms_.empty())
    spec.groups_.push_back(std::move(global));
  for (auto& instance : instances)
    spec.groups_.push_back(std::move(instance));
  out = std::move(spec);
  return true;
}

bool Grammar::ParseSubCommand(const SubComDescriptor& descriptor, std::size_t begin,
                              std::size_t end, SubComObj& out) {
  subcommand_ = descriptor.Name();
  top_params_ = &descriptor.Params();
  const Scope scope{top_params_, nullptr};
  std::size_t pos = begin;
  while (pos < end) {
    const Token& name = At(pos);
    const ParamDescriptor* param = name.IsName() ? descriptor.getParamDesc(name.upper) : nullptr;
    if (param == nullptr) {
      messages_.InvalidParam(Shown(name), subcommand_);
      return false;
    }
    if (HasParam(out, param->Name())) {
      messages_.ParamRepeated(param->Name(), subcommand_);
      return false;
    }
    ParamObj value;
    if (!ParseParam(*param, subcommand_, pos, end, &scope, value))
      return false;
    out.params_.push_back(std::move(value));
  }
  for (const auto& param : descriptor.Params()) {
    if (param.IsRequired() && !HasParam(out, param.Name())) {
      messages_.ParamRequiredForSubCom(param.Name(), subcommand_);
      return false;
    }
  }
  if (out.params_.empty() && !descriptor.IsEmptyAllowed()) {
    messages_.HostError("SYNTAX_SUBCOM_EMPTY_KEY", {std::to_string(out.line_), descriptor.Name()});
    return false;
  }
  return true;
}

bool Grammar::ParseParam(const ParamDescriptor& descriptor, const std::string& owner,
                         std::size_t& pos, std::size_t end, const Scope* scope, ParamObj& out) {
  const Token& name = At(pos);
  out.made_ = true;
  out.name_ = descriptor.Name();
  out.ext_name_ = name.upper;
  out.subcommand_ = subcommand_;
  out.keyword_ = TokenInfoObj(name);
  out.qualified_ = TakesQualifiers(descriptor);
  ++pos;
  std::string last_text = name.upper;
  if (IsOp(pos, end, kOpEquals)) {
    out.equals_ = true;
    last_text = "=";
    ++pos;
  }
  const bool paren = IsOp(pos, end, kOpOpenParen);
  if (descriptor.Spec() == ParamSpec::BareKeyword) {
    if (out.equals_ || paren) {
      messages_.SyntaxErrorAfterText(descriptor.Name(), owner, subcommand_);
      return false;
    }
    return true;
  }
  bool ok = true;
  if (paren) {
    ok = ParseParenValue(descriptor, pos, end, out);
  } else if (out.equals_) {
    ok = ParseEqualsValue(descriptor, pos, end, scope, out);
  } else if (!descriptor.UsesEquals() && IsNumericSpec(descriptor.Spec()) && pos < end &&
             At(pos).IsNumber()) {
    // "MAXDIMVALUES 200", "CAUSES 3": a number may follow a keyword that takes no equals sign.
    do {
      out.tokens_.emplace_back(At(pos++));
    } while (descriptor.Spec() == ParamSpec::NumberList && pos < end && At(pos).IsNumber());
    ok = CheckValue(descriptor, out, last_text);
  } else if (descriptor.UsesEquals() && (!out.qualified_ || scope->params == top_params_)) {
    // A qualifier that opens qualifiers may stand bare (TIMES); a parameter may not.
    ok = MissingValue(descriptor, last_text);
  }
  return ok && (!out.qualified_ || CheckRequiredQualifiers(descriptor, out));
}

bool Grammar::ParseParenValue(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                              ParamObj& out) {
  const std::size_t close = MatchingParen(pos, end);
  if (close == std::string::npos) {
    messages_.SyntaxErrorInParam("(", descriptor.Name(), subcommand_);
    return false;
  }
  out.paren_used_ = true;
  for (std::size_t i = pos + 1; i < close; ++i)
    out.tokens_.emplace_back(At(i));
  std::size_t inner = pos + 1;
  pos = close + 1;
  if (!out.qualified_)
    return CheckValue(descriptor, out, "(");
  const Scope scope{&descriptor.Qualifiers(), nullptr};
  int count = 0;
  if (!ParseQualifiers(descriptor, inner, close, &scope, false, out, count))
    return false;
  if (inner < close) {
    const Token& stray = At(inner);
    if (stray.IsName()) {
      messages_.InvalidParamOption(stray.upper, descriptor.Name(), subcommand_);
    } else {
      messages_.SyntaxErrorInParam(SourceText(stray), descriptor.Name(), subcommand_);
    }
    return false;
  }
  return true;
}

bool Grammar::ParseEqualsValue(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                               const Scope* scope, ParamObj& out) {
  const std::size_t start = pos;
  if (out.qualified_) {
    if (pos >= end)
      return MissingValue(descriptor, "=");
    const Scope inner{&descriptor.Qualifiers(), scope};
    int count = 0;
    const bool single = descriptor.Spec() == ParamSpec::KeywordQualifier;
    if (!ParseQualifiers(descriptor, pos, end, &inner, single, out, count))
      return false;
    if (count == 0) {
      messages_.InvalidParamValue(Shown(At(pos)), descriptor.Name(), subcommand_);
      return false;
    }
    for (std::size_t i = start; i < pos; ++i)
      out.tokens_.emplace_back(At(i));
    return true;
  }
  if (IsListSpec(descriptor.Spec())) {
    int depth = 0;
    while (pos < end) {
      const Token& token = At(pos);
      if (token.IsOperator(kOpOpenParen)) {
        ++depth;
      } else if (token.IsOperator(kOpCloseParen)) {
        if (depth == 0) {
          messages_.SyntaxErrorInParam(")", descriptor.Name(), subcommand_);
          return false;
        }
        --depth;
      } else if (depth == 0 && IsParamStart(scope, pos, end)) {
        break;
      }
      ++pos;
    }
    if (depth > 0) {
      messages_.SyntaxErrorInParam("(", descriptor.Name(), subcommand_);
      return false;
    }
  } else if (pos < end) {
    ++pos;
  }
  for (std::size_t i = start; i < pos; ++i)
    out.tokens_.emplace_back(At(i));
  return CheckValue(descriptor, out, "=");
}

bool Grammar::ParseQualifiers(const ParamDescriptor& descriptor, std::size_t& pos, std::size_t end,
                              const Scope* scope, bool single, ParamObj& out, int& count) {
  while (pos < end && At(pos).IsName()) {
    const ParamDescriptor* qualifier = descriptor.getQualifDesc(At(pos).upper);
    if (qualifier == nullptr)
      break;
    if (out.FindQualifier(qualifier->Name()) != nullptr) {
      messages_.ParamRepeated(qualifier->Name(), subcommand_);
      return false;
    }
    ParamObj item;
    if (!ParseParam(*qualifier, descriptor.Name(), pos, end, scope, item))
      return false;
    out.qualifiers_.push_back(std::move(item));
    ++count;
    if (single)
      break;
  }
  return true;
}

bool Grammar::CheckValue(const ParamDescriptor& descriptor, const ParamObj& param,
                         const std::string& last_text) {
  const auto& tokens = param.tokens_;
  const std::string& name = descriptor.Name();
  if (tokens.empty()) {
    if (!param.equals_ && !descriptor.UsesEquals())
      return true; // "PREDICTED()"
    return MissingValue(descriptor, last_text);
  }
  const TokenInfoObj& first = tokens.front();
  const bool one = tokens.size() == 1;
  switch (descriptor.Spec()) {
  case ParamSpec::TokenList:
    return true;
  case ParamSpec::Keyword:
    if (!one) {
      messages_.InvalidParamValue(Joined(tokens), name, subcommand_);
      return false;
    }
    if (first.IsString() &&
        (descriptor.Values().empty() || descriptor.HasValue(first.getString()))) {
      return true;
    }
    if (!first.IsString() && descriptor.Values().empty()) {
      messages_.ParamMustBeString(name, subcommand_);
    } else {
      messages_.InvalidParamValue(SourceText(first.Token()), name, subcommand_);
    }
    return false;
  case ParamSpec::QuotedString:
    if (one && first.IsLiteral())
      return true;
    messages_.ParamQuotedString(name, subcommand_);
    return false;
  case ParamSpec::KeywordList:
    for (const auto& token : tokens) {
      const bool known = token.IsString() &&
                         (descriptor.Values().empty() || descriptor.HasValue(token.getString()));
      if (!known) {
        messages_.InvalidParamValue(SourceText(token.Token()), name, subcommand_);
        return false;
      }
    }
    return true;
  case ParamSpec::Number:
  case ParamSpec::NumberList:
    if (descriptor.Spec() == ParamSpec::Number && !one) {
      messages_.ParamNeedNumber(name, subcommand_);
      return false;
    }
    for (const auto& token : tokens) {
      if (!token.IsNumber()) {
        if (descriptor.Spec() == ParamSpec::Number) {
          messages_.ParamNeedNumber(name, subcommand_);
        } else {
          messages_.ParamNeedNumberList(name, subcommand_);
        }
        return false;
      }
      if (!descriptor.WithinBounds(token.getNumber()))
        return OutOfBounds(descriptor, token.getNumber());
    }
    return true;
  case ParamSpec::Integer:
    if (one && first.IsString() && !first.IsLiteral()) {
      if (descriptor.HasValue(first.getString()))
        return true;
      if (!descriptor.Values().empty()) {
        messages_.InvalidParamValue(first.getString(), name, subcommand_);
        return false;
      }
    }
    if (!one || !first.IsInteger()) {
      messages_.ParamNeedInteger(name, subcommand_);
      return false;
    }
    if (!descriptor.WithinBounds(first.getNumber()))
      return OutOfBounds(descriptor, first.getNumber());
    return true;
  case ParamSpec::RootName:
    if (one && first.Token().IsName())
      return true;
    messages_.InvalidVarName(Joined(tokens), name, subcommand_);
    return false;
  case ParamSpec::InputFile:
  case ParamSpec::OutputFile:
  case ParamSpec::FileSpec:
    if (one && (first.IsString() || (descriptor.Spec() == ParamSpec::FileSpec &&
                                     first.getOperatorCode() == kOpAsterisk))) {
      return true;
    }
    messages_.FileNameInvalid(Joined(tokens));
    return false;
  case ParamSpec::BareKeyword:
  case ParamSpec::KeywordQualifier:
  case ParamSpec::QualifierList:
    break;
  }
  return true;
}

bool Grammar::CheckRequiredQualifiers(const ParamDescriptor& descriptor, const ParamObj& param) {
  for (const auto& qualifier : descriptor.Qualifiers()) {
    if (qualifier.IsRequired() && param.FindQualifier(qualifier.Name()) == nullptr) {
      messages_.ParamNeedQualif(descriptor.Name(), subcommand_, qualifier.Name());
      return false;
    }
  }
  return true;
}

bool Grammar::MissingValue(const ParamDescriptor& descriptor, const std::string& last_text) {
  const std::string& name = descriptor.Name();
  switch (descriptor.Spec()) {
  case ParamSpec::Keyword:
    messages_.ParamMustBeString(name, subcommand_);
    break;
  case ParamSpec::KeywordList:
    messages_.ParamNeedStringList(name, subcommand_);
    break;
  case ParamSpec::Number:
    messages_.ParamNeedNumber(name, subcommand_);
    break;
  case ParamSpec::NumberList:
    messages_.ParamNeedNumberList(name, subcommand_);
    break;
  case ParamSpec::Integer:
    messages_.ParamNeedInteger(name, subcommand_);
    break;
  case ParamSpec::RootName:
    messages_.NoVarNameAfterSymbol(last_text, name, subcommand_);
    break;
  case ParamSpec::QuotedString:
  case ParamSpec::InputFile:
  case ParamSpec::OutputFile:
  case ParamSpec::FileSpec:
    messages_.ParamQuotedString(name, subcommand_);
    break;
  case ParamSpec::BareKeyword:
  case ParamSpec::TokenList:
  case ParamSpec::KeywordQualifier:
  case ParamSpec::QualifierList:
    messages_.SyntaxErrorAfterText(last_text, name, subcommand_);
    break;
  }
  return false;
}

bool Grammar::OutOfBounds(const ParamDescriptor& descriptor, double number) {
  messages_.InvalidParamValue(number, descriptor.Name(), subcommand_);
  return false;
}

bool Grammar::IsParamStart(const Scope* scope, std::size_t pos, std::size_t end) const {
  const Token& token = At(pos);
  if (!token.IsName())
    return false;
  const bool equals_follows = IsOp(pos + 1, end, kOpEquals);
  for (; scope != nullptr; scope = scope->outer) {
    for (const auto& param : *scope->params) {
      if (param.Name() == token.upper && (equals_follows || !param.UsesEquals()))
        return true;
    }
  }
  return false;
}

std::size_t Grammar::MatchingParen(std::size_t open, std::size_t end) const {
  int depth = 0;
  for (std::size_t i = open; i < end; ++i) {
    if (At(i).IsOperator(kOpOpenParen))
      ++depth;
    if (At(i).IsOperator(kOpCloseParen) && --depth == 0)
      return i;
  }
  return std::string::npos;
}

} // namespace host::syntax_detail
