// Vulkan GLSL to SPIR-V in this process, for runs that convert many sources:
// the glslang library called exactly as the packaged validator calls itself
// for shadex, so the module (or the messages) is the validator's, without a
// process and its built-in tables per source.
#pragma once

#include <string>
#include <vector>

#include "common/vocabulary.h"

// The same contract as compile_to_spirv (input/glslang_validator.h), includes
// and their search order too.
Bytes convert_vulkan_glsl_in_process(const Bytes& source, const std::vector<std::string>& defines,
                                     const std::string& version, const std::string& entrypoint, SourceType stage,
                                     std::vector<std::string>& messages, bool& relaxed,
                                     const std::vector<std::string>& include_dirs, bool debug_info);
