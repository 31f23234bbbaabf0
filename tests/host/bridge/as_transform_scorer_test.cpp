// Tests of the expressions scorer: each element and function on one row against values worked out
// by hand, the faults of a file, and a real result stream of several rows.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_transform_scorer.h"
#include "host/bridge/embedded_as.h"
#include "host/data/dataset.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/document.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "support/file_io.h"
#include "support/temp_file.h"

namespace {

constexpr double kMiss = host::kSysMiss;

// Rows of the real fields x, y, z, n, the text field region and gap, a real always missing; a
// cell is its text, or none for missing.
class TableRows : public engine::RowIterator {
 public:
  explicit TableRows(std::vector<std::vector<std::optional<std::string>>> rows)
      : rows_(std::move(rows)) {}
  std::string DataModelXml() const override {
    std::string xml = "<DataModel>";
    for (const char* name : {"x", "y", "z", "n", "region", "gap"})
      xml += std::string("<Field name='") + name + "' storage='" +
             (name == std::string("region") ? "string" : "real") + "'/>";
    return xml + "</DataModel>";
  }
  bool Next() override { return ++current_ < rows_.size(); }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (current_ >= rows_.size() || index > 5) return false;
    const std::optional<std::string>& cell = index < 5 ? rows_[current_][index] : std::nullopt;
    real_ = cell && index != 4 ? std::stod(*cell) : 0.0;
    *data = !cell ? nullptr : index == 4 ? static_cast<const void*>(cell->data()) : &real_;
    *length = cell ? cell->size() : 0;
    return true;
  }

 private:
  std::vector<std::vector<std::optional<std::string>>> rows_;
  std::size_t current_ = static_cast<std::size_t>(-1);
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
  std::string text = "<?xml version=\"1.0\"?>\n<PMML>\n<TransformationDictionary>\n";
  for (const auto& [name, body] : fields)
    text += "<DerivedField name=\"" + name + "\" optype=\"continuous\">\n" + body +
            "\n</DerivedField>\n";
  return text + "</TransformationDictionary>\n</PMML>\n";
}

// One row: x 6, y -2, z 0, n 3, region "E", gap missing.
struct Scoring {
  support::TempFile file = std::move(support::TempFile::Create(".xml").value());
  EmbeddedAS::RowDataIterator rows{
      std::make_unique<TableRows>(std::vector<std::vector<std::optional<std::string>>>{
          {"6", "-2", "0", "3", "E"}})};
  ASTransformScorer scorer;

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
      {A("+", {x, C("1.5")}), 7.5}, {A("-", {x, y}), 8}, {A("*", {x, n}), 18},
      {A("/", {x, y}), -3}, {A("/", {x, z}), kMiss}, {A("/", {x, z}, " defaultValue=\"0\""), 0},
      {A("+", {x, gap}), kMiss}, {A("+", {x, gap}, " mapMissingTo=\"-1\""), -1},
      {A("*", {x, F("gap", " mapMissingTo=\"4\"")}), 24},
      {A("equal", {region, C("E", " dataType=\"string\"")}), 1}, {A("equal", {n, C("3.0")}), 1},
      {A("notEqual", {x, C("6")}), 0}, {A("lessThan", {y, x}), 1},
      {A("lessOrEqual", {x, C("6")}), 1}, {A("greaterThan", {y, z}), 0},
      {A("greaterOrEqual", {x, C("7")}), 0}, {A("equal", {gap, gap}), kMiss},
      {A("and", {A("greaterThan", {x, z}), A("lessThan", {y, z}), C("1", " dataType=\"boolean\"")}),
       1},
      {A("or", {A("lessThan", {x, z}), A("greaterThan", {y, z})}), 0},
      {A("not", {A("equal", {region, C("W")})}), 1}, {A("and", {C("1"), gap}), kMiss},
      {A("if", {A("greaterThan", {x, C("5")}), C("10"), C("20")}), 10},
      {A("if", {A("lessThan", {x, C("5")}), C("10")}), kMiss},
      {A("if", {A("greaterThan", {x, C("5")}), x, gap}), 6},
      {A("if", {A("greaterThan", {gap, z}), C("1"), C("2")}), kMiss},
      {A("if", {A("isMissing", {gap}), C("1"), C("2")}), 1}, {A("isNotMissing", {gap}), 0},
      {A("isMissing", {x}), 0}, {A("min", {x, y, n}), -2}, {A("max", {x, y, n}), 6},
      {A("sum", {x, y, n}), 7}, {A("avg", {x, y, n}), 7.0 / 3.0}, {A("max", {x, gap}), kMiss},
      {A("product", {x, y, n}), -36}, {A("median", {x, y, n, z}), 1.5},
      {A("isIn", {n, C("1"), C("3")}), 1}, {A("isNotIn", {region, C("E"), C("W")}), 0},
      {A("abs", {y}), 2}, {A("exp", {n}), std::exp(3.0)}, {A("ln", {x}), std::log(6.0)},
      {A("ln", {y}), kMiss}, {A("log10", {C("1000")}), 3}, {A("log10", {z}), kMiss},
      {A("pow", {y, n}), -8}, {A("pow", {y, C("0.5")}), kMiss}, {A("pow", {z, C("-1")}), kMiss},
      {A("sqrt", {x}), std::sqrt(6.0)}, {A("sqrt", {y}), kMiss}, {A("round", {C("2.5")}), 3},
      {A("round", {C("-2.5")}), -3}, {A("floor", {C("-2.5")}), -3}, {A("ceil", {C("-2.5")}), -2},
      {A("-", {region, C("1")}), kMiss},  // a text that is no number
      {C("0", " missing=\"true\""), kMiss}, {C("E", " dataType=\"string\""), kMiss},
      // Points (0,0) (4,1) (8,3): x 6 gives 1 + 2*2/4, n 3 gives 3/4; y -2 and big 60 lie
      // outside, where the end pieces go on straight.
      {Norm("x", ""), 2}, {Norm("n", ""), 0.75}, {Norm("y", ""), -0.5}, {Norm("big", ""), 29},
      {Norm("y", " outliers=\"asMissingValues\""), kMiss},
      {Norm("y", " outliers=\"asExtremeValues\""), 0},
      {Norm("big", " outliers=\"asExtremeValues\""), 3}, {Norm("gap", ""), kMiss},
      {Norm("gap", " mapMissingTo=\"0.25\""), 0.25},
      // Rows E 1.1, 3 30, W without output; the number 3 matches the cell "3".
      {Map("region", ""), 1.1}, {Map("n", ""), 30},
      {Map("x", " defaultValue=\"9\""), 9}, {Map("x", ""), kMiss},
      {Map("gap", " mapMissingTo=\"-7\" defaultValue=\"9\""), -7}, {F("big"), 60},
      {A("+", {F("twice_big"), C("1")}), 121},
  };
  for (const Case& c : cases) {
    Scoring scoring;
    const std::string file = File({{"t", c.body},
                                   {"twice_big", A("*", {F("big"), C("2")})},
                                   {"big", A("*", {x, C("10")})}});
    ASSERT_TRUE(scoring.Prepare(file, {"t", "big"})) << c.body << scoring.scorer.LastError();
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
  std::string deep = F("x");
  for (int i = 0; i < 1000; ++i) deep = A("abs", {deep});

  struct Case {
    std::string text;
    std::string message;  // a part of the message
  };
  // In File's layout the first derived field's body is line 5; "t" is the target.
  const std::vector<Case> cases = {
      {File({{"t", "<Discretize field=\"x\"/>"}}), ", line 5: the element Discretize "},
      {File({{"t", A("+", {F("x"), "\n<Lag field=\"x\"/>"})}}), ", line 6: the element Lag "},
      {File({{"u", C("1")}, {"t", A("cosh", {F("x")})}}), ", line 8: Apply calls the unknown"},
      {File({{"t", A("pow", {F("x")})}}), "line 5: the element Apply calls pow with 1 argument;"},
      {File({{"t", F("nope")}}), "refers to nope, which is neither"},
      {File({{"t", F("u")}, {"u", A("+", {F("t"), C("1")})}}), "t, which depends on itself"},
      {File({{"t", "<Extension/>"}}), "line 4: the element DerivedField holds no expression"},
      {File({{"t", Norm("x", " outliers=\"asZero\"")}}), "unknown outliers treatment asZero"},
      {File({{"t", C("abc", " dataType=\"double\"")}}), "holds \"abc\", no double"},
      {File({{"t", deep}}), "nests expressions deeper than 1000 levels"},
      {File({{"u", C("1")}}), "defines no derived field t."},
      {"this is <no XML", "cannot be read: line 1, column"},
  };
  for (const Case& c : cases) {
    Scoring scoring;
    EXPECT_FALSE(scoring.Prepare(c.text, {"t"})) << c.message;
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
  sales.missing.numbers = {99};
  host::Variable region;
  region.name = "region";
  region.type = 4;
  dataset->AddVariable(sales);
  dataset->AddVariable(region);
  const std::vector<double> sales_values = {10, host::kSysMiss, 99, -4, 2.5};
  dataset->SetCaseCount(5);
  for (int i = 0; i < 5; ++i) {
    dataset->SetNumber(i, 0, sales_values[i]);
    dataset->SetText(i, 1, std::string(1, "EWEWN"[i]));
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

  // Sales times Map's value of the region (E 1.1, W no output cell so missing, others the
  // default 1); "count" adds the row number ($casecount, an integer field) to that, or to 0
  // when sales is missing (system-missing, or the user-missing 99).
  Scoring scoring;
  const std::string plain = A("*", {F("sales"), Map("region", " defaultValue=\"1\"")});
  const std::string scaled = A("if", {A("isMissing", {F("sales")}), C("0"), F("plain")});
  ASSERT_TRUE(support::WriteFileAtomically(
                  scoring.file.path(),
                  File({{"scaled", scaled}, {"plain", plain},
                        {"count", A("+", {F("$casecount"), F("scaled")})}}))
                  .ok());
  ASTransformScorer& scorer = scoring.scorer;
  ASSERT_TRUE(scorer.PrepareScoring(rows, scoring.file.path().string(), {"count", "plain"}, false))
      << scorer.LastError();
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
  EXPECT_NE(document.Messages()[0]->text.find("$casecount cannot"), std::string::npos);
  runner.cleanJRef();
  runner.cleanExecution();
}

}  // namespace
