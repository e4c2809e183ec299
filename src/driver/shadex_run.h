// One whole shadex run on back-ends that are already loaded: the command
// line parsed and checked, one job, its report. shadex runs it once per
// process; shadex-suite once per entry, so that both give the same answers.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "compiler/compiler_manager.h"
#include "driver/compile_job.h"
#include "input/glslang_validator.h"

// args[0] is the program name as usage messages show it. Reports go to
// `out` (or the -o file), errors and usage to `err`. Returns the exit status.
// Vulkan GLSL goes through `convert_vulkan_glsl` (the packaged validator
// unless another converter of the same contract is given).
int run_shadex(std::vector<std::string> args, CompilerManager& manager, std::ostream& out, std::ostream& err,
               VulkanConverter convert_vulkan_glsl = compile_to_spirv);
