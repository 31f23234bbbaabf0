// Golden tests of tsdpConf composed for TCM MODEL commands read from their text, key by key, and
// of the convertor's apiConf.
#include "tcm/stages/tsdp_conf.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/data/date_definition.h"
#include "support/time.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/tcm_test_util.h"

namespace {

using host::DateComponent;
using Result = tcm_test::ParseResult<TCMModelValidSpecs>;

// region 0, store 1, day 2, sales 3, price 4, cost 5, period 6, week 7, year 8.
std::shared_ptr<host::Dataset> Shop() {
  return tcm_test::MakeDataset({{"region", 8, "A8"},
                                {"store", 0, "F8.0", host::Measure::kNominal},
                                {"day", 0, "DATE11"},
                                {"sales"},
                                {"price"},
                                {"cost"},
                                {"period", 0, "F8.0"},
                                {"week", 0, "F8.0"},
                                {"year", 0, "F8.0"}});
}

// sales and price, then the date variables in the order given (highest first).
std::shared_ptr<host::Dataset> WithDates(std::vector<DateComponent> components) {
  auto dataset = tcm_test::MakeDataset({{"sales"}, {"price"}}, 24);
  std::vector<host::DictDatePart> parts;
  for (DateComponent component : components) {
    host::DictDatePart part;
    part.component = component;
    if (component == DateComponent::kYear)
      part.start = 2015;
    parts.push_back(part);
  }
  ParserMessage messages;
  EXPECT_TRUE(host::ApplyDateDefinition(parts, "test", *dataset, messages));
  return dataset;
}

Result Model(const std::string& text, std::shared_ptr<host::Dataset> dataset) {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL " + text + ".", dataset, "TCM MODEL", "Temporal Causal Modeling");
}

std::string Compose(TCMModelValidSpecs& spec) {
  TSJsonConf conf;
  ComposeModelTsdpConf(spec, MetricFieldSet(spec), conf);
  return conf.toString();
}

using tcm_test::Seconds;

// The keys from the interval settings to the method maps that most commands below share.
const std::string kDefaultWeek =
    "\"numOfDaysPerWeek\":7,\"startDayOfWeek\":\"SUNDAY\",\"numOfHoursPerDay\":24,"
    "\"startHourOfDay\":0,\"increments\":1,";
const std::string kDefaultTail = "\"aggregationType\":{},\"oneDayForHoursCrossDay\":false,"
                                 "\"distributionType\":{},\"missingImputType\":\"LINEAR_INTERP\","
                                 "\"missingValueHandlingThreshold\":0.25,";

TEST(TsdpConf, DateTimeCommandKeyByKey) {
  Result r = Model("/DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR TIMEVAR=day "
                   "INPUTINTERVAL=DAY(DAYSWK=5 WKSTART=MON) ANALYSISINTERVAL=WEEK "
                   "GROUP=MEAN price(MAX) AGGREGATE=SUM sales(MEAN) INTERPOLATE=KMEAN(3) "
                   "USERMISSING=EXCLUDE MAXMISSING=30 CROSSDAYHRS=INCLUDE "
                   "/DATAFILTER DIMVALUES=region(INCLUDE=A 'B C') "
                   "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price "
                   "/FIELDSGROUP /FIELDS TARGETS=Cost FORCE=price EXCLUDEDINPUTS=sales "
                   "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-01-01' END='2015-06-30' "
                   "FORMAT=ISO8601)",
                   Shop());
  ASSERT_TRUE(r.ok) << r.Describe();
  // Every name of the field lists once, in the order of names without regard to case.
  EXPECT_EQ(MetricFieldSet(r.spec), (std::vector<std::string>{"cost", "price", "sales"}));
  EXPECT_EQ(Compose(r.spec),
            "{\"dimFieldList\":[\"region\",\"store\"],"
            "\"metricFieldList\":[\"cost\",\"price\",\"sales\"],"
            "\"dateTimeField\":\"day\","
            "\"seriesFilterList\":[[{\"dimension\":\"region\",\"values\":[\"A\",\"B C\"]}]],"
            "\"encodeSeriesID\":true,"
            "\"groupType\":{\"cost\":\"MEAN\",\"price\":\"MAX\",\"sales\":\"MEAN\"},"
            "\"inputInterval\":\"DAY\",\"numOfDaysPerWeek\":5,\"startDayOfWeek\":\"MONDAY\","
            "\"numOfHoursPerDay\":24,\"startHourOfDay\":0,\"increments\":1,"
            "\"outputInterval\":\"WEEK\","
            "\"aggregationType\":{\"sales\":\"MEAN\"},"
            "\"oneDayForHoursCrossDay\":true,"
            "\"distributionType\":{},"
            "\"missingImputType\":\"K_MEAN\",\"kMeanParam\":3,"
            "\"missingValueHandlingThreshold\":0.3,"
            "\"valuesSelStrategy\":\"TIME\",\"stdStartTime\":" +
                std::to_string(Seconds(2015, 1, 1)) + ",\"stdEndTime\":" +
                std::to_string(Seconds(2015, 6, 30)) + ",\"exportQuality\":true}");

  // Only a start, and ISO 8601 times: no stdEndTime, and no cyclic lists for a time field.
  Result iso = Model("/DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=MONTH "
                     "INTERPOLATE=KMEDIAN(4) /FIELDSGROUP /FIELDS TARGETS=sales "
                     "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-03-01' FORMAT=ISO8601)",
                     Shop());
  ASSERT_TRUE(iso.ok) << iso.Describe();
  const std::string text = Compose(iso.spec);
  EXPECT_NE(text.find("\"missingImputType\":\"K_MEDIAN\",\"kMedianParam\":4,"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\"valuesSelStrategy\":\"TIME\",\"stdStartTime\":" +
                      std::to_string(Seconds(2015, 3, 1)) + ",\"exportQuality\":true}"),
            std::string::npos)
      << text;
  for (const char* absent : {"dimFieldList", "kMeanParam", "cyclicFieldList", "stdEndTime"}) {
    EXPECT_EQ(text.find(absent), std::string::npos) << absent << ": " << text;
  }
}

TEST(TsdpConf, IntervalsOfTheInputAndTheAnalysis) {
  const auto intervals = [](const std::string& settings) {
    Result r = Model("/DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=day " + settings +
                         " /FIELDSGROUP /FIELDS TARGETS=sales",
                     Shop());
    EXPECT_TRUE(r.ok) << settings << ": " << r.Describe();
    const std::string text = Compose(r.spec);
    const auto from = text.find("\"inputInterval\"");
    const auto to = text.find("\"aggregationType\"");
    return from == std::string::npos ? text : text.substr(from, to - from);
  };
  // HOUR with an increment that does not divide the day keeps the hours of the day; one that
  // does gives the points of a day instead.
  EXPECT_EQ(intervals("INPUTINTERVAL=HOUR(INCREMENT=5 HRSDAY=4 DAYSTART=6)"),
            "\"inputInterval\":\"HOUR\",\"numOfDaysPerWeek\":7,\"startDayOfWeek\":\"SUNDAY\","
            "\"numOfHoursPerDay\":4,\"startHourOfDay\":6,\"increments\":5,"
            "\"outputInterval\":\"HOUR\",");
  EXPECT_EQ(intervals("INPUTINTERVAL=HOUR(INCREMENT=6 HRSDAY=4 WKSTART=SAT)"),
            "\"inputInterval\":\"HOUR\",\"numOfDaysPerWeek\":7,\"startDayOfWeek\":\"SATURDAY\","
            "\"numOfValidPointsPerDay\":4,\"startHourOfDay\":0,\"increments\":6,"
            "\"outputInterval\":\"HOUR\",");
  // A duration passes as its unit, in and out; an irregular input is UNKNOWN to the stage.
  EXPECT_EQ(
      intervals("INPUTINTERVAL=DURATION(INTERVAL=MINUTE INCREMENT=15)"),
      "\"inputInterval\":\"MINUTE\"," +
          std::string("\"numOfDaysPerWeek\":7,"
                      "\"startDayOfWeek\":\"SUNDAY\",\"numOfHoursPerDay\":24,\"startHourOfDay\":0,"
                      "\"increments\":15,\"outputInterval\":\"MINUTE\","));
  EXPECT_EQ(
      intervals("INPUTINTERVAL=DURATION(INTERVAL=MINUTE INCREMENT=15) "
                "ANALYSISINTERVAL=HOUR"),
      "\"inputInterval\":\"MINUTE\"," +
          std::string("\"numOfDaysPerWeek\":7,"
                      "\"startDayOfWeek\":\"SUNDAY\",\"numOfHoursPerDay\":24,\"startHourOfDay\":0,"
                      "\"increments\":15,\"outputInterval\":\"HOUR\","));
  EXPECT_EQ(intervals("INPUTINTERVAL=IRREGULAR ANALYSISINTERVAL=DAY"),
            "\"inputInterval\":\"UNKNOWN\"," + kDefaultWeek + "\"outputInterval\":\"DAY\",");
  for (const auto& [day, name] :
       std::vector<std::pair<std::string, std::string>>{{"TUE", "TUESDAY"},
                                                        {"WED", "WEDNESDAY"},
                                                        {"THU", "THURSDAY"},
                                                        {"FRI", "FRIDAY"},
                                                        {"SUN", "SUNDAY"}}) {
    EXPECT_NE(intervals("INPUTINTERVAL=DAY(WKSTART=" + day + ")")
                  .find("\"startDayOfWeek\":\"" + name + "\""),
              std::string::npos)
        << day;
  }

  // The data checks may find an irregular input under USEINPUT: it stays IRREGULAR on the
  // analysis side.
  Result found = Model("/DATASETTINGS TIMETYPE=DATETIMEVAR TIMEVAR=day "
                       "/FIELDSGROUP /FIELDS TARGETS=sales",
                       Shop());
  ASSERT_TRUE(found.ok) << found.Describe();
  EXPECT_EQ(found.spec.inputInterval.interval, TimeIntervalKind::AUTODETECT);
  found.spec.inputInterval.interval = TimeIntervalKind::IRREGULAR;
  const std::string text = Compose(found.spec);
  EXPECT_NE(text.find("\"inputInterval\":\"UNKNOWN\","), std::string::npos) << text;
  EXPECT_NE(text.find("\"outputInterval\":\"IRREGULAR\","), std::string::npos) << text;
}

TEST(TsdpConf, CyclicPeriodsAndTimeTypeNone) {
  Result cyclic =
      Model("/DATASETTINGS TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD START=2) "
            "week(TYPE=CYCLE LEVEL=1 LENGTH=7 START=3) year(TYPE=CYCLE LEVEL=2 LENGTH=52) "
            "ANALYSISINTERVAL=CYCLE(LEVEL=2) USERMISSING=INCLUDE MAXMISSING=80 INTERPOLATE=NONE "
            "AGGREGATE=price(MIN) "
            "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price "
            "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START=1 1 1 END=2 5 7) "
            "/SYSTEMOUTPUT TRANSFORMATIONS=NO",
            Shop());
  ASSERT_TRUE(cyclic.ok) << cyclic.Describe();
  // The first cycle's start is not written; the period's start ends the offsets. Kept
  // user-missing values give the threshold as the integer 1, whatever MAXMISSING says.
  EXPECT_EQ(Compose(cyclic.spec),
            "{\"metricFieldList\":[\"price\",\"sales\"],\"seriesFilterList\":[[]],"
            "\"encodeSeriesID\":true,\"groupType\":{},\"inputInterval\":\"CYCLIC_PERIOD\"," +
                kDefaultWeek +
                "\"outputInterval\":\"CYCLIC_PERIOD\",\"aggreLevel\":2,"
                "\"aggregationType\":{\"price\":\"MIN\"},\"oneDayForHoursCrossDay\":false,"
                "\"distributionType\":{},\"missingImputType\":\"NONE\","
                "\"missingValueHandlingThreshold\":1,"
                "\"valuesSelStrategy\":\"TIME\",\"nonStdStartTime\":[1,1,1],"
                "\"nonStdEndTime\":[2,5,7],\"exportQuality\":false,"
                "\"cyclicFieldList\":[\"year\",\"week\",\"period\"],\"cycPeriodList\":[52,7],"
                "\"cycOffsetList\":[3,2]}");

  // NONE: the case number is the period, last and alone; no cycle, so no offsets.
  Result none = Model("/DATASETTINGS TIMETYPE=NONE DISTRIBUTE=MEAN "
                      "/FIELDSGROUP /FIELDS TARGETS=sales "
                      "/BUILDOPTIONS ESTIMATIONPERIOD=OBSERVATIONS(TYPE=NEWEST NUMBER=50 OFFSET=2)",
                      Shop());
  ASSERT_TRUE(none.ok) << none.Describe();
  EXPECT_EQ(Compose(none.spec),
            "{\"metricFieldList\":[\"sales\"],\"seriesFilterList\":[[]],\"encodeSeriesID\":true,"
            "\"groupType\":{},\"inputInterval\":\"CYCLIC_PERIOD\"," +
                kDefaultWeek +
                "\"outputInterval\":\"CYCLIC_PERIOD\",\"aggregationType\":{},"
                "\"oneDayForHoursCrossDay\":false,\"distributionType\":{\"sales\":\"MEAN\"},"
                "\"missingImputType\":\"LINEAR_INTERP\",\"missingValueHandlingThreshold\":0.25,"
                "\"valuesSelStrategy\":\"NEWEST\",\"numOfKeptValues\":50,\"offset\":2,"
                "\"exportQuality\":true,\"cyclicFieldList\":[\"$casecount\"],"
                "\"cycPeriodList\":[]}");

  // A period field alone, with the analysis at the input's: no aggregation level.
  Result period = Model("/DATASETTINGS TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) "
                        "/FIELDSGROUP /FIELDS TARGETS=sales",
                        Shop());
  ASSERT_TRUE(period.ok) << period.Describe();
  const std::string text = Compose(period.spec);
  EXPECT_NE(text.find("\"outputInterval\":\"CYCLIC_PERIOD\",\"aggregationType\""),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\"valuesSelStrategy\":\"NONE\",\"exportQuality\":true,"
                      "\"cyclicFieldList\":[\"period\"],\"cycPeriodList\":[]}"),
            std::string::npos)
      << text;

  // No syntax gives another imputation, but a text outside the six writes no method at all.
  period.spec.interpolate = "SPLINE";
  EXPECT_EQ(Compose(period.spec).find("missingImputType"), std::string::npos);
}

TEST(TsdpConf, DateSpecificationsShortenQuartersOfMonths) {
  // Years, quarters and months at the input's interval: twelve months a year, no level.
  Result ymq =
      Model("/FIELDSGROUP /FIELDS TARGETS=sales",
            WithDates({DateComponent::kYear, DateComponent::kQuarter, DateComponent::kMonth}));
  ASSERT_TRUE(ymq.ok) << ymq.Describe();
  ASSERT_EQ(ymq.spec.timeVars.cycleVars.size(), 2u);
  EXPECT_EQ(Compose(ymq.spec),
            "{\"metricFieldList\":[\"sales\"],\"seriesFilterList\":[[]],\"encodeSeriesID\":true,"
            "\"groupType\":{},\"inputInterval\":\"CYCLIC_PERIOD\"," +
                kDefaultWeek + "\"outputInterval\":\"CYCLIC_PERIOD\"," + kDefaultTail +
                "\"valuesSelStrategy\":\"NONE\",\"exportQuality\":true,"
                "\"cyclicFieldList\":[\"YEAR_\",\"MONTH_\"],\"cycPeriodList\":[12],"
                "\"cycOffsetList\":[1]}");
  // The settings keep the shortened list for the rest of the run.
  ASSERT_EQ(ymq.spec.timeVars.cycleVars.size(), 1u);
  EXPECT_EQ(ymq.spec.timeVars.cycleVars[0].name, "YEAR_");
  EXPECT_EQ(ymq.spec.timeVars.cycleVars[0].level, 1);
  EXPECT_EQ(ymq.spec.timeVars.cycleVars[0].length, 12);

  // Aggregated to years: level 1 of the shortened list.
  Result yearly =
      Model("/DATASETTINGS ANALYSISINTERVAL=YEAR /FIELDSGROUP /FIELDS TARGETS=sales",
            WithDates({DateComponent::kYear, DateComponent::kQuarter, DateComponent::kMonth}));
  ASSERT_TRUE(yearly.ok) << yearly.Describe();
  std::string text = Compose(yearly.spec);
  EXPECT_NE(text.find("\"outputInterval\":\"CYCLIC_PERIOD\",\"aggreLevel\":1,"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\"cyclicFieldList\":[\"YEAR_\",\"MONTH_\"],\"cycPeriodList\":[12],"),
            std::string::npos)
      << text;

  // A CYCLE analysis interval takes its own level and leaves the cycles alone.
  Result cycles =
      Model("/DATASETTINGS ANALYSISINTERVAL=CYCLE(LEVEL=1) "
            "/FIELDSGROUP /FIELDS TARGETS=sales",
            WithDates({DateComponent::kCycle, DateComponent::kQuarter, DateComponent::kMonth}));
  ASSERT_TRUE(cycles.ok) << cycles.Describe();
  text = Compose(cycles.spec);
  EXPECT_NE(text.find("\"outputInterval\":\"CYCLIC_PERIOD\",\"aggreLevel\":1,"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\"cyclicFieldList\":[\"CYCLE_\",\"QUARTER_\",\"MONTH_\"],"
                      "\"cycPeriodList\":[4,3],\"cycOffsetList\":[1,1]}"),
            std::string::npos)
      << text;
  EXPECT_EQ(cycles.spec.timeVars.cycleVars.size(), 2u);

  // Other date variables: the analysis interval finds the level of its own variable, the
  // aggregation level coming before the output interval; without one there is no level.
  Result ym = Model("/DATASETTINGS ANALYSISINTERVAL=YEAR /FIELDSGROUP /FIELDS TARGETS=sales",
                    WithDates({DateComponent::kYear, DateComponent::kMonth}));
  ASSERT_TRUE(ym.ok) << ym.Describe();
  text = Compose(ym.spec);
  EXPECT_NE(text.find("\"increments\":1,\"aggreLevel\":1,\"outputInterval\":\"CYCLIC_PERIOD\","),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\"cyclicFieldList\":[\"YEAR_\",\"MONTH_\"],\"cycPeriodList\":[12],"
                      "\"cycOffsetList\":[1]}"),
            std::string::npos)
      << text;
  Result quarterly = Model("/DATASETTINGS ANALYSISINTERVAL=QUARTER "
                           "/FIELDSGROUP /FIELDS TARGETS=sales",
                           WithDates({DateComponent::kYear, DateComponent::kMonth}));
  ASSERT_TRUE(quarterly.ok) << quarterly.Describe();
  text = Compose(quarterly.spec);
  EXPECT_EQ(text.find("aggreLevel"), std::string::npos) << text;
  EXPECT_NE(text.find("\"increments\":1,\"outputInterval\":\"CYCLIC_PERIOD\","), std::string::npos)
      << text;
}

TEST(TsdpConf, ConvertorApiConfByForm) {
  std::string conf;
  // The relative form wins over the date-time flag and reads the first elements only.
  ASSERT_TRUE(ConvertorApiConf(true, true, {-3, 9}, {2, 9}, conf));
  EXPECT_EQ(conf, "{\"apiType\":\"NEWEST\",\"startIndex\":-3,\"endIndex\":2}");
  ASSERT_TRUE(ConvertorApiConf(false, true, {1420070400}, {4102444800}, conf));
  EXPECT_EQ(conf, "{\"apiType\":\"TIME\",\"stdStartTime\":1420070400,\"stdEndTime\":4102444800}");
  ASSERT_TRUE(ConvertorApiConf(false, false, {2015, 1, 3}, {2016, 2}, conf));
  EXPECT_EQ(conf, "{\"apiType\":\"TIME\",\"nonStdStartTime\":[2015,1,3],"
                  "\"nonStdEndTime\":[2016,2]}");
  // A list with nothing to read gives no configuration.
  conf = "unchanged";
  EXPECT_FALSE(ConvertorApiConf(true, false, {}, {1}, conf));
  EXPECT_FALSE(ConvertorApiConf(false, true, {1}, {}, conf));
  EXPECT_EQ(conf, "unchanged");
}

} // namespace
