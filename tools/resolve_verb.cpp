// orvik resolve [CONFIG]: the redirect chain from CONFIG to the profile a
// module's bootstrap ends at, and the factory module's path it names.

#include "tools/json_writer.h"
#include "tools/profile_chain.h"
#include "tools/verbs.h"
#include "orvik/util/bootstrap_helpers.h"

namespace Orvik {
namespace Tools {

namespace {

const char* Presence(bool exists) { return exists ? "exists" : "missing"; }

void PrintText(const ProfileChain& chain, const FactoryModulePath& factory, std::ostream& out)
{
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
}

void WriteJson(const ProfileChain& chain, const FactoryModulePath& factory, std::ostream& out)
{
    JsonWriter json(out);
    json.BeginObject().Field("verb", "resolve").Field("start", chain.start).Key("chain").BeginArray();
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
    json.EndObject().Finish();
}

}  // namespace

int RunResolve(const Arguments& arguments, std::ostream& out, std::ostream& err)
{
    const std::string start = ConfigOperand(arguments, err);
    if (start.empty()) return kExitUsage;
    // The bootstrap's blank rule: this is how a module finds the factory.
    const ProfileChain chain = TraceProfileChain(start, &IsBlank);
    const FactoryModulePath factory = TraceFactoryModule(chain.final);
    if (arguments.json) {
        WriteJson(chain, factory, out);
    } else {
        PrintText(chain, factory, out);
    }
    return kExitOk;
}

}  // namespace Tools
}  // namespace Orvik
