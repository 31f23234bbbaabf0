// This file contains the pieces of the specs' debug displays that the three commands share.
#pragma once

#include <string>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"

// Indentation of a qualifier's label under its parameter.
inline const std::string kQualifierIndent = "               ";

// The banner (put at the front of the output) and the opening line "<command> valid
// specificaton display starts".
void OpenSpecDisplay(const std::string& command);
void DisplayTimeVariables(const TimeVariableSpec& timeVars);
void DisplayInputInterval(const InputIntervalSpec& interval);
void DisplayMethod(const std::string& label, const std::string& method,
                   const std::vector<std::pair<std::string, std::string>>& overrides);
void DisplayFilters(const std::string& label, const std::vector<DimValueFilter>& filters);
void DisplayBuildOptions(const std::string& subcommand, const BuildOptionsSpec& options);
// TARGETFILTER, SERIESFILTER, FILTEREDOUTPUT, SYSTEMOUTPUT, SAVE, OUTFILE and PASSPROTECT.
void DisplayCommonOutput(const ValidSpec& spec);
