#include "host_support.h"

#include "orvik/platform/file_system.h"

namespace Example {

namespace Platform = Orvik::Platform;

namespace {

std::string ReadWholeFile(const std::string& path)
{
    const Platform::UniqueFile file(Platform::OpenFileForReading(path.c_str()));
    if (!file) return std::string();
    std::string text(Platform::GetFileSizeLow(file.get()), '\0');
    uint32_t read = 0;
    if (!text.empty() && Platform::ReadFromFile(file.get(), &text[0], static_cast<uint32_t>(text.size()), &read)) {
        text.resize(read);
    } else {
        text.clear();
    }
    return text;
}

}  // namespace

LogFolder InspectLogFolder(const std::string& directory)
{
    LogFolder folder;
    Platform::FindData entry = {};
    Platform::FileTime newest = {};
    const Platform::UniqueFind find(Platform::FindFirstEntry((directory + "\\*.log").c_str(), &entry));
    if (!find) return folder;
    do {
        if ((entry.attributes & Platform::kFileAttributeDirectory) != 0) continue;
        ++folder.fileCount;
        if (folder.fileCount == 1 || Platform::CompareFileTimes(&entry.lastWriteTime, &newest) > 0) {
            newest = entry.lastWriteTime;
            folder.newestName = entry.name;
        }
    } while (Platform::FindNextEntry(find.get(), &entry));
    if (!folder.newestName.empty()) folder.newestText = ReadWholeFile(directory + "\\" + folder.newestName);
    return folder;
}

}  // namespace Example
