#include "tools/symbol_names.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Orvik {
namespace Tools {

std::string Demangle(const std::string& symbol)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
    return status == 0 && name ? std::string(name.get()) : symbol;
}

std::string ReadableSymbol(const std::string& symbol)
{
    const std::string name = Demangle(symbol);
    return name == symbol ? symbol : name + " (" + symbol + ")";
}

bool IsFrameworkSymbol(const std::string& symbol)
{
    const std::string name = Demangle(symbol);
    return name.compare(0, 7, "Orvik::") == 0 || name.find(" Orvik::") != std::string::npos;
}

}  // namespace Tools
}  // namespace Orvik
