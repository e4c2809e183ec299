// OpenCL C to SPIR-V through clang and the LLVM to SPIR-V translator, both run
// as child processes in a private temporary directory.
#pragma once

#include <string>
#include <vector>

#include "front_end.h"

namespace reference {

// The line that closes the errors of every failed OpenCL C compile.
extern const char* const OPENCL_FRONT_END_FAILED;

// kernel_name must name a kernel of the source (any name is accepted when it
// is empty, as long as there is a kernel); cl_std is "CL1.2" or "1.2" (1.0,
// 1.1, 1.2, 2.0 and 3.0 are known; empty means 1.2); defines are NAME=VALUE
// (or NAME) texts passed to the preprocessor exactly as they are.
// Diagnostics name the source "<source>"; each error line is one error, and a
// failed compile ends with OPENCL_FRONT_END_FAILED.
// With debug_lines the module says which source line each instruction came from.
FrontEndResult compile_opencl_source(const std::string& source, const std::string& kernel_name,
                                     const std::string& cl_std, const std::vector<std::string>& defines,
                                     const std::vector<std::string>& include_dirs = {}, bool debug_lines = false);

// "CL1.2" for "CL1.2" or "1.2"; empty for a version this front end cannot compile.
std::string opencl_c_standard(const std::string& cl_std);

}  // namespace reference
