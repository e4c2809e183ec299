#include "report/shader_properties.h"

ShaderProperty::operator nlohmann::json() const {
    nlohmann::json object = nlohmann::json::object();
    object["name"] = name;
    object["display_name"] = display_name;
    object["description"] = description;
    object["value"] = value;
    return object;
}

std::vector<ShaderProperty> get_shader_properties(const CompileOutput& output) {
    auto has = [&output](ShaderProps property) { return output.has_property(property); };
    std::vector<ShaderProperty> properties;

    properties.push_back({"has_uniform_computation", "Has uniform computation",
                          "If true the shader contains computation which produces the same value for every "
                          "invocation in a draw call or compute dispatch.",
                          has(HAS_DROPPED_VARIANT)});

    // Tarsel back-ends report none of the flags below.
    if (output.architecture == ArchitectureType::Tarsel) return properties;

    if (output.source_type == SourceType::Fragment) {
        bool zs_written = has(DEPTH_BUFFER_WRITTEN) || has(STENCIL_BUFFER_WRITTEN);
        bool zs_read = has(DEPTH_BUFFER_READ) || has(STENCIL_BUFFER_READ);
        properties.push_back({"has_side_effects", "Has side-effects",
                              "If true the shader has in-memory side-effects that are visible to the application. "
                              "Shaders with side-effects cannot do early-zs testing or be occluded by hidden "
                              "surface removal.",
                              has(HAS_SIDE_EFFECTS)});
        properties.push_back({"modifies_coverage", "Modifies coverage",
                              "If true the shader can modify fragment coverage mask. Shaders with modifiable "
                              "coverage cannot do early-ZS update and cannot be hidden surface occluders.",
                              has(MODIFIES_COVERAGE)});
        properties.push_back({"uses_late_zs_test", "Uses late ZS test",
                              "If true the shader uses a late ZS test. Shaders using a late ZS test that are killed "
                              "are a potential source of inefficiency.",
                              !has(HAS_EARLY_FRAGMENT_TESTS) && zs_written});
        properties.push_back({"uses_late_zs_update", "Uses late ZS update",
                              "If true the shader uses a late ZS update. Shaders using a late ZS update can cause "
                              "later fragment at the same coordinate to stall due a depth dependency.",
                              zs_written || zs_read || has(MODIFIES_COVERAGE)});
        properties.push_back({"reads_color_buffer", "Reads color buffer",
                              "If true the shader programmatically reads from the color buffer. Shaders that read "
                              "from the color buffer are treated as transparent, and cannot be hidden surface "
                              "occluders.",
                              has(COLOR_BUFFER_READ) || has(LOCAL_STORAGE_READ)});
    }

    if (output.has_stack_or_slow_rq) {
        properties.push_back({"has_slow_ray_traversal", "Has slow ray traversal",
                              "If true the shader contains ray traversals that forced a slow fallback behavior.",
                              output.last_slow_rq});
    }
    if (output.has_vrs) {
        properties.push_back({"has_slow_shading_rate", "Has slow shading rate",
                              "If true the shader contains a primitive shading rate that may force a slow fallback "
                              "behavior.",
                              output.has_slow_vrs});
    }
    return properties;
}
