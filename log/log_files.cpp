#include <string>

#include "factory/component_factory.h"
#include "platform/local_time.h"
#include "platform/multibyte.h"
#include "platform/path_split.h"

namespace Orvik {

bool COrvikComponentFactory::LaterFirst::operator()(const Platform::FileTime& a, const Platform::FileTime& b) const
{
    return Rules::IsLaterFileTime(a, b) != 0;
}

bool COrvikComponentFactory::FormLogDirectory(char* directory)
{
    // A root path too long for "\OrvikLog\" gives no directory: nothing is
    // created or deleted then.
    return FormatString(directory, Platform::kMaxPath, 0, "%s\\%s", rootPath_, "OrvikLog\\") != 0;
}

void COrvikComponentFactory::CreateLogFile()
{
    char directory[Platform::kMaxPath] = {};
    char stamp[Platform::kMaxPath] = {};
    char name[Platform::kMaxPath] = {};
    if (!FormLogDirectory(directory)) return;
    Platform::FormatLocalTime(stamp, sizeof stamp, "%Y%m%d_%H%M%S");
    if (FormatString(name, sizeof name, 0, "%s%s.log", directory, stamp) == 0) return;
    CreateDirectoryForPath(directory);
    logFileInfo_.file = Platform::CreateFileForWriting(name);
}

Platform::FileHandle COrvikComponentFactory::StartNewLogFile()
{
    std::lock_guard<std::mutex> opening(logFileOpening_);
    Platform::FileHandle& file = logFileInfo_.file;
    if (file != nullptr && file != Platform::InvalidFileHandle()) Platform::CloseFile(file);
    file = nullptr;
    CreateLogFile();
    return file;
}

void COrvikComponentFactory::OnFileFound(const Platform::FindData& data, void* context)
{
    if ((data.attributes & Platform::kFileAttributeDirectory) != 0) return;
    char extension[Platform::kMaxExtension] = {};
    Platform::SplitPath(data.name, nullptr, nullptr, nullptr, extension);
    if (Platform::CompareText(extension, ".log") != 0) return;
    // A file with the same last-write time as one already listed stays out.
    static_cast<OldFileList*>(context)->emplace(data.lastWriteTime, data.name);
}

void COrvikComponentFactory::RemoveOldLogFiles()
{
    char directory[Platform::kMaxPath] = {};
    if (!FormLogDirectory(directory)) return;
    OldFileList files;
    EnumerateFiles(directory, &files);
    uint32_t keep = logFileInfo_.maxFileCount;
    for (const auto& file : files) {
        if (keep > 0) {
            --keep;
            continue;
        }
        char path[Platform::kMaxPath] = {};
        // A name too long to join with the directory is left alone.
        if (FormatString(path, sizeof path, 0, "%s%s", directory, file.second.c_str()) != 0) {
            Platform::RemoveFile(path);
        }
    }
}

}  // namespace Orvik
