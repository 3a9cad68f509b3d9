#pragma once
// CLogFiles: the process's log files. It keeps the record components log
// through (the factory lock, the open file and the limits), opens a file
// named after the local time under "<root>\OrvikLog\", replaces it on
// request and, at shutdown, keeps only the newest "MaxFileCount" files.

#include <map>
#include <string>

#include "orvik/module/log_file_info.h"
#include "orvik/platform/file_system.h"
#include "orvik/platform/lock.h"
#include "orvik/platform/thread_annotations.h"
#include "orvik/util/file_operator.h"
#include "orvik/util/string_manipulate.h"
#include "platform/mutex.h"

namespace Orvik {

class CLogFiles : public FileOperator<CLogFiles>, public StringManipulate<CLogFiles> {
public:
    // lock is handed to components in the record; rootPath (260 bytes) is
    // read whenever a file is made or pruned, so it may change meanwhile.
    CLogFiles(Platform::CriticalSection* lock, const char* rootPath);
    CLogFiles(const CLogFiles&) = delete;
    CLogFiles& operator=(const CLogFiles&) = delete;

    // Relative paths are completed with the host directory.
    const char* GetBaseDirectory() const { return GetHostDirectory(); }

    // The record, with the limits just set and the first file opened unless
    // one was opened before.
    LogFileInfo* OpenRecord(uint32_t maxFileCount, uint32_t maxFileSize) ORVIK_EXCLUDES(opening_);
    // Closes the current file and opens a new one; its handle (invalid on
    // failure).
    Platform::FileHandle StartNewLogFile() ORVIK_EXCLUDES(opening_);
    // Closes the file for good: the record then names file 0.
    void CloseLogFile();
    // Deletes all but the newest maxFileCount ".log" files of the directory.
    void RemoveOldLogFiles();
    // The file opened last into name (empty when none was), and 1 in *open
    // while it is open.
    void DescribeFile(char* name, size_t size, int32_t* open) ORVIK_EXCLUDES(opening_);

    // Lists the log directory's ".log" files for RemoveOldLogFiles.
    void OnFileFound(const Platform::FindData& data, void* context) override;

private:
    // The latest file time first.
    struct LaterFirst {
        bool operator()(const Platform::FileTime& a, const Platform::FileTime& b) const;
    };
    using OldFileList = std::map<Platform::FileTime, std::string, LaterFirst>;

    void CreateLogFile() ORVIK_REQUIRES(opening_);
    // "<root>\OrvikLog\" into a 260-byte buffer; false when it does not fit.
    bool FormLogDirectory(char* directory) const;
    // Makes file the record's file.
    void Adopt(Platform::UniqueFile file);

    const char* rootPath_;
    LogFileInfo info_;
    // The record's file belongs to this owner; info_.file names it.
    Platform::UniqueFile file_;
    // Two first log-setting queries must not open two files.
    Platform::Mutex opening_;
    // The file opened last, written under opening_; a buffer, so that
    // opening a file needs no memory beyond the open.
    char fileName_[Platform::kMaxPath] ORVIK_GUARDED_BY(opening_) = {};
};

}  // namespace Orvik
