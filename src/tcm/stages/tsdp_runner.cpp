// This file contains the construction of TSDPRunner, its time string conversion flow, the update
// of the converted data model, the preparation flow with the read-back of its time range, and
// the convertor of time specifications.
#include "tcm/stages/tsdp_runner.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_trace.h"
#include "host/bridge/ext_name_str.h"
#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"
#include "tcm/flows/flow_scripts.h"
#include "tcm/stages/tsdp_conf.h"

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

// A JSON number that stands for a whole value (a fraction is cut off), within the range where a
// double holds every integer.
bool WholeNumber(JNIJSONHandle node, std::int64_t& value) {
  if (node == nullptr || !node->is_number())
    return false;
  const double number = JNIJSONDouble::doubleValue(node);
  constexpr double kLimit = 9007199254740992.0; // 2^53
  if (!std::isfinite(number) || std::fabs(number) > kLimit)
    return false;
  value = static_cast<std::int64_t>(number);
  return true;
}

// A time point of TIME_POINTS.json: one number, or an array of the cyclic fields' values.
void AppendTimePoint(JNIJSONHandle point, std::vector<std::int64_t>& points) {
  std::int64_t value = 0;
  if (WholeNumber(point, value)) {
    points.push_back(value);
    return;
  }
  const std::size_t count = JNIJSONArray::size(point);
  for (std::size_t i = 0; i < count; ++i) {
    points.push_back(JNIJSONInteger::longValue(JNIJSONArray::get(point, i)));
  }
}

// The member TIME_POINTS.json of the convertor's archive into the three lists.
bool ReadTimePoints(const std::string& archive, std::vector<std::int64_t>& indexList,
                    std::vector<std::int64_t>& startPoints, std::vector<std::int64_t>& endPoints) {
  ZipReader reader(archive);
  std::string text;
  if (!reader.GotoFile("TIME_POINTS.json") || !reader.ExportString(text))
    return false;
  const JNIJSONObject points(text);
  if (!points.isGood())
    return false;
  const JNIJSONHandle indexes =
      JNIJSONObject::get(points.getTop(), "referIndexFromLastObservation");
  for (std::size_t i = 0; i < JNIJSONArray::size(indexes); ++i) {
    indexList.push_back(JNIJSONInteger::longValue(JNIJSONArray::get(indexes, i)));
  }
  const JNIJSONHandle timePoints = JNIJSONObject::get(points.getTop(), "timePoints");
  const std::size_t count = JNIJSONArray::size(timePoints);
  if (count == 0)
    return false;
  AppendTimePoint(JNIJSONArray::get(timePoints, 0), startPoints);
  AppendTimePoint(JNIJSONArray::get(timePoints, count - 1), endPoints);
  return true;
}

} // namespace

TSDPRunner::TSDPRunner(ValidSpec& spec, ASRunner& runner, ASRawDataIterator& iterator,
                       const char* modelSettings)
    : spec(spec), runner(runner), iterator(iterator),
      jsonFile(std::make_unique<ASSimpleContainer>("JSON", "")),
      qualityFile(std::make_unique<ASSimpleContainer>("TSDP_DataQuality", "")),
      convertedData(std::make_unique<ASSimpleContainer>("data", "")),
      convertedDataModel(std::make_unique<ASSimpleContainer>("dataModel", "")),
      preparedData(std::make_unique<ASSimpleContainer>("data", "")),
      preparedDataModel(std::make_unique<ASSimpleContainer>("dataModel", "")),
      commandKind_(spec.commandKind()),
      modelSettings_(modelSettings != nullptr ? modelSettings : ""),
      metaData_(iterator.DataModelXml(), nullptr),
      conf_(modelSettings != nullptr ? TSJsonConf(std::string_view(modelSettings)) : TSJsonConf()) {
  FlowFiles files;
  files.jsonFile = jsonFile.get();
  files.convertedData = convertedData.get();
  files.convertedDataModel = convertedDataModel.get();
  files.preparedData = preparedData.get();
  files.preparedDataModel = preparedDataModel.get();
  blocks_ = std::make_unique<FlowBlocks>(spec, files);
}

// The containers go in the order they were made.
TSDPRunner::~TSDPRunner() {
  jsonFile.reset();
  qualityFile.reset();
  convertedData.reset();
  convertedDataModel.reset();
  preparedData.reset();
  preparedDataModel.reset();
}

bool TSDPRunner::ConvertTimeStrings() {
  if (iterator.Failed())
    return false;
  conversionScript_ = ConversionFlowScript(*blocks_, iterator.Name());
  runner.prepareASLJob(conversionScript_);
  traceASLFile(conversionScript_, "TCM", "TimeStrConversion");
  runner.addInputIterator(&iterator);
  bool result = false;
  try {
    result = runner.execute();
  } catch (...) {
    result = false;
  }
  if (iterator.GetCancelStatus()) {
    result = false;
  } else {
    runner.displayAllMessages(true);
  }
  runner.cleanExecution();
  return result;
}

bool TSDPRunner::UpdateConvertedDataModel(const CFMetaData& metaData) {
  metaData_ = metaData;
  std::string text;
  if (!metaData_.ExportXMLDoc(text))
    return false;
  ExtNameStr file;
  file.SetGeneric(convertedDataModel->getGenericPath());
  std::ofstream stream;
  if (!file.Open(stream, 34))
    return false;
  stream << text;
  return static_cast<bool>(stream);
}

std::string TSDPRunner::DescriptiveScript() {
  return DescriptiveFlowScript(*blocks_);
}

bool TSDPRunner::RunTSDP() {
  const std::string tsdpConf = ComposeTsdpConf();
  preparationScript_ = PreparationFlowScript(*blocks_, tsdpConf, TsdpOutputs());
  runner.prepareASLJob(preparationScript_);
  traceASLFile(preparationScript_, "TCM", "TSDP");
  bool result = false;
  try {
    result = runner.execute();
  } catch (...) {
    result = false;
  }
  if (result && commandKind_ == 0)
    ReadTimeRange();
  runner.displayAllMessages(true);
  runner.cleanJRef();
  runner.cleanExecution();

  // The container made its file empty; only the engine's write fills it.
  if (!preparedData)
    return false;
  const ExtNameStr file(preparedData->getAbsolutePath());
  if (file.Access(0) == 1)
    return false;
  std::error_code error;
  const auto size = std::filesystem::file_size(file.GetPath(), error);
  return !error && size > 0;
}

void TSDPRunner::ReadTimeRange() {
  ZipReader reader(jsonFile->getAbsolutePath());
  std::string text;
  if (!reader.GotoFile("TSDPOutput.json") || !reader.ExportString(text))
    return;
  const JNIJSONObject record(text);
  if (!record.isGood())
    return;
  const JNIJSONHandle output = JNIJSONObject::get(record.getTop(), "output");
  const std::string format = JNIJSONObject::getChildAsString(output, "timeFormat");
  const JNIJSONHandle variable = JNIJSONObject::get(output, "timeVariable");
  BuildOptionsSpec& options = spec.buildOptions;

  if (format == "CYCLIC_PERIOD") {
    // A time axis that is no object tells no range: the periods the user gave stay.
    if (variable == nullptr || !variable->is_object())
      return;
    // One value per cyclic field the stage kept, top level first, the period field last.
    std::vector<int32_t> starts;
    std::vector<int32_t> ends;
    const auto take = [&](const std::string& name) {
      const JNIJSONHandle values = JNIJSONObject::get(variable, name);
      const std::size_t count = JNIJSONArray::size(values);
      if (count == 0)
        return;
      starts.push_back(JNIJSONInteger::intValue(JNIJSONArray::get(values, 0)));
      ends.push_back(JNIJSONInteger::intValue(JNIJSONArray::get(values, count - 1)));
    };
    for (const CycleVariable& cycle : spec.timeVars.cycleVars)
      take(cycle.name);
    take(spec.timeVars.periodVar);
    options.startPeriods = std::move(starts);
    options.endPeriods = std::move(ends);
    return;
  }

  // "date" gives day numbers, anything else seconds already.
  const std::size_t count = JNIJSONArray::size(variable);
  std::int64_t first = 0;
  std::int64_t last = 0;
  if (count == 0 || !WholeNumber(JNIJSONArray::get(variable, 0), first) ||
      !WholeNumber(JNIJSONArray::get(variable, count - 1), last)) {
    return;
  }
  const std::int64_t scale = format == "date" ? kSecondsPerDay : 1;
  // Computed in 64 bits, so that days after January 2038 stay in the future.
  const std::int64_t limit = INT64_MAX / scale;
  if (first > limit || first < -limit || last > limit || last < -limit)
    return;
  options.startTime = first * scale;
  options.endTime = last * scale;
}

bool TSDPRunner::CalculateTimeVar(bool relative, bool isDateTime, const std::string& modelPath,
                                  const std::vector<std::int64_t>& startList,
                                  const std::vector<std::int64_t>& endList,
                                  std::vector<std::int64_t>& indexList,
                                  std::vector<std::int64_t>& startPoints,
                                  std::vector<std::int64_t>& endPoints) {
  indexList.clear();
  startPoints.clear();
  endPoints.clear();
  std::string apiConf;
  if (!ConvertorApiConf(relative, isDateTime, startList, endList, apiConf))
    return false;
  // The model system is only read; the points go to an archive of the job's own.
  const ASSimpleContainer input("JSON", modelPath);
  const ASSimpleContainer output("JSON", "");
  const std::string script = ConvertorFlowScript(apiConf, input, output);
  runner.prepareASLJob(script);
  traceASLFile(script, "TSDP", "CalculateTimeVar");
  bool result = false;
  try {
    result = runner.execute();
  } catch (...) {
    result = false;
  }
  if (result)
    result = ReadTimePoints(output.getAbsolutePath(), indexList, startPoints, endPoints);
  runner.displayAllMessages(true);
  runner.cleanExecution();
  return result;
}
