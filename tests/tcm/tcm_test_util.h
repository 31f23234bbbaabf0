// This file contains what the module's tests share: datasets made in the test, and a run of a
// parser shell over command text with the messages it raised.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/data/dataset.h"
#include "host/data/date_definition.h"
#include "host/data/print_format.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/output/document.h"
#include "host/session.h"
#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "support/time.h"
#include "tcm/frame/command_context.h"

namespace tcm_test {

// Seconds since 1970 of a civil time.
inline int64_t Seconds(int64_t year, int month, int day, int hour = 0, int minute = 0,
                       int second = 0) {
  return support::ToSeconds({year, month, day, hour, minute, second});
}

// One variable of a test dataset: width 0 is numeric. Format as text ("F8.2", "DATE11", "A8").
struct VarDef {
  std::string name;
  int width = 0;
  std::string format = "F8.2";
  host::Measure measure = host::Measure::kScale;
};

// A dataset with the variables and `cases` empty cases (system-missing numbers, empty texts).
inline std::shared_ptr<host::Dataset> MakeDataset(std::initializer_list<VarDef> variables,
                                                  int64_t cases = 0) {
  auto dataset = std::make_shared<host::Dataset>();
  for (const VarDef& def : variables) {
    host::Variable variable;
    variable.name = def.name;
    variable.type = def.width;
    const auto format = host::ParseFormat(def.format);
    EXPECT_TRUE(format.format.has_value()) << def.format;
    if (format.format) variable.format = *format.format;
    variable.measure = def.width > 0 && def.measure == host::Measure::kScale
                           ? host::Measure::kNominal
                           : def.measure;
    dataset->AddVariable(variable);
  }
  dataset->SetCaseCount(cases);
  return dataset;
}

// Puts a date definition behind `dataset`: YEAR_ from 2015, MONTH_ from 1.
inline std::shared_ptr<host::Dataset> WithMonthlyDates(std::shared_ptr<host::Dataset> dataset) {
  host::DictDatePart year;
  year.component = host::DateComponent::kYear;
  year.start = 2015;
  host::DictDatePart month;
  month.component = host::DateComponent::kMonth;
  month.start = 1;
  ParserMessage messages;
  EXPECT_TRUE(host::ApplyDateDefinition({year, month}, "test", *dataset, messages));
  return dataset;
}

template <typename Spec>
struct ParseResult {
  bool ok = false;
  Spec spec;
  std::vector<host::MessageRecord> messages;
  std::vector<int32_t> used;  // AnalysisVariableIndices

  // True when a message of that source (key or method) came with these leading arguments.
  bool Has(const std::string& source, std::vector<std::string> args = {}) const {
    for (const auto& message : messages) {
      if (message.source != source) continue;
      if (args.size() > message.args.size()) continue;
      if (std::equal(args.begin(), args.end(), message.args.begin())) return true;
    }
    return false;
  }
  // "source(arg, arg)" of every message, for failure output.
  std::string Describe() const {
    std::string text;
    for (const auto& message : messages) {
      text += message.source + "(";
      for (std::size_t i = 0; i < message.args.size(); ++i) {
        text += (i ? ", " : "") + message.args[i];
      }
      text += ") ";
    }
    return text;
  }
};

// Runs the parser shell `Parser` over one command (with its name) against `dataset`.
template <typename Spec, typename Parser>
ParseResult<Spec> Parse(const std::string& command_text, std::shared_ptr<host::Dataset> dataset,
                        const std::string& command_name, const std::string& title) {
  ParseResult<Spec> result;
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  session.active_dataset = dataset;
  host::SessionScope scope(session);

  ParserMessage split_messages;
  const auto commands = host::SplitCommands(command_text, "test.tcm", split_messages);
  EXPECT_EQ(commands.size(), 1u) << command_text;
  if (commands.empty()) return result;
  QUOR_TokenSequence tokens(commands.front().tokens);
  ProcedureDataSource data_source(dataset);
  CommandContext context;
  context.Fill(command_name, title);
  Parser parser(tokens, &result.spec, &context, &data_source);
  result.ok = parser.ParseCommand();
  result.used = parser.AnalysisVariableIndices();
  result.messages = context.GetParserMessage().Raised();
  return result;
}

}  // namespace tcm_test
