#include "spirv_validation.h"

#include <spirv-tools/libspirv.hpp>

#include <algorithm>

#include "spirv_module_info.h"

namespace reference {

namespace {

// The validator adds the offending instruction on a second, indented line;
// both belong on one error line.
std::string one_line(const std::string& message) {
    std::string line;
    bool pending_space = false;
    for (char c : message) {
        if (c == '\n' || c == '\r') {
            pending_space = !line.empty();
            continue;
        }
        if (pending_space) {
            if (c == ' ') continue;
            line += " : ";
            pending_space = false;
        }
        line += c;
    }
    return line;
}

bool all_digits(const std::string& text) {
    if (text.empty()) return false;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
    }
    return true;
}

// "Invalid opcode: 5437" or "Invalid capability operand: 6022": the binary
// parser meeting a number it has no name for.
bool is_unknown_number(const std::string& message) {
    const size_t colon = message.rfind(": ");
    if (colon == std::string::npos || !all_digits(message.substr(colon + 2))) return false;
    const std::string head = message.substr(0, colon);
    if (head == "Invalid opcode") return true;
    const std::string operand = " operand";
    return head.compare(0, 8, "Invalid ") == 0 && head.size() > operand.size() &&
           head.compare(head.size() - operand.size(), operand.size(), operand) == 0;
}

// Derivatives were once 32-bit only; 16-bit results are valid SPIR-V now,
// but this validator still says "Result type component width must be 32
// bits" for them.
bool is_relaxed_rule(const std::string& message) {
    if (message.compare(0, 43, "Result type component width must be 32 bits") != 0) return false;
    for (const char* derivative : {"= OpDPdx", "= OpDPdy", "= OpFwidth"}) {
        if (message.find(derivative) != std::string::npos) return true;
    }
    return false;
}

}  // namespace

spv_target_env universal_environment(uint32_t spirv_version) {
    if (spirv_version <= 100) return SPV_ENV_UNIVERSAL_1_0;
    if (spirv_version <= 110) return SPV_ENV_UNIVERSAL_1_1;
    if (spirv_version <= 120) return SPV_ENV_UNIVERSAL_1_2;
    if (spirv_version <= 130) return SPV_ENV_UNIVERSAL_1_3;
    if (spirv_version <= 140) return SPV_ENV_UNIVERSAL_1_4;
    if (spirv_version <= 150) return SPV_ENV_UNIVERSAL_1_5;
    return SPV_ENV_UNIVERSAL_1_6;
}

spv_target_env vulkan_environment(uint32_t spirv_version) {
    if (spirv_version <= 100) return SPV_ENV_VULKAN_1_0;
    if (spirv_version <= 130) return SPV_ENV_VULKAN_1_1;
    if (spirv_version <= 140) return SPV_ENV_VULKAN_1_1_SPIRV_1_4;
    if (spirv_version <= 150) return SPV_ENV_VULKAN_1_2;
    return SPV_ENV_VULKAN_1_3;
}

spv_target_env opencl_environment(uint32_t spirv_version) {
    if (spirv_version <= 100) return SPV_ENV_OPENCL_2_0;
    if (spirv_version <= 110) return SPV_ENV_OPENCL_2_1;
    if (spirv_version <= 120) return SPV_ENV_OPENCL_2_2;
    // No OpenCL environment of SPIRV-Tools accepts newer modules.
    return universal_environment(spirv_version);
}

spv_target_env opengles_environment() { return SPV_ENV_UNIVERSAL_1_3; }

LayoutRelaxations layout_relaxations(const std::vector<uint32_t>& module) {
    LayoutRelaxations relaxations;
    const std::vector<std::string> extensions = source_declaration(module).extensions;
    relaxations.scalar_block_layout =
        std::find(extensions.begin(), extensions.end(), "GL_EXT_scalar_block_layout") != extensions.end();
    return relaxations;
}

namespace {

struct Run {
    std::vector<std::string> errors;
    bool all_unknown_numbers = true;
    bool all_relaxed_rules = true;
};

Run run_validator(const std::vector<uint32_t>& module, spv_target_env environment,
                  const LayoutRelaxations& relaxations, bool friendly_names) {
    Run run;
    spvtools::SpirvTools tools(environment);
    tools.SetMessageConsumer([&](spv_message_level_t level, const char*, const spv_position_t&, const char* message) {
        if (level > SPV_MSG_ERROR) return;
        const std::string line = one_line(message);
        run.all_unknown_numbers = run.all_unknown_numbers && is_unknown_number(line);
        run.all_relaxed_rules = run.all_relaxed_rules && is_relaxed_rule(line);
        run.errors.push_back("Invalid SPIR-V module: " + line);
    });
    spvtools::ValidatorOptions options;
    options.SetScalarBlockLayout(relaxations.scalar_block_layout);
    options.SetWorkgroupScalarBlockLayout(relaxations.scalar_block_layout);
    options.SetFriendlyNames(friendly_names);
    if (!tools.Validate(module.data(), module.size(), options) && run.errors.empty()) {
        run.errors.push_back("Invalid SPIR-V module");
        run.all_unknown_numbers = false;
        run.all_relaxed_rules = false;
    }
    return run;
}

// The names the messages give ids ("%main") cost a pass over the module; a
// valid module has no message, so it is checked without them first.
Run run_validator(const std::vector<uint32_t>& module, spv_target_env environment,
                  const LayoutRelaxations& relaxations) {
    Run nameless = run_validator(module, environment, relaxations, false);
    return nameless.errors.empty() ? nameless : run_validator(module, environment, relaxations, true);
}

}  // namespace

Validation validate_module(const std::vector<uint32_t>& module, spv_target_env environment,
                           const LayoutRelaxations& relaxations) {
    Run run = run_validator(module, environment, relaxations);
    Validation validation;
    if (!run.errors.empty() && run.all_unknown_numbers) {
        // The environment's grammar stops at its own version: a number it has
        // no name for may still be one a later version defines, which the
        // newest grammar names, and then says which version it needs.
        Run newest = run_validator(module, SPV_ENV_UNIVERSAL_1_6, relaxations);
        if (newest.errors.empty() || !newest.all_unknown_numbers) {
            validation.errors = newest.errors.empty() ? run.errors : newest.errors;
            return validation;
        }
    }
    validation.errors = run.errors;
    validation.newer_than_validator = !run.errors.empty() && run.all_unknown_numbers;
    validation.rule_relaxed_since_validator = !run.errors.empty() && run.all_relaxed_rules;
    return validation;
}

}  // namespace reference
