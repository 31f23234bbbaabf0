// This file contains the writing of the report files of a tcm run.
#include "apps/tcm/report_files.h"

#include <iostream>

#include "host/output/html_renderer.h"
#include "host/output/json_renderer.h"
#include "host/output/text_renderer.h"
#include "support/file_io.h"

namespace tcm_app {
namespace {
bool WriteOne(const std::string& path, const std::string& content, const char* what) {
  if (path.empty()) return true;
  const support::Status status = support::WriteFileAtomically(path, content);
  if (!status) {
    std::cerr << "Error: cannot write the " << what << " report " << path << ": "
              << status.message() << '\n';
  }
  return status.ok();
}
}  // namespace

bool WriteReports(const host::OutputDocument& document, const std::string& html_path,
                  const std::string& json_path, std::size_t width, bool text) {
  bool ok = WriteOne(html_path, host::RenderHtml(document), "HTML");
  ok = WriteOne(json_path, host::RenderJsonText(document), "JSON") && ok;
  if (text) std::cout << host::RenderText(document, width);
  return ok;
}
}  // namespace tcm_app
