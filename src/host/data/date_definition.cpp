// This file contains the date definition: the host's date variables made from the case number.
#include "host/data/date_definition.h"

#include <algorithm>
#include <optional>

#include "host/data/data_messages.h"
#include "host/messages/parser_message.h"
#include "support/time.h"

namespace host {
namespace {

// The lowest value of a part: 0 for the parts of a clock, 1 for the rest.
int64_t BaseOf(DateComponent component) {
  return component == DateComponent::kHour || component == DateComponent::kMinute ||
                 component == DateComponent::kSecond
             ? 0
             : 1;
}

// Values of a part per value of the part above, or nullopt when it cannot stand there.
std::optional<int> LengthBelow(DateComponent parent, bool parent_is_top, DateComponent child) {
  using C = DateComponent;
  if (parent == C::kCycle && parent_is_top) {
    switch (child) {
    case C::kQuarter: return 4;
    case C::kMonth: return 12;
    case C::kWeek: return 52;
    case C::kDay: return 7;
    case C::kHour: return 24;
    case C::kMinute: return 60;
    case C::kSecond: return 60;
    default: return std::nullopt;
    }
  }
  if (parent == C::kYear && child == C::kQuarter) return 4;
  if (parent == C::kYear && child == C::kMonth) return 12;
  if (parent == C::kYear && child == C::kWeek) return 52;
  if (parent == C::kQuarter && child == C::kMonth) return 3;
  if (parent == C::kWeek && child == C::kDay) return 7;
  if (parent == C::kDay && child == C::kHour) return 24;
  if (parent == C::kHour && child == C::kMinute) return 60;
  if (parent == C::kMinute && child == C::kSecond) return 60;
  return std::nullopt;
}

bool MonthBelowQuarter(const DateDefinition& definition, size_t i) {
  return i > 0 && definition.parts[i].component == DateComponent::kMonth &&
         definition.parts[i - 1].component == DateComponent::kQuarter;
}

bool IsClock(DateComponent component) { return BaseOf(component) == 0; }

std::string TwoDigits(int64_t value) {
  std::string text = std::to_string(value);
  return text.size() < 2 ? "0" + text : text;
}

// The DATE_ text of one case's values, highest part first.
std::string DateText(const DateDefinition& definition, const std::vector<int64_t>& values) {
  std::string text;
  auto add = [&text](const std::string& piece) {
    if (!text.empty()) text += ' ';
    text += piece;
  };
  const size_t n = definition.parts.size();
  for (size_t i = 0; i < n; ++i) {
    const DateComponent component = definition.parts[i].component;
    const int64_t value = values[i];
    if (IsClock(component)) {
      // A run of clock parts prints as a clock; a lone one with its letter.
      size_t end = i;
      while (end + 1 < n && IsClock(definition.parts[end + 1].component)) ++end;
      if (end == i) {
        const char letter = component == DateComponent::kHour     ? 'H'
                            : component == DateComponent::kMinute ? 'M'
                                                                  : 'S';
        add(std::string(1, letter) + TwoDigits(value));
      } else {
        std::string clock;
        for (size_t k = i; k <= end; ++k) clock += (k == i ? "" : ":") + TwoDigits(values[k]);
        add(clock);
      }
      i = end;
      continue;
    }
    switch (component) {
    case DateComponent::kYear: add(std::to_string(value)); break;
    case DateComponent::kQuarter: add("Q" + std::to_string(value)); break;
    case DateComponent::kMonth: {
      std::string name = support::MonthAbbrev(static_cast<int>(value));
      std::transform(name.begin(), name.end(), name.begin(),
                     [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; });
      add(name);
      break;
    }
    case DateComponent::kWeek: add("W" + std::to_string(value)); break;
    case DateComponent::kDay: add("D" + std::to_string(value)); break;
    case DateComponent::kCycle: add("C" + std::to_string(value)); break;
    default: break;
    }
  }
  return text;
}

int DigitsOf(int64_t value) { return static_cast<int>(std::to_string(value).size()); }

}  // namespace

std::string DateVariableName(DateComponent component) {
  return std::string(ComponentWord(component)) + "_";
}

void FillDateVariables(Dataset& dataset) {
  const DateDefinition& definition = dataset.GetDateDefinition();
  const size_t n = definition.parts.size();
  if (n == 0) return;
  const int64_t cases = dataset.CaseCount();
  std::vector<std::vector<double>> columns(n, std::vector<double>(static_cast<size_t>(cases)));
  std::vector<std::string> texts(static_cast<size_t>(cases));

  // Zero-based offsets of the first case within each lower part.
  std::vector<int64_t> offsets(n, 0);
  for (size_t i = 1; i < n; ++i) {
    const DatePart& part = definition.parts[i];
    offsets[i] = MonthBelowQuarter(definition, i) ? (part.start - 1) % 3
                                                  : part.start - BaseOf(part.component);
  }
  std::vector<int64_t> values(n, 0);
  for (int64_t k = 0; k < cases; ++k) {
    // Mixed-radix counting: the case number advances the lowest part and carries upward.
    int64_t carry = k;
    std::vector<int64_t> digits(n, 0);
    for (size_t i = n - 1; i >= 1; --i) {
      const int64_t length = definition.parts[i].length;
      const int64_t total = offsets[i] + carry;
      digits[i] = total % length;
      carry = total / length;
    }
    values[0] = definition.parts[0].start + carry;
    for (size_t i = 1; i < n; ++i) {
      const int64_t base = BaseOf(definition.parts[i].component);
      values[i] = MonthBelowQuarter(definition, i) ? (values[i - 1] - 1) * 3 + digits[i] + 1
                                                   : base + digits[i];
    }
    for (size_t i = 0; i < n; ++i) {
      columns[i][static_cast<size_t>(k)] = static_cast<double>(values[i]);
    }
    texts[static_cast<size_t>(k)] = DateText(definition, values);
  }
  for (size_t i = 0; i < n; ++i) {
    dataset.SetNumberColumn(definition.parts[i].variable_index, std::move(columns[i]));
  }
  if (definition.date_text_index >= 0) {
    size_t width = 1;
    for (const auto& text : texts) width = std::max(width, text.size());
    // DATE_ is as wide as its longest text; it only grows, so texts written before still fit.
    Variable& date_text = dataset.MutableVariable(definition.date_text_index);
    date_text.type = std::max(date_text.type, static_cast<int>(width));
    date_text.format.width = std::max(date_text.format.width, static_cast<int>(width));
    dataset.SetTextColumn(definition.date_text_index, std::move(texts));
  }
}

bool ApplyDateDefinition(const std::vector<DictDatePart>& parts, const std::string& file,
                         Dataset& dataset, ParserMessage& messages) {
  if (parts.empty()) return true;
  bool ok = true;
  auto error = [&](const char* key, int line, std::vector<std::string> args = {}) {
    args.insert(args.begin(), {file, std::to_string(line)});
    messages.HostError(key, args);
    ok = false;
  };
  DateDefinition definition;
  std::vector<bool> seen(9, false);
  for (size_t i = 0; i < parts.size(); ++i) {
    const DictDatePart& spec = parts[i];
    const char* word = ComponentWord(spec.component);
    DatePart part;
    part.component = spec.component;
    const auto slot = static_cast<size_t>(spec.component);
    if (seen[slot]) {
      error(msg::kDateRepeated, spec.line, {word});
      continue;
    }
    seen[slot] = true;
    if (i == 0) {
      if (spec.component == DateComponent::kYear && !spec.start) {
        error(msg::kDateNeedStart, spec.line, {word});
      }
      if (spec.component == DateComponent::kCycle && spec.period) {
        messages.SimpleWarning(msg::kDatePeriodIgnored, file, std::to_string(spec.line));
      }
      part.start = spec.start.value_or(BaseOf(spec.component));
      part.length = 0;
      definition.parts.push_back(part);
      continue;
    }
    const DictDatePart& above = parts[i - 1];
    if (above.component == DateComponent::kCycle && i - 1 > 0) {
      error(msg::kDateCycleLast, above.line);
      continue;
    }
    int64_t high = 0;
    if (spec.component == DateComponent::kCycle) {
      if (!spec.period || *spec.period < 2 || *spec.period > 1000000) {
        error(msg::kDatePeriod, spec.line);
        continue;
      }
      part.period = static_cast<int>(*spec.period);
      part.length = part.period;
      high = part.period;
    } else {
      const auto length = LengthBelow(above.component, i == 1, spec.component);
      if (!length) {
        error(msg::kDateOrder, spec.line, {word, ComponentWord(above.component)});
        continue;
      }
      part.length = *length;
      high = BaseOf(spec.component) + *length - 1;
    }
    const bool month_in_quarter =
        spec.component == DateComponent::kMonth && above.component == DateComponent::kQuarter;
    const int64_t low = BaseOf(spec.component);
    if (month_in_quarter) high = 12;
    const int64_t quarter = month_in_quarter ? definition.parts.back().start : 0;
    part.start = spec.start.value_or(month_in_quarter ? (quarter - 1) * 3 + 1 : low);
    if (part.start < low || part.start > high) {
      error(msg::kDateStart, spec.line, {word, std::to_string(low), std::to_string(high)});
      continue;
    }
    if (month_in_quarter && (part.start - 1) / 3 + 1 != quarter) {
      error(msg::kDateQuarterMonth, spec.line,
            {std::to_string(part.start), std::to_string(quarter)});
      continue;
    }
    definition.parts.push_back(part);
  }
  if (!ok) return false;

  // Every name must be free before anything is added, so that a failure changes nothing.
  const int last_line = parts.back().line;
  for (size_t i = 0; i < definition.parts.size(); ++i) {
    const std::string name = DateVariableName(definition.parts[i].component);
    if (dataset.FindVariable(name) >= 0) error(msg::kDateNameTaken, parts[i].line, {name});
  }
  if (dataset.FindVariable(kDateTextName) >= 0) {
    error(msg::kDateNameTaken, last_line, {kDateTextName});
  }
  if (!ok) return false;

  const size_t n = definition.parts.size();
  std::string part_list;
  for (size_t i = 0; i < n; ++i) {
    DatePart& part = definition.parts[i];
    part.level = static_cast<int>(n - 1 - i);
    Variable variable;
    variable.name = DateVariableName(part.component);
    variable.measure = Measure::kOrdinal;
    // Months keep their month of the year (up to 12) also below a quarter.
    int digits = i == 0 ? 8 : DigitsOf(BaseOf(part.component) + part.length - 1);
    if (part.component == DateComponent::kMonth) digits = 2;
    variable.format = PrintFormat{fmt::kF, digits, 0};
    const char* word = ComponentWord(part.component);
    variable.label = i == 0 ? HostText(msg::kDateLabelTop, {word})
                            : HostText(msg::kDateLabelPeriodic,
                                       {word, std::to_string(part.length)});
    part.variable_index = dataset.AddVariable(std::move(variable));
    part_list += (i == 0 ? "" : ", ") + std::string(word);
  }
  Variable text;
  text.name = kDateTextName;
  text.type = 1;
  text.format = PrintFormat{fmt::kA, 1, 0};
  text.measure = Measure::kNominal;
  text.label = HostText(msg::kDateLabelText, {part_list});
  definition.date_text_index = dataset.AddVariable(std::move(text));
  dataset.SetDateDefinition(std::move(definition));
  FillDateVariables(dataset);
  return true;
}

}  // namespace host
