// What one instruction costs on each pipe of an architecture, in the units the
// back-end reports (see docs/cost-model.md).
#pragma once

#include <array>
#include <cstddef>

#include "analysis/module_ir.h"
#include "analysis/program.h"

namespace reference {

enum Pipe : size_t { PipeFMA, PipeCVT, PipeSFU, PipeLS, PipeV, PipeT, PIPE_COUNT };

using PipeCycles = std::array<double, PIPE_COUNT>;

// How much of the arithmetic runs at 16 bits, and how well it pairs.
struct ArithmeticMix {
    double operations = 0;       // scalar arithmetic operations of every width
    double half_operations = 0;  // of which at 16 bits
    double half_lanes = 0;       // lanes issued for paired 16-bit work
    double idle_half_lanes = 0;  // of which only one 16-bit half was busy

    void add(const ArithmeticMix& other) {
        operations += other.operations;
        half_operations += other.half_operations;
        half_lanes += other.half_lanes;
        idle_half_lanes += other.idle_half_lanes;
    }
};

struct InstructionCost {
    PipeCycles pipes{};
    ArithmeticMix mix;

    bool has_arithmetic() const { return pipes[PipeFMA] + pipes[PipeCVT] + pipes[PipeSFU] > 0; }
};

// The cost of one instruction; calls cost nothing here (the callee is costed
// where it is called).
InstructionCost instruction_cost(const Program& program, const Instruction& instruction);

// Load/store messages to move that many bytes per thread.
double load_store_messages(uint64_t bytes);

// True when the instruction computes at 16 bits: a 16-bit result type or a
// RelaxedPrecision result (comparisons look at their first operand).
bool is_half_precision(const Program& program, const Instruction& instruction);

}  // namespace reference
