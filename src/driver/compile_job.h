// The jobs the command line can ask for: compile, list the cores, describe one core.
#pragma once

#include <string>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/compiler_manager.h"
#include "driver/ombra_output.h"
#include "driver/option_set.h"

// The compiler for a core name (already normalised) and API, or null when
// "default" names no compiler. Throws the usage errors for unknown or
// unsuitable cores.
Compiler* determine_compiler(CompilerManager& manager, const std::string& core, CompilerType type, SourceType stage);

// How Vulkan GLSL becomes SPIR-V: compile_to_spirv's contract
// (input/glslang_validator.h), which is also the default.
using VulkanConverter = Bytes (*)(const Bytes& source, const std::vector<std::string>& defines,
                                  const std::string& version, const std::string& entrypoint, SourceType stage,
                                  std::vector<std::string>& messages, bool& relaxed,
                                  const std::vector<std::string>& include_dirs, bool debug_info);

// Each returns the process exit status.
int run_list_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output);
int run_info_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output);
int run_compile_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output,
                    VulkanConverter convert_vulkan_glsl);
