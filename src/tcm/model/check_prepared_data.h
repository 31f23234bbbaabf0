// This file contains the checks of TCM MODEL that need a first look at the data: the categories
// of the dimension fields against their limit and the value filters, and the input interval
// that the data show when the command asked to detect it.
#pragma once

#include <string>
#include <vector>

#include "host/bridge/cf_metadata.h"
#include "tcm/common/dim_filter.h"
#include "tcm/common/time_interval.h"
#include "tcm/model/tcm_model_spec.h"

class ASRunner;
class ParserMessage;
class ProcedureDataSource;
class TSDPRunner;
struct QUORMBConverter;

// Runs the descriptive pass over the converted data and settles the command's settings against it; ends with
// the settings display under DEBUG_. False once a failure was reported.
bool CheckPreparedData(TCMModelValidSpecs& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter);

// False with MAX_EXCEED_KEY when a field of the statistics text went over the category limit;
// false with no message when the text has no field summaries.
bool CheckCategoryLimits(const std::string& statXml, int maxDimValues, ParserMessage& messages);
// Pieces that TCM APPLY's check shares.
// The names the descriptive pass is asked about, in UTF-8 as the dictionary spells them: the
// dimensions found in the dataset, and the time fields found there (timeVar for a date time type,
// else the cycle fields, then the period field).
void DescriptiveFieldNames(const ValidSpec& spec, const ProcedureDataSource& dataSource,
                           QUORMBConverter* converter, std::vector<std::string>& dimensions,
                           std::vector<std::string>& timeFields);
// The interval named by the first entry of "intervalResults" in the descriptive pass's JSON text.
// False, with `interval` untouched, when the text holds none.
bool DetectedInterval(const std::string& json, TimeIntervalKind& interval);
// Settles every SERIESFILTER's values against the data's categories; filters count from 0.
bool CheckSeriesFilters(ValidSpec& spec, const CFMetaData& metaData, ParserMessage& messages);
// NO_RCA_KEY once for each FILTEREDOUTPUT record that asks root causes of series when there is no
// SERIESFILTER to pick them.
void WarnRootCausesWithoutSeries(const ValidSpec& spec, ParserMessage& messages);

// Settles DATAFILTER, every SERIESFILTER and every FIELDS filter against the data's categories.
bool CheckFiltersAgainstData(TCMModelValidSpecs& spec, const CFMetaData& metaData,
                             ParserMessage& messages);
// Keeps of a FIELDS filter only the values that DATAFILTER keeps too; none left is an error.
bool NarrowToDataFilter(DimValueFilter& filter, const DimFilterSet& dataFilter,
                        const std::string& label, ParserMessage& messages);
