// This file contains the expansion of paths written in command syntax.
#pragma once

#include <string>

namespace host {

// The system's temporary folder (support::BaseTempFolder): $TMPDIR when it names a folder, else
// /tmp. Never the folder of the program's run, which goes with the run.
std::string TempFolder();

// Expands a path as syntax writes it: "~" and "~/..." lie in the home folder, a leading "*/" or
// "*\" in the temporary folder, a relative path is taken against the current folder; the result
// is absolute and normalised. False, with `out` untouched, for an empty path, a path with a NUL
// byte, or "~" with no home folder known.
bool ExpandUserPath(const std::string& raw, std::string& out);

// True when `path` names an existing file that is not a folder.
bool IsReadableFile(const std::string& path);
// True when the folder that would hold `path` exists and `path` itself is not a folder.
bool IsWritableLocation(const std::string& path);

// True when `path` (expanded) can serve a command: an existing file to read, or a file that can
// be written (for_output). Within the program's run the file is declared to the run, which
// refuses an output that is one of the run's inputs or a folder that takes no new file: then the
// reason is posted as an error (FILE_REFUSED_KEY) and the result is false.
bool CheckCommandFile(const std::string& path, bool for_output);

// A name that a dataset of the session can carry: a name token of the language, no final period.
bool IsValidDatasetName(const std::string& name);

} // namespace host

// The host's full form of a path named in syntax: expanded as ExpandUserPath does, then checked
// as the caller asks: `mustExist` for a file to read, `folderMustExist` for a file to write.
// Gives "" when the path cannot be used so.
std::string GetExtendFilePath(const std::string& path, bool mustExist, bool reserved,
                              bool folderMustExist);
