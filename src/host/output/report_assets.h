// This file contains the report's page template, style sheet and script, embedded by the build
// from the files under assets/ so the program carries them wherever it is installed.
#pragma once

namespace host {

extern const char *const kReportHtml; // page template with {{title}}, {{style}}, ... places
extern const char *const kReportCss;
extern const char *const kReportJs;

} // namespace host
