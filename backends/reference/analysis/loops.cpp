#include "analysis/loops.h"

#include <algorithm>
#include <numeric>

#include "analysis/dominance.h"
#include "analysis/program.h"

namespace reference {

bool LoopForest::is_back_edge(size_t from, size_t to) const {
    if (to >= headed.size() || headed[to] < 0) return false;
    const auto& latches = loops[headed[to]].latches;
    return std::find(latches.begin(), latches.end(), from) != latches.end();
}

bool LoopForest::contains(int loop, size_t block) const {
    for (int holder = block < innermost.size() ? innermost[block] : -1; holder >= 0; holder = loops[holder].parent) {
        if (holder == loop) return true;
    }
    return false;
}

LoopForest find_loops(const Module& module, const Function& function, const ControlFlow& flow,
                      const std::vector<size_t>& idom) {
    const size_t count = function.blocks.size();
    LoopForest forest;
    forest.innermost.assign(count, -1);
    forest.headed.assign(count, -1);

    // The depth-first walk left edges to blocks still on its stack out of the
    // forward graph; those whose target dominates their source close a loop.
    std::vector<Loop> loops;
    std::vector<int> loop_of_header(count, -1);
    for (size_t block : flow.order) {
        for (size_t target : flow.successors[block]) {
            const auto& forward = flow.forward[block];
            if (std::find(forward.begin(), forward.end(), target) != forward.end()) continue;
            if (!dominates(idom, target, block)) {
                forest.irreducible = true;
                continue;
            }
            if (loop_of_header[target] < 0) {
                loop_of_header[target] = static_cast<int>(loops.size());
                loops.emplace_back();
                loops.back().header = target;
            }
            loops[loop_of_header[target]].latches.push_back(block);
        }
    }
    // A loop's blocks: everything that reaches a latch without passing the
    // header, listed in the order of the forward graph.
    std::vector<size_t> rank(count, 0);
    for (size_t at = 0; at < flow.order.size(); ++at) rank[flow.order[at]] = at;
    std::vector<size_t> seen(count, SIZE_MAX);
    for (size_t l = 0; l < loops.size(); ++l) {
        Loop& loop = loops[l];
        seen[loop.header] = l;
        loop.blocks.push_back(loop.header);
        std::vector<size_t> pending = loop.latches;
        while (!pending.empty()) {
            const size_t block = pending.back();
            pending.pop_back();
            if (seen[block] == l) continue;
            seen[block] = l;
            loop.blocks.push_back(block);
            pending.insert(pending.end(), flow.predecessors[block].begin(), flow.predecessors[block].end());
        }
        std::sort(loop.blocks.begin(), loop.blocks.end(), [&](size_t a, size_t b) { return rank[a] < rank[b]; });
    }
    // Smaller loops first: a loop holding another is larger than it. Each
    // loop becomes the parent of the outermost loops found so far in it.
    std::stable_sort(loops.begin(), loops.end(),
                     [](const Loop& a, const Loop& b) { return a.blocks.size() < b.blocks.size(); });
    forest.loops = std::move(loops);
    for (size_t l = 0; l < forest.loops.size(); ++l) {
        Loop& loop = forest.loops[l];
        forest.headed[loop.header] = static_cast<int>(l);
        for (size_t block : loop.blocks) {
            int top = forest.innermost[block];
            if (top < 0) {
                forest.innermost[block] = static_cast<int>(l);
                continue;
            }
            while (forest.loops[top].parent >= 0) top = forest.loops[top].parent;
            if (top != static_cast<int>(l)) forest.loops[top].parent = static_cast<int>(l);
        }
    }
    for (size_t l = 0; l < forest.loops.size(); ++l) {
        forest.loops[l].trips = loop_trips(module, function, forest.loops[l].header,
                                           [&](size_t block) { return !forest.contains(static_cast<int>(l), block); });
    }
    return forest;
}

}  // namespace reference
