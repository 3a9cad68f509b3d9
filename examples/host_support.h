#pragma once
// What the example host does besides its walkthrough and the host library's
// part: reading the log files.

#include <string>

namespace Example {

// The ".log" files of a log directory: how many there are and the text of
// the one written last.
struct LogFolder {
    int fileCount = 0;
    std::string newestName;
    std::string newestText;
};
LogFolder InspectLogFolder(const std::string& directory);

}  // namespace Example
