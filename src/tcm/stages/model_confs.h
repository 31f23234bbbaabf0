// This file contains the configurations of the model flows: tcmModelConfig of the model build,
// summaryConf of the best-model summary, scoreConf of scoring, tcmScoreConf and arScoreConf of
// scenario scoring, and the expansion of field lists into series arrays that they share.
#pragma once

#include <string>
#include <vector>

#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/model/tcm_model_spec.h"

// A series array: one value per dimension (in the command's order; "" for all values of that
// dimension), then the field name.
using SeriesArray = std::vector<std::string>;

// The series arrays of `names`: per dimension the values of the record's filter on it, else
// those of `dataFilter`, else "", crossed with the first dimension outermost.
std::vector<SeriesArray> ExpandSeriesArrays(const std::vector<QuorVarName>& names,
                                            const std::vector<DimValueFilter>& filters,
                                            const DimFilterSet* dataFilter,
                                            const std::vector<QuorVarName>& dimensions);

// The series of every series filter that names fields, in order, each expanded with its own
// filters and no data filter.
std::vector<SeriesArray> SeriesFilterKeyList(const ValidSpec& spec);

// The model build's configuration; empty without field groups.
std::string TcmModelConfig(const TCMModelValidSpecs& spec,
                           const std::vector<FieldsGroupSpec>& groups);

// {"fitStat", "topType", "value"} of the target filter.
std::string SummaryConf(const ValidSpec& spec);

// True when scoreConf's target list is that of the ranked targets and the series filters, so
// that the caller has to build them.
bool ScoreNeedsTargetList(const ValidSpec& spec, bool outputPass);

// The scoring configuration with the flags forecast, fit, re-estimation and output pass.
// `targets` (ranked targets, then series filter keys) is read only when ScoreNeedsTargetList;
// an empty list there gives the empty text.
std::string ScoreConf(const ValidSpec& spec, bool forecast, bool fit, bool reestimate,
                      bool outputPass, const std::vector<SeriesArray>& targets);

// The outlier detection's configuration; with `forRootCause` it names the series of the series
// filters (`seriesKeys`), and is empty when there are none.
std::string TcmODConf(const ValidSpec& spec, bool forRootCause,
                      const std::vector<SeriesArray>& seriesKeys);

// The root cause configuration of one series with outliers: its key, detection at the command's
// threshold, and the generations of the first FILTEREDOUTPUT for series, when there is one.
std::string TcmRCAConf(const ValidSpec& spec, const std::vector<std::string>& series);

// The scenario command's scoring configuration: the targets of its target lists (none in the
// output pass, which scores all), forecasts when periods are asked for.
std::string TcmScoreConf(const TCMAnlySpec& spec, bool outputPass);

// The configuration of one scenario run (tcm:sa): its root series, the period and the values set
// over it, how far the run goes, the targets (the command's maximum, or the series of every
// target list of the scenario's list ID), the generations, and intervals only when asked for.
std::string TcmSAConf(const TCMAnlySpec& spec, const ScenarioSpec& scenario);

// The scenario command's configuration of the AR model series' scoring.
std::string ArScoreConf(const TCMAnlySpec& spec);
