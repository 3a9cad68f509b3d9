#include "log/log_files.h"

#include "orvik/platform/local_time.h"
#include "platform/multibyte.h"
#include "platform/path_split.h"

namespace Orvik {

bool CLogFiles::LaterFirst::operator()(const Platform::FileTime& a, const Platform::FileTime& b) const
{
    return Rules::IsLaterFileTime(a, b) != 0;
}

CLogFiles::CLogFiles(Platform::CriticalSection* lock, const char* rootPath) : rootPath_(rootPath)
{
    info_.lock = lock;
    info_.file = Platform::InvalidFileHandle();
    // Until a log-setting query copies the configured limits, shutdown keeps
    // every log file.
    info_.maxFileCount = ~uint32_t{0};
    info_.maxFileSize = ~uint32_t{0};
}

LogFileInfo* CLogFiles::OpenRecord(uint32_t maxFileCount, uint32_t maxFileSize)
{
    info_.maxFileCount = maxFileCount;
    info_.maxFileSize = maxFileSize;
    const Platform::MutexGuard opening(opening_);
    if (info_.file == Platform::InvalidFileHandle()) CreateLogFile();
    return &info_;
}

bool CLogFiles::FormLogDirectory(char* directory) const
{
    // A root path too long for "\OrvikLog\" gives no directory: nothing is
    // created or deleted then.
    return FormatString(directory, Platform::kMaxPath, 0, "%s\\%s", rootPath_, "OrvikLog\\") != 0;
}

void CLogFiles::Adopt(Platform::UniqueFile file)
{
    file_ = std::move(file);
    info_.file = file_.get();
}

void CLogFiles::CreateLogFile()
{
    char directory[Platform::kMaxPath] = {};
    char stamp[Platform::kMaxPath] = {};
    char name[Platform::kMaxPath] = {};
    if (!FormLogDirectory(directory)) return;
    Platform::FormatLocalTime(stamp, sizeof stamp, "%Y%m%d_%H%M%S");
    if (FormatString(name, sizeof name, 0, "%s%s.log", directory, stamp) == 0) return;
    CreateDirectoryForPath(directory);
    Adopt(Platform::UniqueFile(Platform::CreateFileForWriting(name)));
    if (file_) CopyString(fileName_, sizeof fileName_, name);
}

void CLogFiles::DescribeFile(char* name, size_t size, int32_t* open)
{
    const Platform::MutexGuard opening(opening_);
    Platform::CopyBytesBounded(name, fileName_, size);
    *open = file_ ? 1 : 0;
}

Platform::FileHandle CLogFiles::StartNewLogFile()
{
    const Platform::MutexGuard opening(opening_);
    CloseLogFile();
    CreateLogFile();
    return info_.file;
}

void CLogFiles::CloseLogFile()
{
    file_.reset();
    info_.file = nullptr;
}

void CLogFiles::OnFileFound(const Platform::FindData& data, void* context)
{
    if ((data.attributes & Platform::kFileAttributeDirectory) != 0) return;
    char extension[Platform::kMaxExtension] = {};
    Platform::SplitPath(data.name, nullptr, nullptr, nullptr, extension);
    if (Platform::CompareText(extension, ".log") != 0) return;
    // A file with the same last-write time as one already listed stays out.
    static_cast<OldFileList*>(context)->emplace(data.lastWriteTime, data.name);
}

void CLogFiles::RemoveOldLogFiles()
{
    char directory[Platform::kMaxPath] = {};
    if (!FormLogDirectory(directory)) return;
    OldFileList files;
    EnumerateFiles(directory, &files);
    uint32_t keep = info_.maxFileCount;
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
