// This file contains the composers of the preparation stage's configuration (tsdpConf) for each
// command, and of the convertor's apiConf.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tcm/flows/ts_json_conf.h"
#include "tcm/frame/spec/valid_spec.h"

class TCMModelValidSpecs;

// The metric fields of TCM MODEL: every name of the five field lists of every FIELDS of every
// FIELDSGROUP, once each, in the host's order of variable names (case does not count).
std::vector<std::string> MetricFieldSet(const TCMModelValidSpecs& spec);

// tsdpConf of TCM MODEL, put key by key into `conf`, which should start empty. `metrics` is
// MetricFieldSet(spec). A date specification of years (or cycles), quarters and months is read as
// years (or cycles) of twelve months: the last cycle variable is removed from `spec`, so that
// everything composed later in the run sees the shortened list.
void ComposeModelTsdpConf(TCMModelValidSpecs& spec, const std::vector<std::string>& metrics,
                          TSJsonConf& conf);

// tsdpConf of TCM APPLY over the saved settings in `conf`: only the selection of the estimation
// period and exportQuality change. "MODEL" keeps the saved selection.
void ComposeApplyTsdpConf(const ValidSpec& spec, TSJsonConf& conf);

// The selection keys of an estimation period: "TIMES" and "OBSERVATIONS" with their values;
// "ALL" gives valuesSelStrategy "NONE". Any other period gives "NONE" when `otherIsNone`, and
// nothing otherwise.
void PutSelection(const ValidSpec& spec, bool otherIsNone, TSJsonConf& conf);

// apiConf of the convertor: "NEWEST" with indexes when `relative`, else "TIME" with seconds
// (`isDateTime`) or cyclic period values. False, with nothing composed, when a list it reads a
// value from is empty.
bool ConvertorApiConf(bool relative, bool isDateTime, const std::vector<std::int64_t>& startList,
                      const std::vector<std::int64_t>& endList, std::string& apiConf);
