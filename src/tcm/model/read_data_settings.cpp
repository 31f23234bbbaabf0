// This file contains the reader of DATASETTINGS of TCM MODEL: dimensions, the time axis (time
// type, time variables, date variables of the dataset), the intervals and the data methods.
#include "tcm/model/tcm_model_parser.h"

#include <algorithm>
#include <functional>
#include <set>

#include "tcm/common/intervals.h"

namespace {

const char* const kSub = "DATASETTINGS";
const char* const kDateTimeVar = "DATETIMEVAR";
const char* const kIso = "ISO8601";
const char* const kCyclic = "CYCLICPERIODS";
const char* const kNone = "NONE";
const char* const kDateSpec = "DATESPEC";

const char* const kGroupMethods[] = {"SUM", "MEAN", "MODE", "MIN", "MAX", nullptr};
const char* const kDistributeMethods[] = {"SUM", "MEAN", nullptr};

std::string TokenText(const TokenInfoObj& token) {
  return host::SourceText(token.Token());
}

std::string Joined(const std::vector<TokenInfoObj>& tokens, std::size_t from) {
  std::string text;
  for (std::size_t i = from; i < tokens.size(); ++i) {
    if (!text.empty())
      text += ' ';
    text += TokenText(tokens[i]);
  }
  return text;
}

bool IsOp(const std::vector<TokenInfoObj>& tokens, std::size_t pos, int code) {
  return pos < tokens.size() && tokens[pos].getOperatorCode() == code;
}

bool TimeVarTypeReadsTimeVar(const std::string& type) {
  return type == kDateTimeVar || type == kIso || type == kCyclic;
}

// The variables of TIMEVAR under CYCLICPERIODS: a period variable, then cycle variables, each
// followed by "(key=value ...)". Reads from `pos` on and leaves it after what was read.
class TimeVarTokens {
 public:
  TimeVarTokens(const std::vector<TokenInfoObj>& tokens, ProcedureDataSource& data,
                ParserMessage& messages)
      : tokens_(tokens), data_(data), messages_(messages) {}

  bool AtEnd() const { return pos_ >= tokens_.size(); }

  // The period variable with its TYPE=PERIOD, INCREMENT and START.
  bool ReadPeriod(TimeVariableSpec& timeVars, int& index) {
    std::string written;
    if (!tokens_[pos_].getVarName(written)) {
      messages_.InvalidVarName(TokenText(tokens_[pos_]), "TIMEVAR", kSub);
      return false;
    }
    std::string name;
    if (!NumericVariable(written, name, index))
      return false;
    if (!IsOp(tokens_, ++pos_, host::kOpOpenParen)) {
      messages_.SimpleError("PERIOD_VAR_REQUIRED_KEY");
      return false;
    }
    bool type = false;
    bool increment = false;
    bool start = false;
    const bool ok = ReadTriples([&](const std::string& key, const TokenInfoObj& value) {
      if (key == "TYPE") {
        if (type)
          return Repeated("TYPE");
        if (value.getUpperString() != "PERIOD") {
          messages_.SimpleError("PERIOD_VAR_REQUIRED_KEY");
          return false;
        }
        type = true;
      } else if (key == "INCREMENT") {
        if (increment)
          return Repeated("INCREMENT");
        if (!Integer(value, "INCREMENT", timeVars.periodIncrement))
          return false;
        increment = true;
      } else if (key == "START") {
        // A second START is reported under INCREMENT: the message has always said so.
        if (start)
          return Repeated("INCREMENT");
        if (!Integer(value, "START", timeVars.periodStart))
          return false;
        start = true;
      } else {
        messages_.InvalidParam(key, kSub);
        return false;
      }
      return true;
    });
    if (!ok)
      return false;
    if (!type) {
      messages_.ParamRequiredForSubCom("TYPE", kSub);
      return false;
    }
    timeVars.periodVar = name;
    return true;
  }

  // One cycle variable with TYPE=CYCLE, LEVEL, LENGTH and START. `taken` holds the names read
  // before, upper-cased: a variable may stand only once on TIMEVAR.
  bool ReadCycle(CycleVariable& cycle, int& index, std::set<std::string>& taken) {
    std::string written;
    if (!tokens_[pos_].getVarName(written)) {
      messages_.InvalidVarName(TokenText(tokens_[pos_]), "TIMEVAR", kSub);
      return false;
    }
    std::string name;
    if (!NumericVariable(written, name, index))
      return false;
    if (!taken.insert(host::UpperAscii(name)).second) {
      messages_.VarNameRepeated(name);
      return false;
    }
    if (!IsOp(tokens_, ++pos_, host::kOpOpenParen)) {
      messages_.SyntaxErrorInParam(AtEnd() ? name : TokenText(tokens_[pos_]), "TIMEVAR", kSub);
      return false;
    }
    bool type = false;
    bool level = false;
    bool length = false;
    cycle = CycleVariable();
    cycle.start = 1;
    const bool ok = ReadTriples([&](const std::string& key, const TokenInfoObj& value) {
      if (key == "TYPE") {
        if (value.getUpperString() != "CYCLE") {
          messages_.InvalidParamValue(TokenText(value), "TYPE", kSub);
          return false;
        }
        type = true;
        return true;
      }
      if (key == "LEVEL") {
        level = Positive(value, "LEVEL", cycle.level);
        return level;
      }
      if (key == "LENGTH") {
        length = Positive(value, "LENGTH", cycle.length);
        return length;
      }
      if (key == "START")
        return Positive(value, "START", cycle.start);
      messages_.SyntaxErrorInParam(key, "TIMEVAR", kSub);
      return false;
    });
    if (!ok)
      return false;
    const char* missing = !type ? "TYPE" : !level ? "LEVEL" : !length ? "LENGTH" : nullptr;
    if (missing != nullptr) {
      messages_.ParamNeedParam(missing, "TYPE", "TIMEVAR");
      return false;
    }
    cycle.name = name;
    return true;
  }

  // Integer `value` >= 1.
  bool Positive(const TokenInfoObj& value, const char* key, int32_t& out) {
    int32_t number = 0;
    if (!Integer(value, key, number))
      return false;
    if (number < 1) {
      messages_.InvalidParamValue(static_cast<double>(number), key, kSub);
      return false;
    }
    out = number;
    return true;
  }

 private:
  // The variable must exist and be numeric; gives its dictionary spelling and index.
  bool NumericVariable(const std::string& written, std::string& name, int& index) {
    index = data_.FindVarIndex(written, 0);
    const QUOR_Variable* variable = index < 0 ? nullptr : data_.GetVariable(index);
    if (variable == nullptr) {
      messages_.VariableNotInDict(written, "TIMEVAR", kSub);
      return false;
    }
    name = variable->GetName();
    if (variable->GetType() != 0) {
      messages_.SimpleError("INVALID_TIMEVAR_KEY", name);
      return false;
    }
    return true;
  }

  bool Integer(const TokenInfoObj& value, const char* key, int32_t& out) {
    if (!value.IsInteger()) {
      messages_.ParamNeedInteger(key, kSub);
      return false;
    }
    out = value.getInteger();
    return true;
  }

  bool Repeated(const char* key) {
    messages_.ParamRepeated(key, kSub);
    return false;
  }

  // From the opening parenthesis at `pos_`: triples of key, "=" and value up to the closing
  // parenthesis, each handed to `onTriple` (which reports its own faults). Leaves `pos_` after
  // the closing parenthesis.
  bool ReadTriples(const std::function<bool(const std::string&, const TokenInfoObj&)>& onTriple) {
    ++pos_;
    while (!IsOp(tokens_, pos_, host::kOpCloseParen)) {
      if (pos_ + 2 >= tokens_.size()) {
        messages_.SyntaxErrorInParam(AtEnd() ? ")" : Joined(tokens_, pos_), "TIMEVAR", kSub);
        return false;
      }
      const TokenInfoObj& key = tokens_[pos_];
      if (!IsOp(tokens_, pos_ + 1, host::kOpEquals)) {
        messages_.SyntaxErrorInParam(TokenText(tokens_[pos_ + 1]), "TIMEVAR", kSub);
        return false;
      }
      if (!onTriple(key.getUpperString(), tokens_[pos_ + 2]))
        return false;
      pos_ += 3;
    }
    ++pos_;
    return true;
  }

  const std::vector<TokenInfoObj>& tokens_;
  ProcedureDataSource& data_;
  ParserMessage& messages_;
  std::size_t pos_ = 0;
};

// ANALYSISINTERVAL: a plain interval keyword, or CYCLE(LEVEL=n).
bool ReadAnalysisInterval(const ParamObj& param, TCMModelValidSpecs& spec,
                          ParserMessage& messages) {
  std::string keyword;
  if (param.getUpStringGeneric(keyword)) {
    spec.analysisInterval = IntervalFromName(keyword);
    return true;
  }
  std::pair<std::string, ParamObj> choice;
  if (!param.getStringAndQual(choice, nullptr, &messages))
    return false;
  if (choice.first != "CYCLE") {
    messages.InvalidParam(choice.first, kSub);
    return false;
  }
  spec.analysisInterval = TimeIntervalKind::CYCLE;
  const ParamObj* level = choice.second.FindQualifier("LEVEL");
  int value = 0;
  if (level == nullptr || !level->getIntegerValue(value)) {
    messages.ParamNeedInteger("ANALYSISINTERVAL", kSub);
    return false;
  }
  spec.cycleLevel = value;
  if (spec.timeType == kCyclic &&
      spec.cycleLevel > static_cast<int32_t>(spec.timeVars.cycleVars.size())) {
    messages.SimpleError("WRONG_MODELINTERVAL_KEY");
    return false;
  }
  return true;
}

// INTERPOLATE: a method keyword, or KMEAN(k) / KMEDIAN(k) with its span.
bool ReadInterpolate(const ParamObj& param, TCMModelValidSpecs& spec, ParserMessage& messages) {
  if (param.getUpStringGeneric(spec.interpolate))
    return true;
  std::vector<TokenInfoObj> tokens;
  param.getTokenList(tokens);
  if (tokens.size() == 4 && tokens[0].IsString() && IsOp(tokens, 1, host::kOpOpenParen) &&
      tokens[2].IsInteger() && IsOp(tokens, 3, host::kOpCloseParen)) {
    spec.interpolate = tokens[0].getUpperString();
    spec.interpolateSpan = tokens[2].getInteger();
    return true;
  }
  messages.InvalidParamOption(Joined(tokens, 0), "INTERPOLATE", kSub);
  return false;
}

// USERMISSING and CROSSDAYHRS: EXCLUDE gives true, INCLUDE false.
bool ReadExcludeInclude(const ParamObj& param, const char* name, bool& exclude,
                        ParserMessage& messages) {
  std::string value;
  if (param.getUpStringGeneric(value) && (value == "EXCLUDE" || value == "INCLUDE")) {
    exclude = value == "EXCLUDE";
    return true;
  }
  messages.SyntaxErrorInParam(param.getStringToken(), name, kSub);
  return false;
}

// The qualifiers of an INPUTINTERVAL keyword that take a value, each only where `allowed`.
bool ReadIntervalQualifiers(const ParamObj& keyword, std::initializer_list<const char*> allowed,
                            InputIntervalSpec& interval, ParserMessage& messages) {
  std::vector<ParamObj> qualifiers;
  if (!keyword.getStringQualList(qualifiers, nullptr, nullptr)) {
    messages.InvalidParam("INPUTINTERVAL", kSub);
    return false;
  }
  for (const ParamObj& qualifier : qualifiers) {
    const std::string& name = qualifier.getParamName();
    if (std::none_of(allowed.begin(), allowed.end(),
                     [&](const char* word) { return name == word; })) {
      continue;
    }
    if (name == "INCREMENT") {
      if (!qualifier.getIntegerValue(interval.increment)) {
        messages.InvalidParam("INCREMENT", "INPUTINTERVAL");
        return false;
      }
    } else if (name == "DAYSWK") {
      qualifier.getIntegerValue(interval.daysPerWeek);
    } else if (name == "WKSTART") {
      qualifier.getUpStringGeneric(interval.weekStart);
    } else if (name == "HRSDAY") {
      qualifier.getIntegerValue(interval.hoursPerDay);
    } else if (name == "DAYSTART") {
      qualifier.getIntegerValue(interval.dayStart);
    }
  }
  return true;
}

} // namespace

bool TCMModelParser::ReadDataSettings(const SubComObj& subcommand) {
  TCMModelValidSpecs& model = *modelSpec;
  const bool dateVariables = dataSource->GetTrendsInfo().GetNDateVars() > 0;

  // 1. DIMENSIONS: only for a time axis given by syntax.
  if (const ParamObj* param = subcommand.getParamObj("DIMENSIONS")) {
    if (dateVariables) {
      messages->SimpleError("NO_DIMENSIONS_KEY");
      return false;
    }
    if (!ReadDimensions(*param))
      return false;
  }

  // 2. MAXDIMVALUES.
  if (const ParamObj* param = subcommand.getParamObj("MAXDIMVALUES")) {
    if (!param->getIntegerValue(model.maxDimValues)) {
      messages->ParamNeedInteger("MAXDIMVALUES", kSub);
      return false;
    }
  }

  // 3. TIMETYPE: the dataset's date variables decide it when they exist.
  const ParamObj* timeVarParam = subcommand.getParamObj("TIMEVAR");
  if (const ParamObj* param = subcommand.getParamObj("TIMETYPE")) {
    if (dateVariables) {
      messages->SimpleError("DATE_SPEC_EFFECT_KEY");
      return false;
    }
    if (!param->getUpStringGeneric(model.timeType)) {
      messages->ParamMustBeString("TIMETYPE", kSub);
      return false;
    }
    if (TimeVarTypeReadsTimeVar(model.timeType) && timeVarParam == nullptr) {
      messages->ParamNeedParam("TIMEVAR", "TIMETYPE", model.timeType);
      return false;
    }
    if (model.timeType == kNone) {
      if (!model.dimensions.empty()) {
        messages->SimpleError("NO_DIMENSIONS_KEY");
        return false;
      }
      model.timeVars.periodVar = "$casecount";
    }
  } else if (!dateVariables) {
    messages->ParamRequiredForSubCom("TIMETYPE", kSub);
    return false;
  } else {
    model.timeType = kDateSpec;
  }

  // 4. TIMEVAR.
  if (timeVarParam != nullptr) {
    if (TimeVarTypeReadsTimeVar(model.timeType)) {
      if (!ReadTimeVar(*timeVarParam))
        return false;
    } else if (model.timeType == kDateSpec) {
      messages->SimpleError("DATE_SPEC_EFFECT_KEY");
      return false;
    } else if (model.timeType == kNone) {
      messages->IgnoredParam("TIMEVAR", kSub);
    }
  }

  // 5. INPUTINTERVAL: only a date or ISO time variable has one.
  if (const ParamObj* param = subcommand.getParamObj("INPUTINTERVAL")) {
    if (model.timeType == kDateTimeVar || model.timeType == kIso) {
      if (!ReadInputInterval(*param))
        return false;
    } else if (model.timeType == kDateSpec) {
      messages->SimpleError("DATE_SPEC_EFFECT_KEY");
      return false;
    } else {
      messages->SimpleError("NO_INPUTINTERVAL_KEY");
      return false;
    }
  } else if (model.timeType == kNone || model.timeType == kCyclic || model.timeType == kDateSpec) {
    model.inputInterval.interval = TimeIntervalKind::IGNORE;
  }

  // 6. ANALYSISINTERVAL: a case count or a lone period has nothing to aggregate to.
  if (model.timeType == kNone ||
      (!model.timeVars.periodVar.empty() && model.timeVars.cycleVars.empty())) {
    model.analysisInterval = TimeIntervalKind::IGNORE;
  } else if (const ParamObj* param = subcommand.getParamObj("ANALYSISINTERVAL")) {
    if (!ReadAnalysisInterval(*param, model, *messages))
      return false;
  }

  // 7. and 8. The two intervals must fit together.
  const InputIntervalSpec& input = model.inputInterval;
  if (model.analysisInterval == TimeIntervalKind::USEINPUT &&
      input.interval == TimeIntervalKind::IRREGULAR) {
    messages->SimpleError("USEINPUT_IRREGULAR_KEY");
    return false;
  }
  if (!IntervalsCompatible(input.interval, model.analysisInterval, model.timeType,
                           input.durationUnit, input.increment)) {
    messages->SimpleError("MISMATCHING_INTERVAL_KEY", IntervalName(model.analysisInterval),
                          IntervalName(input.interval));
    return false;
  }

  // 9. Without TIMEVAR only the dataset's date variables can give the time axis.
  if (timeVarParam == nullptr) {
    if (model.timeType == kDateSpec) {
      if (!ReadDateSpecification())
        return false;
    } else if (model.timeType != kNone) {
      messages->InvalidParam(model.timeType, kSub);
      return false;
    }
  }

  // 10. GROUP, AGGREGATE, DISTRIBUTE.
  if (const ParamObj* param = subcommand.getParamObj("GROUP")) {
    if (!ReadMethodList(*param, kGroupMethods, model.group, model.groupOverrides))
      return false;
  }
  if (const ParamObj* param = subcommand.getParamObj("AGGREGATE")) {
    if (!ReadMethodList(*param, kGroupMethods, model.aggregate, model.aggregateOverrides)) {
      return false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("DISTRIBUTE")) {
    if (!ReadMethodList(*param, kDistributeMethods, model.distribute, model.distributeOverrides)) {
      return false;
    }
  }

  // 11. to 14.
  if (const ParamObj* param = subcommand.getParamObj("INTERPOLATE")) {
    if (!ReadInterpolate(*param, model, *messages))
      return false;
  }
  if (const ParamObj* param = subcommand.getParamObj("USERMISSING")) {
    if (!ReadExcludeInclude(*param, "USERMISSING", model.excludeUserMissing, *messages)) {
      return false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("MAXMISSING")) {
    if (!param->getIntegerValue(model.maxMissing)) {
      messages->ParamNeedNumber("MAXMISSING", kSub);
      return false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("CROSSDAYHRS")) {
    if (!ReadExcludeInclude(*param, "CROSSDAYHRS", model.excludeCrossDayHours, *messages)) {
      return false;
    }
  }
  return true;
}

// The list reader began as the one of FIELDS, and its messages still name FIELDS.
bool TCMModelParser::ReadDimensions(const ParamObj& param) {
  std::vector<TokenInfoObj> tokens;
  if (!param.getTokenList(tokens)) {
    messages->ParamNeedVarList("DIMENSIONS", "FIELDS");
    return false;
  }
  std::set<QuorVarName> names;
  int previous = -1; // dictionary index of the name just before, for TO
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    std::string written;
    if (tokens[i].getVarName(written)) {
      previous = dataSource->FindVarIndex(written, 0);
      if (previous < 0) {
        messages->VariableNotInDict(written, "DIMENSIONS", "DIMENSIONS");
        return false;
      }
      names.insert(QuorVarName(dataSource->GetVariable(previous)->GetName()));
      continue;
    }
    if (tokens[i].getUpperString() != "TO" || tokens[i].IsLiteral()) {
      messages->InvalidVarName(TokenText(tokens[i]), "DIMENSIONS", "FIELDS");
      return false;
    }
    if (i + 1 >= tokens.size() || previous < 0) {
      messages->SyntaxErrorInParam("TO", "DIMENSIONS", "FIELDS");
      return false;
    }
    if (!tokens[++i].getVarName(written)) {
      messages->InvalidVarName(TokenText(tokens[i]), "DIMENSIONS", "FIELDS");
      return false;
    }
    const int last = dataSource->FindVarIndex(written, 0);
    if (last < 0) {
      messages->VariableNotInDict(written, "DIMENSIONS", "FIELDS");
      return false;
    }
    for (int index = previous; index <= last; ++index) {
      names.insert(QuorVarName(dataSource->GetVariable(index)->GetName()));
    }
    previous = last;
  }
  for (const QuorVarName& name : names) {
    const int index = dataSource->FindVarIndex(name.GetName(), 0);
    const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
    if (variable == nullptr) {
      messages->VariableNotInDict(name.GetName(), "DIMENSIONS", kSub);
      return false;
    }
    const int level = variable->GetMeasurementLevel();
    if (level != 1 && level != 2) {
      messages->NeedDepVarCat(name.GetName(), "DIMENSIONS", kSub);
      return false;
    }
    spec->dimensions.push_back(name);
    usedVariables.insert(index);
  }
  return true;
}

bool TCMModelParser::ReadTimeVar(const ParamObj& param) {
  std::vector<TokenInfoObj> tokens;
  if (!param.getTokenList(tokens) || tokens.empty()) {
    messages->SyntaxErrorInParam("", "TIMEVAR", kSub);
    return false;
  }
  std::string written;
  if (!tokens[0].getVarName(written)) {
    messages->InvalidVarName(TokenText(tokens[0]), "TIMEVAR", kSub);
    return false;
  }
  TimeVariableSpec& timeVars = spec->timeVars;
  const std::string& timeType = spec->timeType;

  if (tokens.size() == 1 && timeType != kCyclic) {
    const int index = dataSource->FindVarIndex(written, 0);
    const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
    if (variable == nullptr) {
      messages->VariableNotInDict(written, "TIMEVAR", kSub);
      return false;
    }
    const int format = variable->GetFormatType();
    // ISO text lives in string variables (A, AHEX); a date format serves both types.
    const bool taken = IsDateFormat(format) || (timeType == kIso && (format == 1 || format == 2));
    if (!taken) {
      messages->SimpleError(timeType == kIso ? "INVALID_ISOVAR_KEY" : "INVALID_TIMEVAR_FORMAT_KEY",
                            variable->GetName());
      return false;
    }
    timeVars.timeVar = variable->GetName();
    usedVariables.insert(index);
    return true;
  }

  if (timeType != kCyclic) {
    // Only cyclic periods take more than one variable; the command stops here all the same.
    messages->IgnoredParamOtherParamValue("TIMEVAR", "TIMETYPE", timeType, kSub);
    return false;
  }
  TimeVarTokens reader(tokens, *dataSource, *messages);
  int index = -1;
  if (!reader.ReadPeriod(timeVars, index))
    return false;
  usedVariables.insert(index);
  std::set<std::string> taken{host::UpperAscii(timeVars.periodVar)};
  std::vector<CycleVariable> cycles;
  while (!reader.AtEnd()) {
    CycleVariable cycle;
    if (!reader.ReadCycle(cycle, index, taken))
      return false;
    cycles.push_back(cycle);
    usedVariables.insert(index);
  }
  std::stable_sort(
      cycles.begin(), cycles.end(),
      [](const CycleVariable& a, const CycleVariable& b) { return a.level > b.level; });
  timeVars.cycleVars = std::move(cycles);
  return true;
}

bool TCMModelParser::ReadInputInterval(const ParamObj& param) {
  std::pair<std::string, ParamObj> choice;
  if (!param.getStringAndQual(choice, nullptr, messages))
    return false;
  const std::string& keyword = choice.first;
  InputIntervalSpec& interval = spec->inputInterval;
  interval.interval = IntervalFromName(keyword);

  if (keyword == "YEAR" || keyword == "MONTH") {
    return ReadIntervalQualifiers(choice.second, {"INCREMENT"}, interval, *messages);
  }
  if (keyword == "DAY") {
    return ReadIntervalQualifiers(choice.second, {"DAYSWK", "WKSTART", "INCREMENT"}, interval,
                                  *messages);
  }
  if (keyword == "HOUR" || keyword == "MINUTE" || keyword == "SECOND") {
    if (!ReadIntervalQualifiers(choice.second,
                                {"DAYSWK", "WKSTART", "HRSDAY", "DAYSTART", "INCREMENT"}, interval,
                                *messages)) {
      return false;
    }
    if (keyword != "HOUR")
      return true;
    // The hours of a day must hold a whole number of steps of INCREMENT hours.
    if (interval.increment == 0) {
      messages->InvalidParamValue(0.0, "INCREMENT", kSub);
      return false;
    }
    if (interval.hoursPerDay > 24 / interval.increment) {
      messages->SimpleError("INVALID_HRSDAY_KEY");
      return false;
    }
    return true;
  }
  if (keyword == "DURATION") {
    std::vector<ParamObj> qualifiers;
    if (!choice.second.getStringQualList(qualifiers, nullptr, nullptr) || qualifiers.empty()) {
      messages->InvalidParam("INPUTINTERVAL", kSub);
      return false;
    }
    // The unit stands first and INCREMENT second, in the order the tree lists them.
    if (!qualifiers[0].getUpStringGeneric(interval.durationUnit)) {
      messages->InvalidParamOption(qualifiers[0].getStringToken(), "INPUTINTERVAL", kSub);
      return false;
    }
    if (qualifiers.size() == 2 && !qualifiers[1].getIntegerValue(interval.increment)) {
      messages->InvalidParam("INCREMENT", "INPUTINTERVAL");
      return false;
    }
  }
  return true;
}

bool TCMModelParser::ReadDateSpecification() {
  const QUOR_TrendsInfo& trends = dataSource->GetTrendsInfo();
  const int count = trends.GetNDateVars();
  TimeVariableSpec& timeVars = spec->timeVars;
  const auto nameOf = [this](int index) {
    const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
    return variable == nullptr ? std::string() : variable->GetName();
  };
  const auto use = [this](int index) {
    if (index >= 0)
      usedVariables.insert(index);
  };
  int index = -1;
  int level = 0;
  int length = 0;
  if (count == 1) {
    if (trends.GetDateVar(0, index, level, length)) {
      timeVars.periodVar = nameOf(index);
      use(index);
    }
  } else if (count > 1) {
    // The highest parts are the cycles; the lowest is the period. A cycle's length is the count
    // of values of the part just below it within one of its own values.
    std::vector<CycleVariable> cycles;
    std::vector<int> lengths;
    for (int i = 0; i <= count - 2 && trends.GetDateVar(i, index, level, length); ++i) {
      CycleVariable cycle;
      cycle.name = nameOf(index);
      cycle.start = 1;
      cycles.push_back(cycle);
      use(index);
      lengths.push_back(length);
    }
    for (std::size_t i = 0; i < cycles.size(); ++i) {
      cycles[i].level = static_cast<int32_t>(cycles.size() - i);
    }
    if (trends.GetDateVar(count - 1, index, level, length)) {
      timeVars.periodVar = nameOf(index);
      use(index);
      lengths.push_back(length);
    }
    for (std::size_t i = 0; i < cycles.size() && i + 1 < lengths.size(); ++i) {
      cycles[i].length = lengths[i + 1];
    }
    timeVars.cycleVars = std::move(cycles);
  }
  spec->inputInterval.interval = TimeIntervalKind::IGNORE;
  if (spec->timeType != kDateSpec)
    return true;

  const TimeIntervalKind analysis = modelSpec->analysisInterval;
  const bool useInput = analysis == TimeIntervalKind::USEINPUT;
  if ((IsDateSpecYearQuarterMonth(timeVars) && analysis != TimeIntervalKind::YEAR && !useInput) ||
      (IsDateSpecCycleQuarterMonth(timeVars) && analysis != TimeIntervalKind::CYCLE && !useInput)) {
    messages->SimpleError("WRONG_MODELINTERVAL_KEY");
    return false;
  }
  return true;
}

bool TCMModelParser::ReadMethodList(const ParamObj& param, const char* const* table,
                                    std::string& method, std::vector<FieldMethod>& overrides) {
  const std::string& name = param.getParamName();
  std::vector<TokenInfoObj> tokens;
  if (!param.getTokenList(tokens) || tokens.empty()) {
    messages->SyntaxErrorInParam("", name, kSub);
    return false;
  }
  if (!tokens[0].IsVarName()) {
    messages->SyntaxErrorInParam(TokenText(tokens[0]), name, kSub);
    return false;
  }
  std::size_t first = 0; // where the overrides begin
  if (KeywordInList(table, tokens[0].getUpperString())) {
    method = tokens[0].getUpperString();
    first = 1;
  } else if (!(tokens.size() > 2 && IsOp(tokens, 1, host::kOpOpenParen))) {
    messages->InvalidParamValue(TokenText(tokens[0]), name, kSub);
    return false;
  }
  if (tokens.size() == 1)
    return true;
  if ((tokens.size() - first) % 4 != 0) {
    messages->InvalidParamValue(Joined(tokens, first), name, kSub);
    return false;
  }

  std::vector<FieldMethod> kept;
  std::vector<std::string> ignored;
  for (std::size_t i = first; i < tokens.size(); i += 4) {
    std::string written;
    if (!tokens[i].getVarName(written)) {
      messages->InvalidVarName(TokenText(tokens[i]), name, kSub);
      return false;
    }
    const int index = dataSource->FindVarIndex(written, 0);
    const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
    if (variable == nullptr) {
      messages->VariableNotInDict(written, name, kSub);
      return false;
    }
    if (!IsOp(tokens, i + 1, host::kOpOpenParen)) {
      messages->SyntaxErrorInParam(TokenText(tokens[i + 1]), name, kSub);
      return false;
    }
    const std::string fieldMethod = tokens[i + 2].getUpperString();
    if (tokens[i + 2].IsOperator() || !KeywordInList(table, fieldMethod)) {
      // The message names DISTRIBUTE for all three parameters, as it always has.
      messages->InvalidParamValue(TokenText(tokens[i + 2]), "DISTRIBUTE", kSub);
      return false;
    }
    if (!IsOp(tokens, i + 3, host::kOpCloseParen)) {
      messages->SyntaxErrorInParam(TokenText(tokens[i + 3]), name, kSub);
      return false;
    }
    if (fieldMethod == method) {
      ignored.push_back(variable->GetName());
    } else {
      kept.emplace_back(variable->GetName(), fieldMethod);
      usedVariables.insert(index);
    }
  }
  overrides.insert(overrides.end(), kept.begin(), kept.end());
  if (!ignored.empty()) {
    std::string names;
    for (const std::string& field : ignored)
      names += (names.empty() ? "" : " ") + field;
    messages->SimpleWarning("IGNORE_VAR_KEY", names, name);
  }
  return true;
}
