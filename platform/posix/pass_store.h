#pragma once
// Passes of the module file check kept for the processes that come after:
// a module file that an earlier process checked, settled and unchanged
// since, is not read again. The store is a cache: one file per framework
// version and architecture (a pass is only as good as the check that made
// it), one line per pass, appended. A line that does not read whole is
// skipped, and a store that cannot be read or written only means that files
// are read again.
//
// Its directory is $ORVIK_CACHE_DIR when that is set (set empty: no store),
// else $XDG_CACHE_HOME/orvik, else $HOME/.cache/orvik.

#include <cstddef>
#include <string>
#include <unordered_map>

#include "platform/posix/passed_module.h"

namespace Orvik {
namespace Platform {

using PassMap = std::unordered_map<std::string, PassedFile>;

// The store's file for this process; empty when it has none.
std::string PassStoreFile();

// Adds the passes in the store's file to passes, a later line of a path
// replacing an earlier one. True when the file is to be written afresh:
// it has grown past its bound, or most of its lines were replaced since.
bool ReadPassStore(const std::string& file, PassMap* passes);

// Opens the store's file for appending, making its directory and the file
// as needed, emptied when afresh; -1 when it cannot, or when something else
// than a regular file is there.
int OpenPassStore(const std::string& file, bool afresh);
// Appends the pass of the file at path. One write per line keeps the lines
// of processes appending at once apart.
void AppendPass(int descriptor, const std::string& path, const PassedFile& pass);
// Appends all these passes.
void AppendPasses(int descriptor, const PassMap& passes);

// The line of one pass; empty when it is too long to be appended in one
// write, which keeps lines of processes appending at once apart.
std::string PassLine(const std::string& path, const PassedFile& pass);

// Adds the passes in a store's text to passes; the number of lines read.
size_t ReadPassLines(const char* text, size_t size, PassMap* passes);

}  // namespace Platform
}  // namespace Orvik
