// Tests of the parsed results' accessors, the descriptor tree's lookups, file specifications
// and the syntax messages' texts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "command_trees.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/syntax/user_case_file_spec.h"

namespace {
namespace fs = std::filesystem;

// Parses a one-parameter subcommand of a small tree and gives the parameter.
class OneParam {
 public:
  OneParam(ParamDescriptor param, const std::string& text) : tree_("TCM X", "X") {
    SubComDescriptor sub("SUB", UPSpecTypes::SubComSpec{1}, false, false);
    sub.addParamDesc(param);
    tree_.addSubComDesc(sub);
    ok_ = syntax_test::ParseCommandText("TSEXPLOR /SUB " + text, tree_, spec_, messages_) == 0;
  }
  bool ok() const { return ok_; }
  const ParamObj& param() const {
    return *spec_.getGlobalGroupObj()->getSubComObj(0)->getParamObj(0);
  }
  const ParamDescriptor* descriptor() const {
    return tree_.getGlobalGroupDesc()->getSubComDesc("SUB")->getParamDesc(
        spec_.getGlobalGroupObj()->getSubComObj(0)->getParamObj(0)->getParamName());
  }
  ParserMessage& messages() { return messages_; }

 private:
  CommandDescriptor tree_;
  CommandSpec spec_;
  ParserMessage messages_;
  bool ok_ = false;
};

ParamDescriptor Free(const std::string& name) {
  return ParamDescriptor(name, UPSpecTypes::ParamSpec::TokenList, false, true,
                         UPSpecTypes::BracketOptions::None);
}

TEST(ParamObj, ValueAccessorsSucceedOnlyOnTheirShape) {
  const OneParam number(Free("V"), "V=12");
  ASSERT_TRUE(number.ok());
  int integer = -1;
  double real = -1;
  std::string text = "unchanged";
  std::vector<double> numbers;
  EXPECT_TRUE(number.param().getIntegerValue(integer));
  EXPECT_EQ(integer, 12);
  EXPECT_TRUE(number.param().getNumberValue(real));
  EXPECT_TRUE(number.param().getNumberList(numbers));
  EXPECT_FALSE(number.param().getStringGeneric(text));
  EXPECT_EQ(text, "unchanged"); // a failing accessor writes nothing
  EXPECT_TRUE(number.param().isLeadingToken());

  const OneParam words(Free("V"), "V=abc 'De f' TO x");
  ASSERT_TRUE(words.ok());
  std::vector<std::string> list = {"keep"};
  std::vector<QuorVarName> vars;
  EXPECT_FALSE(words.param().getIntegerValue(integer));
  EXPECT_EQ(integer, 12);
  EXPECT_FALSE(words.param().getNumberList(numbers));
  EXPECT_TRUE(words.param().getStringList(list));
  EXPECT_EQ(list, (std::vector<std::string>{"abc", "De f", "TO", "x"}));
  EXPECT_FALSE(words.param().getVarList(vars)); // the literal and TO are no variables
  EXPECT_TRUE(vars.empty());
  EXPECT_FALSE(words.param().getStringGeneric(text));
  EXPECT_EQ(words.param().getStringToken(), "abc 'De f' TO x");
  EXPECT_EQ(words.param().getTokenObj(1)->getString(), "De f");
  EXPECT_TRUE(words.param().getTokenObj(1)->IsLiteral());
  EXPECT_EQ(words.param().getTokenObj(4), nullptr);
  EXPECT_EQ(words.param().getTokenObj(-1), nullptr);

  const OneParam literal(Free("V"), "V='Mixed Case'");
  bool quoted = false;
  EXPECT_TRUE(literal.param().getLiteral(text));
  EXPECT_EQ(text, "Mixed Case");
  EXPECT_TRUE(literal.param().getUpStringGeneric(text));
  EXPECT_EQ(text, "MIXED CASE");
  EXPECT_TRUE(literal.param().getStringOrLiteral(text, quoted));
  EXPECT_TRUE(quoted);
  QuorVarName name("kept");
  EXPECT_FALSE(literal.param().getVarName(name));
  EXPECT_EQ(name.GetName(), "kept");

  const OneParam yes(Free("V"), "V=yes");
  EXPECT_TRUE(yes.param().isStringValueCase("YES"));
  EXPECT_FALSE(yes.param().isStringValueCase("NO"));
  EXPECT_TRUE(yes.param().getVarName(name));
  EXPECT_EQ(yes.param().getParamName(), "V");
  EXPECT_EQ(yes.param().getSubComExtName(), "SUB");
  EXPECT_FALSE(yes.param().isOperatorValue(10));
  const OneParam star(Free("V"), "V=*");
  EXPECT_TRUE(star.param().isOperatorValue(10));

  ParamObj unmade; // default-constructed: nothing to give
  std::vector<TokenInfoObj> tokens;
  EXPECT_FALSE(unmade.getTokenList(tokens));
  EXPECT_FALSE(unmade.isLeadingToken());
  std::vector<ParamObj> qualifiers;
  EXPECT_FALSE(unmade.getStringQualList(qualifiers, nullptr, nullptr));
}

TEST(ParamObj, TokenInfoObjForms) {
  const OneParam values(Free("V"), "V=1e2 2.5 3e10 -7 to All x ( )");
  ASSERT_TRUE(values.ok());
  const ParamObj& p = values.param();
  EXPECT_TRUE(p.getTokenObj(0)->IsInteger());
  EXPECT_EQ(p.getTokenObj(0)->getInteger(), 100);
  EXPECT_FALSE(p.getTokenObj(1)->IsInteger());
  EXPECT_TRUE(p.getTokenObj(1)->IsNumber());
  EXPECT_FALSE(p.getTokenObj(2)->IsInteger()); // beyond 32 bits
  EXPECT_EQ(p.getTokenObj(3)->getInteger(), -7);
  EXPECT_FALSE(p.getTokenObj(4)->IsVarName());
  EXPECT_FALSE(p.getTokenObj(5)->IsVarName());
  EXPECT_TRUE(p.getTokenObj(5)->IsString());
  EXPECT_EQ(p.getTokenObj(5)->getUpperString(), "ALL");
  std::string var;
  EXPECT_TRUE(p.getTokenObj(6)->getVarName(var));
  EXPECT_EQ(p.getTokenObj(7)->getOperatorCode(), 13);
  EXPECT_EQ(p.getTokenObj(8)->getOperatorCode(), 14);
  EXPECT_EQ(p.getTokenObj(6)->getOperatorCode(), 0);
  EXPECT_TRUE(p.areParenUsed());
}

TEST(ParamObj, StringAndQualifierReading) {
  CommandDescriptor tree = syntax_test::ModelTree();
  CommandSpec spec;
  ParserMessage messages;
  ASSERT_EQ(syntax_test::ParseCommandText(
                "TCM MODEL /FILTEREDOUTPUT NETWORKGRAPH=NO OUTLIER_ROOTCAUSES=YES(LEVELS=2) "
                "/DATASETTINGS TIMETYPE=NONE /FIELDSGROUP /FIELDS TARGETS=y",
                tree, spec, messages),
            0);
  const SubComObj* output = spec.getGlobalGroupObj()->getSubComObj("FILTEREDOUTPUT");
  const ParamDescriptor* network_desc =
      tree.getGlobalGroupDesc()->getSubComDesc("FILTEREDOUTPUT")->getParamDesc("networkgraph");
  ASSERT_NE(network_desc, nullptr);
  const ParamObj* network = output->getParamObj("NETWORKGRAPH");
  EXPECT_TRUE(network->isLeadingToken());
  std::pair<std::string, ParamObj> out;
  ASSERT_TRUE(network->getStringAndQual(out, network_desc, &messages));
  EXPECT_EQ(out.first, "NO");
  EXPECT_EQ(out.second.getTokenListSize(), 0);

  // A descriptor that does not know the keyword: reported, nothing written.
  const ParamDescriptor* roots_desc = tree.getGlobalGroupDesc()
                                          ->getSubComDesc("FILTEREDOUTPUT")
                                          ->getParamDesc("OUTLIER_ROOTCAUSES");
  std::pair<std::string, ParamObj> untouched{"before", ParamObj()};
  EXPECT_FALSE(network->getStringAndQual(untouched, roots_desc->getQualifDesc("YES"), &messages));
  EXPECT_EQ(untouched.first, "before");
  ASSERT_EQ(messages.Raised().size(), 1u);
  EXPECT_EQ(messages.Raised()[0].source, "InvalidParamOption");
  EXPECT_EQ(messages.Raised()[0].args,
            (std::vector<std::string>{"NO", "NETWORKGRAPH", "FILTEREDOUTPUT"}));

  std::pair<std::string, ParamObj> yes;
  ASSERT_TRUE(
      output->getParamObj("OUTLIER_ROOTCAUSES")->getStringAndQual(yes, roots_desc, &messages));
  std::vector<ParamObj> inner;
  ASSERT_TRUE(yes.second.getStringQualList(inner, roots_desc->getQualifDesc("YES"), &messages));
  ASSERT_EQ(inner.size(), 1u);
  EXPECT_EQ(inner[0].getParamName(), "LEVELS");
  // A free list is no qualifier list, and holds no keyword.
  const OneParam free(Free("V"), "V=a(b) c");
  std::vector<ParamObj> none;
  EXPECT_FALSE(free.param().getStringQualList(none, nullptr, nullptr));
  ParserMessage quiet;
  std::pair<std::string, ParamObj> nothing;
  EXPECT_FALSE(free.param().getStringAndQual(nothing, nullptr, &quiet));
  ASSERT_EQ(quiet.Raised().size(), 1u);
  EXPECT_EQ(quiet.Raised()[0].source, "SyntaxErrorInParam");
}

TEST(ParamObj, DescriptorTreeCopiesAndLookups) {
  ParamDescriptor qualifier("Q", UPSpecTypes::ParamSpec::Integer, true, true,
                            UPSpecTypes::BracketOptions::None);
  ParamDescriptor param("p", UPSpecTypes::ParamSpec{28}, false, false,
                        UPSpecTypes::BracketOptions{0});
  param.addQualifDesc(qualifier);
  qualifier.setLowerBoundary(5, UPSpecTypes::LowerBdryOptions::Exclusive); // after the copy
  param.addQualifDesc("BARE");
  EXPECT_EQ(param.Name(), "P");
  ASSERT_NE(param.getQualifDesc("q"), nullptr);
  EXPECT_FALSE(param.getQualifDesc("Q")->LowerBound().has_value());
  EXPECT_TRUE(param.getQualifDesc("Q")->IsRequired());
  EXPECT_EQ(param.getQualifDesc("BARE")->Spec(), UPSpecTypes::ParamSpec::BareKeyword);
  EXPECT_EQ(param.getQualifDesc("OTHER"), nullptr);
  EXPECT_TRUE(qualifier.WithinBounds(5.5));
  EXPECT_FALSE(qualifier.WithinBounds(5));
  qualifier.setUpperBoundary(6, UPSpecTypes::UpperBdryOptions::Inclusive);
  EXPECT_TRUE(qualifier.WithinBounds(6));
  EXPECT_FALSE(qualifier.WithinBounds(6.01));

  SubComDescriptor sub("s", UPSpecTypes::SubComSpec{2}, false, false);
  ParamDescriptor& added =
      sub.addParamDesc("K", UPSpecTypes::ParamSpec{3}, false, true, UPSpecTypes::BracketOptions{0});
  added.addStringValue("one");
  sub.addParamDesc(param);
  EXPECT_TRUE(sub.getParamDesc("k")->HasValue("ONE")); // the reference reached the stored copy
  EXPECT_EQ(sub.getParamDesc("none"), nullptr);

  CommandDescriptor tree("TCM X", "Title");
  tree.addSubComDesc(sub);
  sub.setSubComRepeatable(true); // after the copy: the tree's subcommand is unchanged
  EXPECT_FALSE(tree.getGlobalGroupDesc()->getSubComDesc("S")->IsRepeatable());
  GroupComDescriptor group(UPSpecTypes::GroupSpec{0}, true);
  group.addSubComDesc(SubComDescriptor("LEAD", UPSpecTypes::SubComSpec{1}, true, false), true);
  group.addSubComDesc(SubComDescriptor("MEMBER", UPSpecTypes::SubComSpec{1}, true, true), false);
  tree.addGroupDesc(group);
  EXPECT_EQ(tree.Groups()[0].LeadingName(), "LEAD");
  EXPECT_TRUE(tree.Groups()[0].getSubComDesc("member")->IsSecond());
  EXPECT_EQ(tree.getGlobalGroupDesc()->getSubComDesc("LEAD"), nullptr);
}

class FileSpecs : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("tcm_syntax_" + std::to_string(::getpid()));
    fs::create_directories(folder_);
    std::ofstream(folder_ / "in.tcm") << "x";
  }
  void TearDown() override { fs::remove_all(folder_); }
  fs::path folder_;
};

TEST_F(FileSpecs, PathsAreExpandedAndChecked) {
  ParamDescriptor file("FILE", UPSpecTypes::ParamSpec::InputFile, false, true,
                       UPSpecTypes::BracketOptions::None);
  std::string path = "unchanged";
  const OneParam existing(file, "FILE='" + (folder_ / "in.tcm").string() + "'");
  ASSERT_TRUE(existing.ok());
  EXPECT_TRUE(existing.param().getFilePath(path, false, true));
  EXPECT_EQ(path, (folder_ / "in.tcm").string());
  const OneParam missing(file, "FILE='" + (folder_ / "none" / "x.tcm").string() + "'");
  path = "unchanged";
  EXPECT_FALSE(missing.param().getFilePath(path, false, true));
  EXPECT_FALSE(missing.param().getFilePath(path, true, true)); // its folder is missing too
  EXPECT_EQ(path, "unchanged");
  EXPECT_TRUE(missing.param().getFilePath(path, true, false));

  const OneParam relative(file, "FILE='sub/../m.tcm'");
  EXPECT_TRUE(relative.param().getFilePath(path, true, false));
  EXPECT_EQ(path, (fs::current_path() / "m.tcm").string());
  const OneParam home(file, "FILE='~/m.tcm'");
  if (const char* home_dir = std::getenv("HOME")) {
    EXPECT_TRUE(home.param().getFilePath(path, true, false));
    EXPECT_EQ(path, (fs::path(home_dir) / "m.tcm").lexically_normal().string());
  }
  ::setenv("TMPDIR", folder_.c_str(), 1);
  const OneParam temp(file, "FILE='*/t.csv'");
  EXPECT_TRUE(temp.param().getFilePath(path, true, true));
  EXPECT_EQ(path, (folder_ / "t.csv").string());
  ::unsetenv("TMPDIR");
}

TEST_F(FileSpecs, SystemFileSpecificationsAndUserCaseFileSpec) {
  ParamDescriptor data("DATA", UPSpecTypes::ParamSpec::TokenList, false, true,
                       UPSpecTypes::BracketOptions::None);
  ParserMessage messages;
  EXPECT_TRUE(OneParam(data, "DATA=*").param().processSysFileSpec(23, &messages));
  EXPECT_TRUE(OneParam(data, "DATA=scored_set").param().processSysFileSpec(23, &messages));
  const std::string out = (folder_ / "out.csv").string();
  EXPECT_TRUE(OneParam(data, "DATA='" + out + "'").param().processSysFileSpec(23, &messages));
  EXPECT_TRUE(messages.Raised().empty());
  const std::string nowhere = (folder_ / "no" / "out.csv").string();
  EXPECT_FALSE(OneParam(data, "DATA='" + nowhere + "'").param().processSysFileSpec(23, &messages));
  EXPECT_FALSE(OneParam(data, "DATA=1 2").param().processSysFileSpec(23, &messages));
  ASSERT_EQ(messages.Raised().size(), 2u);
  EXPECT_EQ(messages.Raised()[0].source, "FileNoAccess");
  EXPECT_EQ(messages.Raised()[0].args, (std::vector<std::string>{nowhere, "DATA", "SUB"}));
  EXPECT_EQ(messages.Raised()[1].source, "FileNameInvalid");
  EXPECT_EQ(messages.Raised()[1].args, (std::vector<std::string>{"1 2"}));

  UserCaseFileSpec spec;
  EXPECT_FALSE(spec.IsInit());
  EXPECT_TRUE(spec.Init(out, true, true, "pw", false));
  EXPECT_TRUE(spec.IsFile());
  EXPECT_EQ(spec.DocumentationString(), out);
  EXPECT_EQ(spec.GetPassword(), "pw");
  EXPECT_FALSE(spec.Init(nowhere, true, true));
  EXPECT_EQ(spec.GetPath(), out); // a failed Init changes nothing
  EXPECT_TRUE(spec.Init("*", false, true, "pw", true));
  EXPECT_TRUE(spec.IsWorkingFile());
  EXPECT_FALSE(spec.HasPassword()); // the working file takes no password
  EXPECT_TRUE(spec.Init("next_set", false, true));
  EXPECT_TRUE(spec.IsDataset());
  EXPECT_EQ(spec.DocumentationString(), "next_set");
  EXPECT_EQ(spec.GetDatasetName(), "next_set");
  EXPECT_FALSE(spec.Init("bad name", false, true));
  EXPECT_FALSE(spec.Init("", true, false));
}

TEST(SyntaxMessages, EveryKeyHasAText) {
  const FacSTDictionary& table = FacSTDictionary::Shared();
  for (const char* key : {"SYNTAX_UNTERMINATED_STRING_KEY", "SYNTAX_UNTERMINATED_COMMENT_KEY",
                          "SYNTAX_INVALID_CHARACTER_KEY", "SYNTAX_INVALID_NUMBER_KEY",
                          "SYNTAX_SUBCOM_NAME_MISSING_KEY", "SYNTAX_SUBCOM_REPEATED_KEY",
                          "SYNTAX_SUBCOM_EMPTY_KEY", "SYNTAX_PARSER_FAILED_KEY"}) {
    ASSERT_TRUE(table.Has(key)) << key;
    EXPECT_NE(table.LookUp(key).find("%1"), std::string::npos) << key; // the line number
  }
}

} // namespace
