#pragma once
/// \file
/// The path and file-system rules, written once. FileOperator and the
/// bootstrap's free functions forward to them; see file_operator.h for what
/// each one does. base is the directory that completes a relative path.

#include "orvik/platform/file_system.h"

namespace Orvik {
namespace Rules {

/// As FileOperator::IsRelativePath.
int IsRelativePath(const char* path);
/// The module's host directory buffer, filled once the directory is known;
/// empty while it cannot be read.
const char* HostDirectory();
/// As FileOperator::JoinToBaseDirectory.
int JoinToBaseDirectory(const char* base, const char* name, char* dst, int size);
/// As FileOperator::MakeAbsolutePath.
int MakeAbsolutePath(const char* base, const char* path, char* dst, int size);
/// As FileOperator::GetLastSeparator.
const char* GetLastSeparator(const char* path);
/// As FileOperator::JoinToProfileDirectory.
int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size);
/// As the bootstrap's Orvik::JoinDirectoryName.
void JoinDirectoryName(const char* dir, const char* name, char* dst, int size);
/// As FileOperator::JoinPath.
int JoinPath(const char* dir, const char* name, char* dst, int size);
/// As FileOperator::GetFileNamePart.
int GetFileNamePart(const char* path, char* dst, int size);
/// As FileOperator::GetParentDirectory.
int GetParentDirectory(const char* base, const char* path, char* dst, int size);
/// As FileOperator::IsValidPathChars.
int IsValidPathChars(const char* path);
/// As FileOperator::PathExists.
int PathExists(const char* base, const char* path);
/// As FileOperator::CreateDirectoryIfMissing.
int CreateDirectoryIfMissing(const char* base, const char* dir);
/// As FileOperator::CreateDirectoryForPath.
int CreateDirectoryForPath(const char* base, const char* path);

/// Called for every entry of a listing, receiver being what the caller
/// handed to EnumerateFiles.
using FileFound = void (*)(void* receiver, const Platform::FindData& data, void* context);
/// As FileOperator::EnumerateFiles, handing each entry to found.
void EnumerateFiles(const char* dir, FileFound found, void* receiver, void* context);

/// As FileOperator::IsLaterFileTime.
int IsLaterFileTime(const Platform::FileTime& a, const Platform::FileTime& b);

}  // namespace Rules
}  // namespace Orvik
