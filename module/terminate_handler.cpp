// What a module says when the C++ run-time ends the process, on Windows,
// where every module carries its own static copy of that run-time.
//
// The run-time's default handler prints the type of the exception that
// ended the process, demangled; its demangler alone is a fifth of a small
// module's size. Defined here, in the module runtime that every module
// links whole, this handler takes the default's place in the module's copy
// and prints the same lines with the type's mangled name.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <typeinfo>

// The standard headers above tell which run-time this is.
#if defined(_WIN32) && defined(__GLIBCXX__)

#include <cxxabi.h>

namespace __gnu_cxx {

void __verbose_terminate_handler()
{
    static bool terminating = false;
    if (terminating) {
        std::fputs("terminate called recursively\n", stderr);
        std::abort();
    }
    terminating = true;
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) {
        std::fputs("terminate called without an active exception\n", stderr);
        std::abort();
    }
    std::fprintf(stderr, "terminate called after throwing an instance of '%s'\n", type->name());
    try {
        throw;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "  what():  %s\n", e.what());
    } catch (...) {
    }
    std::abort();
}

}  // namespace __gnu_cxx

#endif
