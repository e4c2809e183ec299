// The optimisation a driver would do before code generation, limited to the
// transformations that change what the cost model sees: inlining, SSA form,
// constant folding, dead code, common subexpressions and small constant loops
// unrolled.
#pragma once

#include <spirv-tools/libspirv.h>

#include <cstdint>
#include <vector>

namespace reference {

// Returns the optimised module, or the module unchanged when the optimiser
// cannot process it. The module must be valid in that environment.
std::vector<uint32_t> optimise_module(const std::vector<uint32_t>& module, spv_target_env environment);

// How many OpLoopMerge instructions the module has.
size_t count_loops(const std::vector<uint32_t>& module);

}  // namespace reference
