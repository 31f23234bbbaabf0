// This file contains TokenInfoObj.
#include "host/syntax/token_info_obj.h"

#include <cmath>
#include <limits>

bool TokenInfoObj::IsInteger() const {
  if (!token_.IsNumber())
    return false;
  const double value = token_.number;
  return std::isfinite(value) && std::floor(value) == value &&
         value >= static_cast<double>(std::numeric_limits<int>::min()) &&
         value <= static_cast<double>(std::numeric_limits<int>::max());
}

int TokenInfoObj::getInteger() const {
  return IsInteger() ? static_cast<int>(token_.number) : 0;
}

bool TokenInfoObj::getVarName(QuorVarName& name) const {
  if (!IsVarName())
    return false;
  name = QuorVarName(token_.text);
  return true;
}

bool TokenInfoObj::getVarName(std::string& name) const {
  if (!IsVarName())
    return false;
  name = token_.text;
  return true;
}
