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

// Decimal text for a figure: integers without a point, other values with
// nine significant digits.
std::string format_figure(double value);

// Registers are counted in whole units.
uint64_t whole_registers(double peak_registers);

// Bytes of the registers beyond the register file, spilled to the stack.
uint64_t spilled_bytes(const ArchitectureProfile& profile, double peak_registers);

// Figures as "a/b/c" in format_figure's form.
std::string slash_list(const std::vector<double>& values);

// The figures the program reads for one set of cycles, in its pipe order:
// A1/A2/A3 (Pelion and later) or A (Ostrem), LS, V where the program has
// varyings, T; on Tarsel the arithmetic total, LS and T.
std::vector<double> pipe_values(const CoreModel& core, const PipeCycles& cycles, bool varyings);

// "pipe_names", "cycles", "shortest", "longest" (or the per-pipe keys on
// Tarsel) for the figures of a variant; the varying pipe only for programs
// that have varyings (not kernels).
void add_pipe_figures(Statistics& statistics, const CoreModel& core, const PathFigures& figures, bool varyings);

// "part_float16" and "part_v2float16_underused" where 16-bit arithmetic is reported.
void add_half_precision(Statistics& statistics, const ArchitectureProfile& profile, const ArithmeticMix& mix);

// Spilled registers are written to the stack once and read back once: that
// traffic goes on the load/store figures of every path.
void add_spill_traffic(PathFigures& figures, const ArchitectureProfile& profile, double peak_registers);

// The work registers the variant reports: its peak, at most the register file.
uint64_t work_registers_used(const ArchitectureProfile& profile, double peak_registers);

// Uniform registers the variant can have: the core's file, or on Tarsel what
// the work registers leave of the file both share.
uint64_t uniform_register_capacity(const CoreModel& core, const ArchitectureProfile& profile, double peak_registers);

// Uniform data beyond the capacity is read from memory once per invocation:
// LS messages for its bytes on every path. Returns the registers reported.
uint64_t add_uniform_overflow(PathFigures& figures, const ArchitectureProfile& profile, uint64_t uniform_registers,
                              uint64_t capacity);

// Work registers, spilling and thread-local storage from the peak register
// use and the stack size.
void add_storage(Statistics& statistics, const ArchitectureProfile& profile, double peak_registers,
                 uint64_t stack_bytes, uint64_t workgroup_bytes);

}  // namespace reference
