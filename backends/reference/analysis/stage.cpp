#include "analysis/stage.h"

#include <glslang/SPIRV/spirv.hpp>

#include <cstdint>
#include <vector>

namespace reference {

namespace {

struct StageRow {
    Stage stage;
    const char* text;
    const char* description;
    uint32_t execution_model;  // SPIR-V ExecutionModel value
};

const std::vector<StageRow>& stage_rows() {
    static const std::vector<StageRow> rows = {
        {Stage::Vertex, "vertex", "vertex", spv::ExecutionModelVertex},
        {Stage::TessellationControl, "tessellation_control", "tessellation control",
         spv::ExecutionModelTessellationControl},
        {Stage::TessellationEvaluation, "tessellation_evaluation", "tessellation evaluation",
         spv::ExecutionModelTessellationEvaluation},
        {Stage::Geometry, "geometry", "geometry", spv::ExecutionModelGeometry},
        {Stage::Fragment, "fragment", "fragment", spv::ExecutionModelFragment},
        {Stage::Compute, "compute", "compute", spv::ExecutionModelGLCompute},
        {Stage::Kernel, "kernel", "kernel", spv::ExecutionModelKernel},
        {Stage::RayGeneration, "ray_generation", "ray generation", spv::ExecutionModelRayGenerationKHR},
        {Stage::RayIntersection, "ray_intersection", "ray intersection", spv::ExecutionModelIntersectionKHR},
        {Stage::RayAnyHit, "ray_anyhit", "ray any-hit", spv::ExecutionModelAnyHitKHR},
        {Stage::RayClosestHit, "ray_closest_hit", "ray closest-hit", spv::ExecutionModelClosestHitKHR},
        {Stage::RayMiss, "ray_miss", "ray miss", spv::ExecutionModelMissKHR},
        {Stage::Callable, "callable", "callable", spv::ExecutionModelCallableKHR},
    };
    return rows;
}

const StageRow& row_of(Stage stage) {
    for (const StageRow& row : stage_rows()) {
        if (row.stage == stage) return row;
    }
    return stage_rows().front();
}

}  // namespace

std::optional<Stage> parse_stage(const std::string& text) {
    for (const StageRow& row : stage_rows()) {
        if (text == row.text) return row.stage;
    }
    return std::nullopt;
}

std::string stage_text(Stage stage) { return row_of(stage).text; }

std::string stage_description(Stage stage) { return row_of(stage).description; }

bool is_ray_tracing_stage(Stage stage) { return row_of(stage).execution_model >= spv::ExecutionModelRayGenerationKHR; }

bool is_tessellation_stage(Stage stage) {
    return stage == Stage::TessellationControl || stage == Stage::TessellationEvaluation;
}

uint32_t execution_model(Stage stage) { return row_of(stage).execution_model; }

std::optional<Stage> stage_of_execution_model(uint32_t model) {
    for (const StageRow& row : stage_rows())
        if (row.execution_model == model) return row.stage;
    return std::nullopt;
}

}  // namespace reference
