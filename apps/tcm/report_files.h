// This file contains the writing of the report files of a tcm run.
#pragma once

#include <string>

#include "host/output/document.h"

namespace tcm_app {
// Writes the document as HTML and/or JSON to the paths given (empty: not wanted) and as text to
// standard output, `width` columns wide, when asked. A file is written whole or not at all, so a report the user had
// is never left half-written. False, with a message on standard error, when a file failed.
bool WriteReports(const host::OutputDocument& document, const std::string& html_path,
                  const std::string& json_path, std::size_t width, bool text);
}  // namespace tcm_app
