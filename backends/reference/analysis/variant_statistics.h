// The key/value statistics of one variant, in the forms the program reads.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "analysis/core_model.h"
#include "analysis/path_figures.h"

namespace reference {

using Statistics = std::vector<std::pair<std::string, std::string>>;

// Decimal text for a figure: integers without a point, other values with up
// to four decimals.
std::string format_figure(double value);

// "pipe_names", "cycles", "shortest", "longest" (or the per-pipe keys on
// Tarsel) for the figures of a variant.
void add_pipe_figures(Statistics& statistics, const CoreModel& core, const PathFigures& figures);

// "part_float16" and "part_v2float16_underused" where 16-bit arithmetic is reported.
void add_half_precision(Statistics& statistics, const ArchitectureProfile& profile, const ArithmeticMix& mix);

// Spilled registers are written to the stack once and read back once: that
// traffic goes on the load/store figures of every path.
void add_spill_traffic(PathFigures& figures, const ArchitectureProfile& profile, double peak_registers);

// Work registers, spilling and thread-local storage from the peak register
// use and the stack size.
void add_storage(Statistics& statistics, const ArchitectureProfile& profile, double peak_registers,
                 uint64_t stack_bytes, uint64_t workgroup_bytes);

}  // namespace reference
