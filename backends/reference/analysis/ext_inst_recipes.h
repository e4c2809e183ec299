// How the extended instructions of GLSL.std.450 and OpenCL.std decompose into
// the operations of the three arithmetic pipes.
#pragma once

#include <cstdint>
#include <string>

namespace reference {

enum class RecipeShape : uint8_t {
    Elementwise,  // fma/cvt/sfu operations per result component
    Geometric,    // fma passes over the operand vector, sfu scalar operations
    Cross,        // two fma passes over three components
    Determinant,  // fma: d passes over d components (d = matrix order)
    Inverse,      // fma: d*d passes over d components, one sfu
    Interpolate,  // varying interpolation of the result components
    Load,         // load/store unit: the result is read from memory
    Store,        // load/store unit: the first argument is written to memory
    Message,      // load/store unit: fixed cost (printf, async copies)
    Free,
};

struct Recipe {
    RecipeShape shape = RecipeShape::Elementwise;
    uint8_t fma = 1;
    uint8_t cvt = 0;
    uint8_t sfu = 0;
    bool half_data = false;  // vload_half / vstore_half: memory holds 16-bit values
};

// The recipe for instruction number in the named set; the default recipe (one
// fma operation per component) for unknown sets or numbers.
Recipe extended_recipe(const std::string& set, uint32_t number);

}  // namespace reference
