#include "stage.h"

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
        {Stage::Vertex, "vertex", "vertex", 0},
        {Stage::TessellationControl, "tessellation_control", "tessellation control", 1},
        {Stage::TessellationEvaluation, "tessellation_evaluation", "tessellation evaluation", 2},
        {Stage::Geometry, "geometry", "geometry", 3},
        {Stage::Fragment, "fragment", "fragment", 4},
        {Stage::Compute, "compute", "compute", 5},
        {Stage::Kernel, "kernel", "kernel", 6},
        {Stage::RayGeneration, "ray_generation", "ray generation", 5313},
        {Stage::RayIntersection, "ray_intersection", "ray intersection", 5314},
        {Stage::RayAnyHit, "ray_anyhit", "ray any-hit", 5315},
        {Stage::RayClosestHit, "ray_closest_hit", "ray closest-hit", 5316},
        {Stage::RayMiss, "ray_miss", "ray miss", 5317},
        {Stage::Callable, "callable", "callable", 5318},
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

bool is_ray_tracing_stage(Stage stage) { return row_of(stage).execution_model >= 5313; }

bool is_tessellation_stage(Stage stage) {
    return stage == Stage::TessellationControl || stage == Stage::TessellationEvaluation;
}

uint32_t execution_model(Stage stage) { return row_of(stage).execution_model; }

}  // namespace reference
