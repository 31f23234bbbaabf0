// This file contains the records of dimension value filters: a dimension field limited to a
// list of its values.
#pragma once

#include <string>
#include <vector>

#include "host/quor_var_name.h"

struct DimValueFilter {
  std::string field;
  std::vector<std::string> values;  // as the tokens wrote them
  bool include = true;              // false for EXCLUDE

  bool operator==(const DimValueFilter&) const = default;
};

struct DimFilterSet {
  std::vector<QuorVarName> fields;
  std::vector<DimValueFilter> filters;
};
