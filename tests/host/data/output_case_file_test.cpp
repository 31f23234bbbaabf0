// Tests of the saved-data layer: building a store, its cases, and where a finished store goes (a
// file, a password-protected file, a named dataset, the active dataset).
#include "host/data/output_case_file.h"

#include <cstdint>

#include "data_test_util.h"
#include "host/data/data_messages.h"
#include "host/data/password_text.h"
#include "host/data/procedure_data_source.h"
#include "host/session.h"
#include "support/zip_archive.h"

namespace host {
namespace {

using test::Keys;
using test::LoadText;
using test::TempFolder;
using ::testing::ElementsAre;

UserCaseFileSpec FileSpec(const std::string& path, const std::string& password = {},
                          bool encoded = false) {
  UserCaseFileSpec spec;
  if (password.empty()) {
    EXPECT_TRUE(spec.Init(path, true, true)) << path;
  } else {
    EXPECT_TRUE(spec.Init(path, true, true, password, encoded)) << path;
  }
  return spec;
}

UserCaseFileSpec NameSpec(const std::string& name) {
  UserCaseFileSpec spec;
  EXPECT_TRUE(spec.Init(name, false, true)) << name;
  return spec;
}

// A store with a numeric "units" and a string "region" that grows, and three cases.
void FillSample(IndependentDataStore& store) {
  ASSERT_NE(store.MakeVariable("units", false), nullptr);
  ASSERT_NE(store.MakeVariable("region", true), nullptr);
  ASSERT_TRUE(store.CommitDictionary());
  QUOR_Case c(store.ColumnCount());
  const std::vector<std::pair<double, std::string>> rows = {
      {1.5, "east"}, {kSysMiss, "north-west"}, {-3, ""}};
  for (const auto& [units, region] : rows) {
    c.InitCase();
    c.SetColumnValue(0, units);
    c.SetColumnValue(1, region.data(), region.size());
    ASSERT_TRUE(store.AddCase(c));
  }
}

void ExpectSample(const Dataset& data) {
  ASSERT_EQ(data.VariableCount(), 2);
  ASSERT_EQ(data.CaseCount(), 3);
  EXPECT_EQ(data.GetNumber(0, 0), 1.5);
  EXPECT_TRUE(IsSysMiss(data.GetNumber(1, 0)));
  EXPECT_EQ(data.GetNumber(2, 0), -3);
  EXPECT_EQ(data.GetText(1, 1), "north-west");
  EXPECT_EQ(data.GetText(2, 1), "");
  EXPECT_EQ(data.GetVariable(1).type, 10); // widened to its longest value
}

TEST(OutputCaseFileTest, ValueConversions) {
  const int32_t integer = -7;
  const double real = 2.25;
  EXPECT_EQ(NumericStorageCFToStat(&integer, 1), -7.0);
  EXPECT_EQ(NumericStorageCFToStat(&real, 2), 2.25);
  EXPECT_EQ(NumericStorageCFToStat(&real, 9), 2.25); // any other storage is a real
  EXPECT_TRUE(IsSysMiss(NumericStorageCFToStat(nullptr, 1)));
  EXPECT_TRUE(IsValidStatDouble(0.0));
  for (const double invalid : {kSysMiss, std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity()}) {
    EXPECT_FALSE(IsValidStatDouble(invalid)) << invalid;
  }

  QUOR_Case c(3);
  EXPECT_TRUE(c.SetColumnValue(0, 4.0));
  EXPECT_TRUE(c.SetColumnValue(1, "abcdef", 3));
  EXPECT_TRUE(c.SetColumnValue(2, std::string("\xC3\xA9t\xC3\xA9"), 4)); // "été" is 5 bytes
  EXPECT_FALSE(c.SetColumnValue(3, 1.0));
  EXPECT_FALSE(c.SetColumnValue(-1, "x", 1));
  EXPECT_EQ(c.GetNumber(0), 4.0);
  EXPECT_EQ(c.GetText(1), "abc");
  EXPECT_EQ(c.GetText(2), "\xC3\xA9t"); // not cut inside the second letter
  EXPECT_TRUE(c.SetColumnValue(1, nullptr, 5));
  EXPECT_EQ(c.GetText(1), "");
  c.InitCase();
  EXPECT_TRUE(IsSysMiss(c.GetNumber(0)));
  EXPECT_EQ(c.GetText(2), "");
}

TEST(OutputCaseFileTest, StoreDictionaryAndCases) {
  // A source variable with every dictionary property set.
  auto source_data = std::make_shared<Dataset>();
  Variable rich;
  rich.name = "Score";
  rich.format = PrintFormat{fmt::kComma, 12, 1};
  rich.measure = Measure::kOrdinal;
  rich.role = Role::kTarget;
  rich.label = "Test score";
  rich.SetValueLabel(1.0, "low");
  rich.missing.numbers = {-9};
  rich.missing.has_range = true;
  rich.missing.range_low = 900;
  rich.missing.range_high = 999;
  ASSERT_EQ(source_data->AddVariable(rich), 0);
  Variable code;
  code.name = "code";
  code.type = 3;
  code.format = PrintFormat{fmt::kA, 3, 0};
  code.measure = Measure::kNominal;
  code.SetValueLabel(std::string_view("ab"), "alpha beta");
  code.missing.texts = {"zz"};
  ASSERT_EQ(source_data->AddVariable(code), 1);
  ProcedureDataSource source(source_data);

  IndependentDataStore store(NameSpec("results"));
  EXPECT_EQ(store.GetFileSpecExt().GetDatasetName(), "results");
  StoreVariable* score = store.MakeVariable(*source.GetVariable(0));
  StoreVariable* copied_code = store.MakeVariable(*source.GetVariable(1));
  ASSERT_TRUE(score && copied_code);
  EXPECT_EQ(store.Data().GetVariable(0), rich);
  EXPECT_EQ(store.Data().GetVariable(1), code);

  // New variables: defaults, and names made free and valid.
  StoreVariable* number = store.MakeVariable("score", false); // taken in another case
  StoreVariable* odd = store.MakeVariable("$Future Flag", false);
  StoreVariable* text = store.MakeVariable("note", true);
  ASSERT_TRUE(number && odd && text);
  EXPECT_EQ(number->GetName(), "score_1");
  EXPECT_EQ(odd->GetName(), "V$Future_Flag");
  EXPECT_EQ(store.Data().GetVariable(2).format, (PrintFormat{fmt::kF, 8, 2}));
  EXPECT_EQ(store.Data().GetVariable(2).measure, Measure::kScale);
  EXPECT_EQ(store.Data().GetVariable(4).measure, Measure::kNominal);
  EXPECT_EQ(store.FindVariable("SCORE_1"), 2);

  // Renaming onto a taken name, properties, and formats the variable cannot hold.
  EXPECT_TRUE(number->SetName("code"));
  EXPECT_EQ(number->GetName(), "code_1");
  EXPECT_TRUE(number->SetName("code_1")); // its own name stays
  EXPECT_EQ(number->GetName(), "code_1");
  EXPECT_FALSE(number->SetName(""));
  number->SetLabel("Predicted code");
  EXPECT_TRUE(number->SetFormat(PrintFormat{fmt::kF, 40, 3}));
  EXPECT_FALSE(number->SetFormat(PrintFormat{fmt::kF, 41, 3}));
  EXPECT_FALSE(number->SetWriteFormat(PrintFormat{fmt::kA, 20, 0}));
  EXPECT_FALSE(text->SetFormat(PrintFormat{fmt::kF, 8, 2}));
  EXPECT_TRUE(number->SetMeasurementLevel(3));
  EXPECT_FALSE(number->SetMeasurementLevel(4));
  EXPECT_TRUE(number->SetRole(1));
  EXPECT_FALSE(number->SetRole(6));
  const Variable& defined = store.Data().GetVariable(2);
  EXPECT_EQ(defined.label, "Predicted code");
  EXPECT_EQ(defined.format, (PrintFormat{fmt::kF, 40, 3}));
  EXPECT_EQ(defined.role, Role::kTarget);
  EXPECT_EQ(store.GetVariable(2), number);
  EXPECT_EQ(store.GetVariable(5), nullptr);

  // Cases only after the commit, and only of the store's width.
  QUOR_Case c(store.ColumnCount());
  EXPECT_FALSE(store.AddCase(c));
  EXPECT_TRUE(store.CommitDictionary());
  EXPECT_FALSE(store.CommitDictionary());
  EXPECT_EQ(store.MakeVariable("late", false), nullptr);
  EXPECT_FALSE(store.CopyDictionary(source));
  EXPECT_FALSE(store.AddCase(QUOR_Case(3)));
  c.InitCase();
  c.SetColumnValue(0, 5.0);
  c.SetColumnValue(1, "abcd", 4);           // a copied string keeps its width: cut
  c.SetColumnValue(4, "a longer note", 13); // a new string widens
  EXPECT_TRUE(store.AddCase(c));
  EXPECT_EQ(store.CaseCount(), 1);
  EXPECT_EQ(store.Data().GetText(0, 1), "abc");
  EXPECT_EQ(store.Data().GetText(0, 4), "a longer note");
  EXPECT_EQ(store.Data().GetVariable(4).type, 13);
  EXPECT_EQ(store.Data().GetVariable(4).format, (PrintFormat{fmt::kA, 13, 0}));
  EXPECT_TRUE(IsSysMiss(store.Data().GetNumber(0, 2)));
}

TEST(OutputCaseFileTest, CopyDictionaryAndCaseIterator) {
  ParserMessage messages;
  auto active = LoadText("sales,region\n10,E\n,W\n30,E\n", messages,
                         R"({"variables": [{"name": "sales", "label": "Sales"}],
                             "dateDefinition": [{"component": "YEAR", "start": 2001}]})");
  ASSERT_NE(active, nullptr) << ::testing::PrintToString(Keys(messages));
  ProcedureDataSource source(active);

  IndependentDataStore store(NameSpec("copy"));
  store.MakeVariable("dropped", false);
  EXPECT_FALSE(store.CopyDictionary(ProcedureDataSource(nullptr)));
  EXPECT_EQ(store.ColumnCount(), 1);
  ASSERT_TRUE(store.CopyDictionary(source));
  ASSERT_EQ(store.ColumnCount(), active->VariableCount());
  for (int i = 0; i < active->VariableCount(); ++i) {
    EXPECT_EQ(store.Data().GetVariable(i), active->GetVariable(i));
  }
  EXPECT_EQ(store.Data().GetDateDefinition(), active->GetDateDefinition());
  EXPECT_EQ(store.Data().CaseCount(), 0);
  ASSERT_NE(store.GetVariable(0), nullptr);
  EXPECT_EQ(store.GetVariable(0)->GetName(), "sales");

  EXPECT_EQ(MakeCaseIterator(ProcedureDataSource(nullptr)), nullptr);
  auto cases = MakeCaseIterator(source);
  ASSERT_NE(cases, nullptr);
  EXPECT_EQ(cases->GetCaseNumber(), 0);
  EXPECT_TRUE(IsSysMiss(cases->GetNumericValue(0)));
  std::vector<std::string> seen;
  while (cases->NextCase()) {
    seen.push_back(std::to_string(cases->GetCaseNumber()) + ":" + cases->GetStringValue(1));
  }
  EXPECT_THAT(seen, ElementsAre("1:E", "2:W", "3:E"));
  EXPECT_FALSE(cases->NextCase());
  EXPECT_GT(cases->GetCaseNumber(), 3);
  EXPECT_EQ(cases->GetStringValue(1), "");
}

TEST(OutputCaseFileTest, DestinationsOfAStore) {
  EXPECT_EQ(UserOutputCaseFile(UserCaseFileSpec()).DataSource(), nullptr);
  // Outside a session nothing is entered.
  EXPECT_FALSE(IndependentDataStore(NameSpec("results")).EndFile());
  EXPECT_FALSE(IndependentDataStore(NameSpec("*")).MakeActive(false));

  TempFolder folder;
  Session session;
  session.command.name = "TCM MODEL";
  SessionScope scope(session);
  session.active_dataset = std::make_shared<Dataset>();
  session.active_dataset->SetSource("/data/old.csv");

  // A plain file: the CSV and its dictionary, which load back as the same data.
  {
    UserOutputCaseFile file(FileSpec(folder.File("scored.csv")));
    ASSERT_NE(file.DataSource(), nullptr);
    FillSample(*file.DataSource());
    ParserMessage messages;
    ASSERT_TRUE(file.DataSource()->EndFile(&messages)) << ::testing::PrintToString(Keys(messages));
    EXPECT_THAT(folder.Files(), ElementsAre("scored.csv", "scored.dict.json"));
    auto back = LoadDataset(folder.File("scored.csv"), "", messages);
    ASSERT_NE(back, nullptr);
    ExpectSample(*back);
    EXPECT_EQ(session.active_dataset->Source(), "/data/old.csv"); // the active data stay
  }
  // A failed write is reported, and the file written before survives whole.
  {
    const std::string before = folder.Read("scored.csv");
    IndependentDataStore store(FileSpec(folder.File("scored.csv")));
    ASSERT_NE(store.MakeVariable("other", false), nullptr);
    store.CommitDictionary();
    store.SetWriteFaults(WriteFaults{-1, true});
    ParserMessage messages;
    EXPECT_FALSE(store.EndFile(&messages));
    EXPECT_THAT(Keys(messages), ElementsAre(msg::kWriteFailed));
    EXPECT_EQ(folder.Read("scored.csv"), before);
    EXPECT_THAT(folder.Files(), ElementsAre("scored.csv", "scored.dict.json"));
  }
  // Without a message object the report goes to the session, with the command's name.
  {
    IndependentDataStore store(FileSpec(folder.File("gone.csv")));
    std::filesystem::create_directory(folder.File("gone.csv"));
    store.CommitDictionary();
    const int errors = session.error_count;
    EXPECT_FALSE(store.EndFile());
    EXPECT_EQ(session.error_count, errors + 1);
  }
  // A named dataset replaces one of the same name in any case.
  {
    session.named["RESULTS"] = std::make_shared<Dataset>();
    IndependentDataStore store(NameSpec("results"));
    FillSample(store);
    ASSERT_TRUE(store.EndFile());
    ASSERT_EQ(session.named.size(), 1u);
    ASSERT_EQ(session.named.count("results"), 1u);
    EXPECT_EQ(session.named["results"], store.SharedData());
    ExpectSample(*session.named["results"]);
  }
  // The working file: the store becomes the active dataset, with or without the old source.
  {
    IndependentDataStore store(NameSpec("*"));
    FillSample(store);
    ASSERT_TRUE(store.EndFile());
    EXPECT_EQ(session.active_dataset, store.SharedData());
    EXPECT_EQ(session.active_dataset->Source(), "");
    session.active_dataset->SetSource("/data/new.csv");
    IndependentDataStore merged(NameSpec("*"));
    ASSERT_TRUE(merged.MakeActive(true));
    EXPECT_EQ(session.active_dataset, merged.SharedData());
    EXPECT_EQ(session.active_dataset->Source(), "/data/new.csv");
  }
}

TEST(OutputCaseFileTest, PasswordProtectedFile) {
  if (!support::ZipArchiveWriter::AesSupported())
    GTEST_SKIP() << "no AES-256 in libzip";
  TempFolder folder;
  const std::string path = folder.File("secret.csv");
  // The encoded form (ENCRYPTEDPW=YES) protects the file under the plain password.
  ParserMessage messages;
  IndependentDataStore encoded(FileSpec(path, EncodePassword("s3cret"), true));
  FillSample(encoded);
  ASSERT_TRUE(encoded.EndFile(&messages)) << ::testing::PrintToString(Keys(messages));
  EXPECT_NE(LoadProtectedDataset(path, "s3cret", messages), nullptr);

  IndependentDataStore store(FileSpec(path, "s3cret"));
  EXPECT_TRUE(store.GetFileSpecExt().HasPassword());
  FillSample(store);
  ASSERT_TRUE(store.EndFile(&messages)) << ::testing::PrintToString(Keys(messages));
  // One archive and no dictionary beside it: nothing readable leaves without the password.
  EXPECT_THAT(folder.Files(), ElementsAre("secret.csv"));
  EXPECT_EQ(folder.Read("secret.csv").find("north-west"), std::string::npos);
  {
    auto archive = support::ZipArchiveReader::Open(path);
    ASSERT_TRUE(archive.ok()) << archive.message();
    ASSERT_EQ(archive->Entries().size(), 2u);
    const std::string members[] = {kProtectedDataMember, kProtectedDictionaryMember};
    for (const int i : {0, 1}) {
      EXPECT_EQ(archive->Entries()[i].name, members[i]);
      EXPECT_TRUE(archive->Entries()[i].encrypted);
    }
  }

  auto back = LoadProtectedDataset(path, "s3cret", messages);
  ASSERT_NE(back, nullptr) << ::testing::PrintToString(Keys(messages));
  ExpectSample(*back);

  // A wrong password and a missing file.
  for (const auto& [file, password] : {std::pair{"secret.csv", "guess"}, {"none.csv", "s3cret"}}) {
    ParserMessage unreadable;
    EXPECT_EQ(LoadProtectedDataset(folder.File(file), password, unreadable), nullptr) << file;
    EXPECT_THAT(Keys(unreadable), ElementsAre(msg::kFileUnreadable)) << file;
  }

  // A password on a folder in the file's place is refused and leaves the folder.
  IndependentDataStore blocked(FileSpec(folder.File("dir.csv"), "s3cret"));
  std::filesystem::create_directory(folder.File("dir.csv"));
  blocked.CommitDictionary();
  ParserMessage refused;
  EXPECT_FALSE(blocked.EndFile(&refused));
  EXPECT_THAT(Keys(refused), ElementsAre(msg::kWritePathIsFolder));
  EXPECT_TRUE(std::filesystem::is_directory(folder.File("dir.csv")));
}

// The encoded form hides every printable character, keeps the length (the 10-character limit
// holds for both forms) and other bytes, and decodes back.
TEST(OutputCaseFileTest, PasswordEncodingRoundTrips) {
  std::string printable;
  for (char c = ' '; c <= '~'; ++c) printable += c;
  for (const std::string& password :
       {printable, std::string("s3cret"), std::string("\xC3\xA9t\xC3\xA9"), std::string()}) {
    const std::string encoded = EncodePassword(password);
    EXPECT_EQ(encoded.size(), password.size());
    EXPECT_EQ(DecodePassword(encoded), password);
    for (std::size_t i = 0; i < password.size(); ++i) {
      const bool ascii = static_cast<unsigned char>(password[i]) < 0x80;
      EXPECT_EQ(encoded[i] != password[i], ascii) << password << " at " << i;
    }
  }
}

} // namespace
} // namespace host
