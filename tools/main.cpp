#include <iostream>
#include <string>
#include <vector>

#include "tools/orvik_command.h"

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return Orvik::Tools::RunOrvik(arguments, std::cout, std::cerr);
}
