// Closed vocabularies shared by every layer: shader stages, API families,
// architecture generations, report formats and the file-extension table.
// SourceType and CompilerType values cross the plug-in boundary unchanged.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Input bytes: source text or a SPIR-V module.
using Bytes = std::vector<uint8_t>;

enum class SourceType : int32_t {
    None = 0,
    Vertex = 1,
    TessControl = 2,
    TessEvaluation = 3,
    Geometry = 4,
    Fragment = 5,
    Compute = 6,
    Kernel = 7,
    RayGeneration = 5314,
    RayIntersection = 5315,
    RayAnyHit = 5316,
    RayClosestHit = 5317,
    RayMiss = 5318,
    RayCallable = 5319,
};

enum class CompilerType : int32_t {
    Any = 0,
    OpenGLES = 1,
    Vulkan = 2,
    OpenCL = 4,
};

enum class ArchitectureType : int32_t {
    None = 0,
    Tarsel = 1,
    Ostrem = 2,
    Pelion = 3,
    FifthGen = 4,
};

enum class ReportFormat : uint32_t {
    Text = 0,
    Json = 1,
};

std::string to_string(SourceType type);
std::string to_string(CompilerType type);
std::string to_string(ArchitectureType type);
std::string to_api_literal(SourceType type);
std::string to_api_literal(CompilerType type);

struct FileExtensionInfo {
    std::string extension;
    SourceType type;
    bool binary;
    std::string description;
};

// Searched top-down, first hit wins; the order is significant.
extern const std::vector<FileExtensionInfo> FILE_EXT_TYPES;

// Extension of the first row with this stage and binary flag, or "".
std::string get_extension(SourceType type, bool binary);
