// This file contains helpers shared by the renderers.
#include "host/output/render_common.h"

#include "host/messages/fac_st_dictionary.h"

namespace host {

bool HasContent(const OutputNode &node) {
  if (node.kind != NodeKind::Heading && node.kind != NodeKind::Procedure)
    return true;
  for (const auto &child : node.children) {
    if (HasContent(*child))
      return true;
  }
  return false; // a procedure that wrote nothing (TSEXPLOR) leaves no trace
}

std::string SeverityWord(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return FacSTDictionary::Shared().LookUp("Error");
  case Severity::Warning:
    return FacSTDictionary::Shared().LookUp("Warning");
  case Severity::Note:
    return FacSTDictionary::Shared().LookUp("Note");
  }
  return {};
}

const char *SeverityName(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return "error";
  case Severity::Warning:
    return "warning";
  case Severity::Note:
    return "note";
  }
  return "note";
}

} // namespace host
