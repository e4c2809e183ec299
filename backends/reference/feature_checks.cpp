#include "feature_checks.h"

#include <algorithm>

#include <glslang/SPIRV/spirv.hpp>

#include "spirv_module_info.h"

namespace reference {

namespace {

std::string api_name(Api api) {
    switch (api) {
        case Api::OpenGLES: return "OpenGL ES";
        case Api::Vulkan: return "Vulkan";
        case Api::OpenCLSource:
        case Api::OpenCLSpirv: return "OpenCL";
    }
    return "";
}

}  // namespace

std::string version_text(int hundredths) {
    return std::to_string(hundredths / 100) + "." + std::to_string(hundredths / 10 % 10);
}

std::string unsupported_request(Api api, Stage stage, int opencl_version, const CoreInfo& core,
                                const CoreFeatures& features) {
    const std::string stage_name = stage_description(stage);
    if (is_opencl(api)) {
        if (stage != Stage::Kernel) return "OpenCL compiles kernels, not " + stage_name + " shaders";
        const auto& offered = features.opencl_versions;
        if (std::find(offered.begin(), offered.end(), opencl_version) != offered.end()) return "";
        const std::string refused = "OpenCL C " + version_text(opencl_version) + " is not supported by " + core.name;
        const int highest = highest_version(offered);
        if (opencl_version > highest) return refused + " (highest: " + version_text(highest) + ")";
        std::string supported;
        for (int version : offered) supported += (supported.empty() ? "" : ", ") + version_text(version);
        return refused + " (supported: " + supported + ")";
    }
    if (stage == Stage::Kernel) return "Kernels are compiled for OpenCL, not " + api_name(api);
    if (api == Api::Vulkan && features.spirv_versions.empty()) return core.name + " does not support Vulkan";
    if (is_ray_tracing_stage(stage)) {
        if (api == Api::OpenGLES) return "OpenGL ES has no " + stage_name + " shaders";
        if (!features.ray_tracing) return core.name + " does not support ray tracing (" + stage_name + " shaders)";
    }
    if (stage == Stage::Geometry && !features.geometry_shaders) return core.name + " does not support geometry shaders";
    if (is_tessellation_stage(stage) && !features.tessellation_shaders)
        return core.name + " does not support tessellation shaders";
    return "";
}

std::vector<std::string> unsupported_module_features(Api api, const std::vector<uint32_t>& module, const CoreInfo& core,
                                                     const CoreFeatures& features) {
    std::vector<std::string> problems;
    if (api == Api::Vulkan) {
        const int version = static_cast<int>(module_version(module));
        const int highest = highest_version(features.spirv_versions);
        if (version > highest)
            problems.push_back("SPIR-V " + version_text(version) + " is not supported by " + core.name +
                               " (highest: " + version_text(highest) + ")");
    }
    if (declares_capability(module, spv::CapabilityGeometry) && !features.geometry_shaders)
        problems.push_back(core.name + " does not support geometry shaders");
    if (declares_capability(module, spv::CapabilityTessellation) && !features.tessellation_shaders)
        problems.push_back(core.name + " does not support tessellation shaders");
    if (!features.ray_tracing) {
        if (declares_capability(module, spv::CapabilityRayTracingKHR) ||
            declares_capability(module, spv::CapabilityRayTracingNV))
            problems.push_back(core.name + " does not support ray tracing");
        if (declares_capability(module, spv::CapabilityRayQueryKHR))
            problems.push_back(core.name + " does not support ray queries");
    }
    return problems;
}

std::vector<std::string> unsupported_constructs(const std::vector<uint32_t>& module, const CoreInfo& core) {
    bool lod_write = false;
    for_each_instruction(module, [&](uint32_t opcode, size_t first, size_t end) {
        // OpImageWrite Image Coordinate Texel [ImageOperands ...]
        if (opcode == static_cast<uint32_t>(spv::Op::OpImageWrite) && end - first > 4 &&
            (module[first + 4] & spv::ImageOperandsLodMask))
            lod_write = true;
    });
    if (!lod_write) return {};
    return {"Image writes with a level of detail (cl_khr_mipmap_image_writes) are not supported by " + core.name};
}

}  // namespace reference
