#pragma once
/// \file
/// Path and file-system helpers for the classes that derive from
/// FileOperator.

#include <type_traits>

#include "orvik/platform/file_system.h"
#include "orvik/util/path_rules.h"
#include "orvik/util/string_manipulate.h"

namespace Orvik {

/// Path and file-system helpers for the classes that derive from
/// FileOperator. T must derive from StringManipulate<T> as well and supply
/// \code
///   const char* GetBaseDirectory() const;
/// \endcode
/// the directory that completes relative paths: the root path for the
/// catalog, the host directory (GetHostDirectory below) for the factory.
///
/// One template serves both. The catalog uses IsRelativePath,
/// JoinToBaseDirectory, MakeAbsolutePath, GetLastSeparator,
/// JoinToProfileDirectory, JoinPath, GetFileNamePart and GetParentDirectory.
/// The factory uses everything but JoinPath and GetFileNamePart, and
/// overrides OnFileFound. An operation a class does not use is never
/// instantiated for it.
///
/// Separators are '\' and '/'. Every character search is multibyte-aware, so
/// the trail byte of a double-byte character never matches. Results are 1
/// for success or true and 0 otherwise.
template <class T>
class FileOperator {
public:
    virtual ~FileOperator() = default;

    /// Receives each entry listed by EnumerateFiles.
    virtual void OnFileFound(const Platform::FindData& /*data*/, void* /*context*/) {}

    /// Relative: null, or holding no colon and not starting with '\'.
    int IsRelativePath(const char* path) const { return Rules::IsRelativePath(path); }

    /// The host executable's directory without trailing backslash, kept in
    /// the module's buffer once read; empty while it cannot be read.
    const char* GetHostDirectory() const { return Rules::HostDirectory(); }

    /// "base\name" into dst, cut to size - 1 characters; 0 only when name or
    /// dst is null or size is below 2.
    int JoinToBaseDirectory(const char* name, char* dst, int size) const
    {
        return Rules::JoinToBaseDirectory(Base(), name, dst, size);
    }

    /// A relative path joined to the base directory; an absolute one copied,
    /// refused when it does not fit.
    int MakeAbsolutePath(const char* path, char* dst, int size) const
    {
        return Rules::MakeAbsolutePath(BaseFor(path), path, dst, size);
    }

    /// The last '\', else the last '/', else null.
    const char* GetLastSeparator(const char* path) const { return Rules::GetLastSeparator(path); }

    /// name in the directory of profile (up to its last separator; without
    /// one, profile and '\'). A piece that does not fit is left out; still 1.
    int JoinToProfileDirectory(const char* profile, const char* name, char* dst, int size) const
    {
        return Rules::JoinToProfileDirectory(profile, name, dst, size);
    }

    /// dir and name with one '\' between them; 0 when the result was cut.
    int JoinPath(const char* dir, const char* name, char* dst, int size) const
    {
        return Rules::JoinPath(dir, name, dst, size);
    }

    /// The text after the last separator, or the whole path.
    int GetFileNamePart(const char* path, char* dst, int size) const
    {
        return Rules::GetFileNamePart(path, dst, size);
    }

    /// The absolute form of path up to, not including, its last separator;
    /// 0 without a separator past the first character or when it does not fit.
    int GetParentDirectory(const char* path, char* dst, int size) const
    {
        return Rules::GetParentDirectory(BaseFor(path), path, dst, size);
    }

    /// 0 for null or a path holding any of < > " | * ?.
    int IsValidPathChars(const char* path) const { return Rules::IsValidPathChars(path); }

    /// 1 when a file or directory of that name exists, a relative path
    /// completed with the base directory.
    int PathExists(const char* path) const { return Rules::PathExists(BaseFor(path), path); }

    /// Creates the last level of dir unless something of that name exists.
    int CreateDirectoryIfMissing(const char* dir) const
    {
        return Rules::CreateDirectoryIfMissing(BaseFor(dir), dir);
    }

    /// Creates the directory holding path, one level; a path ending with a
    /// separator names that directory itself.
    int CreateDirectoryForPath(const char* path) const
    {
        return Rules::CreateDirectoryForPath(BaseFor(path), path);
    }

    /// Hands every entry of dir (which ends with a separator), "." and ".."
    /// included, to OnFileFound with context. A missing directory has none.
    void EnumerateFiles(const char* dir, void* context)
    {
        Rules::EnumerateFiles(dir, &Found, this, context);
    }

    /// File time a is later than b.
    int IsLaterFileTime(const Platform::FileTime& a, const Platform::FileTime& b) const
    {
        return Rules::IsLaterFileTime(a, b);
    }

protected:
    /// Only as a base.
    FileOperator() = default;
    /// Copies nothing: the helpers keep no state.
    FileOperator(const FileOperator&) = default;
    /// Copies nothing: the helpers keep no state.
    FileOperator& operator=(const FileOperator&) = default;

private:
    const char* Base() const
    {
        static_assert(std::is_base_of<StringManipulate<T>, T>::value,
                      "T derives from StringManipulate<T> too");
        return static_cast<const T&>(*this).GetBaseDirectory();
    }

    // The base directory only where it completes a relative path: asking
    // for it may have costs (the catalog's is the process root path, which
    // may mean obtaining the factory).
    const char* BaseFor(const char* path) const { return Rules::IsRelativePath(path) ? Base() : ""; }

    static void Found(void* self, const Platform::FindData& data, void* context)
    {
        static_cast<FileOperator*>(self)->OnFileFound(data, context);
    }
};

}  // namespace Orvik
