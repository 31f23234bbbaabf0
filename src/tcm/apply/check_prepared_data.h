// This file contains the check of TCM APPLY that needs a first look at the data, beside the one of
// TCM MODEL (included), whose pieces it shares.
#pragma once

#include "tcm/apply/tcm_apply_spec.h"
#include "tcm/model/check_prepared_data.h"

// Runs the descriptive pass over the converted data: for a date time type whose interval is not
// known yet, the interval and the dimensions' categories; otherwise the categories alone, and
// nothing without dimensions. The series filters are settled against the categories, which then
// become the converted data model of `tsdpRunner`. Root causes asked for without SERIESFILTER warn.
// Ends with the settings display under DEBUG_. False once a failure was reported; a failed job
// reports through the engine's messages.
bool CheckPreparedData(TCMApplySpec& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter);
