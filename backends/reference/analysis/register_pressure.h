// Work registers from liveness: the most register space the values of a
// variant need at any one point, calls included.
#pragma once

#include "analysis/path_figures.h"
#include "analysis/program.h"

namespace reference {

// Peak register use in the architecture's register units (32-bit registers,
// or vec4 registers on Tarsel). Values outside the mask (pilot results),
// uniforms read in place, constants and handles take no work register.
double peak_registers(const Program& program, const InstructionMask& mask);

// The same figure at each source line: the most registers live where the
// line's instructions run (callees' lines counted with what their caller
// keeps live), by Module::source_lines index; negative where the variant has
// no instruction of that line.
std::vector<double> registers_by_line(const Program& program, const InstructionMask& mask);

}  // namespace reference
