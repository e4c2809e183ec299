// The pipeline stages a compile request can name, and what each maps to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace reference {

enum class Stage {
    Vertex,
    TessellationControl,
    TessellationEvaluation,
    Geometry,
    Fragment,
    Compute,
    Kernel,
    RayGeneration,
    RayIntersection,
    RayAnyHit,
    RayClosestHit,
    RayMiss,
    Callable,
};

// From the "shader_type" option text; nullopt for an unknown text.
std::optional<Stage> parse_stage(const std::string& text);

// The "shader_type" text of a stage.
std::string stage_text(Stage stage);

// A readable name for messages, e.g. "tessellation control".
std::string stage_description(Stage stage);

bool is_ray_tracing_stage(Stage stage);
bool is_tessellation_stage(Stage stage);

// The SPIR-V execution model that runs this stage, and back (nullopt for a
// model no stage has).
uint32_t execution_model(Stage stage);
std::optional<Stage> stage_of_execution_model(uint32_t model);

}  // namespace reference
