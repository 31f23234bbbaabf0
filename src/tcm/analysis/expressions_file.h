// This file contains the reading of an expressions file: the names of its derived fields and the
// fields each one reads. The expressions themselves pass unread to the engine.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tcm/analysis/tcm_anly_spec.h"

// Reads the DerivedField elements of the XML `text`, wherever they stand: each with a non-empty
// name appends it to `names` and, unless a field of that name came earlier, enters `fields` with
// the field attributes of the FieldRef elements below it, in document order with repeats. A
// DerivedField without a name is passed over with all it holds, as is a FieldRef without a field.
// False when the text is no XML.
bool ReadExpressionsText(const std::string& text, std::vector<std::string>& names,
                         std::map<std::string, ExpressionSpec>& fields);

// The count of field references of all expressions.
int32_t CountFieldRefs(const std::map<std::string, ExpressionSpec>& fields);
