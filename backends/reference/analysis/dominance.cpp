#include "analysis/dominance.h"

#include "analysis/program.h"

namespace reference {

// The iterative algorithm over reverse postorder (each block's idom found by
// intersecting its processed predecessors' dominator chains).
std::vector<size_t> immediate_dominators(const ControlFlow& flow) {
    const size_t count = flow.successors.size();
    std::vector<size_t> idom(count, NO_DOMINATOR);
    if (count == 0 || flow.order.empty()) return idom;
    std::vector<size_t> rank(count, 0);
    for (size_t at = 0; at < flow.order.size(); ++at) rank[flow.order[at]] = at;
    const size_t entry = flow.order.front();
    idom[entry] = entry;
    auto intersect = [&](size_t a, size_t b) {
        while (a != b) {
            while (rank[a] > rank[b]) a = idom[a];
            while (rank[b] > rank[a]) b = idom[b];
        }
        return a;
    };
    for (bool changed = true; changed;) {
        changed = false;
        for (size_t block : flow.order) {
            if (block == entry) continue;
            size_t chosen = NO_DOMINATOR;
            for (size_t predecessor : flow.predecessors[block]) {
                if (idom[predecessor] == NO_DOMINATOR) continue;
                chosen = chosen == NO_DOMINATOR ? predecessor : intersect(predecessor, chosen);
            }
            if (chosen != NO_DOMINATOR && idom[block] != chosen) {
                idom[block] = chosen;
                changed = true;
            }
        }
    }
    return idom;
}

bool dominates(const std::vector<size_t>& idom, size_t dominator, size_t block) {
    if (block >= idom.size() || idom[block] == NO_DOMINATOR) return false;
    for (size_t steps = 0; steps <= idom.size(); ++steps) {
        if (block == dominator) return true;
        if (idom[block] == block) return false;
        block = idom[block];
    }
    return false;
}

}  // namespace reference
