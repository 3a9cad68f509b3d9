#pragma once
/// \file
/// Lock annotations for clang's thread-safety analysis (-Wthread-safety):
/// which object is a lock, which data it guards, which functions take,
/// leave or need it. Other compilers see nothing of them.

#if defined(__clang__)
/// The attribute x for clang.
#define ORVIK_THREAD_ANNOTATION(x) __attribute__((x))
#else
/// Nothing: the compiler has no thread-safety analysis.
#define ORVIK_THREAD_ANNOTATION(x)
#endif

/// The class is a lock; kind names it in the diagnostics.
#define ORVIK_CAPABILITY(kind) ORVIK_THREAD_ANNOTATION(capability(kind))
/// The class holds or leaves a lock for its own lifetime.
#define ORVIK_SCOPED_CAPABILITY ORVIK_THREAD_ANNOTATION(scoped_lockable)
/// The member is read and written only with the lock held.
#define ORVIK_GUARDED_BY(lock) ORVIK_THREAD_ANNOTATION(guarded_by(lock))
/// What the pointer points to is used only with the lock held.
#define ORVIK_PT_GUARDED_BY(lock) ORVIK_THREAD_ANNOTATION(pt_guarded_by(lock))
/// Locks taken before this one by a thread that holds both (checked with
/// -Wthread-safety-beta).
#define ORVIK_ACQUIRED_AFTER(...) ORVIK_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
/// The caller holds the locks.
#define ORVIK_REQUIRES(...) ORVIK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The caller does not hold the locks (the function takes them).
#define ORVIK_EXCLUDES(...) ORVIK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// The function takes the locks (none named: the object it is called on).
#define ORVIK_ACQUIRE(...) ORVIK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// The function leaves the locks (none named: the object it is called on).
#define ORVIK_RELEASE(...) ORVIK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// The caller holds the lock once the function returns; the analysis takes
/// this on trust.
#define ORVIK_ASSERT_CAPABILITY(lock) ORVIK_THREAD_ANNOTATION(assert_capability(lock))
/// The function returns a reference to the lock.
#define ORVIK_RETURN_CAPABILITY(lock) ORVIK_THREAD_ANNOTATION(lock_returned(lock))
/// The function is not checked: a lock's own implementation, or a
/// deliberate read without the lock (say why where it is used).
#define ORVIK_NO_THREAD_SAFETY_ANALYSIS ORVIK_THREAD_ANNOTATION(no_thread_safety_analysis)
