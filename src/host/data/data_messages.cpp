// This file contains the problem budget of the dataset's readers and the text lookup they share.
#include "host/data/data_messages.h"

#include "host/messages/fac_st_dictionary.h"
#include "host/messages/parser_message.h"

namespace host {

void ProblemBudget::ReportRest(ParserMessage& messages, const std::string& file) const {
  if (seen_ > limit_) {
    messages.SimpleWarning(msg::kMoreProblems, file, std::to_string(seen_ - limit_));
  }
}

std::string HostText(const char* key, const std::vector<std::string>& args) {
  return FacSTDictionary::Shared().Format(key, args);
}

}  // namespace host
