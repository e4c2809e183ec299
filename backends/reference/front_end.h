// What every front end hands to the rest of the back-end: one SPIR-V module,
// or the error lines that explain why there is none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/tile_variables.h"

namespace reference {

struct FrontEndResult {
    std::vector<uint32_t> module;  // empty when errors is not
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
    TileVariables tile_variables;  // variables that stand for the tile buffer
};

}  // namespace reference
