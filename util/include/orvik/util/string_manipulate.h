#pragma once
/// \file
/// StringManipulate: bounded string helpers for the classes that derive
/// from it.

#include <cstdarg>

#include "orvik/util/string_rules.h"

namespace Orvik {

/// Bounded string helpers for the classes that derive from StringManipulate
/// (the component catalog and the factory). Sizes count bytes, terminator
/// included; results are 1 for success and 0 for failure unless stated.
template <class T>
class StringManipulate {
public:
    /// Copies all of src, or refuses (0) and leaves dst as it was when src
    /// does not fit, dst or src is null or size is below 1.
    static int CopyString(char* dst, int size, const char* src)
    {
        return Rules::CopyString(dst, size, src);
    }

    /// Appends all of src to dst, or refuses and leaves dst as it was.
    static int AppendString(char* dst, int size, const char* src)
    {
        return Rules::AppendString(dst, size, src);
    }

    /// Copies the first n bytes of src (all of it when shorter) and ends dst
    /// at dst[n]; refuses when n < 1 or size <= n. A double-byte character is
    /// never split: a lead byte as last byte is dropped.
    static int CopyStringN(char* dst, int size, const char* src, int n)
    {
        return Rules::CopyStringN(dst, size, src, n);
    }

    /// printf into dst, cut to size - 1 characters. 0 when the output was cut
    /// (it stays in dst) and allowTruncate is 0, or when dst or format is null
    /// or size is 0 or less.
    static int FormatString(char* dst, int size, int allowTruncate, const char* format, ...)
    {
        va_list args;
        va_start(args, format);
        const int result = Rules::FormatStringV(dst, size, allowTruncate, format, args);
        va_end(args);
        return result;
    }

    /// Copies src without its leading and trailing spaces (tabs stay) and
    /// returns the length; dst becomes empty (0) when nothing is left or the
    /// text needs capacity bytes or more. dst may overlap src.
    static int TrimSpaces(const char* src, char* dst, int capacity)
    {
        return Rules::TrimSpaces(src, dst, capacity);
    }

    /// 1 when text is null, or empty once spaces (not tabs) are trimmed, or
    /// trims to 1024 characters or more.
    static int IsBlankString(const char* text) { return Rules::IsBlankString(text); }

protected:
    /// Only as a base.
    StringManipulate() = default;
    /// Never deleted through this base.
    ~StringManipulate() = default;
};

}  // namespace Orvik
