// Greeter.dll: a component that logs. It asks the factory how to log,
// writes trace lines to the debugger output and to the process's log file
// as the two masks say, and keeps to the log file's size limit itself.

#include <cstdio>

#include "orvik/bootstrap/orvik_ptr.h"
#include "example_interfaces.h"
#include "orvik/module/component_factory.h"
#include "orvik/module/component_impl.h"
#include "orvik/module/debug_line.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/local_time.h"
#include "orvik/platform/lock.h"

namespace Example {
namespace {

using Orvik::IOrvikComponentFactory;
using Orvik::LogFileInfo;
using Orvik::TComponentImpl;
using Orvik::TComponentRegistrar;
using Orvik::TOrvikPtr;
namespace Platform = Orvik::Platform;

bool IsOpen(Platform::FileHandle file) { return file != nullptr && file != Platform::InvalidFileHandle(); }

class CGreeter : public TComponentImpl<IGreeter, CGreeter, IGreeter::kComponentId, 0, 0> {
public:
    void Greet(const char* name, char* buffer, int32_t size) override
    {
        std::snprintf(buffer, static_cast<size_t>(size), "Hello, %s!", name);
        char line[128];
        std::snprintf(line, sizeof line, "greeted %s", name);
        Trace(line);
    }

    void Uninitialize() override {}

private:
    void Trace(const char* text)
    {
        TOrvikPtr<IOrvikComponentFactory, 1> factory;
        if (!factory) return;
        // The configuration this component was made for: its module's
        // registry path.
        char config[Orvik::kRegistryPathSize] = {};
        GetConfigPath(nullptr, config, sizeof config);
        uint32_t debugMask = 0;
        uint32_t fileMask = 0;
        LogFileInfo* info = nullptr;
        factory->QueryLogSetting(config, kComponentId, &debugMask, &fileMask, &info);

        if ((debugMask & Orvik::LOG_T) != 0) Orvik::OutputDebugLine("[Greeter] %s\n", text);
        if ((fileMask & Orvik::LOG_T) != 0 && info != nullptr) WriteLogLine(*factory.get(), *info, text);
    }

    // The record's lock keeps lines of different components whole.
    static void WriteLogLine(IOrvikComponentFactory& factory, LogFileInfo& info, const char* text)
    {
        char stamp[32] = {};
        Platform::FormatLocalTime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S");
        char line[256];
        const int length = std::snprintf(line, sizeof line, "%s [Greeter] %s\n", stamp, text);
        if (length <= 0 || static_cast<size_t>(length) >= sizeof line) return;

        Platform::LockGuard guard(*info.lock);
        if (IsOpen(info.file) &&
            Platform::GetFileSizeLow(info.file) + static_cast<uint32_t>(length) > info.maxFileSize) {
            factory.StartNewLogFile();
        }
        if (IsOpen(info.file)) {
            uint32_t written = 0;
            Platform::WriteToFile(info.file, line, static_cast<uint32_t>(length), &written);
        }
    }
};

TComponentRegistrar<CGreeter> greeterRegistrar;

}  // namespace
}  // namespace Example
