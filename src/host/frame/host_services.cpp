// This file contains the pending-error store and the UTF-8 converter.
#include "host/frame/host_services.h"

#include "host/session.h"

void host::CommandStopped() {
  if (Session* session = CurrentSession(); session != nullptr) session->command_stopped = true;
}

namespace BEPesRepos {
void BEPesClear() {
  if (host::Session* session = host::CurrentSession()) session->pending_errors.clear();
}

void BEPesCheckError() {
  host::Session* session = host::CurrentSession();
  if (session == nullptr) return;
  auto pending = std::move(session->pending_errors);
  session->pending_errors.clear();
  for (auto& message : pending) session->Post(std::move(message));
}
}  // namespace BEPesRepos

struct QUORMBConverter {
  int kind = 0;
};

QUORMBConverter* QUORMBConverterNew_A(int kind) { return new QUORMBConverter{kind}; }

void QUORMBConverterDelete_A(QUORMBConverter* converter) { delete converter; }

std::string transcodeToUTF8(QUORMBConverter* /*converter*/, const std::string& text) {
  std::string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3
                                         : (lead >> 3) == 0x1E ? 4 : 0;
    bool valid = length > 0 && i + length <= text.size();
    for (std::size_t k = 1; valid && k < length; ++k) {
      valid = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    }
    if (valid) {
      out.append(text, i, length);
      i += length;
    } else {
      out += "\xEF\xBF\xBD";
      ++i;
    }
  }
  return out;
}
