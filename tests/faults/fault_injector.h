#pragma once
// Makes one call of the process fail: the Nth allocation or file call from
// the moment it is armed. The fault host links the interposer, which takes
// the place of malloc, calloc, realloc, operator new and delete and of the
// file calls (open, read, pread, fstat, stat, write, mkdir, opendir,
// readdir, readlink) for every module of the process; the calls it lets
// through go on to what would have run without it (the sanitizer's own
// interceptors, then the C library).

#include <cstdint>

namespace Orvik {
namespace Faults {

// What the failing call was; a failed allocation returns null (operator new
// throws std::bad_alloc), a failed file call -1 or null with the error
// number of its kind.
enum class CallKind : int { None, Allocation, Open, Read, Stat, Write, MakeDirectory, ListDirectory, ReadLink };

// Fail the Nth counted call from now (1 is the next one), once; 0 only
// counts. The count covers the calls of every thread.
void Arm(uint64_t failAt);
// Stops counting; the fault, if it has not come yet, no longer will.
void Disarm();

// Calls counted since the last Arm.
uint64_t CountedCalls();
// The call that was made to fail, or None.
CallKind FailedKind();
// Where the failed call came from: the module holding the caller, and for
// file calls the path, when one was given; empty when unknown.
const char* FailedCaller();
const char* FailedPath();

// While one lives on a thread, that thread's calls are neither counted nor
// failed: the test's own bookkeeping runs under it.
class Unarmed {
public:
    Unarmed();
    ~Unarmed();
    Unarmed(const Unarmed&) = delete;
    Unarmed& operator=(const Unarmed&) = delete;
};

const char* KindName(CallKind kind);

}  // namespace Faults
}  // namespace Orvik
