// Tests of the dimension value filters: DIMVALUES read from command text through the host's
// parser, and the filters settled against a data model built in the test.
#include "tcm/common/dim_filters.h"

#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "host/bridge/cf_metadata.h"
#include "host/messages/parser_message.h"
#include "host/syntax/command_splitter.h"
#include "host/syntax/descriptors.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"

namespace {

using Args = std::vector<std::string>;
using UPSpecTypes::BracketOptions;
using UPSpecTypes::ParamSpec;
using UPSpecTypes::QualifOptions;
using UPSpecTypes::SubComSpec;

const std::vector<QuorVarName> kDimensions = {QuorVarName("region"), QuorVarName("store"),
                                              QuorVarName("price")};

// The smallest tree that carries DIMVALUES as the commands declare it.
CommandDescriptor FilterTree() {
  CommandDescriptor tree("TCM MODEL", "Temporal Causal Modeling");
  SubComDescriptor filter("DATAFILTER", SubComSpec::NamedParams, false, false);
  ParamDescriptor dimvalues("DIMVALUES", ParamSpec::TokenList, false, true, BracketOptions::None);
  dimvalues.setQualifOption(QualifOptions::InParentheses);
  dimvalues.addQualifDesc("INCLUDE");
  dimvalues.addQualifDesc("EXCLUDE");
  filter.addParamDesc(dimvalues);
  tree.addSubComDesc(filter);
  return tree;
}

struct ReadOutcome {
  bool parsed = false; // the host's parser took the text
  bool ok = false;     // ReadDimValues' answer
  std::vector<DimValueFilter> filters;
  std::vector<host::MessageRecord> messages;

  bool Only(const std::string& source, const Args& args) const {
    return messages.size() == 1 && messages[0].source == source && messages[0].args == args;
  }
  std::string Describe() const {
    std::string text;
    for (const auto& message : messages) {
      text += message.source + "(";
      for (std::size_t i = 0; i < message.args.size(); ++i)
        text += (i ? ", " : "") + message.args[i];
      text += ") ";
    }
    return text;
  }
};

// Parses "TCM MODEL /DATAFILTER DIMVALUES=<value>." and reads the parameter.
ReadOutcome Read(const std::string& value,
                 const std::vector<QuorVarName>& dimensions = kDimensions) {
  ReadOutcome outcome;
  CommandDescriptor tree = FilterTree();
  ParserMessage parse_messages;
  const auto commands = host::SplitCommands("TCM MODEL /DATAFILTER DIMVALUES=" + value + ".",
                                            "test.tcm", parse_messages);
  if (commands.size() != 1 || !commands.front().tokens_ok)
    return outcome;
  QUOR_TokenSequence tokens(commands.front().tokens);
  CommandSpec spec;
  UniversalParser parser(tokens, spec, tree, &parse_messages);
  if (parser.getCommandSpecifications() != 0)
    return outcome;
  const GroupComObj* global = spec.getGlobalGroupObj();
  const SubComObj* subcommand = global ? global->getSubComObj("DATAFILTER") : nullptr;
  const ParamObj* param = subcommand ? subcommand->getParamObj("DIMVALUES") : nullptr;
  if (!param)
    return outcome;
  outcome.parsed = true;
  ParserMessage messages;
  outcome.ok = ReadDimValues(outcome.filters, *param, dimensions, &messages);
  outcome.messages = messages.Raised();
  return outcome;
}

DimValueFilter Filter(const std::string& field, Args values, bool include = true) {
  return DimValueFilter{field, std::move(values), include};
}

TEST(ReadDimValues, ReadsSeveralFieldsInOrder) {
  const ReadOutcome read =
      Read("region(INCLUDE=East 'West Coast') store(exclude=1 2.50 -3) region(Include=all)");
  ASSERT_TRUE(read.parsed);
  ASSERT_TRUE(read.ok) << read.Describe();
  EXPECT_TRUE(read.messages.empty());
  // Values as written (a quoted one without its quotes); a repeated field is kept behind the
  // first; the keyword in any case; "all" is no reserved value, only "ALL" is.
  const std::vector<DimValueFilter> expected = {
      Filter("region", {"East", "West Coast"}),
      Filter("store", {"1", "2.50", "-3"}, false),
      Filter("region", {"all"}),
  };
  EXPECT_EQ(read.filters, expected);
  const std::vector<std::string>* first = FindDimFilter("region", read.filters);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(*first, (Args{"East", "West Coast"}));
  EXPECT_EQ(FindDimFilter("price", read.filters), nullptr);
  EXPECT_EQ(FindDimFilter("REGION", read.filters), nullptr);
}

TEST(ReadDimValues, MalformedFiltersAreRefused) {
  struct Case {
    std::string text;
    std::string source;
    Args args;
  };
  const Case cases[] = {
      // INCLUDE and no value: four tokens in the parentheses.
      {"region(INCLUDE=)", "InvalidParamValue", {"( INCLUDE = )", "DIMVALUES", "DATAFILTER"}},
      {"region(EXCLUDE=) store(INCLUDE=1)",
       "InvalidParamValue",
       {"( EXCLUDE = )", "DIMVALUES", "DATAFILTER"}},
      {"region(INCLUDE East)",
       "InvalidParamValue",
       {"( INCLUDE East )", "DIMVALUES", "DATAFILTER"}},
      {"region INCLUDE=East", "InvalidParamValue", {"INCLUDE = East", "DIMVALUES", "DATAFILTER"}},
      {"region", "InvalidParamValue", {"", "DIMVALUES", "DATAFILTER"}},
      {"region(East)", "InvalidParamValue", {"( East )", "DIMVALUES", "DATAFILTER"}},
      // Not a variable name where a field must stand.
      {"'region'(INCLUDE=a)", "InvalidVarName", {"region", "DIMVALUES", "DATAFILTER"}},
      {"ALL(INCLUDE=a)", "InvalidVarName", {"ALL", "DIMVALUES", "DATAFILTER"}},
      {"region(INCLUDE=a) 5(INCLUDE=b)", "InvalidVarName", {"5", "DIMVALUES", "DATAFILTER"}},
      // A field that is no dimension, also in another case: dimensions match exactly.
      {"sales(INCLUDE=1)", "FILED_NOT_ON_DIMENSIONS_KEY", {"DATAFILTER", "sales"}},
      {"REGION(INCLUDE=East)", "FILED_NOT_ON_DIMENSIONS_KEY", {"DATAFILTER", "REGION"}},
      // ALL and TO are never values, wherever they stand.
      {"region(INCLUDE=ALL)", "ALL_TO_ON_DIMVAL_KEY", {"DATAFILTER"}},
      {"store(EXCLUDE=1 TO 5)", "ALL_TO_ON_DIMVAL_KEY", {"DATAFILTER"}},
      {"store(INCLUDE=1 'TO')", "ALL_TO_ON_DIMVAL_KEY", {"DATAFILTER"}},
  };
  for (const Case& test : cases) {
    const ReadOutcome read = Read(test.text);
    ASSERT_TRUE(read.parsed) << test.text;
    EXPECT_FALSE(read.ok) << test.text;
    EXPECT_TRUE(read.Only(test.source, test.args)) << test.text << " -> " << read.Describe();
  }

  // What was read before the bad filter stays, and nothing after it is read.
  const ReadOutcome partial = Read("store(INCLUDE=1) region(INCLUDE=East ALL) price(INCLUDE=2)");
  EXPECT_FALSE(partial.ok);
  EXPECT_EQ(partial.filters, (std::vector<DimValueFilter>{Filter("store", {"1"})}));

  // No dimensions at all: every field is refused before its values are looked at.
  EXPECT_TRUE(Read("region(INCLUDE=ALL)", {})
                  .Only("FILED_NOT_ON_DIMENSIONS_KEY", {"DATAFILTER", "region"}));
}

TEST(ReadDimValues, GarbageNeverCrashes) {
  // Valid filters with one to three tokens replaced, inserted or dropped, so that the sweep
  // reaches every step of the reader.
  const std::vector<std::string> base = {"region", "(", "INCLUDE", "=", "East", "'W x'", ")",
                                         "store",  "(", "EXCLUDE", "=", "1",    "2.5",   ")"};
  const char* pieces[] = {"region",  "store",   "REGION", "x",   "(",       ")",   "=",
                          "INCLUDE", "EXCLUDE", "ALL",    "TO",  "1",       "'q'", "-",
                          "*",       "/",       ",",      "'('", "include", "all"};
  std::mt19937 random(20240611);
  auto below = [&](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  int parsed = 0;
  int accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    std::vector<std::string> tokens = base;
    for (std::size_t edits = 1 + below(3); edits > 0; --edits) {
      const std::size_t place = below(tokens.size() + 1);
      const std::string piece = pieces[below(std::size(pieces))];
      switch (below(3)) {
      case 0:
        if (place < tokens.size())
          tokens[place] = piece;
        break;
      case 1:
        tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(place), piece);
        break;
      default:
        if (place < tokens.size() && tokens.size() > 1) {
          tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(place));
        }
      }
    }
    std::string text;
    for (const std::string& token : tokens)
      text += token + " ";
    const ReadOutcome read = Read(text);
    if (!read.parsed)
      continue;
    ++parsed;
    // Either every filter was taken and nothing was said, or exactly one fault was reported.
    if (read.ok) {
      ++accepted;
      EXPECT_TRUE(read.messages.empty()) << text;
      for (const DimValueFilter& filter : read.filters) {
        EXPECT_FALSE(filter.values.empty()) << text;
        EXPECT_TRUE(filter.field == "region" || filter.field == "store") << text;
      }
    } else {
      EXPECT_EQ(read.messages.size(), 1u) << text;
    }
  }
  // The sweep must reach the reader, with both outcomes.
  EXPECT_GT(parsed, 300);
  EXPECT_GT(accepted, 30);
  EXPECT_GT(parsed - accepted, 30);
}

// region: text; store: integer; price: real, with a system-missing category at the end.
CFMetaData Model() {
  CFMetaData model;
  CFField region("region", CFStorage::kString);
  int code = 0;
  for (const char* value : {"East", "West", "North"}) {
    EXPECT_TRUE(region.AddValue(CFValue(CFDatum::String(value), code++)));
  }
  CFField store("store", CFStorage::kInteger);
  for (int value : {1, 2, 3, 10})
    EXPECT_TRUE(store.AddValue(CFValue(CFDatum::Integer(value), value)));
  CFField price("price", CFStorage::kReal);
  code = 0;
  for (double value : {0.5, 2.25, 1.0, std::numeric_limits<double>::lowest()}) {
    EXPECT_TRUE(price.AddValue(CFValue(CFDatum::Real(value), code++)));
  }
  EXPECT_TRUE(model.AddField(region));
  EXPECT_TRUE(model.AddField(store));
  EXPECT_TRUE(model.AddField(price));
  return model;
}

struct CheckOutcome {
  bool ok = false;
  std::vector<DimValueFilter> filters;
  std::vector<host::MessageRecord> messages;
};

CheckOutcome Check(std::vector<DimValueFilter> filters, const std::string& label = "DATAFILTER") {
  CheckOutcome outcome;
  ParserMessage messages;
  outcome.ok = CheckDimFilters(Model(), filters, label, &messages);
  outcome.filters = std::move(filters);
  outcome.messages = messages.Raised();
  return outcome;
}

TEST(CheckDimFilters, ValuesMustBeCategories) {
  // Numbers match as numbers: 1.0 is the category 1, 2.250 is 2.25, 1e1 is 10.
  CheckOutcome good = Check({Filter("store", {"1.0", "1e1", " 3 "}),
                             Filter("price", {"2.250", "1"}), Filter("region", {"West"})});
  EXPECT_TRUE(good.ok);
  EXPECT_TRUE(good.messages.empty());
  EXPECT_EQ(good.filters[0].values, (Args{"1.0", "1e1", " 3 "})); // an INCLUDE stays as written

  struct Case {
    DimValueFilter filter;
    std::string source;
    Args args;
  };
  const Case cases[] = {
      // Text matches exactly: case and blanks count.
      {Filter("region", {"east"}), "INVALID_DIM_VAL_KEY", {"SCENARIO 2", "east", "region"}},
      {Filter("region", {"East "}), "INVALID_DIM_VAL_KEY", {"SCENARIO 2", "East ", "region"}},
      // Values are walked from the last: the last bad one is named.
      {Filter("region", {"Up", "East", "Down"}),
       "INVALID_DIM_VAL_KEY",
       {"SCENARIO 2", "Down", "region"}},
      {Filter("store", {"4"}), "InvalidCatValue", {"store", "4", "DIMVALUES", "SCENARIO 2"}},
      {Filter("store", {"one", "two"}),
       "InvalidCatValue",
       {"store", "two", "DIMVALUES", "SCENARIO 2"}},
      {Filter("store", {"0.25"}, false),
       "InvalidCatValue",
       {"store", "0.25", "DIMVALUES", "SCENARIO 2"}},
      {Filter("Store", {"1"}), "VariableNotInDict", {"Store", "DIMVALUES", "SCENARIO 2"}},
  };
  for (const Case& test : cases) {
    const CheckOutcome bad = Check({test.filter}, "SCENARIO 2");
    EXPECT_FALSE(bad.ok) << test.args[1];
    ASSERT_EQ(bad.messages.size(), 1u) << test.args[1];
    EXPECT_EQ(bad.messages[0].source, test.source);
    EXPECT_EQ(bad.messages[0].args, test.args);
  }

  // A category without a text (system-missing) met before a match ends the check silently;
  // one that a match comes before is never looked at.
  const CheckOutcome silent = Check({Filter("price", {"7"})});
  EXPECT_FALSE(silent.ok);
  EXPECT_TRUE(silent.messages.empty());
  EXPECT_TRUE(Check({Filter("price", {"1"})}).ok);
}

TEST(CheckDimFilters, ExcludeBecomesIncludeOfTheRest) {
  CheckOutcome checked =
      Check({Filter("store", {"3", "1"}, false), Filter("region", {"West"}),
             Filter("region", {"North", "East", "West"}, false), Filter("price", {"2.25"}, false)});
  ASSERT_TRUE(checked.ok);
  const std::vector<DimValueFilter> expected = {
      Filter("store", {"2", "10"}), // in the order of the field's categories
      Filter("region", {"West"}),
      Filter("region", {}),          // every value excluded: an INCLUDE of nothing
      Filter("price", {"0.5", "1"}), // the category without a text is left out
  };
  EXPECT_EQ(checked.filters, expected);

  // The first failure stops the walk: filters before it are settled, those after are not.
  CheckOutcome stopped = Check(
      {Filter("store", {"2"}, false), Filter("region", {"South"}), Filter("store", {"1"}, false)});
  EXPECT_FALSE(stopped.ok);
  EXPECT_EQ(stopped.filters[0], Filter("store", {"1", "3", "10"}));
  EXPECT_EQ(stopped.filters[2], Filter("store", {"1"}, false));

  // Read from the text, then settled.
  const ReadOutcome read = Read("region(EXCLUDE=East) store(INCLUDE=2.0)");
  ASSERT_TRUE(read.ok) << read.Describe();
  CheckOutcome settled = Check(read.filters);
  ASSERT_TRUE(settled.ok);
  EXPECT_EQ(settled.filters, (std::vector<DimValueFilter>{Filter("region", {"West", "North"}),
                                                          Filter("store", {"2.0"})}));
}

TEST(ValuesOfField, EveryValueWithAText) {
  const CFMetaData model = Model();
  EXPECT_EQ(ValuesOfField("region", model), Filter("region", {"East", "West", "North"}));
  EXPECT_EQ(ValuesOfField("store", model), Filter("store", {"1", "2", "3", "10"}));
  EXPECT_EQ(ValuesOfField("price", model), Filter("price", {"0.5", "2.25", "1"}));
  EXPECT_EQ(ValuesOfField("ghost", model), Filter("ghost", {}));
}

} // namespace
