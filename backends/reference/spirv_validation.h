// SPIR-V validation with SPIRV-Tools, and the environment each API validates in.
#pragma once

#include <spirv-tools/libspirv.h>

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

// The Vulkan environment whose SPIR-V version is the module's (in hundredths).
spv_target_env vulkan_environment(uint32_t spirv_version);

// The OpenCL environment for a module of that SPIR-V version.
spv_target_env opencl_environment(uint32_t spirv_version);

// OpenGL ES modules come from glslang without a client API: only SPIR-V's
// own rules apply, at the version the GLSL front end gives them.
spv_target_env opengles_environment();

struct Validation {
    std::vector<std::string> errors;  // one line each; empty for a valid module
    // Every complaint is about an opcode or enumerant the validator does not
    // know: the module is newer than the validator, not necessarily wrong.
    bool newer_than_validator = false;
};

Validation validate_module(const std::vector<uint32_t>& module, spv_target_env environment);

}  // namespace reference
