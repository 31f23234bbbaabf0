// This file contains small services of the host that every command's frame calls: the store of
// errors held back during a command, and the multibyte converter for names bound for JSON.
#pragma once

#include <string>

namespace BEPesRepos {
// Forgets errors held back by an earlier command.
void BEPesClear();
// Posts the errors held back during this command to the output.
void BEPesCheckError();
}  // namespace BEPesRepos

namespace host {
// The entry's command stopped before its end: a reader, a check or a flow said no. The command
// processor then counts the command as failed, and says so when no error of its own did.
void CommandStopped();
}  // namespace host

// A converter from the session's encoding to UTF-8. Datasets are read as UTF-8, so conversion
// checks the text and replaces bytes that are no UTF-8 with U+FFFD.
struct QUORMBConverter;
QUORMBConverter* QUORMBConverterNew_A(int kind);
void QUORMBConverterDelete_A(QUORMBConverter* converter);
std::string transcodeToUTF8(QUORMBConverter* converter, const std::string& text);
