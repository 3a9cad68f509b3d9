#include "examples/host_support.h"

#include <cstdio>
#include <cstring>

#include "module/module_exports.h"
#include "platform/file_system.h"

namespace Example {

namespace Platform = Orvik::Platform;

void PrintDebugText(const char* text, void*)
{
    // Most texts are one line with its line end; a few have none, and they
    // get one here so the output stays readable.
    while (*text != '\0') {
        const char* end = std::strchr(text, '\n');
        const size_t length = end != nullptr ? static_cast<size_t>(end - text) : std::strlen(text);
        std::printf("  [debug] %.*s\n", static_cast<int>(length), text);
        text += length + (end != nullptr ? 1 : 0);
    }
    std::fflush(stdout);
}

std::string HostDirectory()
{
    char path[Platform::kMaxPath] = {};
    Platform::GetModuleFilePath(nullptr, path, sizeof path);
    const std::string program(path);
    return program.substr(0, program.rfind('\\'));
}

Orvik::IComponent* CreateFromModule(Platform::ModuleHandle module, Orvik::ComponentId id)
{
    if (module == nullptr) return nullptr;
    auto create = reinterpret_cast<Orvik::CreateComponentExport>(Platform::FindExport(module, "CreateComponent"));
    // Creator id 0: not a catalog of the factory asking.
    return create != nullptr ? create(static_cast<int32_t>(id), 0) : nullptr;
}

namespace {

std::string ReadWholeFile(const std::string& path)
{
    const Platform::FileHandle file = Platform::OpenFileForReading(path.c_str());
    if (file == Platform::InvalidFileHandle()) return std::string();
    std::string text(Platform::GetFileSizeLow(file), '\0');
    uint32_t read = 0;
    if (!text.empty() && Platform::ReadFromFile(file, &text[0], static_cast<uint32_t>(text.size()), &read)) {
        text.resize(read);
    } else {
        text.clear();
    }
    Platform::CloseFile(file);
    return text;
}

}  // namespace

LogFolder InspectLogFolder(const std::string& directory)
{
    LogFolder folder;
    Platform::FindData entry = {};
    Platform::FileTime newest = {};
    const Platform::FindHandle find = Platform::FindFirstEntry((directory + "\\*.log").c_str(), &entry);
    if (find == Platform::InvalidFileHandle()) return folder;
    do {
        if ((entry.attributes & Platform::kFileAttributeDirectory) != 0) continue;
        ++folder.fileCount;
        if (folder.fileCount == 1 || Platform::CompareFileTimes(&entry.lastWriteTime, &newest) > 0) {
            newest = entry.lastWriteTime;
            folder.newestName = entry.name;
        }
    } while (Platform::FindNextEntry(find, &entry));
    Platform::CloseFind(find);
    if (!folder.newestName.empty()) folder.newestText = ReadWholeFile(directory + "\\" + folder.newestName);
    return folder;
}

}  // namespace Example
