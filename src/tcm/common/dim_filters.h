// This file contains the reading of dimension value filters (DIMVALUES) from syntax and their
// settlement against the categories of the data.
#pragma once

#include <string>
#include <vector>

#include "host/quor_var_name.h"
#include "tcm/common/dim_filter.h"

class CFMetaData;
class ParamObj;
class ParserMessage;

// Reads "field(INCLUDE=v1 v2) field2(EXCLUDE=v3)" into `filters`. Every field must be one of
// `dimensions`. False once a fault was reported.
bool ReadDimValues(std::vector<DimValueFilter>& filters, const ParamObj& param,
                   const std::vector<QuorVarName>& dimensions, ParserMessage* messages);
// Reads "field(VALUES=v1 v2) field2(VALUES=v3)", or with `severalValues` false
// "field(VALUE=v1)", into `filters`, all of them INCLUDE filters. Every field must be one of
// `dimensions`; ALL and TO are plain values. False once a fault was reported.
bool ReadAnalysisDimValues(std::vector<DimValueFilter>& filters, const ParamObj& param,
                           const std::vector<QuorVarName>& dimensions, bool severalValues,
                           ParserMessage* messages);
// Checks every filter's values against the field's categories and turns EXCLUDE filters into
// INCLUDE filters of the other values. `label` names the place in messages ("DATAFILTER").
bool CheckDimFilters(const CFMetaData& metaData, std::vector<DimValueFilter>& filters,
                     const std::string& label, ParserMessage* messages);
// The values of the first filter on `name`, or null.
const std::vector<std::string>* FindDimFilter(const std::string& name,
                                              const std::vector<DimValueFilter>& filters);
// An INCLUDE filter holding every value of the field.
DimValueFilter ValuesOfField(const std::string& field, const CFMetaData& metaData);
