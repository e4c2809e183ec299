// The control-flow graph of a function: its blocks' edges, which of them the
// entry reaches, a forward order without loop back edges, and for each block
// the branches that decide whether it runs (control dependence).
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/loops.h"
#include "analysis/module_ir.h"

namespace reference {

struct ControlFlow {
    std::vector<std::vector<size_t>> successors;    // every edge, by block index
    std::vector<std::vector<size_t>> predecessors;  // reachable edges only
    std::vector<std::vector<size_t>> forward;       // successors minus loop back edges
    std::vector<size_t> order;                      // reachable blocks, each before its forward successors
    std::vector<bool> reachable;
    bool has_cycle = false;
    std::vector<size_t> idom;  // immediate dominators (see dominance.h)
    LoopForest loops;
};

ControlFlow build_control_flow(const Module& module, const Function& function);

// For each block, the blocks whose branch decides whether it runs: the
// post-dominance frontier.
std::vector<std::vector<size_t>> control_dependences(const ControlFlow& flow);

}  // namespace reference
