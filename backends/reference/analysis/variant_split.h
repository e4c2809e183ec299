// How a program splits into variants: the uniform-only work a pilot shader
// can do once per draw, and the position and varying halves of a vertex
// shader.
#pragma once

#include <cstdint>
#include <vector>

#include "analysis/path_figures.h"
#include "analysis/program.h"

namespace reference {

// Instructions whose results depend only on constants and uniforms read in
// place, and that are pure computations.
InstructionMask uniform_only_instructions(const Program& program);

// True when some instruction of the mask does arithmetic.
bool has_arithmetic(const Program& program, const InstructionMask& mask);

struct GeometrySplit {
    InstructionMask position;               // what feeds the position, point size and clip distances
    InstructionMask varying;                // what feeds every other output
    std::vector<uint32_t> position_inputs;  // input variables read by each half, by id
    std::vector<uint32_t> varying_inputs;
    bool has_varyings = false;  // the shader writes some output besides the position
};

GeometrySplit split_geometry(const Program& program);

}  // namespace reference
