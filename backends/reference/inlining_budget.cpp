#include "inlining_budget.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <unordered_map>

#include "spirv_module_info.h"

namespace reference {

namespace {

// What a call left in place costs in words.
constexpr double CALL_WORDS = 4;

struct CallGraph {
    std::vector<size_t> control_word;          // by function: index of its OpFunction's control word
    std::vector<double> own_words;             // by function
    std::vector<std::vector<size_t>> callees;  // by function: one entry per call site
    std::vector<size_t> entries;
    size_t function_words = 0;
};

CallGraph read_call_graph(const std::vector<uint32_t>& module) {
    CallGraph graph;
    std::unordered_map<uint32_t, size_t> index_of;
    std::vector<std::vector<uint32_t>> callee_ids;
    std::vector<uint32_t> entry_ids;
    size_t current = SIZE_MAX;
    for_each_instruction(module, [&](uint32_t opcode, size_t at, size_t end) {
        const size_t count = end - at;
        if (opcode == spv::OpEntryPoint && count >= 3) entry_ids.push_back(module[at + 2]);
        if (opcode == spv::OpFunction && count >= 5) {
            current = graph.own_words.size();
            index_of.emplace(module[at + 2], current);
            graph.control_word.push_back(at + 3);
            graph.own_words.push_back(0);
            callee_ids.emplace_back();
        }
        if (current == SIZE_MAX) return;
        graph.own_words[current] += static_cast<double>(count);
        graph.function_words += count;
        if (opcode == spv::OpFunctionCall && count >= 4) callee_ids[current].push_back(module[at + 3]);
        if (opcode == spv::OpFunctionEnd) current = SIZE_MAX;
    });
    graph.callees.resize(callee_ids.size());
    for (size_t fn = 0; fn < callee_ids.size(); ++fn) {
        for (uint32_t id : callee_ids[fn]) {
            auto found = index_of.find(id);
            if (found != index_of.end()) graph.callees[fn].push_back(found->second);
        }
    }
    for (uint32_t id : entry_ids) {
        auto found = index_of.find(id);
        if (found != index_of.end()) graph.entries.push_back(found->second);
    }
    return graph;
}

// Functions reachable from `roots`, each after all its callees (a call that
// closes a cycle is ignored).
std::vector<size_t> callees_first(const CallGraph& graph, const std::vector<size_t>& roots) {
    std::vector<char> state(graph.own_words.size(), 0);  // 0 new, 1 open, 2 done
    std::vector<size_t> order;
    std::vector<std::pair<size_t, size_t>> stack;
    for (size_t root : roots) {
        if (state[root] != 0) continue;
        state[root] = 1;
        stack.push_back({root, 0});
        while (!stack.empty()) {
            const size_t fn = stack.back().first;
            const size_t call = stack.back().second++;
            if (call < graph.callees[fn].size()) {
                const size_t callee = graph.callees[fn][call];
                if (state[callee] == 0) {
                    state[callee] = 1;
                    stack.push_back({callee, 0});
                }
                continue;
            }
            state[fn] = 2;
            order.push_back(fn);
            stack.pop_back();
        }
    }
    return order;
}

class InliningPlan {
public:
    explicit InliningPlan(const CallGraph& graph) : graph_(graph), kept_(graph.own_words.size(), 0) {}

    // Function words once every call not kept is inlined; fills the sizes
    // and copy counts the next choice needs.
    double inlined_total() {
        std::vector<size_t> roots = graph_.entries;
        for (size_t fn = 0; fn < kept_.size(); ++fn) {
            if (kept_[fn]) roots.push_back(fn);
        }
        const std::vector<size_t> order = callees_first(graph_, roots);
        inlined_.assign(kept_.size(), 0);
        std::vector<char> done(kept_.size(), 0);
        for (size_t fn : order) {
            double size = graph_.own_words[fn];
            for (size_t callee : graph_.callees[fn]) {
                // Calls closing a cycle, and kept functions, stay calls.
                size += kept_[callee] || !done[callee] ? CALL_WORDS : inlined_[callee];
            }
            inlined_[fn] = std::min(size, 1e15);
            done[fn] = 1;
        }
        // How many copies of each function's body the inlined program holds.
        copies_.assign(kept_.size(), 0);
        for (size_t root : roots) copies_[root] = 1;
        for (auto it = order.rbegin(); it != order.rend(); ++it) {
            for (size_t callee : graph_.callees[*it]) {
                if (!kept_[callee] && done[callee]) copies_[callee] = std::min(1e15, copies_[callee] + copies_[*it]);
            }
        }
        double total = 0;
        for (size_t root : roots) {
            if (root < done.size() && done[root]) total += inlined_[root];
        }
        reachable_ = order;
        return total;
    }

    // Keeps the function whose copies add most words as a call; false when
    // every candidate is kept already.
    bool keep_costliest() {
        size_t best = SIZE_MAX;
        double best_excess = 0;
        for (size_t fn : reachable_) {
            if (kept_[fn] || copies_[fn] <= 1) continue;
            const double excess = (copies_[fn] - 1) * inlined_[fn];
            if (excess > best_excess) {
                best_excess = excess;
                best = fn;
            }
        }
        if (best == SIZE_MAX) return false;
        kept_[best] = 1;
        return true;
    }

    const std::vector<char>& kept() const { return kept_; }

private:
    const CallGraph& graph_;
    std::vector<char> kept_;
    std::vector<double> inlined_;
    std::vector<double> copies_;
    std::vector<size_t> reachable_;
};

}  // namespace

std::vector<uint32_t> limit_inlining(std::vector<uint32_t> module, const InliningBudget& budget) {
    const CallGraph graph = read_call_graph(module);
    const double allowed =
        std::max(budget.always_words, budget.growth_limit * static_cast<double>(graph.function_words));
    InliningPlan plan(graph);
    while (plan.inlined_total() > allowed) {
        if (!plan.keep_costliest()) break;
    }
    for (size_t fn = 0; fn < plan.kept().size(); ++fn) {
        if (!plan.kept()[fn]) continue;
        uint32_t& control = module[graph.control_word[fn]];
        control = (control & ~spv::FunctionControlInlineMask) | spv::FunctionControlDontInlineMask;
    }
    return module;
}

}  // namespace reference
