// The boolean shader properties shown by both compile reports.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "output/compile_output.h"

struct ShaderProperty {
    std::string name;  // machine key, e.g. "has_uniform_computation"
    std::string display_name;
    std::string description;
    bool value;

    // {"name", "display_name", "description", "value"}
    operator nlohmann::json() const;
};

// In report order; which entries appear depends on architecture and stage.
std::vector<ShaderProperty> get_shader_properties(const CompileOutput& output);
