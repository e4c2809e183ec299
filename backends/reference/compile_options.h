// The options of one compile request, read from the key/value pairs the
// program sends.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "analysis/stage.h"

namespace reference {

// A request the back-end cannot act on; its text becomes an error line.
class RequestError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CompileOptions {
    std::string compiler_type;  // "openglessl" or "opencl"
    Stage stage = Stage::Fragment;
    std::vector<std::string> defines;  // NAME=VALUE, in order
    std::string kernel_name;
    int opencl_version = 0;  // hundredths, from "cl_std"; 0 when not given
    bool spirv = false;
    size_t spirv_length = 0;  // bytes
    std::string entry_point;  // "spirv_entrypoint_name"
    bool request_pilot = false;
    bool request_idvs = false;
    bool request_source_costs = false;       // "request-source-costs": figures per source line
    std::vector<std::string> variants;       // from "variants"
    std::vector<std::string> include_paths;  // "include_path", in order; the first is the source's own
};

using OptionPairs = std::vector<std::pair<std::string, std::string>>;

// Throws RequestError for a missing or malformed option.
CompileOptions parse_compile_options(const OptionPairs& pairs);

// "CL1.2" or "1.2" to 120; throws RequestError for anything else.
int parse_opencl_version(const std::string& text);

// 120 to "CL1.2".
std::string opencl_std_text(int version);

}  // namespace reference
