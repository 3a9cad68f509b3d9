#include "tools/orvik_command.h"

#include "orvik/module/version.h"
#include "tools/arguments.h"
#include "tools/path_kind.h"
#include "tools/verbs.h"

namespace Orvik {
namespace Tools {

namespace {

constexpr const char kOverview[] =
    "usage: orvik VERB [OPERANDS] [--json] [--help]\n"
    "       orvik --version\n"
    "\n"
    "Explains what the framework makes of configuration files and modules, with\n"
    "the framework's own code. Paths are written as the shell writes them; CONFIG\n"
    "defaults to Orvik.ini in the current directory (standing for the host's).\n"
    "With --program PROGRAM instead of CONFIG, resolve and check read the files\n"
    "that program reads: the Orvik.ini beside it and what that leads to.\n"
    "\n"
    "  resolve [CONFIG]             the redirect chain and the factory module's path\n"
    "  catalog [CONFIG]             the catalog the factory reads from the file\n"
    "  module FILE                  its record, whether it loads here, its exports and ids\n"
    "  check [CONFIG]               every module the file names or scans: OK or why not\n"
    "  create ID [--config CONFIG]  asks a real factory for a component\n"
    "\n"
    "--json writes one JSON object instead of text. Exit status: 0 all well,\n"
    "1 something is wrong, 2 the command line is wrong.\n";

struct Verb {
    const char* name;
    int (*run)(const Arguments&, std::ostream&, std::ostream&);
    const char* help;
};

const Verb kVerbs[] = {
    {"resolve", RunResolve,
     "usage: orvik resolve [CONFIG | --program PROGRAM] [--json]\n"
     "\n"
     "Follows the [Redirect] Path entries from CONFIG (with --program, from the\n"
     "Orvik.ini beside PROGRAM, which that program reads) as a module's bootstrap\n"
     "does and shows each file read, how the chain went on from it and the final\n"
     "file; then the factory module's path that file names ([361] DLL,\n"
     "NotUseDefaultDllPath, [DefaultValue] DllPath) and the rule that gave it.\n"
     "Exits with 1 when the final file is missing, names no factory module, or\n"
     "the factory module is no file there.\n"},
    {"catalog", RunCatalog,
     "usage: orvik catalog [CONFIG] [--json]\n"
     "\n"
     "Reads CONFIG (after its redirects) with the catalog's own parser, as the\n"
     "factory does, and shows dllpath, the default module, the dlls list, the\n"
     "preloads (which it loads), each numbered section with the module path a\n"
     "request loads, the log masks and limits, and every line the parser ignored\n"
     "with its number and why. Exits with 1 when the file is missing.\n"},
    {"module", RunModule,
     "usage: orvik module FILE [--json]\n"
     "\n"
     "Shows FILE's module record (framework, contract, architecture, build; read\n"
     "without loading it), then loads FILE in this process: whether it loads, and\n"
     "if not why (the loader's own text, the missing dependency or symbol by\n"
     "name); which of the seven exports it has; the ids its GetComponentIDs\n"
     "reports. Exits with 1 when it does not load or lacks an export.\n"},
    {"check", RunCheck,
     "usage: orvik check [CONFIG | --program PROGRAM] [--json]\n"
     "\n"
     "Checks every module CONFIG names ([361], numbered sections, defaultdll,\n"
     "preload) or scans (dlls) by loading it here: OK, or file missing (with the\n"
     "path tried), dependency or symbol missing, not a module for this platform,\n"
     "export missing, a section's module that does not report the section's id.\n"
     "Also: an id served by two listed modules (and which wins), a section\n"
     "without dll, a path starting with \"/\" (relative to the rules), a file\n"
     "that loads modules without a [361] section. With --program it checks the\n"
     "Orvik.ini beside PROGRAM, the file that program reads. Ignored lines, a\n"
     "module exporting more than the seven functions and a CONFIG left to\n"
     "default are notes. Exits with 1 when there is any problem.\n"},
    {"create", RunCreate,
     "usage: orvik create ID [--config CONFIG] [--json]\n"
     "\n"
     "Obtains the factory as a module does (the factory module CONFIG names),\n"
     "asks it for component ID with CONFIG as the configuration path, prints the\n"
     "debug lines that caused and the outcome, and when nothing was created the\n"
     "route the request took and the failed load. Releases what it got and shuts\n"
     "the factory down. Exits with 1 when nothing was created.\n"},
};

}  // namespace

int UsageError(std::ostream& err, const std::string& verb, const std::string& message)
{
    err << "orvik" << (verb.empty() ? "" : " " + verb) << ": " << message << "\n";
    err << "see \"orvik " << (verb.empty() ? "" : verb + " ") << "--help\"\n";
    return kExitUsage;
}

std::string ConfigOperand(const Arguments& arguments, std::ostream& err)
{
    if (arguments.operands.size() > 1) {
        UsageError(err, arguments.verb, "takes at most one CONFIG");
        return std::string();
    }
    const std::string given = arguments.operands.empty() ? std::string() : arguments.operands[0];
    const std::string path = ConfigPathFromUser(given);
    if (path.empty()) UsageError(err, arguments.verb, "path too long: " + given);
    return path;
}

bool StartOperand(const Arguments& arguments, std::ostream& err, StartFile* start)
{
    if (arguments.program.empty()) {
        start->path = ConfigOperand(arguments, err);
        start->guessed = arguments.operands.empty();
        return !start->path.empty();
    }
    if (!arguments.operands.empty()) {
        UsageError(err, arguments.verb, "give CONFIG or --program, not both");
        return false;
    }
    start->program = FrameworkPathFromUser(arguments.program);
    if (!IsFile(start->program)) {
        UsageError(err, arguments.verb, "--program names no program file: " + arguments.program);
        return false;
    }
    start->path = ProfileOfProgram(start->program);
    return true;
}

int RunOrvik(const std::vector<std::string>& argv, std::ostream& out, std::ostream& err)
{
    Arguments arguments;
    std::string error;
    if (!ParseArguments(argv, &arguments, &error)) return UsageError(err, arguments.verb, error);
    if (arguments.version) {
        if (!arguments.verb.empty() || arguments.help) return UsageError(err, arguments.verb, "--version stands alone");
        out << "orvik " << ORVIK_VERSION_STRING << "\n";
        return kExitOk;
    }
    if (arguments.verb.empty()) {
        if (!arguments.help) return UsageError(err, "", "no verb given");
        out << kOverview;
        return kExitOk;
    }
    for (const Verb& verb : kVerbs) {
        if (arguments.verb != verb.name) continue;
        if (arguments.help) {
            out << verb.help;
            return kExitOk;
        }
        if (!arguments.config.empty() && arguments.verb != "create") {
            return UsageError(err, arguments.verb, "--config belongs to create; name CONFIG as an operand");
        }
        if (!arguments.program.empty() && arguments.verb != "check" && arguments.verb != "resolve") {
            return UsageError(err, arguments.verb, "--program belongs to check and resolve");
        }
        return verb.run(arguments, out, err);
    }
    return UsageError(err, "", "unknown verb " + arguments.verb);
}

}  // namespace Tools
}  // namespace Orvik
