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
    // A loop's blocks: everything that reaches a latch without passing the header.
    std::vector<size_t> sizes;
    for (Loop& loop : loops) {
        loop.contains.assign(count, 0);
        loop.contains[loop.header] = 1;
        std::vector<size_t> pending = loop.latches;
        while (!pending.empty()) {
            const size_t block = pending.back();
            pending.pop_back();
            if (loop.contains[block]) continue;
            loop.contains[block] = 1;
            pending.insert(pending.end(), flow.predecessors[block].begin(), flow.predecessors[block].end());
        }
        sizes.push_back(static_cast<size_t>(std::count(loop.contains.begin(), loop.contains.end(), 1)));
    }
    // Smaller loops first: a loop holding another is larger than it.
    std::vector<size_t> by_size(loops.size());
    std::iota(by_size.begin(), by_size.end(), 0);
    std::stable_sort(by_size.begin(), by_size.end(), [&](size_t a, size_t b) { return sizes[a] < sizes[b]; });
    for (size_t index : by_size) forest.loops.push_back(std::move(loops[index]));

    for (size_t l = 0; l < forest.loops.size(); ++l) {
        Loop& loop = forest.loops[l];
        forest.headed[loop.header] = static_cast<int>(l);
        for (size_t block = 0; block < count; ++block) {
            if (loop.contains[block] && forest.innermost[block] < 0) forest.innermost[block] = static_cast<int>(l);
        }
        for (size_t outer = l + 1; outer < forest.loops.size() && loop.parent < 0; ++outer) {
            if (forest.loops[outer].contains[loop.header]) loop.parent = static_cast<int>(outer);
        }
        loop.trips = loop_trips(module, function, loop.header, [&loop](size_t block) { return !loop.contains[block]; });
    }
    return forest;
}

}  // namespace reference
