#include "tests/faults/failure_lines.h"

#include <cstdlib>
#include <cstring>

#include "orvik/platform/debug_output.h"

namespace Orvik {
namespace Faults {

namespace {

// A module of the "dlls" list, or one to load again, that did not load.
constexpr const char kLoadFailure[] = "[Orvik_Error] LoadLibrary(%s) Fail. ErrorCode(%d)\n";

// The lines of the framework that report a failed request, in their printf
// form. The module runtime's pair for a creator that yields nothing, the
// bootstrap's for a factory that cannot be had, the catalog's for a module
// that does not load or create.
const char* const kFailureLines[] = {
    "[Orvik_Error] Load OrvFact.dll Fail.\n",
    "[Orvik_Error] CreateComponent(ComponentId=%u) return null.\n",
    "[Orvik_Error] Create ComponentFactory in OrvFact.dll Fail\n",
    "Orvik[Error]:CreateComponent method return NULL.\n",
    "Orvik[Error]: ComponentID=%d CreatorID=%u",
    "[Orvik_Error] LoadLibrary Fail(%s). ErrorCode(%d)\n",
    kLoadFailure,
    "[Orvik_Error] InitOrvikModule Fail.\n",
    "[Orvik_Error] Can't find Component(%d) Creator From Dll List!\n",
    "[Orvik_Error] PreLoadDependDllList(%s) Fail. ErrorCode(%d)\n",
};

struct Match {
    std::string text;  // what %s stood for
    int number = 0;    // what the form's first %d stood for
};

// Matches text against a printf form holding %s, %d and %u.
bool Matches(const char* form, const char* text, Match* match)
{
    for (; *form != '\0'; ++form, ++text) {
        if (form[0] == '%' && form[1] == 's') {
            for (const char* end = text;; ++end) {
                if (Matches(form + 2, end, match)) {
                    match->text.assign(text, end);
                    return true;
                }
                if (*end == '\0') return false;
            }
        }
        if (form[0] == '%' && (form[1] == 'd' || form[1] == 'u')) {
            char* end = nullptr;
            const long number = std::strtol(text, &end, 10);
            if (end == text || (form[1] == 'u' && *text == '-')) return false;
            if (!Matches(form + 2, end, match)) return false;
            match->number = static_cast<int>(number);
            return true;
        }
        if (*form != *text) return false;
    }
    return *text == '\0';
}

int ExpectedErrorCode(CallKind failed)
{
    switch (failed) {
    case CallKind::Allocation: return 8;
    case CallKind::Open: return 4;
    case CallKind::Write:
    case CallKind::MakeDirectory: return 112;
    default: return 1117;
    }
}

}  // namespace

LineLog::LineLog() { Platform::SetDebugSink(Collect, this); }

LineLog::~LineLog() { Platform::SetDebugSink(nullptr, nullptr); }

std::vector<std::string> LineLog::Take()
{
    const Unarmed unarmed;
    std::vector<std::string> taken;
    taken.swap(lines_);
    return taken;
}

void LineLog::Collect(const char* text, void* self)
{
    const Unarmed unarmed;
    static_cast<LineLog*>(self)->lines_.emplace_back(text);
}

std::string JudgeFailureLine(const std::string& line, CallKind failed)
{
    for (const char* form : kFailureLines) {
        Match match;
        if (!Matches(form, line.c_str(), &match)) continue;
        // The lines naming a module carry an error number. An empty name is
        // the default module of a catalog that names none: its number is
        // whatever error came last.
        if (std::strstr(form, "%s") == nullptr || match.text.empty() || failed == CallKind::None) return std::string();
        if (match.number == ExpectedErrorCode(failed)) return std::string();
        return "error " + std::to_string(match.number) + " for a failed " + KindName(failed) + " call";
    }
    return "not a failure line of the framework";
}

bool IsScanFailure(const std::string& line, const char* module)
{
    // The scan names the module by its joined path; a reload of a forgotten
    // module (tried again at every request) by its bare name.
    Match match;
    const std::string joined = std::string("\\") + module;
    return Matches(kLoadFailure, line.c_str(), &match) && match.text.size() > joined.size() &&
           match.text.compare(match.text.size() - joined.size(), joined.size(), joined) == 0;
}

}  // namespace Faults
}  // namespace Orvik
