// SPIR-V validation with SPIRV-Tools, and the environment each API validates in.
#pragma once

#include <spirv-tools/libspirv.h>

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

// The Vulkan environment whose SPIR-V version is the module's (in hundredths):
// what the optimiser works in.
spv_target_env vulkan_environment(uint32_t spirv_version);

// SPIR-V's own rules at the module's version, without a client API's.
spv_target_env universal_environment(uint32_t spirv_version);

// The OpenCL environment for a module of that SPIR-V version.
spv_target_env opencl_environment(uint32_t spirv_version);

// OpenGL ES modules come from glslang without a client API: only SPIR-V's
// own rules apply, at the version the GLSL front end gives them.
spv_target_env opengles_environment();

struct Validation {
    std::vector<std::string> errors;  // one line each; empty for a valid module
    // Every complaint is about an opcode or enumerant the validator does not
    // know at any SPIR-V version: the module is newer than the validator, not
    // necessarily wrong. (A number it knows from a later version than the
    // module's is an error of the module, said as such.)
    bool newer_than_validator = false;
    // Every complaint is a rule that SPIR-V has since relaxed (16-bit
    // derivatives): the module is valid, the validator is older than it.
    bool rule_relaxed_since_validator = false;
};

// Layout rules a Vulkan device may relax with a feature; each is relaxed only
// when the module shows that it relies on it.
struct LayoutRelaxations {
    bool scalar_block_layout = false;  // blocks laid out like C structs (GL_EXT_scalar_block_layout)
};

// What the module's source extensions say it relies on.
LayoutRelaxations layout_relaxations(const std::vector<uint32_t>& module);

Validation validate_module(const std::vector<uint32_t>& module, spv_target_env environment,
                           const LayoutRelaxations& relaxations = {});

}  // namespace reference
