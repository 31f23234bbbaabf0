// This file contains the reading of dimension value filters and their settlement against the
// categories of the data.
#include "tcm/common/dim_filters.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "host/bridge/cf_metadata.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/syntax/param_obj.h"
#include "host/syntax/token.h"

namespace {

constexpr const char* kDimValues = "DIMVALUES";

std::string JoinTokens(const std::vector<const TokenInfoObj*>& tokens) {
  std::string text;
  for (const TokenInfoObj* token : tokens) {
    if (!text.empty())
      text += ' ';
    text += token->getString();
  }
  return text;
}

// "(KEYWORD = v1 v2 ... )": parentheses around, a word, the equals sign, and at least one value.
bool HasFilterShape(const std::vector<const TokenInfoObj*>& group) {
  return group.size() > 4 && group.front()->getOperatorCode() == host::kOpOpenParen &&
         group.back()->getOperatorCode() == host::kOpCloseParen &&
         group[2]->getOperatorCode() == host::kOpEquals;
}

// Whether `value` is one of the numeric categories of `field`, both sides read as numbers.
// Empty when a category has no text: the check then ends without a message.
std::optional<bool> HasNumericValue(const CFField& field, const std::string& value) {
  double wanted = 0.0;
  const bool readable = String2Double(value, wanted);
  for (const CFValue& category : field.GetValues()) {
    std::string text;
    if (!category.GetDatum().ToString(text))
      return std::nullopt;
    double have = 0.0;
    if (readable && String2Double(text, have) && have == wanted)
      return true;
  }
  return false;
}

bool HasStringValue(const CFField& field, const std::string& value) {
  const std::vector<CFValue>& categories = field.GetValues();
  return std::any_of(categories.begin(), categories.end(), [&](const CFValue& category) {
    return category.GetDatum().GetString() == value;
  });
}

// Reads the tokens of one field's parentheses, the opening and closing ones included, into
// `filter`; false once reported.
using FilterGroupReader =
    std::function<bool(const std::vector<const TokenInfoObj*>& group, DimValueFilter& filter)>;

// The walk that both syntaxes share: a dimension field, then its parenthesised group, as often
// as the tokens go on.
bool ReadFilterGroups(std::vector<DimValueFilter>& filters, const ParamObj& param,
                      const std::vector<QuorVarName>& dimensions, ParserMessage* messages,
                      const FilterGroupReader& readGroup) {
  const std::string& subcommand = param.getSubComExtName();
  std::vector<TokenInfoObj> tokens;
  param.getTokenList(tokens);

  std::size_t place = 0;
  while (place < tokens.size()) {
    QuorVarName name;
    if (!tokens[place].getVarName(name)) {
      if (messages)
        messages->InvalidVarName(tokens[place].getString(), kDimValues, subcommand);
      return false;
    }
    // Exactly as spelled among the dimensions, not merely the same variable.
    const bool is_dimension =
        std::any_of(dimensions.begin(), dimensions.end(), [&](const QuorVarName& dimension) {
          return dimension.GetName() == name.GetName();
        });
    if (!is_dimension) {
      if (messages)
        messages->SimpleError("FILED_NOT_ON_DIMENSIONS_KEY", subcommand, name.GetName());
      return false;
    }

    std::vector<const TokenInfoObj*> group;
    for (++place; place < tokens.size();) {
      const TokenInfoObj& token = tokens[place++];
      group.push_back(&token);
      if (token.getOperatorCode() == host::kOpCloseParen)
        break;
    }
    DimValueFilter filter;
    filter.field = name.GetName();
    if (!readGroup(group, filter))
      return false;
    filters.push_back(std::move(filter));
  }
  return true;
}

} // namespace

bool ReadDimValues(std::vector<DimValueFilter>& filters, const ParamObj& param,
                   const std::vector<QuorVarName>& dimensions, ParserMessage* messages) {
  const std::string& subcommand = param.getSubComExtName();
  return ReadFilterGroups(filters, param, dimensions, messages, [&](const auto& group,
                                                                    DimValueFilter& filter) {
    const std::string keyword = group.size() > 1 ? group[1]->getUpperString() : std::string();
    if (!HasFilterShape(group) || (keyword != "INCLUDE" && keyword != "EXCLUDE")) {
      if (messages)
        messages->InvalidParamValue(JoinTokens(group), kDimValues, subcommand);
      return false;
    }
    filter.include = keyword == "INCLUDE";
    for (std::size_t index = 3; index + 1 < group.size(); ++index) {
      const std::string& value = group[index]->getString();
      if (value == "ALL" || value == "TO") {
        if (messages)
          messages->GenericError("ALL_TO_ON_DIMVAL_KEY", subcommand);
        return false;
      }
      filter.values.push_back(value);
    }
    return true;
  });
}

bool ReadAnalysisDimValues(std::vector<DimValueFilter>& filters, const ParamObj& param,
                           const std::vector<QuorVarName>& dimensions, bool severalValues,
                           ParserMessage* messages) {
  const std::string& subcommand = param.getSubComExtName();
  const char* const keyword = severalValues ? "VALUES" : "VALUE";
  return ReadFilterGroups(filters, param, dimensions, messages, [&](const auto& group,
                                                                    DimValueFilter& filter) {
    if (!HasFilterShape(group)) {
      if (messages)
        messages->InvalidParamValue(JoinTokens(group), kDimValues, subcommand);
      return false;
    }
    if (group[1]->getUpperString() != keyword) {
      if (messages)
        messages->ParamRequiredForSubCom(keyword, subcommand);
      return false;
    }
    // Values as written: ALL and TO are values like any other here.
    for (std::size_t index = 3; index + 1 < group.size(); ++index)
      filter.values.push_back(group[index]->getString());
    if (!severalValues && filter.values.size() > 1) {
      if (messages)
        messages->TooLongVarList("VALUE", subcommand, 1);
      return false;
    }
    return true;
  });
}

bool CheckDimFilters(const CFMetaData& metaData, std::vector<DimValueFilter>& filters,
                     const std::string& label, ParserMessage* messages) {
  for (DimValueFilter& filter : filters) {
    const CFField* field = metaData.GetField(metaData.GetFieldIndex(filter.field));
    if (!field) {
      if (messages)
        messages->VariableNotInDict(filter.field, kDimValues, label);
      return false;
    }
    const bool is_string = field->GetStorage() == CFStorage::kString;
    // From the last value back, so the last fault written is the one reported.
    for (auto value = filter.values.rbegin(); value != filter.values.rend(); ++value) {
      if (is_string) {
        if (!HasStringValue(*field, *value)) {
          if (messages)
            messages->SimpleError("INVALID_DIM_VAL_KEY", label, *value, filter.field);
          return false;
        }
        continue;
      }
      const std::optional<bool> found = HasNumericValue(*field, *value);
      if (!found)
        return false;
      if (!*found) {
        if (messages)
          messages->InvalidCatValue(filter.field, *value, kDimValues, label);
        return false;
      }
    }

    if (!filter.include) {
      // Later stages know only INCLUDE: keep every category whose text was not excluded.
      const std::vector<std::string> excluded = std::move(filter.values);
      filter.values.clear();
      for (const CFValue& category : field->GetValues()) {
        std::string text;
        if (!category.GetDatum().ToString(text))
          continue;
        if (std::find(excluded.begin(), excluded.end(), text) == excluded.end()) {
          filter.values.push_back(std::move(text));
        }
      }
      filter.include = true;
    }
  }
  return true;
}

const std::vector<std::string>* FindDimFilter(const std::string& name,
                                              const std::vector<DimValueFilter>& filters) {
  for (const DimValueFilter& filter : filters) {
    if (filter.field == name)
      return &filter.values;
  }
  return nullptr;
}

DimValueFilter ValuesOfField(const std::string& field, const CFMetaData& metaData) {
  DimValueFilter filter;
  filter.field = field;
  filter.include = true;
  const CFField* found = metaData.FindField(field);
  if (!found)
    return filter;
  for (const CFValue& category : found->GetValues()) {
    std::string text;
    // A text field's values are its strings; ToString gives exactly those.
    if (category.GetDatum().ToString(text))
      filter.values.push_back(std::move(text));
  }
  return filter;
}
