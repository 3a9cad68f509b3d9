#pragma once
// The verbs of the orvik program. Each writes its report to out, as text or
// (--json) as one JSON object, and returns the exit status: 0 when all is
// well, 1 when it found something wrong, 2 when the command line was wrong
// (with a message on err).

#include <ostream>
#include <string>

#include "tools/arguments.h"

namespace Orvik {
namespace Tools {

constexpr int kExitOk = 0;
constexpr int kExitFound = 1;
constexpr int kExitUsage = 2;

int RunResolve(const Arguments& arguments, std::ostream& out, std::ostream& err);
int RunCatalog(const Arguments& arguments, std::ostream& out, std::ostream& err);
int RunModule(const Arguments& arguments, std::ostream& out, std::ostream& err);
int RunCheck(const Arguments& arguments, std::ostream& out, std::ostream& err);
int RunCreate(const Arguments& arguments, std::ostream& out, std::ostream& err);

// Writes the message and a hint to err; returns kExitUsage.
int UsageError(std::ostream& err, const std::string& verb, const std::string& message);

// The configuration file a verb names in its only, optional operand;
// empty, after a usage error on err, when there are more operands or the
// path is too long.
std::string ConfigOperand(const Arguments& arguments, std::ostream& err);

// The file check and resolve start from: CONFIG, or with --program the
// profile that program reads. False, after a usage error on err, when both
// are given or the program is no file.
bool StartOperand(const Arguments& arguments, std::ostream& err, StartFile* start);

}  // namespace Tools
}  // namespace Orvik
