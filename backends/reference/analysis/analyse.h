// Static performance model: from an optimised SPIR-V module to the statistics
// the program reads for each compiled variant.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "analysis/stage.h"
#include "analysis/tile_variables.h"

namespace reference {

struct AnalysisRequest {
    std::vector<uint32_t> module;  // valid, optimised SPIR-V
    std::string entry_point;       // name of the OpEntryPoint to analyse
    std::optional<Stage> stage;    // none: the entry point's own
    std::string core;              // core name as reported, e.g. "Koro-N68"
    bool request_pilot = false;    // split uniform-only work into a pilot variant
    bool request_idvs = false;     // split a vertex shader into Position and Varying variants
    bool vulkan = false;           // attribute symbols in the prefix_ID_name form
    bool source_costs = false;     // split each variant's figures by source line
    TileVariables tile_variables;  // stand-ins for the tile buffer, by name
};

struct AnalysisResult {
    std::vector<std::vector<std::pair<std::string, std::string>>> variants;  // key/value statistics
    std::vector<std::string> warnings;
    std::vector<std::string> errors;  // e.g. a feature the core cannot run
};

AnalysisResult analyse_module(const AnalysisRequest& request);

}  // namespace reference
