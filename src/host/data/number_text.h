// This file contains the dataset's number texts under the host's names; they live in support/.
#pragma once

#include "support/number_text.h"

namespace host {

using support::DecimalsWritten;
using support::ReadNumberText;
using support::ShortestNumberText;

}  // namespace host
