// The two OpenCL tools run inside this process: each takes the argument
// vector its program would (argv[0] included) and returns the exit status the
// program would have, writing its messages to standard error as it would.
#pragma once

#include <string>
#include <vector>

namespace reference {

int run_clang(const std::vector<std::string>& command);
int run_translator(const std::vector<std::string>& command);

}  // namespace reference
