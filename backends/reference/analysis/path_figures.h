// Whole-program, cheapest-path and most-expensive-path cycles per pipe for the
// instructions of one variant, with calls costed through their callees.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/instruction_cost.h"
#include "analysis/program.h"

namespace reference {

// Which instructions of the module belong to a variant.
class InstructionMask {
public:
    InstructionMask(const Module& module, bool initial);

    bool contains(size_t function, size_t block, size_t instruction) const {
        return bits_[function][block][instruction] != 0;
    }
    void set(size_t function, size_t block, size_t instruction, bool value) {
        bits_[function][block][instruction] = value ? 1 : 0;
    }

private:
    std::vector<std::vector<std::vector<char>>> bits_;
};

struct PathFigures {
    PipeCycles total{};
    PipeCycles shortest{};
    PipeCycles longest{};
    bool unbounded = false;  // a loop (or recursion) makes the longest path open-ended
    ArithmeticMix mix;       // over the whole program
    // The total split by Module::source_lines index (0: no line known).
    std::vector<PipeCycles> lines;
};

// Adds b to a, pipe by pipe.
inline void add_cycles(PipeCycles& a, const PipeCycles& b) {
    for (size_t p = 0; p < PIPE_COUNT; ++p) a[p] += b[p];
}

PathFigures path_figures(const Program& program, const InstructionMask& mask);

}  // namespace reference
