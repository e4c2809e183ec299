// One compile from request to statistics: the front end for the request's
// language, the core's limits, validation, optimisation and the analysis.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "compile_options.h"
#include "core_catalogue.h"

namespace reference {

struct CompileResult {
    std::vector<std::vector<std::pair<std::string, std::string>>> variants;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

// library_type is the compiler type this library was built for. source is
// NUL-terminated text, or options.spirv_length bytes of SPIR-V. Problems with
// the program are error lines; only failures of the back-end itself throw.
CompileResult compile_program(const std::string& library_type, const CoreInfo& core, const CompileOptions& options,
                              const char* source);

}  // namespace reference
