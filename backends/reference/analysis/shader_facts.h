// Program-wide facts: shader flags, stack and shared storage, and the uniform
// data a variant reads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/path_figures.h"
#include "analysis/program.h"

namespace reference {

// The "shader_flag" values the program earns, in a fixed order.
std::vector<std::string> shader_flags(const Program& program);

bool has_side_effects(const Program& program);

// Bytes of thread-local arrays that live on the stack.
uint64_t stack_bytes(const Program& program);

// Bytes of workgroup (shared) variables the entry point uses.
uint64_t workgroup_bytes(const Program& program);

// Uniform registers the variant reads: uniforms read in place, plus the
// pilot's results when a pilot runs (pilot may be null).
uint64_t uniform_registers(const Program& program, const InstructionMask& variant, const InstructionMask* pilot);

}  // namespace reference
