#include "compile_options.h"

#include <optional>

namespace reference {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool parse_flag(const std::string& key, const std::string& value) {
    if (value == "true") return true;
    if (value == "false") return false;
    throw RequestError("Invalid value '" + value + "' for option " + key + ": expected true or false");
}

size_t parse_size(const std::string& key, const std::string& value) {
    if (value.empty() || value.size() > 12) throw RequestError("Invalid value '" + value + "' for option " + key);
    size_t size = 0;
    for (char c : value) {
        if (!is_digit(c)) throw RequestError("Invalid value '" + value + "' for option " + key);
        size = size * 10 + static_cast<size_t>(c - '0');
    }
    return size;
}

}  // namespace

int parse_opencl_version(const std::string& text) {
    std::string version = text.compare(0, 2, "CL") == 0 ? text.substr(2) : text;
    if (version.size() != 3 || !is_digit(version[0]) || version[1] != '.' || !is_digit(version[2]))
        throw RequestError("Invalid OpenCL C version '" + text + "': expected a form such as CL1.2");
    return (version[0] - '0') * 100 + (version[2] - '0') * 10;
}

std::string opencl_std_text(int version) {
    return "CL" + std::to_string(version / 100) + "." + std::to_string(version / 10 % 10);
}

CompileOptions parse_compile_options(const OptionPairs& pairs) {
    CompileOptions options;
    bool stage_given = false;
    for (const auto& [key, value] : pairs) {
        if (key == "compiler_type") {
            options.compiler_type = value;
        } else if (key == "shader_type") {
            std::optional<Stage> stage = parse_stage(value);
            if (!stage) throw RequestError("Unknown shader type '" + value + "'");
            options.stage = *stage;
            stage_given = true;
        } else if (key == "define") {
            options.defines.push_back(value);
        } else if (key == "kernel_name") {
            options.kernel_name = value;
        } else if (key == "cl_std") {
            options.opencl_version = parse_opencl_version(value);
        } else if (key == "spirv") {
            options.spirv = parse_flag(key, value);
        } else if (key == "spirv_binary_length") {
            options.spirv_length = parse_size(key, value);
        } else if (key == "spirv_entrypoint_name") {
            options.entry_point = value;
        } else if (key == "request-pilot") {
            options.request_pilot = parse_flag(key, value);
        } else if (key == "request-idvs") {
            options.request_idvs = parse_flag(key, value);
        } else if (key == "request-source-costs") {
            options.request_source_costs = parse_flag(key, value);
        } else if (key == "variants") {
            options.variants.push_back(value);
        } else if (key == "include_path") {
            options.include_paths.push_back(value);
        }
        // Keys of later program versions are not an error.
    }
    if (!stage_given) throw RequestError("No shader type given");
    if (options.spirv && options.spirv_length == 0) throw RequestError("No SPIR-V module size given");
    return options;
}

}  // namespace reference
