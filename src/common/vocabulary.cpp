#include "common/vocabulary.h"

namespace {

struct SourceTypeText {
    SourceType type;
    const char* display;
    const char* literal;
};

// The literal irregularities ("ray_anyhit", "callable") are part of the
// machine-readable output and must stay as they are.
const SourceTypeText SOURCE_TYPE_TEXTS[] = {
    {SourceType::None, "None", ""},
    {SourceType::Vertex, "Vertex", "vertex"},
    {SourceType::TessControl, "Tessellation Control", "tessellation_control"},
    {SourceType::TessEvaluation, "Tessellation Evaluation", "tessellation_evaluation"},
    {SourceType::Geometry, "Geometry", "geometry"},
    {SourceType::Fragment, "Fragment", "fragment"},
    {SourceType::Compute, "Compute", "compute"},
    {SourceType::Kernel, "Kernel", "kernel"},
    {SourceType::RayGeneration, "Ray Generation", "ray_generation"},
    {SourceType::RayIntersection, "Ray Intersection", "ray_intersection"},
    {SourceType::RayAnyHit, "Ray Any Hit", "ray_anyhit"},
    {SourceType::RayClosestHit, "Ray Closest Hit", "ray_closest_hit"},
    {SourceType::RayMiss, "Ray Miss", "ray_miss"},
    {SourceType::RayCallable, "Ray Callable", "callable"},
};

const SourceTypeText* find_source_type(SourceType type) {
    for (const auto& row : SOURCE_TYPE_TEXTS)
        if (row.type == type) return &row;
    return nullptr;
}

}  // namespace

std::string to_string(SourceType type) {
    const SourceTypeText* row = find_source_type(type);
    return row ? row->display : "";
}

std::string to_api_literal(SourceType type) {
    const SourceTypeText* row = find_source_type(type);
    return row ? row->literal : "";
}

std::string to_string(CompilerType type) {
    switch (type) {
        case CompilerType::Any: return "Any";
        case CompilerType::OpenGLES: return "OpenGL ES";
        case CompilerType::Vulkan: return "Vulkan";
        case CompilerType::OpenCL: return "OpenCL";
    }
    return "";
}

std::string to_api_literal(CompilerType type) {
    switch (type) {
        case CompilerType::Any: return "";
        // Vulkan shares the literal: it names the shading language, not the API.
        case CompilerType::OpenGLES:
        case CompilerType::Vulkan: return "openglessl";
        case CompilerType::OpenCL: return "opencl";
    }
    return "";
}

std::string to_string(ArchitectureType type) {
    switch (type) {
        case ArchitectureType::None: return "None";
        case ArchitectureType::Tarsel: return "Tarsel";
        case ArchitectureType::Ostrem: return "Ostrem";
        case ArchitectureType::Pelion: return "Pelion";
        case ArchitectureType::FifthGen: return "Ovyn 5th Generation";
    }
    return "";
}

const std::vector<FileExtensionInfo> FILE_EXT_TYPES = {
    {".vert", SourceType::Vertex, false, "Source vertex shader"},
    {".tesc", SourceType::TessControl, false, "Source tessellation control shader"},
    {".tese", SourceType::TessEvaluation, false, "Source tessellation evaluation shader"},
    {".geom", SourceType::Geometry, false, "Source geometry shader"},
    {".frag", SourceType::Fragment, false, "Source fragment shader"},
    {".comp", SourceType::Compute, false, "Source compute shader"},
    {".rgen", SourceType::RayGeneration, false, "Source ray generation shader"},
    {".rint", SourceType::RayIntersection, false, "Source ray intersection shader"},
    {".rahit", SourceType::RayAnyHit, false, "Source ray any hit shader"},
    {".rchit", SourceType::RayClosestHit, false, "Source ray closest hit shader"},
    {".rmiss", SourceType::RayMiss, false, "Source ray miss shader"},
    {".rcall", SourceType::RayCallable, false, "Source ray callable shader"},
    {".vert.spv", SourceType::Vertex, true, "SPIR-V binary vertex shader"},
    {".tesc.spv", SourceType::TessControl, true, "SPIR-V binary tessellation control shader"},
    {".tese.spv", SourceType::TessEvaluation, true, "SPIR-V binary tessellation evaluation shader"},
    {".geom.spv", SourceType::Geometry, true, "SPIR-V binary geometry shader"},
    {".frag.spv", SourceType::Fragment, true, "SPIR-V binary fragment shader"},
    {".comp.spv", SourceType::Compute, true, "SPIR-V binary compute shader"},
    {".rgen.spv", SourceType::RayGeneration, true, "SPIR-V binary ray generation shader"},
    {".rint.spv", SourceType::RayIntersection, true, "SPIR-V binary ray intersection shader"},
    {".rahit.spv", SourceType::RayAnyHit, true, "SPIR-V binary ray any hit shader"},
    {".rchit.spv", SourceType::RayClosestHit, true, "SPIR-V binary ray closest hit shader"},
    {".rmiss.spv", SourceType::RayMiss, true, "SPIR-V binary ray miss shader"},
    {".rcall.spv", SourceType::RayCallable, true, "SPIR-V binary ray callable shader"},
    {".cl", SourceType::Kernel, false, "OpenCL compute kernel"},
    {".cl.spv", SourceType::Kernel, true, "OpenCL SPIR-V binary compute kernel"},
};

std::string get_extension(SourceType type, bool binary) {
    for (const auto& row : FILE_EXT_TYPES)
        if (row.type == type && row.binary == binary) return row.extension;
    return "";
}
