#pragma once
// The path and file-system rules, written once. FileOperator and the
// bootstrap's free functions forward to them; see file_operator.h for what
// each one does. base is the directory that completes a relative path.

#include "orvik/platform/file_system.h"

namespace Orvik {
namespace Rules {

int IsRelativePath(const char* path);
// The module's host directory buffer, filled once the directory is known;
// empty while it cannot be read.
const char* HostDirectory();
int JoinToBaseDirectory(const char* base, const char* name, char* dst, int size);
int MakeAbsolutePath(const char* base, const char* path, char* dst, int size);
const char* GetLastSeparator(const char* path);
int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size);
void JoinDirectoryName(const char* dir, const char* name, char* dst, int size);
int JoinPath(const char* dir, const char* name, char* dst, int size);
int GetFileNamePart(const char* path, char* dst, int size);
int GetParentDirectory(const char* base, const char* path, char* dst, int size);
int IsValidPathChars(const char* path);
int PathExists(const char* base, const char* path);
int CreateDirectoryIfMissing(const char* base, const char* dir);
int CreateDirectoryForPath(const char* base, const char* path);

// Called for every entry of a listing, receiver being what the caller
// handed to EnumerateFiles.
using FileFound = void (*)(void* receiver, const Platform::FindData& data, void* context);
void EnumerateFiles(const char* dir, FileFound found, void* receiver, void* context);

int IsLaterFileTime(const Platform::FileTime& a, const Platform::FileTime& b);

}  // namespace Rules
}  // namespace Orvik
