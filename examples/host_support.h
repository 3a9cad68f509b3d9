#pragma once
// What the example host does besides its walkthrough: printing the debug
// output, knowing its own directory, calling a module's CreateComponent
// export and reading the log files.

#include <string>

#include "module/component.h"
#include "platform/module_loader.h"

namespace Example {

// The debug sink: prints every debugger line of every module to standard
// output, prefixed "  [debug] ".
void PrintDebugText(const char* text, void* context);

// The host program's directory in the framework's form (backslashes), without
// a trailing separator.
std::string HostDirectory();

// What a module's CreateComponent export makes for the id; null when the
// module has no such export or cannot make it.
Orvik::IComponent* CreateFromModule(Orvik::Platform::ModuleHandle module, Orvik::ComponentId id);

// The ".log" files of a log directory: how many there are and the text of
// the one written last.
struct LogFolder {
    int fileCount = 0;
    std::string newestName;
    std::string newestText;
};
LogFolder InspectLogFolder(const std::string& directory);

}  // namespace Example
