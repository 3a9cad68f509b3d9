#pragma once
/// \file
/// The string and path helpers as free functions, for the bootstrap that
/// every component module carries. They follow the same rules as
/// StringManipulate and FileOperator (see there); the base directory is the
/// host directory.

namespace Orvik {

/// As StringManipulate::CopyString.
int CopyString(char* dst, int size, const char* src);
/// As StringManipulate::AppendString.
int AppendString(char* dst, int size, const char* src);
/// As StringManipulate::CopyStringN.
int CopyStringN(char* dst, int size, const char* src, int n);

/// dst becomes src without leading and trailing spaces and tabs, or empty
/// when that does not fit; src holding nothing but blanks is copied as is.
/// src and dst are not null and do not overlap.
void TrimBlanks(const char* src, char* dst, int size);
/// 1 when text is null, empty or only spaces and tabs.
int IsBlank(const char* text);

/// As FileOperator::IsRelativePath.
int IsRelativePath(const char* path);
/// The host executable's directory, without trailing backslash. Kept for
/// the life of the module once read; empty, and read again at the next
/// call, while the system cannot tell it.
const char* GetHostDirectory();
/// As FileOperator::JoinToBaseDirectory, with the host directory as base.
int JoinToBaseDirectory(const char* name, char* dst, int size);
/// As FileOperator::GetLastSeparator.
const char* GetLastSeparator(const char* path);
/// As FileOperator::JoinToProfileDirectory.
int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size);
/// dir, '\' and name; name alone when dir is blank. A piece that does not fit
/// is left out.
void JoinDirectoryName(const char* dir, const char* name, char* dst, int size);

}  // namespace Orvik
