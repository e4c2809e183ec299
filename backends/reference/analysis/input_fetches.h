// What fetching a variant's stage inputs costs, and where. An attribute or
// varying component is fetched once per invocation however the source spells
// its reads: a component that a dominating block has fetched is not fetched
// again, and reads inside a loop are fetched once before it (inputs do not
// change between iterations).
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/instruction_cost.h"
#include "analysis/path_figures.h"
#include "analysis/program.h"

namespace reference {

struct InputFetches {
    std::vector<PipeCycles> block;  // by block outside loops: the fetches made there
    std::vector<PipeCycles> loop;   // by loop of the function's forest: the fetches made before it runs
    std::vector<PipeCycles> lines;  // the same fetches by Module::source_lines index of the read that made them
};

InputFetches input_fetches(const Program& program, size_t function, const InstructionMask& mask);

}  // namespace reference
