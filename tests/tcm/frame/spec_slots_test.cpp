// Tests of the ValidSpec slots and the shared list and SAVE queries of the three commands.
#include <gtest/gtest.h>

#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/apply/tcm_apply_spec.h"
#include "tcm/common/time_interval.h"
#include "tcm/model/tcm_model_spec.h"

namespace {

FilteredOutputSpec QuietRecord(const std::string& include) {
  FilteredOutputSpec record;
  record.include = include;
  record.networkGraph = false;
  return record;
}

TEST(SpecSlots, ModelDefaultsAskForOutliersOnly) {
  TCMModelValidSpecs spec;
  EXPECT_EQ(spec.timeType, "DATESPEC");
  ASSERT_EQ(spec.filteredOutputs.size(), 1u);
  EXPECT_EQ(spec.filteredOutputs[0].include, "BOTH");
  EXPECT_EQ(spec.commandKind(), 0);
  EXPECT_FALSE(spec.isDateTimeSpec());
  EXPECT_FALSE(spec.needsScoring());
  EXPECT_TRUE(spec.needsOutlierDetection());  // the default record draws the network graph
  EXPECT_FALSE(spec.needsRootCause());
  EXPECT_FALSE(spec.needsNResidual());
  EXPECT_FALSE(spec.isAnalysisCommand());
  EXPECT_EQ(spec.analysisInterval, TimeIntervalKind::USEINPUT);
  EXPECT_EQ(spec.inputInterval.interval, TimeIntervalKind::AUTODETECT);
  EXPECT_EQ(spec.modelFit, std::vector<std::string>{"RMSPE"});
  EXPECT_EQ(spec.password, "NONE");
}

TEST(SpecSlots, DateTimeTypes) {
  TCMModelValidSpecs spec;
  for (const char* type : {"DATETIMEVAR", "ISO8601"}) {
    spec.timeType = type;
    EXPECT_TRUE(spec.isDateTimeSpec()) << type;
  }
  for (const char* type : {"CYCLICPERIODS", "NONE", "DATESPEC", "datetimevar"}) {
    spec.timeType = type;
    EXPECT_FALSE(spec.isDateTimeSpec()) << type;
  }
}

TEST(SpecSlots, NResidualInSaveAndInPlotAreDifferentThings) {
  TCMModelValidSpecs saving;
  saving.saveEntries.push_back({"NRESIDUAL", "NResidual"});
  EXPECT_TRUE(saving.needsScoring());
  EXPECT_FALSE(saving.needsNResidual());

  TCMModelValidSpecs plotting;
  plotting.filteredOutputs[0].plot = {"NRESIDUAL"};
  EXPECT_TRUE(plotting.needsNResidual());
  EXPECT_FALSE(plotting.needsScoring());

  for (const char* keyword : {"LCLROOT", "UCLROOT", "PREDICTED"}) {
    TCMModelValidSpecs spec;
    spec.saveEntries.push_back({keyword, "x"});
    EXPECT_TRUE(spec.needsScoring()) << keyword;
  }
  TCMModelValidSpecs flags_only;
  flags_only.saveEntries.push_back({"FORECASTFLAG", "Flag"});
  flags_only.saveEntries.push_back({"TARGETS", "FILTERED"});
  EXPECT_FALSE(flags_only.needsScoring());
  flags_only.buildOptions.forecastPeriods = 1;
  EXPECT_TRUE(flags_only.needsScoring());
}

TEST(SpecSlots, OutlierDetectionRules) {
  TCMModelValidSpecs spec;
  spec.filteredOutputs = {QuietRecord("SERIES")};
  spec.filteredOutputs[0].print = {"OUTLIERS"};
  EXPECT_FALSE(spec.needsOutlierDetection());  // outliers of series alone need no detection
  spec.filteredOutputs.push_back(QuietRecord("TARGETS"));
  spec.filteredOutputs[1].print = {"MODELFIT", "OUTLIERS"};
  EXPECT_TRUE(spec.needsOutlierDetection());

  spec.filteredOutputs = {QuietRecord("BOTH")};
  EXPECT_FALSE(spec.needsOutlierDetection());
  spec.outlierPlot = true;
  EXPECT_TRUE(spec.needsOutlierDetection());
  spec.outlierPlot = false;
  spec.filteredOutputs[0].networkGraph = true;  // a graph alone still needs the detection
  EXPECT_TRUE(spec.needsOutlierDetection());
}

TEST(SpecSlots, RootCauseNeedsSeriesFilterAndSeriesRecord) {
  TCMModelValidSpecs spec;
  spec.filteredOutputs[0].rootCauses = true;
  EXPECT_FALSE(spec.needsRootCause());  // no SERIESFILTER
  spec.seriesFilters.emplace_back();
  EXPECT_TRUE(spec.needsRootCause());
  spec.filteredOutputs[0].include = "TARGETS";
  EXPECT_FALSE(spec.needsRootCause());
  spec.filteredOutputs[0].include = "SERIES";
  EXPECT_TRUE(spec.needsRootCause());
}

TEST(SpecSlots, ApplyAndAnalysis) {
  TCMApplySpec apply;
  EXPECT_EQ(apply.commandKind(), 1);
  EXPECT_TRUE(apply.timeType.empty());
  EXPECT_TRUE(apply.filteredOutputs.empty());
  EXPECT_EQ(apply.buildOptions.estimationPeriod, "MODEL");
  EXPECT_FALSE(apply.needsOutlierDetection());
  EXPECT_FALSE(apply.needsScoring());
  apply.buildOptions.reestimate = true;
  EXPECT_TRUE(apply.needsScoring());

  TCMAnlySpec analysis;
  EXPECT_EQ(analysis.commandKind(), 2);
  EXPECT_TRUE(analysis.isAnalysisCommand());
  EXPECT_EQ(analysis.buildOptions.analysisPlot, std::vector<std::string>{"IMPACTDIAGRAM"});
  EXPECT_EQ(analysis.buildOptions.maxTargets, 25);
  EXPECT_EQ(analysis.fieldRefCount, -1);
  analysis.outlierPlot = true;
  analysis.filteredOutputs.emplace_back();
  analysis.seriesFilters.emplace_back();
  analysis.filteredOutputs[0].rootCauses = true;
  analysis.filteredOutputs[0].plot = {"NRESIDUAL"};
  EXPECT_FALSE(analysis.needsOutlierDetection());
  EXPECT_FALSE(analysis.needsRootCause());
  EXPECT_FALSE(analysis.needsNResidual());
  EXPECT_FALSE(analysis.needsScoring());
  analysis.SetScoringFlag(true);
  EXPECT_TRUE(analysis.needsScoring());
}

TEST(SpecQueries, FindSaveEntryGivesTheFirstExactMatch) {
  TCMModelValidSpecs spec;
  spec.saveEntries = {{"PREDICTED", "First"}, {"predicted", "Lower"}, {"PREDICTED", "Second"}};
  SaveEntry entry;
  ASSERT_TRUE(spec.FindSaveEntry("PREDICTED", entry));
  EXPECT_EQ(entry.rootName, "First");
  entry = {"kept", "kept"};
  EXPECT_FALSE(spec.FindSaveEntry("UCLROOT", entry));
  EXPECT_EQ(entry.keyword, "kept");
}

TEST(SpecQueries, ListHasComparesExactlyByCaseOrByNumber) {
  const std::vector<std::string> list{"East", "1.50", "west"};
  EXPECT_TRUE(ListHas(list, "East", false, false));
  EXPECT_FALSE(ListHas(list, "EAST", false, false));
  EXPECT_TRUE(ListHas(list, "EAST", true, false));
  EXPECT_TRUE(ListHas(list, "West", true, false));
  EXPECT_TRUE(ListHas(list, "1.5", false, true));
  EXPECT_FALSE(ListHas(list, "1.5", false, false));
  EXPECT_FALSE(ListHas(list, "2", false, true));
  EXPECT_FALSE(ListHas(list, "abc", false, true));
}

TEST(Intervals, NamesRoundTripAndUnknownGivesFourteen) {
  for (int value = 0; value <= 13; ++value) {
    const auto kind = static_cast<TimeIntervalKind>(value);
    EXPECT_EQ(IntervalFromName(IntervalName(kind)), kind);
  }
  EXPECT_EQ(static_cast<int>(IntervalFromName("week")), 14);  // exact comparison
  EXPECT_EQ(static_cast<int>(IntervalFromName("")), 14);
  EXPECT_LT(TimeIntervalKind::DAY, TimeIntervalKind::WEEK);
}

}  // namespace
