#include "orvik/host/debug_printer.h"

#include <cstring>

#include "orvik/platform/debug_output.h"

namespace Orvik {
namespace Host {

namespace {

struct Printer {
    std::FILE* stream;
    const char* prefix;
};

void PrintLines(const char* text, void* context)
{
    const Printer& printer = *static_cast<const Printer*>(context);
    // Most texts are one line with its line end; a few have none, and they
    // get one here so the output stays readable.
    while (*text != '\0') {
        const char* end = std::strchr(text, '\n');
        const size_t length = end != nullptr ? static_cast<size_t>(end - text) : std::strlen(text);
        std::fprintf(printer.stream, "%s%.*s\n", printer.prefix, static_cast<int>(length), text);
        text += length + (end != nullptr ? 1 : 0);
    }
    std::fflush(printer.stream);
}

}  // namespace

void PrintDebugOutput(std::FILE* stream, const char* prefix)
{
    // One sink per process, so one printer.
    static Printer printer;
    printer = Printer{stream, prefix};
    Platform::SetDebugSink(PrintLines, &printer);
}

}  // namespace Host
}  // namespace Orvik
