#pragma once
// The orvik program as a function: what main runs, and what the tests run.

#include <ostream>
#include <string>
#include <vector>

namespace Orvik {
namespace Tools {

// argv without the program name; returns the exit status.
int RunOrvik(const std::vector<std::string>& argv, std::ostream& out, std::ostream& err);

}  // namespace Tools
}  // namespace Orvik
