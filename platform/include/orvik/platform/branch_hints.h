#pragma once
/// \file
/// ORVIK_LIKELY and ORVIK_UNLIKELY: which way a branch on a request's path
/// nearly always goes. The compiler lays that way out straight, so that a
/// request takes as few jumps as its calls allow; other compilers ignore
/// the hint.

#if defined(__GNUC__) || defined(__clang__)
/// The condition, which nearly always holds.
#define ORVIK_LIKELY(condition) __builtin_expect(static_cast<bool>(condition), 1)
/// The condition, which nearly never holds.
#define ORVIK_UNLIKELY(condition) __builtin_expect(static_cast<bool>(condition), 0)
#else
/// The condition, which nearly always holds.
#define ORVIK_LIKELY(condition) static_cast<bool>(condition)
/// The condition, which nearly never holds.
#define ORVIK_UNLIKELY(condition) static_cast<bool>(condition)
#endif
