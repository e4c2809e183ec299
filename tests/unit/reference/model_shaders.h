// Small shaders for the performance-model tests: compiled and optimised as a
// compile runs them (the back-end's own optimiser; OpenGL ES through its own
// front end), then analysed, with helpers to read the statistics.
#pragma once

#include <string>
#include <vector>

#include "analysis/analyse.h"

namespace model_test {

struct Options {
    std::string core = "Koro-N68";
    bool pilot = false;
    bool idvs = false;
    bool optimise = true;
    bool vulkan = true;  // attribute symbols name the variable's id
};

// Vulkan GLSL as the validator converts it for a SPIR-V 1.3 core; stage is the
// "shader_type" text (vertex, fragment, compute).
std::vector<uint32_t> compile(const std::string& source, const std::string& stage, bool optimise = true);

// OpenGL ES source through the back-end's front end and optimiser.
std::vector<uint32_t> compile_es(const std::string& source, const std::string& stage);

// A request for main, as a compile makes it; stage "" leaves it to the module.
reference::AnalysisRequest request(std::vector<uint32_t> module, const std::string& stage, const Options& options = {});

reference::AnalysisResult analyse(const std::string& source, const std::string& stage, const Options& options = {});

// "#version 450", then one declaration per entry of `declarations` and main's body.
std::string glsl(const std::vector<std::string>& declarations, const std::string& body);

// The id an OpName gives to name; 0 when there is none.
uint32_t variable_id(const std::vector<uint32_t>& module, const std::string& name);

using Statistics = std::vector<std::pair<std::string, std::string>>;

// The first value of a key, or "<missing>".
std::string value(const Statistics& statistics, const std::string& key);

// A slash list of figures ("cycles", "shortest", "longest") as numbers.
using Figures = std::vector<double>;
Figures figures(const Statistics& statistics, const std::string& key = "cycles");

// Every value of a repeated key.
std::vector<std::string> values(const Statistics& statistics, const std::string& key);

// The variant with that "variant" number that is not a pilot, or the pilot.
const Statistics* find_variant(const reference::AnalysisResult& result, const std::string& number);
const Statistics* find_pilot(const reference::AnalysisResult& result);

}  // namespace model_test
