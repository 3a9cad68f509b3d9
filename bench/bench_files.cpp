#include "bench/bench_files.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "bench/modules/bench_interfaces.h"
#include "orvik/platform/module_loader.h"

namespace Orvik::Bench {

namespace {

// A field "Name:   123 kB" of /proc/self/status, in bytes.
uint64_t StatusBytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, name.size() + 1, name + ":") != 0) continue;
        std::istringstream fields(line.substr(name.size() + 1));
        uint64_t kilobytes = 0;
        fields >> kilobytes;
        return kilobytes * 1024;
    }
    return 0;
}

}  // namespace

std::filesystem::path ProgramDirectory()
{
    char path[Platform::kMaxPath] = {};
    Platform::GetModuleFilePath(nullptr, path, sizeof path);
    std::string native(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return std::filesystem::path(native).parent_path();
}

std::string FrameworkPath(const std::filesystem::path& path)
{
    std::string text = path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

void WriteTextFile(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string RequestConfiguration()
{
    return "[361]\nDLL=..\\OrvFact.dll\n"
           "[DefaultValue]\ndlls=bench_scanned.dll,bench_idle_scanned.dll\n"
           "[" + std::to_string(kSectionId) + "]\ndll=bench_section.dll\n"
           "[" + std::to_string(kIdleSectionId) + "]\ndll=bench_idle_section.dll\n";
}

std::string ColdStartConfiguration()
{
    std::string list;
    for (int i = 0; i < kColdModules; ++i) list += (i == 0 ? "m" : ",m") + std::to_string(i);
    return "[361]\nDLL=..\\..\\OrvFact.dll\n[DefaultValue]\ndlls=" + list + "\n";
}

std::string CatalogText(size_t targetBytes, const std::string& factoryModule, size_t* sections)
{
    std::string text = "[DefaultValue]\r\ndllpath=\\opt\\orvik\\modules\r\nMaxFileCount=4\r\nMaxFileSize=16\r\n"
                       "[LogDefault]\r\noutputdebugstring=E\r\nwritetologfile=EW\r\n";
    size_t count = 0;
    for (uint32_t id = 100000; text.size() < targetBytes; ++id, ++count) {
        const std::string number = std::to_string(id);
        text += "[" + number + "]\r\n";
        switch (id % 4) {
        case 0:
            text += "dll=Provider" + number + ".dll\r\noutputdebugstring=ETW\r\n";
            break;
        case 1:
            text += "dll = \"Provider " + number + ".dll\"\r\nnotusedefaultdllpath=1\r\n";
            break;
        case 2:
            text += "DLL=sub\\Provider" + number + ".dll\r\nwritetologfile=E\r\n";
            break;
        default:
            text += "dll=Provider" + number + ".dll\r\n";
            break;
        }
    }
    // Last, so that a request for the factory proves the whole file was read.
    text += "[361]\r\ndll=" + factoryModule + "\r\n";
    *sections = count + 1;
    return text;
}

int LoadedObjectCount()
{
    std::ifstream maps("/proc/self/maps");
    std::set<std::string> objects;
    std::string line;
    while (std::getline(maps, line)) {
        std::istringstream fields(line);
        std::string range, permissions, offset, device, inode, path;
        fields >> range >> permissions >> offset >> device >> inode;
        std::getline(fields >> std::ws, path);
        const bool executable = permissions.size() > 2 && permissions[2] == 'x';
        if (executable && (path == "[vdso]" || (!path.empty() && path[0] == '/'))) objects.insert(path);
    }
    return static_cast<int>(objects.size());
}

uint64_t ResidentBytes() { return StatusBytes("VmRSS"); }

uint64_t PeakResidentBytes() { return StatusBytes("VmHWM"); }

}  // namespace Orvik::Bench
