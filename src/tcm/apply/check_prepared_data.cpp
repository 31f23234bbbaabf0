// This file contains the check of TCM APPLY on the converted data.
#include "tcm/apply/check_prepared_data.h"

#include <string>
#include <vector>

#include "host/bridge/as_descriptive.h"
#include "host/bridge/cf_metadata.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

// The model system fixed its dimensions; the pass only has to list what the data hold, so the
// limit is the descriptive pass's own rather than a setting.
constexpr int kMaxCategories = 10000;

} // namespace

bool CheckPreparedData(TCMApplySpec& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter) {
  ASDescriptive descriptive(runner, tsdpRunner.DescriptiveScript());
  std::vector<std::string> dimensionNames;
  std::vector<std::string> timeFields;
  DescriptiveFieldNames(spec, dataSource, converter, dimensionNames, timeFields);
  const auto settle = [&](const CFMetaData& metaData) {
    if (!CheckSeriesFilters(spec, metaData, messages))
      return false;
    tsdpRunner.UpdateConvertedDataModel(metaData);
    return true;
  };

  bool result = true;
  if (spec.isDateTimeSpec() && spec.inputInterval.interval == TimeIntervalKind::AUTODETECT) {
    std::string json;
    std::string metaText;
    result = descriptive.UpdateDateModel(dimensionNames, timeFields, spec.isDateTimeSpec(), json,
                                         metaText, kMaxCategories);
    if (result && !metaText.empty())
      result = settle(CFMetaData(metaText, nullptr));
    // The saved settings carry the model's interval; the one found here only describes the data,
    // so a pass that names none leaves it to them.
    if (result && !json.empty())
      DetectedInterval(json, spec.inputInterval.interval);
  } else if (!dimensionNames.empty()) {
    CFMetaData metaData;
    result = descriptive.BuildMetaData(dimensionNames, metaData, kMaxCategories) && settle(metaData);
  }

  WarnRootCausesWithoutSeries(spec, messages);
  if (result && spec.debug)
    spec.displayValidSpec();
  return result;
}
