// Tests of the expressions scorer: each element and function on one row against values worked out
// by hand, the faults of a file, and a real result stream of several rows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <optional>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_transform_scorer.h"
#include "host/bridge/embedded_as.h"
#include "host/data/dataset.h"
#include "host/data/print_format.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/document.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "support/file_io.h"
#include "support/temp_file.h"

namespace {

constexpr double kMiss = host::kSysMiss;

// Rows of fields x, y, z (reals), n (integer), region (text) and gap (a real, always missing);
// a cell is its text, or none for missing.
class TableRows : public engine::RowIterator {
 public:
  explicit TableRows(std::vector<std::vector<std::optional<std::string>>> rows)
      : rows_(std::move(rows)) {}
  std::string DataModelXml() const override {
    return "<DataModel><Field name='x' storage='real'/><Field name='y' storage='real'/>"
           "<Field name='z' storage='real'/><Field name='n' storage='integer'/>"
           "<Field name='region' storage='string'/><Field name='gap' storage='real'/></DataModel>";
  }
  bool Next() override { return ++current_ < rows_.size(); }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (current_ >= rows_.size() || index > 5) return false;
    const std::optional<std::string>& cell = index < 5 ? rows_[current_][index] : std::nullopt;
    *data = nullptr;
    if (!cell) return true;
    if (index == 4) {
      *data = cell->data();
      *length = cell->size();
    } else if (index == 3) {
      integer_ = std::stoi(*cell);
      *data = &integer_;
    } else {
      real_ = std::stod(*cell);
      *data = &real_;
    }
    return true;
  }

 private:
  std::vector<std::vector<std::optional<std::string>>> rows_;
  std::size_t current_ = static_cast<std::size_t>(-1);
  std::int32_t integer_ = 0;
  double real_ = 0.0;
};

std::string F(const std::string& field, const std::string& extra = "") {
  return "<FieldRef field=\"" + field + "\"" + extra + "/>";
}
std::string C(const std::string& value, const std::string& extra = "") {
  return "<Constant" + extra + ">" + value + "</Constant>";
}
std::string A(const std::string& function, std::initializer_list<std::string> args,
              const std::string& extra = "") {
  std::string text = "<Apply function=\"" + function + "\"" + extra + ">";
  for (const std::string& arg : args) text += arg;
  return text + "</Apply>";
}
std::string Norm(const std::string& field, const std::string& extra) {
  return "<NormContinuous field=\"" + field + "\"" + extra +
         "><LinearNorm orig=\"0\" norm=\"0\"/><LinearNorm orig=\"4\" norm=\"1\"/>"
         "<LinearNorm orig=\"8\" norm=\"3\"/></NormContinuous>";
}
std::string Map(const std::string& field, const std::string& extra) {
  return "<MapValues outputColumn=\"out\"" + extra + "><FieldColumnPair field=\"" + field +
         "\" column=\"in\"/><InlineTable><row><in>E</in><out>1.1</out></row>"
         "<row><in>3</in><out>30</out></row><row><in>W</in></row></InlineTable></MapValues>";
}

// A file of the derived fields given (name, body), on lines of their own.
std::string File(const std::vector<std::pair<std::string, std::string>>& fields) {
  std::string text = "<?xml version=\"1.0\"?>\n<PMML version=\"4.4\">\n<TransformationDictionary>\n";
  for (const auto& [name, body] : fields)
    text += "<DerivedField name=\"" + name + "\" optype=\"continuous\">\n" + body +
            "\n</DerivedField>\n";
  return text + "</TransformationDictionary>\n</PMML>\n";
}

struct Scoring {
  support::TempFile file = std::move(support::TempFile::Create(".xml").value());
  EmbeddedAS::RowDataIterator rows;
  ASTransformScorer scorer;

  explicit Scoring(std::vector<std::vector<std::optional<std::string>>> table = {
                       {"6", "-2", "0", "3", "E"}})
      : rows(std::make_unique<TableRows>(std::move(table))) {}
  bool Prepare(const std::string& text, const std::vector<std::string>& targets,
               bool skip = false) {
    EXPECT_TRUE(support::WriteFileAtomically(file.path(), text).ok());
    return scorer.PrepareScoring(&rows, file.path().string(), targets, skip);
  }
};

TEST(ASTransformScorer, EachElementAndFunctionGivesTheHandValue) {
  const std::string x = F("x"), y = F("y"), z = F("z"), n = F("n"), gap = F("gap");
  const std::string region = F("region");
  struct Case {
    std::string body;
    double expected;
  };
  const std::vector<Case> cases = {
      {A("+", {x, C("1.5")}), 7.5},
      {A("-", {x, y}), 8},
      {A("*", {x, n}), 18},
      {A("/", {x, y}), -3},
      {A("/", {x, z}), kMiss},
      {A("/", {x, z}, " defaultValue=\"0\""), 0},
      {A("+", {x, gap}), kMiss},
      {A("+", {x, gap}, " mapMissingTo=\"-1\""), -1},
      {A("*", {x, F("gap", " mapMissingTo=\"4\"")}), 24},
      {A("equal", {region, C("E", " dataType=\"string\"")}), 1},
      {A("equal", {n, C("3.0")}), 1},
      {A("notEqual", {x, C("6")}), 0},
      {A("lessThan", {y, x}), 1},
      {A("lessOrEqual", {x, C("6")}), 1},
      {A("greaterThan", {y, z}), 0},
      {A("greaterOrEqual", {x, C("7")}), 0},
      {A("equal", {gap, gap}), kMiss},
      {A("and", {A("greaterThan", {x, z}), A("lessThan", {y, z}), C("true", " dataType=\"boolean\"")}), 1},
      {A("or", {A("lessThan", {x, z}), A("greaterThan", {y, z})}), 0},
      {A("not", {A("equal", {region, C("W")})}), 1},
      {A("and", {C("1"), gap}), kMiss},
      {A("if", {A("greaterThan", {x, C("5")}), C("10"), C("20")}), 10},
      {A("if", {A("lessThan", {x, C("5")}), C("10")}), kMiss},
      {A("if", {A("greaterThan", {x, C("5")}), x, gap}), 6},
      {A("if", {A("greaterThan", {gap, z}), C("1"), C("2")}), kMiss},
      {A("if", {A("isMissing", {gap}), C("1"), C("2")}), 1},
      {A("isNotMissing", {gap}), 0},
      {A("isMissing", {x}), 0},
      {A("min", {x, y, n}), -2},
      {A("max", {x, y, n}), 6},
      {A("sum", {x, y, n}), 7},
      {A("avg", {x, y, n}), 7.0 / 3.0},
      {A("max", {x, gap}), kMiss},
      {A("product", {x, y, n}), -36},
      {A("median", {x, y, n, z}), 1.5},
      {A("isIn", {n, C("1"), C("3")}), 1},
      {A("isNotIn", {region, C("E"), C("W")}), 0},
      {A("abs", {y}), 2},
      {A("exp", {n}), std::exp(3.0)},
      {A("ln", {x}), std::log(6.0)},
      {A("ln", {y}), kMiss},
      {A("log10", {C("1000")}), 3},
      {A("log10", {z}), kMiss},
      {A("pow", {y, n}), -8},
      {A("pow", {y, C("0.5")}), kMiss},
      {A("pow", {z, C("-1")}), kMiss},
      {A("sqrt", {x}), std::sqrt(6.0)},
      {A("sqrt", {y}), kMiss},
      {A("round", {C("2.5")}), 3},
      {A("round", {C("-2.5")}), -3},
      {A("floor", {C("-2.5")}), -3},
      {A("ceil", {C("-2.5")}), -2},
      {A("-", {region, C("1")}), kMiss},  // a text that is no number
      {C("0", " missing=\"true\""), kMiss},
      {C("E", " dataType=\"string\""), kMiss},
      {Norm("x", ""), 2},                                  // 1 + (6-4)*(3-1)/(8-4)
      {Norm("n", ""), 0.75},
      {Norm("y", ""), -0.5},                               // the first piece goes on
      {Norm("y", " outliers=\"asMissingValues\""), kMiss},
      {Norm("y", " outliers=\"asExtremeValues\""), 0},
      {Norm("big", ""), 29},                               // 1 + (60-4)*(1/2)
      {Norm("big", " outliers=\"asExtremeValues\""), 3},
      {Norm("gap", ""), kMiss},
      {Norm("gap", " mapMissingTo=\"0.25\""), 0.25},
      {Map("region", ""), 1.1},
      {Map("n", ""), 30},                                  // the integer 3 matches the cell "3"
      {Map("x", " defaultValue=\"9\""), 9},
      {Map("x", ""), kMiss},
      {Map("gap", " mapMissingTo=\"-7\" defaultValue=\"9\""), -7},
      {F("big"), 60},
      {A("+", {F("twice_big"), C("1")}), 121},
  };
  for (const Case& c : cases) {
    Scoring scoring;
    const std::string file = File({{"t", c.body},
                                   {"twice_big", A("*", {F("big"), C("2")})},
                                   {"big", A("*", {x, C("10")})}});
    ASSERT_TRUE(scoring.Prepare(file, {"t", "big"})) << c.body << ": " << scoring.scorer.LastError();
    ASSERT_EQ(scoring.rows.next(), 0);
    ASSERT_TRUE(scoring.scorer.ScoreRecord()) << c.body;
    const std::vector<double>& values = scoring.scorer.GetTargetValues();
    ASSERT_EQ(values.size(), 2u);
    EXPECT_DOUBLE_EQ(values[0], c.expected) << c.body;
    EXPECT_EQ(values[1], 60) << c.body;
    EXPECT_EQ(ASTransformScorer::IsValidDouble(values[0]), c.expected != kMiss) << c.body;
  }
  EXPECT_FALSE(ASTransformScorer::IsValidDouble(std::nan("")));
  EXPECT_FALSE(ASTransformScorer::IsValidDouble(HUGE_VAL));
}

TEST(ASTransformScorer, FaultsNameTheElementAndLineAndReachTheOutput) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  host::SessionScope scope(session);
  for (const char* key : host::msg::kScorerKeys)
    EXPECT_TRUE(FacSTDictionary::Shared().Has(key)) << key;

  struct Case {
    std::string text;
    std::vector<std::string> targets;
    std::string message;  // a part of the message
  };
  // In File's layout the first derived field's body is line 5.
  const std::vector<Case> cases = {
      {File({{"t", "<Discretize field=\"x\"/>"}}), {"t"}, ", line 5: the element Discretize "},
      {File({{"t", A("+", {F("x"), "\n<Lag field=\"x\"/>"})}}), {"t"}, ", line 6: the element Lag "},
      {File({{"u", C("1")}, {"t", A("cosh", {F("x")})}}), {"t"}, ", line 8: Apply calls the unknown function \"cosh\""},
      {File({{"t", A("pow", {F("x")})}}), {"t"}, "line 5: the element Apply calls pow with 1 argument; it takes 2."},
      {File({{"t", F("nope")}}), {"t"}, "refers to nope, which is neither"},
      {File({{"t", F("u")}, {"u", A("+", {F("t"), C("1")})}}), {"t"}, "t, which depends on itself"},
      {File({{"t", "<Extension/>"}}), {"t"}, "line 4: the element DerivedField holds no expression"},
      {File({{"t", Norm("x", " outliers=\"asZero\"")}}), {"t"}, "unknown outliers treatment asZero"},
      {File({{"t", C("abc", " dataType=\"double\"")}}), {"t"}, "holds \"abc\", no double"},
      {File({{"t", C("1")}}), {"t", "nosuch"}, "defines no derived field nosuch."},
      {"this is <no XML", {"t"}, "cannot be read: line 1, column"},
  };
  for (const Case& c : cases) {
    Scoring scoring;
    EXPECT_FALSE(scoring.Prepare(c.text, c.targets)) << c.message;
    EXPECT_NE(scoring.scorer.LastError().find(c.message), std::string::npos)
        << scoring.scorer.LastError();
    EXPECT_FALSE(scoring.scorer.ScoreRecord());
    ASSERT_FALSE(document.Messages().empty());
    EXPECT_EQ(document.Messages().back()->text, scoring.scorer.LastError());
    EXPECT_EQ(document.Messages().back()->source, "ENGINE");
  }

  // An unknown target may be let through as missing; a field read needs a current row, an
  // expression that reads none does not.
  Scoring scoring;
  ASSERT_TRUE(scoring.Prepare(File({{"t", C("2")}, {"u", F("x")}}), {"nosuch", "t"}, true));
  ASSERT_TRUE(scoring.scorer.ScoreRecord());
  EXPECT_EQ(scoring.scorer.GetTargetValues(), (std::vector<double>{kMiss, 2}));
  ASSERT_TRUE(scoring.Prepare(File({{"t", C("2")}, {"u", F("x")}}), {"t", "u"}));
  EXPECT_FALSE(scoring.scorer.ScoreRecord());
  EXPECT_NE(scoring.scorer.LastError().find("field x cannot be read"), std::string::npos);
  EXPECT_FALSE(scoring.scorer.PrepareScoring(&scoring.rows, "/no/such/file.xml", {"t"}, false));
  EXPECT_FALSE(scoring.scorer.PrepareScoring(nullptr, scoring.file.path().string(), {"t"}, false));
}

TEST(ASTransformScorer, ScoresEveryRowOfAJobsResultStream) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  host::SessionScope scope(session);
  auto dataset = std::make_shared<host::Dataset>();
  host::Variable sales;
  sales.name = "sales";
  sales.format = *host::ParseFormat("F8.2").format;
  sales.missing.numbers = {99};
  host::Variable region = sales;
  region.name = "region";
  region.type = 4;
  region.format = *host::ParseFormat("A4").format;
  region.missing.numbers.clear();
  region.measure = host::Measure::kNominal;
  dataset->AddVariable(sales);
  dataset->AddVariable(region);
  const std::vector<double> sales_values = {10, host::kSysMiss, 99, -4, 2.5};
  const std::vector<std::string> regions = {"E", "W", "E", "W", "N"};
  dataset->SetCaseCount(5);
  for (int i = 0; i < 5; ++i) {
    dataset->SetNumber(i, 0, sales_values[i]);
    dataset->SetText(i, 1, regions[i]);
  }
  ProcedureDataSource source(dataset);
  ASDataModel model(&source, true, true, true);
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);
  ASSERT_TRUE(runner.prepareActiveDS(source, true, true));
  ASSERT_TRUE(runner.prepareASLJob(
      "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
      "val writerConf = {\"resultStream\":\"copy\"}\nread(readerConf)->write(writerConf)"));
  ASSERT_TRUE(runner.addInputIterator(&iterator));
  ASSERT_TRUE(runner.execute());
  EmbeddedAS::RowDataIterator* rows = runner.getOutputIterator("copy");
  ASSERT_NE(rows, nullptr);

  // Sales scaled by region (W doubles, others keep), the row count ($casecount, an integer)
  // added; missing sales (system or user-missing 99) give 0 by the if.
  support::TempFile file = std::move(support::TempFile::Create(".xml").value());
  const std::string scaled = A("*", {F("sales"), Map("region", " defaultValue=\"1\"")});
  ASSERT_TRUE(support::WriteFileAtomically(
                  file.path(), File({{"scaled", A("if", {A("isMissing", {F("sales")}), C("0"), F("plain")})},
                                     {"plain", scaled},
                                     {"count", A("+", {F("$casecount"), F("scaled")})}}))
                  .ok());
  ASTransformScorer scorer;
  ASSERT_TRUE(scorer.PrepareScoring(rows, file.path().string(), {"count", "plain"}, false))
      << scorer.LastError();
  // Map's table: E gives 1.1, W no output cell (missing), anything else the default 1.
  const std::vector<std::vector<double>> expected = {
      {1 + 11, 11}, {2, kMiss}, {3, kMiss}, {kMiss, kMiss}, {5 + 2.5, 2.5}};
  for (const std::vector<double>& row : expected) {
    ASSERT_EQ(rows->next(), 0);
    ASSERT_TRUE(scorer.ScoreRecord());
    EXPECT_EQ(scorer.GetTargetValues().size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) EXPECT_DOUBLE_EQ(scorer.GetTargetValues()[i], row[i]);
  }
  EXPECT_NE(rows->next(), 0);
  EXPECT_FALSE(scorer.ScoreRecord());
  ASSERT_EQ(document.Messages().size(), 1u);
  EXPECT_NE(document.Messages()[0]->text.find("$casecount cannot be read"), std::string::npos);
  runner.cleanJRef();
  runner.cleanExecution();
}

}  // namespace
