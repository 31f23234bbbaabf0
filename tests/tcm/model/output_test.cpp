// Tests of the output and save subcommands of TCM MODEL: TARGETFILTER, SERIESFILTER,
// FILTEREDOUTPUT and its merge, SYSTEMOUTPUT, SAVE, PASSPROTECT and OUTFILE.
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tcm/frame/parser_shell.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/tcm_test_util.h"

namespace {

using Result = tcm_test::ParseResult<TCMModelValidSpecs>;

std::shared_ptr<host::Dataset> Data() {
  return tcm_test::MakeDataset({{"sales"},
                                {"price"},
                                {"promo"},
                                {"visits"},
                                {"stock"},
                                {"region", 8, "A8"},
                                {"day", 0, "DATE11"}});
}

// A whole TCM MODEL without dimensions: `global` goes between the data settings and the group.
Result Model(const std::string& global,
             const std::string& fields = "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price") {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS TIMETYPE=NONE " + global + " " + fields + ".", Data(), "TCM MODEL",
      "Temporal Causal Modeling");
}

// The same with the dimension region, so that DIMVALUES can name it.
Result ModelWithRegion(const std::string& global, const std::string& fields) {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day " + global +
          " " + fields + ".",
      Data(), "TCM MODEL", "Temporal Causal Modeling");
}

FilteredOutputSpec Record(const std::string& include, double sigLevel) {
  FilteredOutputSpec record;
  record.include = include;
  record.sigLevel = sigLevel;  // marks which record was written where
  return record;
}

std::filesystem::path TempDir() {
  const auto dir = std::filesystem::path(::testing::TempDir()) / "tcm_output_test";
  std::filesystem::create_directories(dir);
  return dir;
}

TEST(MergeFilteredOutputs, LastRecordOfEachSeriesTypeWins) {
  // A final BOTH stands alone.
  auto kept = MergeFilteredOutputs(
      {Record("TARGETS", 0.1), Record("SERIES", 0.2), Record("BOTH", 0.3)});
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].include, "BOTH");
  EXPECT_EQ(kept[0].sigLevel, 0.3);

  kept = MergeFilteredOutputs({Record("SERIES", 0.1), Record("BOTH", 0.2)});
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].include, "BOTH");
  EXPECT_EQ(kept[0].sigLevel, 0.2);

  // An earlier BOTH keeps the type that the later records left open.
  kept = MergeFilteredOutputs({Record("BOTH", 0.1), Record("SERIES", 0.2)});
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].include, "SERIES");
  EXPECT_EQ(kept[0].sigLevel, 0.2);
  EXPECT_EQ(kept[1].include, "TARGETS");
  EXPECT_EQ(kept[1].sigLevel, 0.1);

  kept = MergeFilteredOutputs({Record("BOTH", 0.1), Record("TARGETS", 0.2)});
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].include, "TARGETS");
  EXPECT_EQ(kept[1].include, "SERIES");
  EXPECT_EQ(kept[1].sigLevel, 0.1);

  kept = MergeFilteredOutputs({Record("TARGETS", 0.1), Record("TARGETS", 0.2)});
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].sigLevel, 0.2);

  // At most two, and the record written last comes first.
  kept = MergeFilteredOutputs({Record("SERIES", 0.1), Record("TARGETS", 0.2),
                               Record("SERIES", 0.3), Record("TARGETS", 0.4)});
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].include, "TARGETS");
  EXPECT_EQ(kept[0].sigLevel, 0.4);
  EXPECT_EQ(kept[1].include, "SERIES");
  EXPECT_EQ(kept[1].sigLevel, 0.3);

  // Once both types are settled, an older BOTH is dropped.
  kept = MergeFilteredOutputs(
      {Record("BOTH", 0.1), Record("SERIES", 0.2), Record("TARGETS", 0.3)});
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].sigLevel, 0.3);
  EXPECT_EQ(kept[1].sigLevel, 0.2);

  EXPECT_TRUE(MergeFilteredOutputs({}).empty());
}

TEST(DefaultRootName, KnownKeywordsAndOthers) {
  EXPECT_EQ(DefaultRootName("TARGETS"), "FILTERED");
  EXPECT_EQ(DefaultRootName("PREDICTED"), "Predicted");
  EXPECT_EQ(DefaultRootName("NRESIDUAL"), "NResidual");
  EXPECT_EQ(DefaultRootName("LCLROOT"), "LCL");
  EXPECT_EQ(DefaultRootName("UCLROOT"), "UCL");
  EXPECT_EQ(DefaultRootName("FORECASTFLAG"), "ForecastIndicator");
  EXPECT_EQ(DefaultRootName("OTHER"), "OTHER");
}

TEST(FilteredOutput, DefaultRecordStaysWithoutTheSubcommand) {
  const auto r = Model("");
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.filteredOutputs.size(), 1u);
  EXPECT_EQ(r.spec.filteredOutputs[0].include, "BOTH");
  EXPECT_TRUE(r.spec.filteredOutputs[0].networkGraph);
  EXPECT_TRUE(r.spec.needsOutlierDetection());
}

TEST(FilteredOutput, ReadsEveryParameter) {
  const auto r = Model(
      "/FILTEREDOUTPUT INCLUDE=targets NETWORKGRAPH=YES(SIGLEVEL=0.1) PRINT=modelfit OUTLIERS "
      "PLOT=NRESIDUAL IMPACTDIAGRAMS=CAUSES(2) EFFECTS "
      "OUTLIER_ROOTCAUSES=YES(LEVELS=4 DISPLAY=table)");
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.filteredOutputs.size(), 1u);
  const FilteredOutputSpec& record = r.spec.filteredOutputs[0];
  EXPECT_EQ(record.include, "TARGETS");
  EXPECT_TRUE(record.networkGraph);
  EXPECT_DOUBLE_EQ(record.sigLevel, 0.1);
  EXPECT_EQ(record.print, (std::vector<std::string>{"MODELFIT", "OUTLIERS"}));
  EXPECT_EQ(record.plot, (std::vector<std::string>{"NRESIDUAL"}));
  EXPECT_TRUE(record.impactDiagrams);
  EXPECT_TRUE(record.causes);
  EXPECT_EQ(record.causeLevels, 2);
  EXPECT_TRUE(record.effects);
  EXPECT_EQ(record.effectLevels, 3);
  EXPECT_TRUE(record.rootCauses);
  EXPECT_EQ(record.rootCauseLevels, 4);
  EXPECT_EQ(record.rootCauseDisplay, "TABLE");
  EXPECT_TRUE(r.spec.needsNResidual());
  EXPECT_FALSE(r.spec.needsRootCause());  // no SERIESFILTER

  const auto off = Model("/FILTEREDOUTPUT NETWORKGRAPH=NO OUTLIER_ROOTCAUSES=NO");
  ASSERT_TRUE(off.ok) << off.Describe();
  ASSERT_EQ(off.spec.filteredOutputs.size(), 1u);
  EXPECT_FALSE(off.spec.filteredOutputs[0].networkGraph);
  EXPECT_FALSE(off.spec.filteredOutputs[0].rootCauses);
  EXPECT_FALSE(off.spec.filteredOutputs[0].impactDiagrams);
  EXPECT_FALSE(off.spec.needsOutlierDetection());

  // A depth may follow CAUSES without parentheses.
  const auto depth = Model("/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES 4 EFFECTS(5)");
  ASSERT_TRUE(depth.ok) << depth.Describe();
  EXPECT_EQ(depth.spec.filteredOutputs[0].causeLevels, 4);
  EXPECT_EQ(depth.spec.filteredOutputs[0].effectLevels, 5);

  // YES alone keeps the default significance level and depths.
  const auto bare = Model("/FILTEREDOUTPUT NETWORKGRAPH=YES OUTLIER_ROOTCAUSES=YES");
  ASSERT_TRUE(bare.ok) << bare.Describe();
  EXPECT_DOUBLE_EQ(bare.spec.filteredOutputs[0].sigLevel, 0.05);
  EXPECT_TRUE(bare.spec.filteredOutputs[0].rootCauses);
  EXPECT_EQ(bare.spec.filteredOutputs[0].rootCauseLevels, 3);
}

TEST(FilteredOutput, OccurrencesMergeInTheCommand) {
  auto r = Model("/FILTEREDOUTPUT INCLUDE=BOTH PRINT=FORECASTS /FILTEREDOUTPUT INCLUDE=SERIES");
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.filteredOutputs.size(), 2u);
  EXPECT_EQ(r.spec.filteredOutputs[0].include, "SERIES");
  EXPECT_EQ(r.spec.filteredOutputs[1].include, "TARGETS");
  EXPECT_EQ(r.spec.filteredOutputs[1].print, (std::vector<std::string>{"FORECASTS"}));

  // Each occurrence starts from the default record, not from the one before.
  r = Model("/FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=NO /FILTEREDOUTPUT INCLUDE=TARGETS");
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.filteredOutputs.size(), 1u);
  EXPECT_TRUE(r.spec.filteredOutputs[0].networkGraph);
}

// Subcommands that fail: the message, its first arguments, and the command.
TEST(OutputSubcommands, FaultsNameTheirCause) {
  const std::string dir = TempDir().string();
  const std::string missing = dir + "/no/such/folder/model.zip";
  struct Fault {
    std::string global;
    std::string key;
    std::vector<std::string> args;
  };
  const Fault faults[] = {
      {"/TARGETFILTER DISPLAY=BESTFIT(N=5 PCT=20)", "ParamExclusive", {"N", "PCT", "TARGETFILTER"}},
      {"/SYSTEMOUTPUT MODELFIT=NONE RMSE", "ParamExclAnyOther", {"NONE", "MODELFIT"}},
      // Confidence limits come in pairs.
      {"/SAVE CL(LCLROOT=Low)", "ParamNeedParam", {"UCLROOT", "LCLROOT"}},
      {"/SAVE CL(UCLROOT=High)", "ParamNeedParam", {"LCLROOT", "UCLROOT"}},
      // Root names must differ ignoring case; the value of TARGETS counts as a root name.
      {"/SAVE PREDICTED(Lcl) CL", "ParamValueRepeat", {"LCLROOT", "SAVE", "LCL"}},
      {"/SAVE CL PREDICTED(lcl)", "ParamValueRepeat", {"PREDICTED", "SAVE", "lcl"}},
      {"/SAVE TARGETS(FILTERED) NRESIDUAL(filtered)", "ParamValueRepeat",
       {"NRESIDUAL", "SAVE", "filtered"}},
      {"/PASSPROTECT PASSWORD='abcdefghijk' ENCRYPTEDPW=NO", "PWD_TOO_LONG_KEY", {}},
      {"/PASSPROTECT PASSWORD='abcdefghijk' ENCRYPTEDPW=YES", "PWD_TOO_LONG_KEY", {}},
      {"/OUTFILE MODELSYSTEM='" + missing + "'", "FileNameInvalid", {missing}},
  };
  for (const Fault& f : faults) {
    SCOPED_TRACE(f.global);
    const Result r = Model(f.global);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.Has(f.key, f.args)) << r.Describe();
  }
}

TEST(TargetFilter, DisplayAndBestFitQualifiers) {
  auto r = Model("/TARGETFILTER DISPLAY=BESTFIT(PCT=20 FITSTAT=aic)");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.targetFilter.display, "BESTFIT");
  EXPECT_EQ(r.spec.targetFilter.pct, 20);
  EXPECT_FALSE(r.spec.targetFilter.useN);
  EXPECT_EQ(r.spec.targetFilter.n, 10);
  EXPECT_EQ(r.spec.targetFilter.fitStat, "AIC");

  r = Model("/TARGETFILTER DISPLAY=BESTFIT(N=0)");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.targetFilter.n, 0);
  EXPECT_TRUE(r.spec.targetFilter.useN);

  r = Model("/TARGETFILTER DISPLAY=BESTFIT");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.targetFilter.n, 10);
  EXPECT_EQ(r.spec.targetFilter.fitStat, "RMSPE");

  r = Model("/TARGETFILTER DISPLAY=TARGETSNOINPUTS");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.targetFilter.display, "TARGETSNOINPUTS");

  r = Model("/TARGETFILTER DISPLAY=ALLTARGETS");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.targetFilter.display, "ALLTARGETS");
}

TEST(SeriesFilter, FieldsMustBeTargetsInputsOrForced) {
  const std::string groups =
      "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price EXCLUDEDINPUTS=stock "
      "/FIELDSGROUP /FIELDS TARGETS=visits FORCE=promo";
  auto r = Model("/SERIESFILTER FIELDS=sales price promo visits", groups);
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.seriesFilters.size(), 1u);
  std::vector<std::string> names;
  for (const auto& field : r.spec.seriesFilters[0].fields) names.push_back(field.GetName());
  EXPECT_EQ(names.size(), 4u);
  for (const char* name : {"sales", "price", "promo", "visits"}) {
    EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
  }

  // An excluded input does not count.
  r = Model("/SERIESFILTER FIELDS=sales stock", groups);
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(r.Has("InvalidParamValue", {"stock", "FIELDS", "SERIESFILTER"})) << r.Describe();
  EXPECT_TRUE(r.spec.seriesFilters.empty());

  // Field names are matched in any case and stored as the dictionary spells them.
  r = Model("/SERIESFILTER FIELDS=SALES", groups);
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.seriesFilters[0].fields[0].GetName(), "sales");
}

TEST(SeriesFilter, DimensionValuesAndRootCauses) {
  const std::string fields = "/FIELDSGROUP /FIELDS TARGETS=sales visits INPUTS=price";
  auto r = ModelWithRegion(
      "/SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=East West) "
      "/SERIESFILTER FIELDS=visits "
      "/FILTEREDOUTPUT INCLUDE=SERIES OUTLIER_ROOTCAUSES=YES",
      fields);
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.seriesFilters.size(), 2u);
  ASSERT_EQ(r.spec.seriesFilters[0].filters.size(), 1u);
  EXPECT_EQ(r.spec.seriesFilters[0].filters[0].field, "region");
  EXPECT_EQ(r.spec.seriesFilters[0].filters[0].values, (std::vector<std::string>{"East", "West"}));
  EXPECT_TRUE(r.spec.seriesFilters[1].filters.empty());
  EXPECT_TRUE(r.spec.needsRootCause());

  // A dimension is no series of its own.
  r = ModelWithRegion("/SERIESFILTER FIELDS=region", fields);
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(r.Has("WRONG_TARGET_KEY")) << r.Describe();
}

TEST(SystemOutput, ModelFitAndYesNo) {
  auto r = Model("/SYSTEMOUTPUT MODELFIT=none");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.modelFit, (std::vector<std::string>{"NONE"}));

  r = Model("/SYSTEMOUTPUT MODELFIT=rsquare AIC TRANSFORMATIONS=NO OUTLIERPLOT=YES");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.modelFit, (std::vector<std::string>{"RSQUARE", "AIC"}));
  EXPECT_FALSE(r.spec.transformations);
  EXPECT_TRUE(r.spec.outlierPlot);

  r = Model("/SYSTEMOUTPUT OUTLIERPLOT=NO");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.modelFit, (std::vector<std::string>{"RMSPE"}));
  EXPECT_TRUE(r.spec.transformations);
  EXPECT_FALSE(r.spec.outlierPlot);
}

std::vector<std::pair<std::string, std::string>> Entries(const Result& r) {
  std::vector<std::pair<std::string, std::string>> entries;
  for (const auto& entry : r.spec.saveEntries) entries.emplace_back(entry.keyword, entry.rootName);
  return entries;
}

TEST(Save, EntriesInOrderWithRootNames) {
  auto r = Model("/SAVE TARGETS(ALL) PREDICTED(Pred) CL NRESIDUAL FORECASTFLAG(Flag)");
  ASSERT_TRUE(r.ok) << r.Describe();
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(Entries(r), (Pairs{{"TARGETS", "ALL"},
                               {"PREDICTED", "Pred"},
                               {"LCLROOT", "LCL"},
                               {"UCLROOT", "UCL"},
                               {"NRESIDUAL", "NResidual"},
                               {"FORECASTFLAG", "Flag"}}));
  EXPECT_TRUE(r.spec.needsScoring());

  r = Model("/SAVE TARGETS CL(LCLROOT=Low UCLROOT=High) PREDICTED");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(Entries(r), (Pairs{{"TARGETS", "FILTERED"},
                               {"LCLROOT", "Low"},
                               {"UCLROOT", "High"},
                               {"PREDICTED", "Predicted"}}));

  // FORECASTFLAG alone asks for no scoring.
  r = Model("/SAVE FORECASTFLAG");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(Entries(r), (Pairs{{"FORECASTFLAG", "ForecastIndicator"}}));
  EXPECT_FALSE(r.spec.needsScoring());
}

TEST(PassProtect, PasswordLengthLimit) {
  auto r = Model("/PASSPROTECT PASSWORD='abcdefghij'");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.password, "abcdefghij");
  EXPECT_FALSE(r.spec.encryptedPassword);
  // Eleven are too many (see the faults).

  // Ten letters of two bytes each are ten characters.
  r = Model("/PASSPROTECT PASSWORD='\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"
            "\xC3\xA9\xC3\xA9\xC3\xA9' ENCRYPTEDPW=YES");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.spec.encryptedPassword);
}

TEST(Outfile, DataFileTakesThePasswordOnlyForAFile) {
  const std::string dir = TempDir().string();
  // PASSPROTECT written after OUTFILE is read first all the same.
  auto r = Model("/OUTFILE DATA='" + dir + "/scored.csv' /PASSPROTECT PASSWORD='secret'");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.spec.outData.IsFile());
  EXPECT_EQ(r.spec.outData.GetPassword(), "secret");

  r = Model("/OUTFILE DATA=* /PASSPROTECT PASSWORD='secret'");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.spec.outData.IsWorkingFile());
  EXPECT_FALSE(r.spec.outData.HasPassword());

  r = Model("/OUTFILE DATA=scored");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.spec.outData.IsDataset());

  // The password NONE means no password.
  r = Model("/OUTFILE DATA='" + dir + "/plain.csv' /PASSPROTECT PASSWORD='NONE'");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.spec.outData.IsFile());
  EXPECT_FALSE(r.spec.outData.HasPassword());

  // A password with no data file to protect is not used, and says so.
  struct Case {
    std::string subcommands;
    bool warns;
  };
  const std::string file = "/OUTFILE DATA='" + dir + "/scored.csv'";
  for (const Case& c : {Case{"/PASSPROTECT PASSWORD='secret'", true},
                        Case{"/OUTFILE DATA=* /PASSPROTECT PASSWORD='secret'", true},
                        Case{"/OUTFILE DATA=scored /PASSPROTECT PASSWORD='secret'", true},
                        Case{"/PASSPROTECT PASSWORD='NONE'", false},
                        Case{file + " /PASSPROTECT PASSWORD='secret'", false}}) {
    r = Model(c.subcommands);
    ASSERT_TRUE(r.ok) << c.subcommands << ": " << r.Describe();
    EXPECT_EQ(r.Has("PWD_NO_DATA_FILE_KEY"), c.warns) << c.subcommands << ": " << r.Describe();
  }

  r = Model("/OUTFILE DATA='" + dir + "/no/such/folder/scored.csv'");
  EXPECT_FALSE(r.ok);
  EXPECT_FALSE(r.spec.outData.IsInit());
  EXPECT_FALSE(r.messages.empty());
}

TEST(Outfile, ModelSystemPath) {
  const std::string dir = TempDir().string();
  auto r = Model("/OUTFILE MODELSYSTEM='" + dir + "/model.zip'");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(std::filesystem::path(r.spec.modelSystemPath), std::filesystem::path(dir) / "model.zip");
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(dir) / "model.zip"));
}

// Whatever is written, reading ends with a result, and a failure always comes with a message.
TEST(OutputSubcommands, GarbageNeverCrashes) {
  const std::vector<std::string> pieces = {
      "/TARGETFILTER DISPLAY=BESTFIT()",
      "/TARGETFILTER DISPLAY=BESTFIT(N=)",
      "/TARGETFILTER DISPLAY=BESTFIT(N=1.5)",
      "/TARGETFILTER DISPLAY=BESTFIT(PCT=0)",
      "/TARGETFILTER DISPLAY=BESTFIT(FITSTAT='x')",
      "/TARGETFILTER DISPLAY=(",
      "/TARGETFILTER DISPLAY=ALLTARGETS(N=3)",
      "/TARGETFILTER",
      "/SERIESFILTER FIELDS=",
      "/SERIESFILTER FIELDS=nosuch",
      "/SERIESFILTER FIELDS=sales TO",
      "/SERIESFILTER FIELDS=ALL",
      "/SERIESFILTER FIELDS='sales'",
      "/SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=)",
      "/SERIESFILTER DIMVALUES=x(",
      "/FILTEREDOUTPUT INCLUDE=",
      "/FILTEREDOUTPUT INCLUDE=ALL",
      "/FILTEREDOUTPUT NETWORKGRAPH=YES(SIGLEVEL=2)",
      "/FILTEREDOUTPUT NETWORKGRAPH=YES()",
      "/FILTEREDOUTPUT NETWORKGRAPH=MAYBE",
      "/FILTEREDOUTPUT NETWORKGRAPH=YES(SIGLEVEL='a')",
      "/FILTEREDOUTPUT PRINT=",
      "/FILTEREDOUTPUT PRINT=1 2",
      "/FILTEREDOUTPUT PLOT=SERIESPLOT PLOT=TOPINPUTS",
      "/FILTEREDOUTPUT IMPACTDIAGRAMS",
      "/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES()",
      "/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES(x) EFFECTS(100)",
      "/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES 3",
      "/FILTEREDOUTPUT OUTLIER_ROOTCAUSES=YES(LEVELS=9)",
      "/FILTEREDOUTPUT OUTLIER_ROOTCAUSES=YES(DISPLAY=)",
      "/FILTEREDOUTPUT OUTLIER_ROOTCAUSES=YES()",
      "/FILTEREDOUTPUT",
      "/SYSTEMOUTPUT MODELFIT=",
      "/SYSTEMOUTPUT MODELFIT=NONE NONE",
      "/SYSTEMOUTPUT TRANSFORMATIONS=1",
      "/SAVE",
      "/SAVE CL()",
      "/SAVE CL(LCLROOT)",
      "/SAVE CL(LCLROOT UCLROOT)",
      "/SAVE CL(LCLROOT=1 UCLROOT=2)",
      "/SAVE CL=",
      "/SAVE PREDICTED()",
      "/SAVE PREDICTED(a b)",
      "/SAVE PREDICTED PREDICTED",
      "/SAVE TARGETS(NONE)",
      "/SAVE TARGETS()",
      "/SAVE FORECASTFLAG('x')",
      "/PASSPROTECT PASSWORD=secret",
      "/PASSPROTECT PASSWORD=''",
      "/PASSPROTECT PASSWORD='a' 'b'",
      "/PASSPROTECT ENCRYPTEDPW=",
      "/OUTFILE MODELSYSTEM=",
      "/OUTFILE MODELSYSTEM=*",
      "/OUTFILE MODELSYSTEM=''",
      "/OUTFILE DATA=",
      "/OUTFILE DATA=* *",
      "/OUTFILE DATA=''",
      "/OUTFILE DATA='a' 'b'",
      "/OUTFILE DATA=(",
      "/OUTFILE DATA=1",
  };
  for (const auto& piece : pieces) {
    const auto r = Model(piece);
    if (!r.ok) {
      EXPECT_FALSE(r.messages.empty()) << piece;
    }
  }
}

}  // namespace
