// The loops of a function: natural loops found from the edges that go back to
// a block dominating their source, nested innermost first, with their trip
// counts where a counter decides them.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "analysis/loop_trips.h"
#include "analysis/module_ir.h"

namespace reference {

struct ControlFlow;

struct Loop {
    size_t header = 0;
    std::vector<size_t> blocks;      // nested loops' included, in the forward graph's order
    std::vector<size_t> latches;     // blocks whose edge back to the header closes an iteration
    int parent = -1;                 // the innermost loop holding this one
    std::optional<LoopTrips> trips;  // nullopt: the count is not known
};

struct LoopForest {
    std::vector<Loop> loops;     // every loop after the loops it holds
    std::vector<int> innermost;  // by block: the innermost loop holding it, -1 for none
    std::vector<int> headed;     // by block: the loop it is the header of, -1 for none
    // Some cycle is entered other than through one header; the paths through
    // it cannot be counted and the longest path is unbounded.
    bool irreducible = false;

    bool is_back_edge(size_t from, size_t to) const;
    bool contains(int loop, size_t block) const;
};

LoopForest find_loops(const Module& module, const Function& function, const ControlFlow& flow,
                      const std::vector<size_t>& idom);

}  // namespace reference
