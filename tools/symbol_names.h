#pragma once
// Symbol names as the compiler writes them and as people read them.

#include <string>

namespace Orvik {
namespace Tools {

// The C++ name a mangled symbol stands for; the symbol itself when it is
// no mangled name (a C function, a Windows procedure).
std::string Demangle(const std::string& symbol);

// "Orvik::X::~X() (_ZN5Orvik1XD1Ev)": readable, and the mangled name to
// search for; the symbol alone when it is not mangled.
std::string ReadableSymbol(const std::string& symbol);

// A symbol of the framework itself: a module that misses one was built
// without the framework's runtime.
bool IsFrameworkSymbol(const std::string& symbol);

}  // namespace Tools
}  // namespace Orvik
