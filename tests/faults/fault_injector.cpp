// The interposer. Its definitions live in the fault host's executable, which
// the dynamic loader searches before every library, so the framework's
// modules, the C++ run-time, the C library and the loader itself reach them.
// Allocations go on to the sanitizer's allocator where there is one (its
// interceptors are exported as __interceptor_*), else to the C library's;
// file calls to the next definition after this executable. The sanitizers'
// own allocations never pass through here, so they are never failed.

#include "tests/faults/fault_injector.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#define ORVIK_INTERPOSED extern "C" __attribute__((visibility("default")))

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __interceptor_malloc(size_t size) __attribute__((weak));
void* __interceptor_calloc(size_t count, size_t size) __attribute__((weak));
void* __interceptor_realloc(void* block, size_t size) __attribute__((weak));
}

namespace Orvik {
namespace Faults {

namespace {

std::atomic<bool> g_armed{false};
std::atomic<uint64_t> g_calls{0};
std::atomic<uint64_t> g_failAt{0};
std::atomic<CallKind> g_failedKind{CallKind::None};
std::atomic<const void*> g_failedCaller{nullptr};
char g_failedPath[PATH_MAX];
char g_callerName[PATH_MAX];
// In the executable's own thread-local block, which needs no allocation.
thread_local int t_unarmed = 0;

// Whether this call is the one to fail.
bool Fails(CallKind kind, const void* caller)
{
    if (!g_armed.load(std::memory_order_acquire) || t_unarmed != 0) return false;
    const uint64_t call = g_calls.fetch_add(1) + 1;
    if (call != g_failAt.load()) return false;
    g_failedKind = kind;
    g_failedCaller = caller;
    return true;
}

template <class Function>
Function Next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using OpenFunction = int (*)(const char*, int, ...);
using ReadFunction = ssize_t (*)(int, void*, size_t);
using PreadFunction = ssize_t (*)(int, void*, size_t, off_t);
using WriteFunction = ssize_t (*)(int, const void*, size_t);
using StatFunction = int (*)(const char*, struct stat*);
using FstatFunction = int (*)(int, struct stat*);
using MkdirFunction = int (*)(const char*, mode_t);
using OpendirFunction = DIR* (*)(const char*);
using ReaddirFunction = dirent* (*)(DIR*);
using ReadlinkFunction = ssize_t (*)(const char*, char*, size_t);

// Resolved before the first test runs, while nothing is armed: dlsym may
// allocate.
struct NextCalls {
    NextCalls()
        : open(Next<OpenFunction>("open")),
          read(Next<ReadFunction>("read")),
          pread(Next<PreadFunction>("pread")),
          write(Next<WriteFunction>("write")),
          stat(Next<StatFunction>("stat")),
          fstat(Next<FstatFunction>("fstat")),
          mkdir(Next<MkdirFunction>("mkdir")),
          opendir(Next<OpendirFunction>("opendir")),
          readdir(Next<ReaddirFunction>("readdir")),
          readlink(Next<ReadlinkFunction>("readlink"))
    {
    }
    OpenFunction open;
    ReadFunction read;
    PreadFunction pread;
    WriteFunction write;
    StatFunction stat;
    FstatFunction fstat;
    MkdirFunction mkdir;
    OpendirFunction opendir;
    ReaddirFunction readdir;
    ReadlinkFunction readlink;
};

const NextCalls& Calls()
{
    static const NextCalls calls;
    return calls;
}

__attribute__((constructor)) void ResolveNextCalls() { Calls(); }

void NotePath(const char* path)
{
    std::snprintf(g_failedPath, sizeof g_failedPath, "%s", path != nullptr ? path : "");
}

void NoteDescriptor(int descriptor)
{
    char link[64];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = Calls().readlink(link, g_failedPath, sizeof g_failedPath - 1);
    g_failedPath[length > 0 ? length : 0] = '\0';
}

// A failed file call: its error number and its result.
template <class Result>
Result Failed(int error, Result result)
{
    errno = error;
    return result;
}

void* Allocate(size_t size, const void* caller)
{
    if (Fails(CallKind::Allocation, caller)) return Failed<void*>(ENOMEM, nullptr);
    return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* AllocateOrThrow(size_t size, const void* caller)
{
    void* block = Allocate(size != 0 ? size : 1, caller);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

}  // namespace

void Arm(uint64_t failAt)
{
    g_failedKind = CallKind::None;
    g_failedCaller = nullptr;
    g_failedPath[0] = '\0';
    g_calls = 0;
    g_failAt = failAt;
    g_armed.store(true, std::memory_order_release);
}

void Disarm() { g_armed.store(false, std::memory_order_release); }

uint64_t CountedCalls() { return g_calls; }

CallKind FailedKind() { return g_failedKind; }

const char* FailedCaller()
{
    Dl_info info{};
    const void* caller = g_failedCaller;
    if (caller == nullptr || dladdr(caller, &info) == 0 || info.dli_fname == nullptr) return "";
    const char* slash = std::strrchr(info.dli_fname, '/');
    std::snprintf(g_callerName, sizeof g_callerName, "%s", slash != nullptr ? slash + 1 : info.dli_fname);
    return g_callerName;
}

const char* FailedPath() { return g_failedPath; }

Unarmed::Unarmed() { ++t_unarmed; }
Unarmed::~Unarmed() { --t_unarmed; }

const char* KindName(CallKind kind)
{
    switch (kind) {
    case CallKind::None: return "none";
    case CallKind::Allocation: return "allocation";
    case CallKind::Open: return "open";
    case CallKind::Read: return "read";
    case CallKind::Stat: return "stat";
    case CallKind::Write: return "write";
    case CallKind::MakeDirectory: return "mkdir";
    case CallKind::ListDirectory: return "opendir/readdir";
    case CallKind::ReadLink: return "readlink";
    }
    return "?";
}

}  // namespace Faults
}  // namespace Orvik

using Orvik::Faults::CallKind;
using Orvik::Faults::Calls;
using Orvik::Faults::Fails;
using Orvik::Faults::Failed;

#define CALLER __builtin_return_address(0)

ORVIK_INTERPOSED void* malloc(size_t size) { return Orvik::Faults::Allocate(size, CALLER); }

ORVIK_INTERPOSED void* calloc(size_t count, size_t size)
{
    if (Fails(CallKind::Allocation, CALLER)) return Failed<void*>(ENOMEM, nullptr);
    return __interceptor_calloc != nullptr ? __interceptor_calloc(count, size) : __libc_calloc(count, size);
}

ORVIK_INTERPOSED void* realloc(void* block, size_t size)
{
    if (Fails(CallKind::Allocation, CALLER)) return Failed<void*>(ENOMEM, nullptr);
    return __interceptor_realloc != nullptr ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
}

// The replaceable global allocation functions take their memory from
// malloc above, and give it back to free, whichever allocator that is.
void* operator new(size_t size) { return Orvik::Faults::AllocateOrThrow(size, CALLER); }
void* operator new[](size_t size) { return Orvik::Faults::AllocateOrThrow(size, CALLER); }
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Orvik::Faults::Allocate(size != 0 ? size : 1, CALLER);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return Orvik::Faults::Allocate(size != 0 ? size : 1, CALLER);
}
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }
void operator delete[](void* block, size_t) noexcept { free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { free(block); }

ORVIK_INTERPOSED int open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = static_cast<mode_t>(va_arg(arguments, int));
        va_end(arguments);
    }
    if (Fails(CallKind::Open, CALLER)) {
        Orvik::Faults::NotePath(path);
        return Failed(EMFILE, -1);
    }
    return Calls().open(path, flags, mode);
}

ORVIK_INTERPOSED ssize_t read(int descriptor, void* buffer, size_t size)
{
    if (Fails(CallKind::Read, CALLER)) {
        Orvik::Faults::NoteDescriptor(descriptor);
        return Failed<ssize_t>(EIO, -1);
    }
    return Calls().read(descriptor, buffer, size);
}

ORVIK_INTERPOSED ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset)
{
    if (Fails(CallKind::Read, CALLER)) {
        Orvik::Faults::NoteDescriptor(descriptor);
        return Failed<ssize_t>(EIO, -1);
    }
    return Calls().pread(descriptor, buffer, size, offset);
}

ORVIK_INTERPOSED ssize_t write(int descriptor, const void* data, size_t size)
{
    if (Fails(CallKind::Write, CALLER)) {
        Orvik::Faults::NoteDescriptor(descriptor);
        return Failed<ssize_t>(ENOSPC, -1);
    }
    return Calls().write(descriptor, data, size);
}

ORVIK_INTERPOSED int stat(const char* path, struct stat* info)
{
    if (Fails(CallKind::Stat, CALLER)) {
        Orvik::Faults::NotePath(path);
        return Failed(EIO, -1);
    }
    return Calls().stat(path, info);
}

ORVIK_INTERPOSED int fstat(int descriptor, struct stat* info)
{
    if (Fails(CallKind::Stat, CALLER)) {
        Orvik::Faults::NoteDescriptor(descriptor);
        return Failed(EIO, -1);
    }
    return Calls().fstat(descriptor, info);
}

ORVIK_INTERPOSED int mkdir(const char* path, mode_t mode)
{
    if (Fails(CallKind::MakeDirectory, CALLER)) {
        Orvik::Faults::NotePath(path);
        return Failed(ENOSPC, -1);
    }
    return Calls().mkdir(path, mode);
}

ORVIK_INTERPOSED DIR* opendir(const char* path)
{
    if (Fails(CallKind::ListDirectory, CALLER)) {
        Orvik::Faults::NotePath(path);
        return Failed<DIR*>(EMFILE, nullptr);
    }
    return Calls().opendir(path);
}

ORVIK_INTERPOSED dirent* readdir(DIR* directory)
{
    if (Fails(CallKind::ListDirectory, CALLER)) {
        Orvik::Faults::NoteDescriptor(dirfd(directory));
        return Failed<dirent*>(EIO, nullptr);
    }
    return Calls().readdir(directory);
}

ORVIK_INTERPOSED ssize_t readlink(const char* path, char* buffer, size_t size)
{
    if (Fails(CallKind::ReadLink, CALLER)) {
        Orvik::Faults::NotePath(path);
        return Failed<ssize_t>(EIO, -1);
    }
    return Calls().readlink(path, buffer, size);
}
