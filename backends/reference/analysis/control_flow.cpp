#include "analysis/control_flow.h"

#include <cstdint>
#include <unordered_map>
#include <utility>

namespace reference {

ControlFlow build_control_flow(const Module& module, const Function& function) {
    ControlFlow flow;
    const size_t count = function.blocks.size();
    std::unordered_map<uint32_t, size_t> block_of_label;
    for (size_t b = 0; b < count; ++b) block_of_label.emplace(function.blocks[b].label, b);
    flow.successors.resize(count);
    flow.predecessors.resize(count);
    flow.forward.resize(count);
    flow.reachable.assign(count, false);
    for (size_t b = 0; b < count; ++b) {
        const auto& instructions = function.blocks[b].instructions;
        if (instructions.empty()) continue;
        for (uint32_t label : branch_targets(module, instructions.back())) {
            auto target = block_of_label.find(label);
            if (target != block_of_label.end()) flow.successors[b].push_back(target->second);
        }
    }
    if (count == 0) return flow;

    // Depth-first walk without recursion: an edge to a block still on the
    // stack closes a cycle and is left out of the forward graph.
    enum : char { Unseen, OnStack, Done };
    std::vector<char> state(count, Unseen);
    std::vector<std::pair<size_t, size_t>> stack = {{0, 0}};
    std::vector<size_t> postorder;
    state[0] = OnStack;
    flow.reachable[0] = true;
    while (!stack.empty()) {
        auto& [block, next] = stack.back();
        if (next < flow.successors[block].size()) {
            const size_t target = flow.successors[block][next++];
            const size_t from = block;
            flow.predecessors[target].push_back(from);
            if (state[target] == OnStack) {
                flow.has_cycle = true;
                continue;
            }
            flow.forward[from].push_back(target);
            if (state[target] == Unseen) {
                state[target] = OnStack;
                flow.reachable[target] = true;
                stack.emplace_back(target, 0);
            }
        } else {
            state[block] = Done;
            postorder.push_back(block);
            stack.pop_back();
        }
    }
    flow.order.assign(postorder.rbegin(), postorder.rend());
    return flow;
}

// Post-dominators come from the iterative dominator algorithm run on the
// reversed graph, with one exit after every block that ends the function.
std::vector<std::vector<size_t>> control_dependences(const ControlFlow& flow) {
    const size_t count = flow.successors.size();
    const size_t exit = count;
    std::vector<std::vector<size_t>> reverse_successors(count + 1);
    for (size_t b = 0; b < count; ++b) {
        if (!flow.reachable[b]) continue;
        if (flow.successors[b].empty()) reverse_successors[exit].push_back(b);
        reverse_successors[b] = flow.predecessors[b];
    }
    std::vector<size_t> postorder;
    std::vector<char> seen(count + 1, 0);
    std::vector<std::pair<size_t, size_t>> stack = {{exit, 0}};
    seen[exit] = 1;
    while (!stack.empty()) {
        auto& [node, next] = stack.back();
        if (next < reverse_successors[node].size()) {
            const size_t target = reverse_successors[node][next++];
            if (!seen[target]) {
                seen[target] = 1;
                stack.emplace_back(target, 0);
            }
        } else {
            postorder.push_back(node);
            stack.pop_back();
        }
    }
    std::vector<size_t> rank(count + 1, 0);
    for (size_t at = 0; at < postorder.size(); ++at) rank[postorder[at]] = at;
    constexpr size_t UNDEFINED = SIZE_MAX;
    std::vector<size_t> ipdom(count + 1, UNDEFINED);
    ipdom[exit] = exit;
    auto intersect = [&](size_t a, size_t b) {
        while (a != b) {
            while (rank[a] < rank[b]) a = ipdom[a];
            while (rank[b] < rank[a]) b = ipdom[b];
        }
        return a;
    };
    for (bool changed = true; changed;) {
        changed = false;
        for (auto it = postorder.rbegin(); it != postorder.rend(); ++it) {
            const size_t node = *it;
            if (node == exit) continue;
            // Predecessors in the reversed graph: the block's successors, and
            // the exit for blocks that end the function.
            std::vector<size_t> preds = flow.successors[node];
            if (preds.empty()) preds.push_back(exit);
            size_t chosen = UNDEFINED;
            for (size_t pred : preds) {
                if (pred > count || ipdom[pred] == UNDEFINED) continue;
                chosen = chosen == UNDEFINED ? pred : intersect(pred, chosen);
            }
            if (chosen != UNDEFINED && ipdom[node] != chosen) {
                ipdom[node] = chosen;
                changed = true;
            }
        }
    }
    for (size_t b = 0; b < count; ++b) {
        if (ipdom[b] == UNDEFINED) ipdom[b] = exit;  // never reaches an exit
    }
    std::vector<std::vector<size_t>> dependences(count);
    for (size_t from = 0; from < count; ++from) {
        if (!flow.reachable[from]) continue;
        for (size_t to : flow.successors[from]) {
            size_t runner = to;
            for (size_t steps = 0; runner != ipdom[from] && runner != exit && steps <= count; ++steps) {
                dependences[runner].push_back(from);
                runner = ipdom[runner];
            }
        }
    }
    return dependences;
}

}  // namespace reference
