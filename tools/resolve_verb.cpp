// orvik resolve [CONFIG | --program PROGRAM]: the redirect chain from CONFIG
// to the profile a module's bootstrap ends at, and the factory module's path
// it names. Exits with 1 when that leads to no factory module.

#include <vector>

#include "tools/json_writer.h"
#include "tools/profile_chain.h"
#include "tools/verbs.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {
namespace Tools {

namespace {

struct ResolveProblem {
    const char* reason;
    std::string message;
};

const char* Presence(bool exists) { return exists ? "exists" : "missing"; }

constexpr const char kLoadFails[] = "; the program writes \"[Orvik_Error] Load OrvFact.dll Fail.\"";

// What keeps a module from finding the factory; each case hides the next.
std::vector<ResolveProblem> Problems(const ProfileChain& chain, const FactoryModulePath& factory)
{
    if (!chain.finalExists) {
        return {{"profile-missing", "no such file: " + chain.final + ": no [361] DLL to load" + kLoadFails}};
    }
    if (factory.dll.empty()) {
        return {{"no-factory-dll", "[361] DLL is missing or empty in " + chain.final + kLoadFails}};
    }
    if (!factory.exists) return {{"factory-module-missing", "no such file: " + factory.path + kLoadFails}};
    return {};
}

void PrintText(const StartFile& start, const ProfileChain& chain, const FactoryModulePath& factory,
               const std::vector<ResolveProblem>& problems, std::ostream& out)
{
    if (!start.program.empty()) out << "program: " << start.program << " (reads the Orvik.ini beside it)\n";
    out << "start: " << chain.start << '\n';
    for (const ProfileStep& step : chain.steps) {
        out << "  " << step.profile << " (" << Presence(step.exists) << ")\n";
        if (step.step != RedirectStep::None) out << "    [Redirect] Path=" << step.redirect << '\n';
        out << "    " << StepText(step.step) << '\n';
    }
    out << "final: " << chain.final << " (" << Presence(chain.finalExists) << ")\n";
    out << "factory module: " << factory.path << " (" << Presence(factory.exists) << ")\n";
    out << "  [361] DLL=" << factory.dll << '\n';
    out << "  [361] NotUseDefaultDllPath=" << factory.notUseDefaultDllPath << '\n';
    out << "  [DefaultValue] DllPath=" << factory.dllPath << '\n';
    out << "  rule: " << RuleText(factory.rule) << '\n';
    for (const ResolveProblem& problem : problems) out << "PROBLEM " << problem.message << '\n';
}

void WriteJson(const StartFile& start, const ProfileChain& chain, const FactoryModulePath& factory,
               const std::vector<ResolveProblem>& problems, std::ostream& out)
{
    JsonWriter json(out);
    json.BeginObject().Field("verb", "resolve").Field("program", start.program).Field("start", chain.start);
    json.Key("chain").BeginArray();
    for (const ProfileStep& step : chain.steps) {
        json.BeginObject()
            .Field("profile", step.profile)
            .Field("exists", step.exists)
            .Field("redirect", step.redirect)
            .Field("step", StepName(step.step))
            .EndObject();
    }
    json.EndArray().Field("final", chain.final).Field("finalExists", chain.finalExists);
    json.Key("factoryModule")
        .BeginObject()
        .Field("dll", factory.dll)
        .Field("notUseDefaultDllPath", factory.notUseDefaultDllPath)
        .Field("dllPath", factory.dllPath)
        .Field("path", factory.path)
        .Field("exists", factory.exists)
        .Field("rule", RuleName(factory.rule))
        .Field("ruleText", RuleText(factory.rule))
        .EndObject();
    json.Field("ok", problems.empty()).Key("problems").BeginArray();
    for (const ResolveProblem& problem : problems) {
        json.BeginObject().Field("reason", problem.reason).Field("message", problem.message).EndObject();
    }
    json.EndArray().EndObject().Finish();
}

}  // namespace

int RunResolve(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    StartFile start;
    if (!StartOperand(arguments, err, &start)) return kExitUsage;
    // The bootstrap's blank rule: this is how a module finds the factory.
    const ProfileChain chain = TraceProfileChain(start.path, &IsBlank);
    const FactoryModulePath factory = TraceFactoryModule(chain.final);
    const std::vector<ResolveProblem> problems = Problems(chain, factory);
    if (arguments.json) {
        WriteJson(start, chain, factory, problems, out);
    } else {
        PrintText(start, chain, factory, problems, out);
    }
    return problems.empty() ? kExitOk : kExitFound;
}

}  // namespace Tools
}  // namespace Orvik
