// The four kinds of program a request can carry, decided by the library's
// compiler type and whether a SPIR-V module was sent.
#pragma once

#include <string>

namespace reference {

enum class Api { OpenGLES, Vulkan, OpenCLSource, OpenCLSpirv };

inline Api request_api(const std::string& compiler_type, bool spirv) {
    if (compiler_type == "opencl") return spirv ? Api::OpenCLSpirv : Api::OpenCLSource;
    return spirv ? Api::Vulkan : Api::OpenGLES;
}

inline bool is_opencl(Api api) { return api == Api::OpenCLSource || api == Api::OpenCLSpirv; }

}  // namespace reference
