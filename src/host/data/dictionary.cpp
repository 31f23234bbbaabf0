// This file contains the dictionary file: its reading into checked entries, and its writing.
#include "host/data/dictionary.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <limits>

#include "host/data/data_messages.h"
#include "host/data/number_text.h"
#include "host/data/text_encoding.h"
#include "host/messages/parser_message.h"

namespace host {
namespace {

using nlohmann::json;

// The widest string a dictionary describes.
constexpr int kMaxWidth = 32767;

// Lines of the places a message points at: the root's keys, and the elements of the root's
// arrays. nlohmann's DOM keeps no positions, so a light second pass over the (already valid)
// text finds them.
struct JsonLines {
  std::map<std::string, int> root_keys;
  std::map<std::string, std::vector<int>> root_array_elements;
};

JsonLines FindLines(const std::string& text) {
  JsonLines lines;
  int line = 1;
  int depth = 0;
  std::string last_string;
  int last_string_line = 1;
  std::string key;            // the root key whose value is being read
  bool in_root_array = false;  // depth 2 inside an array that is a root value
  bool expect_element = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\n') {
      ++line;
      continue;
    }
    if (c == ' ' || c == '\t' || c == '\r') continue;
    if (in_root_array && depth == 2 && expect_element && c != ']') {
      lines.root_array_elements[key].push_back(line);
      expect_element = false;
    }
    if (c == '"') {
      std::string value;
      const int start_line = line;
      for (++i; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        if (text[i] == '\n') ++line;
        value += text[i];
      }
      last_string = std::move(value);
      last_string_line = start_line;
      continue;
    }
    switch (c) {
    case ':':
      if (depth == 1) {
        key = last_string;
        lines.root_keys.emplace(key, last_string_line);
      }
      break;
    case '{':
    case '[':
      ++depth;
      if (depth == 2 && c == '[') {
        in_root_array = true;
        expect_element = true;
        lines.root_array_elements[key];
      }
      break;
    case '}':
    case ']':
      if (depth == 2) in_root_array = false;
      --depth;
      break;
    case ',':
      if (in_root_array && depth == 2) expect_element = true;
      break;
    default: break;
    }
  }
  return lines;
}

int LineAt(const std::vector<int>& lines, size_t index, int fallback) {
  return index < lines.size() ? lines[index] : fallback;
}

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

// Reporting with the file and line always first.
class Reporter {
 public:
  Reporter(const std::string& file, ParserMessage& messages) : file_(file), messages_(messages) {}
  bool Error(const char* key, int line, std::vector<std::string> args = {}) {
    args.insert(args.begin(), {file_, std::to_string(line)});
    messages_.HostError(key, args);
    ok_ = false;
    return false;
  }
  void Warning(const char* key, int line, const std::string& a3 = {}, const std::string& a4 = {},
               const std::string& a5 = {}) {
    messages_.SimpleWarning(key, file_, std::to_string(line), a3, a4, a5);
  }
  bool ok() const { return ok_; }

 private:
  const std::string& file_;
  ParserMessage& messages_;
  bool ok_ = true;
};

std::optional<Measure> MeasureFromWord(const std::string& word) {
  const std::string lower = Lower(word);
  if (lower == "nominal") return Measure::kNominal;
  if (lower == "ordinal") return Measure::kOrdinal;
  if (lower == "scale") return Measure::kScale;
  return std::nullopt;
}

std::optional<Role> RoleFromWord(const std::string& word) {
  static const std::map<std::string, Role> kRoles = {
      {"input", Role::kInput}, {"target", Role::kTarget},       {"both", Role::kBoth},
      {"none", Role::kNone},   {"partition", Role::kPartition}, {"split", Role::kSplit}};
  const auto it = kRoles.find(Lower(word));
  return it == kRoles.end() ? std::nullopt : std::optional<Role>(it->second);
}

std::optional<DateComponent> ComponentFromWord(const std::string& word) {
  static const std::map<std::string, DateComponent> kParts = {
      {"year", DateComponent::kYear},     {"quarter", DateComponent::kQuarter},
      {"month", DateComponent::kMonth},   {"week", DateComponent::kWeek},
      {"day", DateComponent::kDay},       {"hour", DateComponent::kHour},
      {"minute", DateComponent::kMinute}, {"second", DateComponent::kSecond},
      {"cycle", DateComponent::kCycle}};
  const auto it = kParts.find(Lower(word));
  return it == kParts.end() ? std::nullopt : std::optional<DateComponent>(it->second);
}

// A whole number that fits int64; unsigned JSON numbers beyond it do not.
bool ReadInteger(const json& value, int64_t& out) {
  if (!value.is_number_integer()) return false;
  if (value.is_number_unsigned() &&
      value.get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
    return false;
  }
  out = value.get<int64_t>();
  return true;
}

bool ReadFormat(const json& value, int line, const std::string& name, Reporter& report,
                std::optional<PrintFormat>& out) {
  if (!value.is_string()) return report.Error(msg::kDictNeedText, line, {name + ".format"});
  const std::string text = value.get<std::string>();
  const FormatCheck check = ParseFormat(text);
  switch (check.problem) {
  case FormatProblem::kNone: out = check.format; return true;
  case FormatProblem::kSyntax: return report.Error(msg::kDictFormatSyntax, line, {text, name});
  case FormatProblem::kUnknownName: return report.Error(msg::kDictFormatName, line, {text, name});
  case FormatProblem::kBadWidth:
    return report.Error(msg::kDictFormatWidth, line,
                        {text, std::to_string(check.low), std::to_string(check.high)});
  case FormatProblem::kBadDecimals:
    return report.Error(msg::kDictFormatDecimals, line, {text, std::to_string(check.high)});
  }
  return false;
}

void ReadVariable(const json& entry, int line, Reporter& report, Dictionary& dictionary,
                  std::set<std::string>& seen) {
  if (!entry.is_object()) {
    const std::string where = "variables[" + std::to_string(dictionary.variables.size()) + "]";
    report.Error(msg::kDictNeedObject, line, {where});
    return;
  }
  DictVariable variable;
  variable.line = line;
  const auto name_it = entry.find("name");
  if (name_it == entry.end() || (name_it->is_string() && name_it->get<std::string>().empty())) {
    report.Error(msg::kDictNoName, line);
    return;
  }
  if (!name_it->is_string()) {
    report.Error(msg::kDictNeedText, line, {"name"});
    return;
  }
  variable.name = name_it->get<std::string>();
  const std::string& name = variable.name;
  if (!seen.insert(UpperName(name)).second) {
    report.Error(msg::kDictRepeatedVariable, line, {name});
    return;
  }
  for (const auto& [key, value] : entry.items()) {
    if (key == "name") continue;
    if (key == "type") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, line, {name + ".type"});
        continue;
      }
      const std::string type = Lower(value.get<std::string>());
      if (type == "numeric") {
        variable.is_string = false;
      } else if (type == "string") {
        variable.is_string = true;
      } else {
        report.Error(msg::kDictUnknownType, line, {value.get<std::string>(), name});
      }
    } else if (key == "width") {
      int64_t width = 0;
      if (!ReadInteger(value, width)) {
        report.Error(msg::kDictNeedInteger, line, {name + ".width"});
      } else if (width < 1 || width > kMaxWidth) {
        report.Error(msg::kDictWidthRange, line, {std::to_string(width), name});
      } else {
        variable.width = static_cast<int>(width);
      }
    } else if (key == "format") {
      ReadFormat(value, line, name, report, variable.format);
    } else if (key == "measure") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, line, {name + ".measure"});
      } else if (!(variable.measure = MeasureFromWord(value.get<std::string>()))) {
        report.Error(msg::kDictUnknownMeasure, line, {value.get<std::string>(), name});
      }
    } else if (key == "role") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, line, {name + ".role"});
      } else if (!(variable.role = RoleFromWord(value.get<std::string>()))) {
        report.Error(msg::kDictUnknownRole, line, {value.get<std::string>(), name});
      }
    } else if (key == "label") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, line, {name + ".label"});
      } else {
        variable.label = value.get<std::string>();
      }
    } else if (key == "valueLabels") {
      if (!value.is_object()) {
        report.Error(msg::kDictNeedObject, line, {name + ".valueLabels"});
      } else {
        variable.value_labels = value;
      }
    } else if (key == "missing") {
      if (!value.is_array()) {
        report.Error(msg::kDictNeedArray, line, {name + ".missing"});
      } else {
        variable.missing = value;
      }
    } else if (key == "missingRange") {
      if (!value.is_array()) {
        report.Error(msg::kDictNeedArray, line, {name + ".missingRange"});
      } else {
        variable.missing_range = value;
      }
    } else {
      report.Warning(msg::kDictUnknownField, line, key);
    }
  }
  if (variable.is_string && variable.format) {
    const bool string_format = IsStringFormat(variable.format->type);
    const std::string text = FormatText(*variable.format);
    if (*variable.is_string && !string_format) {
      report.Error(msg::kDictNumericFormatString, line, {text, name});
    } else if (!*variable.is_string && string_format) {
      report.Error(msg::kDictStringFormatNumeric, line, {text, name});
    }
  }
  dictionary.variables.push_back(std::move(variable));
}

void ReadDatePart(const json& entry, int line, Reporter& report, Dictionary& dictionary) {
  const std::string where = "dateDefinition[" + std::to_string(dictionary.date_parts.size()) + "]";
  if (!entry.is_object()) {
    report.Error(msg::kDictNeedObject, line, {where});
    return;
  }
  DictDatePart part;
  part.line = line;
  bool have_component = false;
  for (const auto& [key, value] : entry.items()) {
    if (key == "component") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, line, {where + ".component"});
      } else if (const auto component = ComponentFromWord(value.get<std::string>())) {
        part.component = *component;
        have_component = true;
      } else {
        report.Error(msg::kDateComponent, line, {value.get<std::string>()});
        return;
      }
    } else if (key == "start" || key == "period") {
      int64_t number = 0;
      if (!ReadInteger(value, number) || number < -1000000000 || number > 1000000000) {
        report.Error(msg::kDictNeedInteger, line, {where + "." + key});
      } else {
        (key == "start" ? part.start : part.period) = number;
      }
    } else {
      report.Warning(msg::kDictUnknownField, line, key);
    }
  }
  if (!have_component) {
    report.Error(msg::kDictNeedText, line, {where + ".component"});
    return;
  }
  dictionary.date_parts.push_back(part);
}

std::optional<double> RangeBound(const json& value, bool low) {
  if (value.is_number()) return value.get<double>();
  if (value.is_string()) {
    const std::string word = Lower(value.get<std::string>());
    if (low && (word == "lo" || word == "lowest")) return -std::numeric_limits<double>::max();
    if (!low && (word == "hi" || word == "highest")) return std::numeric_limits<double>::max();
  }
  return std::nullopt;
}

std::string JsonText(const json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace

std::string DictionaryPathFor(const std::string& data_path) {
  std::string base = data_path;
  if (base.size() > 4) {
    const std::string ending = Lower(base.substr(base.size() - 4));
    if (ending == ".csv") base.resize(base.size() - 4);
  }
  return base + ".dict.json";
}

bool ParseDictionaryText(const std::string& text, const std::string& file_name,
                         Dictionary& dictionary, ParserMessage& messages) {
  dictionary = Dictionary{};
  dictionary.file = file_name;
  Reporter report(dictionary.file, messages);
  json root;
  try {
    root = json::parse(text);
  } catch (const json::exception& error) {
    // A syntax error knows its byte; a number too large for a double only its text.
    size_t at = 0;
    if (const auto* syntax = dynamic_cast<const json::parse_error*>(&error)) {
      at = syntax->byte == 0 ? 0 : std::min(syntax->byte - 1, text.size());
    } else {
      const std::string what = error.what();
      const size_t open = what.find('\'');
      const size_t close = what.rfind('\'');
      if (open != std::string::npos && close > open) {
        const size_t found = text.find(what.substr(open + 1, close - open - 1));
        if (found != std::string::npos) at = found;
      }
    }
    int line = 1;
    size_t line_start = 0;
    for (size_t i = 0; i < at; ++i) {
      if (text[i] == '\n') {
        ++line;
        line_start = i + 1;
      }
    }
    size_t near_end = text.find('\n', at);
    if (near_end == std::string::npos) near_end = text.size();
    std::string near = text.substr(at, std::min<size_t>(near_end - at, 20));
    if (near.empty()) near = text.substr(line_start, std::min<size_t>(at - line_start, 20));
    report.Error(msg::kDictJsonSyntax, line, {std::to_string(at - line_start + 1), near});
    return false;
  }
  if (!root.is_object()) return report.Error(msg::kDictNeedObject, 1, {file_name});

  const JsonLines lines = FindLines(text);
  auto key_line = [&](const std::string& key) {
    const auto it = lines.root_keys.find(key);
    return it == lines.root_keys.end() ? 1 : it->second;
  };
  auto element_lines = [&](const std::string& key) -> const std::vector<int>& {
    static const std::vector<int> kNone;
    const auto it = lines.root_array_elements.find(key);
    return it == lines.root_array_elements.end() ? kNone : it->second;
  };

  std::set<std::string> seen;
  for (const auto& [key, value] : root.items()) {
    if (key == "variables") {
      if (!value.is_array()) {
        report.Error(msg::kDictNeedArray, key_line(key), {key});
        continue;
      }
      for (size_t i = 0; i < value.size(); ++i) {
        ReadVariable(value[i], LineAt(element_lines(key), i, key_line(key)), report, dictionary,
                     seen);
      }
    } else if (key == "dateDefinition") {
      if (!value.is_array()) {
        report.Error(msg::kDictNeedArray, key_line(key), {key});
        continue;
      }
      for (size_t i = 0; i < value.size(); ++i) {
        ReadDatePart(value[i], LineAt(element_lines(key), i, key_line(key)), report, dictionary);
      }
    } else if (key == "encoding") {
      if (!value.is_string()) {
        report.Error(msg::kDictNeedText, key_line(key), {key});
      } else if (!IsKnownEncoding(value.get<std::string>())) {
        report.Error(msg::kDictEncoding, key_line(key), {value.get<std::string>()});
      } else {
        dictionary.encoding = value.get<std::string>();
      }
    } else {
      report.Warning(msg::kDictUnknownField, key_line(key), key);
    }
  }
  return report.ok();
}

bool ReadDictionaryFile(const std::string& path, Dictionary& dictionary, ParserMessage& messages) {
  std::error_code error;
  if (!std::filesystem::exists(path, error) || std::filesystem::is_directory(path, error)) {
    messages.HostError(msg::kDictNotFound, {path});
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  if (!file.is_open() || file.bad()) {
    messages.HostError(msg::kDictUnreadable, {path, std::strerror(errno)});
    return false;
  }
  if (text.size() >= 3 && text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
  return ParseDictionaryText(text, path, dictionary, messages);
}

bool ApplyValueSettings(const DictVariable& entry, const std::string& file, Variable& variable,
                        ParserMessage& messages) {
  Reporter report(file, messages);
  const int line = entry.line;
  const std::string& name = variable.name;
  if (entry.value_labels.is_object()) {
    for (const auto& [value_text, label] : entry.value_labels.items()) {
      if (!label.is_string()) {
        report.Error(msg::kDictNeedText, line, {name + ".valueLabels." + value_text});
        continue;
      }
      if (variable.IsString()) {
        variable.SetValueLabel(std::string_view(value_text), label.get<std::string>());
        continue;
      }
      double number = 0.0;
      if (!ReadNumberText(value_text, number)) {
        report.Error(msg::kDictLabelValue, line, {value_text, name});
        continue;
      }
      variable.SetValueLabel(number, label.get<std::string>());
    }
  }
  if (entry.missing.is_array()) {
    for (const auto& value : entry.missing) {
      if (variable.IsString() && value.is_string()) {
        variable.missing.texts.push_back(value.get<std::string>());
      } else if (!variable.IsString() && value.is_number()) {
        variable.missing.numbers.push_back(value.get<double>());
      } else {
        report.Error(msg::kDictMissingValue, line, {JsonText(value), name});
      }
    }
  }
  if (entry.missing_range.is_array()) {
    if (variable.IsString()) {
      report.Error(msg::kDictRangeString, line, {name});
    } else {
      const json& range = entry.missing_range;
      const auto low = range.size() == 2 ? RangeBound(range[0], true) : std::nullopt;
      const auto high = range.size() == 2 ? RangeBound(range[1], false) : std::nullopt;
      // value_or keeps the optimiser from seeing a read of an empty optional.
      const double low_value = low.value_or(0.0);
      const double high_value = high.value_or(0.0);
      if (!low || !high || low_value > high_value) {
        report.Error(msg::kDictMissingRange, line, {name});
      } else {
        variable.missing.has_range = true;
        variable.missing.range_low = low_value;
        variable.missing.range_high = high_value;
      }
    }
  }
  return report.ok();
}

const char* MeasureWord(Measure measure) {
  switch (measure) {
  case Measure::kNominal: return "nominal";
  case Measure::kOrdinal: return "ordinal";
  case Measure::kScale: return "scale";
  case Measure::kUnknown: break;
  }
  return "unknown";
}

const char* RoleWord(Role role) {
  switch (role) {
  case Role::kInput: return "input";
  case Role::kTarget: return "target";
  case Role::kBoth: return "both";
  case Role::kNone: return "none";
  case Role::kPartition: return "partition";
  case Role::kSplit: return "split";
  }
  return "input";
}

const char* ComponentWord(DateComponent component) {
  switch (component) {
  case DateComponent::kYear: return "YEAR";
  case DateComponent::kQuarter: return "QUARTER";
  case DateComponent::kMonth: return "MONTH";
  case DateComponent::kWeek: return "WEEK";
  case DateComponent::kDay: return "DAY";
  case DateComponent::kHour: return "HOUR";
  case DateComponent::kMinute: return "MINUTE";
  case DateComponent::kSecond: return "SECOND";
  case DateComponent::kCycle: return "CYCLE";
  }
  return "";
}

std::string DictionaryText(const Dataset& dataset, ParserMessage& messages,
                           const std::string& file) {
  using ordered = nlohmann::ordered_json;
  const DateDefinition& dates = dataset.GetDateDefinition();
  std::set<int> made;
  for (const auto& part : dates.parts) made.insert(part.variable_index);
  if (dates.date_text_index >= 0) made.insert(dates.date_text_index);

  ordered variables = ordered::array();
  for (int i = 0; i < dataset.VariableCount(); ++i) {
    if (made.count(i) != 0) continue;
    const Variable& v = dataset.GetVariable(i);
    ordered entry;
    entry["name"] = v.name;
    entry["type"] = v.IsString() ? "string" : "numeric";
    if (v.IsString()) {
      if (v.type > kMaxWidth) {
        messages.SimpleWarning(msg::kDictWidthCapped, file, v.name, std::to_string(v.type),
                               std::to_string(kMaxWidth));
      }
      entry["width"] = std::min(v.type, kMaxWidth);
    }
    entry["format"] = FormatText(v.format);
    entry["measure"] = MeasureWord(v.measure);
    if (!v.label.empty()) entry["label"] = v.label;
    if (v.role != Role::kInput) entry["role"] = RoleWord(v.role);
    if (!v.value_labels.empty()) {
      ordered labels = ordered::object();
      for (const auto& label : v.value_labels) {
        labels[v.IsString() ? label.text : ShortestNumberText(label.number)] = label.label;
      }
      entry["valueLabels"] = labels;
    }
    if (!v.missing.numbers.empty() || !v.missing.texts.empty()) {
      ordered missing = ordered::array();
      for (double number : v.missing.numbers) missing.push_back(number);
      for (const auto& text : v.missing.texts) missing.push_back(text);
      entry["missing"] = missing;
    }
    if (v.missing.has_range) {
      const double max = std::numeric_limits<double>::max();
      ordered range = ordered::array();
      range.push_back(v.missing.range_low <= -max ? ordered("LO") : ordered(v.missing.range_low));
      range.push_back(v.missing.range_high >= max ? ordered("HI") : ordered(v.missing.range_high));
      entry["missingRange"] = range;
    }
    variables.push_back(std::move(entry));
  }
  ordered root;
  root["variables"] = std::move(variables);
  if (!dates.Empty()) {
    ordered parts = ordered::array();
    for (const auto& part : dates.parts) {
      ordered entry;
      entry["component"] = ComponentWord(part.component);
      entry["start"] = part.start;
      if (part.component == DateComponent::kCycle && part.period > 0) entry["period"] = part.period;
      parts.push_back(std::move(entry));
    }
    root["dateDefinition"] = std::move(parts);
  }
  // Texts are read as UTF-8; a byte that still is not (an AHEX string's value label) is
  // replaced rather than stop the save.
  return root.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace host
