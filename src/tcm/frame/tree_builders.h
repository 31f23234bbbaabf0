// This file contains the pieces of descriptor trees that the three commands share: short forms
// for parameters and the subcommands that more than one command has.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>

#include "host/syntax/descriptors.h"

namespace tcm_tree {

using UPSpecTypes::LowerBdryOptions;
using UPSpecTypes::UpperBdryOptions;
inline constexpr auto kIncl = LowerBdryOptions::Inclusive;
inline constexpr auto kExcl = LowerBdryOptions::Exclusive;
inline constexpr auto kUpIncl = UpperBdryOptions::Inclusive;
inline constexpr auto kUpExcl = UpperBdryOptions::Exclusive;

ParamDescriptor Param(const std::string& name, int spec, bool required = false, bool equals = true);
ParamDescriptor Keywords(const std::string& name, std::initializer_list<const char*> words,
                         bool list = false, bool required = false, bool equals = true);
ParamDescriptor YesNo(const std::string& name);
ParamDescriptor Bounded(const std::string& name, int spec, std::optional<double> low,
                        LowerBdryOptions low_option, std::optional<double> high,
                        UpperBdryOptions high_option, bool equals = true);
SubComDescriptor SubCom(const std::string& name, int spec = 1, bool required = false,
                        bool second = false);
// DIMVALUES with its bare qualifiers in parentheses.
ParamDescriptor DimValues(std::initializer_list<const char*> qualifiers);
SubComDescriptor Debug();
ParamDescriptor Increment();

// ESTIMATIONPERIOD; `with_model` adds the qualifier MODEL of the commands on a saved model.
ParamDescriptor EstimationPeriod(bool with_model);
SubComDescriptor TargetFilter();
SubComDescriptor SeriesFilter();
// FILTEREDOUTPUT; `model` chooses the bounds of TCM MODEL.
SubComDescriptor FilteredOutput(bool model);
SubComDescriptor SystemOutput();
// SAVE; `full` adds TARGETS and NRESIDUAL.
SubComDescriptor Save(bool full);
// OUTFILE; `with_model` adds MODELSYSTEM.
SubComDescriptor Outfile(bool with_model);
SubComDescriptor PassProtect();
SubComDescriptor ModelSystem();
ParamDescriptor Effects();

}  // namespace tcm_tree
