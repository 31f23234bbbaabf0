// This file contains the style sheet and script of the report's figures, embedded by the build
// from assets/figures.css and assets/figures.js.
#pragma once

namespace host {

extern const char* const kFiguresCss;
extern const char* const kFiguresJs;

} // namespace host
