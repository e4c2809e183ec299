#include "analysis/path_figures.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "analysis/input_fetches.h"
#include "analysis/spirv_defs.h"

namespace reference {

namespace {

using namespace spirv;

constexpr double INF = std::numeric_limits<double>::infinity();

bool ends_invocation(const Block& block) {
    if (block.instructions.empty()) return false;
    switch (block.instructions.back().opcode) {
        case OpReturn:
        case OpReturnValue:
        case OpKill:
        case OpTerminateInvocation:
        case OpIgnoreIntersectionKHR:
        case OpTerminateRayKHR:
        case OpEmitMeshTasksEXT:
        case OpIgnoreIntersectionNV:
        case OpTerminateRayNV: return true;
        default: return false;
    }
}

// The cheapest and the most expensive way from a point to one destination,
// per pipe; an infinite `high` is a path without bound.
struct Span {
    bool reachable = false;
    PipeCycles low{}, high{};

    static Span zero() {
        Span span;
        span.reachable = true;
        return span;
    }
    void merge(const Span& other) {
        if (!other.reachable) return;
        if (!reachable) {
            *this = other;
            return;
        }
        for (size_t p = 0; p < PIPE_COUNT; ++p) {
            low[p] = std::min(low[p], other.low[p]);
            high[p] = std::max(high[p], other.high[p]);
        }
    }
    void add(const PipeCycles& low_cost, const PipeCycles& high_cost) {
        for (size_t p = 0; p < PIPE_COUNT; ++p) {
            low[p] += low_cost[p];
            high[p] += high_cost[p];
        }
    }
};

// What a region's paths lead to: the end of the invocation, another turn of
// the region's loop, or one of the edges that leave the region.
constexpr size_t END = 0;
constexpr size_t ITERATE = 1;
using Edge = std::pair<size_t, size_t>;
using Destinations = std::vector<Span>;

Destinations joined(Destinations into, const Destinations& other) {
    for (size_t d = 0; d < into.size() && d < other.size(); ++d) into[d].merge(other[d]);
    return into;
}

// One loop seen from its header: a turn, each way out, and the ends inside.
struct LoopSummary {
    Span iterate;
    std::vector<std::pair<Edge, Span>> exits;
    Span end;
};

class FunctionPaths {
public:
    FunctionPaths(const Program& program, size_t fn, const InstructionMask& mask,
                  const std::vector<std::optional<PathFigures>>& callees)
        : program_(program), function_(program.module.functions[fn]), flow_(program.control_flow[fn]),
          forest_(flow_.loops) {
        const size_t count = function_.blocks.size();
        low_.assign(count, PipeCycles{});
        high_.assign(count, PipeCycles{});
        figures_.unbounded = forest_.irreducible;
        figures_.lines.assign(program.module.source_lines.size(), PipeCycles{});
        for (size_t b : flow_.order) cost_block(fn, b, mask, callees);
        fetches_ = input_fetches(program, fn, mask);
        for (size_t b = 0; b < count; ++b) add_everywhere(b, fetches_.block[b]);
        for (const PipeCycles& before_loop : fetches_.loop) add_to_total(before_loop);
        for (size_t l = 0; l < fetches_.lines.size() && l < figures_.lines.size(); ++l)
            add_cycles(figures_.lines[l], fetches_.lines[l]);
    }

    PathFigures figures() {
        summaries_.resize(forest_.loops.size());
        for (size_t l = 0; l < forest_.loops.size(); ++l) {
            const Destinations at_header = evaluate(static_cast<int>(l));
            LoopSummary& summary = summaries_[l];
            summary.end = at_header[END];
            summary.iterate = at_header[ITERATE];
            for (size_t e = 0; e < exits_.size(); ++e) summary.exits.emplace_back(exits_[e], at_header[2 + e]);
        }
        const Span whole = function_.blocks.empty() ? Span{} : evaluate(-1)[END];
        for (size_t p = 0; p < PIPE_COUNT; ++p) {
            // A function that never ends a path (every way out is unreachable)
            // still runs its instructions.
            figures_.shortest[p] = whole.reachable ? whole.low[p] : figures_.total[p];
            const double longest = whole.reachable ? whole.high[p] : figures_.total[p];
            figures_.unbounded = figures_.unbounded || longest == INF;
            figures_.longest[p] = longest == INF ? figures_.total[p] : longest;
        }
        return figures_;
    }

private:
    void cost_block(size_t fn, size_t b, const InstructionMask& mask,
                    const std::vector<std::optional<PathFigures>>& callees) {
        const Module& module = program_.module;
        const auto& instructions = function_.blocks[b].instructions;
        for (size_t i = 0; i < instructions.size(); ++i) {
            if (!mask.contains(fn, b, i)) continue;
            const Instruction& instruction = instructions[i];
            if (instruction.opcode == OpFunctionCall && !instruction.operands.empty()) {
                auto callee = module.function_index.find(instruction.operands[0]);
                if (callee == module.function_index.end()) continue;
                if (!callees[callee->second]) {
                    figures_.unbounded = true;  // recursion
                    continue;
                }
                const PathFigures& called = *callees[callee->second];
                for (size_t p = 0; p < PIPE_COUNT; ++p) {
                    figures_.total[p] += called.total[p];
                    low_[b][p] += called.shortest[p];
                    high_[b][p] += called.unbounded ? INF : called.longest[p];
                }
                figures_.mix.add(called.mix);
                for (size_t l = 0; l < called.lines.size() && l < figures_.lines.size(); ++l)
                    add_cycles(figures_.lines[l], called.lines[l]);
                continue;
            }
            const InstructionCost cost = instruction_cost(program_, instruction);
            add_everywhere(b, cost.pipes);
            add_cycles(figures_.lines[instruction.source_line], cost.pipes);
            figures_.mix.add(cost.mix);
        }
    }

    void add_to_total(const PipeCycles& cost) {
        for (size_t p = 0; p < PIPE_COUNT; ++p) figures_.total[p] += cost[p];
    }

    void add_everywhere(size_t b, const PipeCycles& cost) {
        add_to_total(cost);
        for (size_t p = 0; p < PIPE_COUNT; ++p) {
            low_[b][p] += cost[p];
            high_[b][p] += cost[p];
        }
    }

    bool in_region(int region, size_t block) const { return region < 0 || forest_.contains(region, block); }

    // The loop directly inside `region` that holds the block, or -1 when the
    // block belongs to the region itself.
    int child_loop(int region, size_t block) const {
        int loop = forest_.innermost[block];
        if (loop == region) return -1;
        while (loop >= 0 && forest_.loops[loop].parent != region) loop = forest_.loops[loop].parent;
        return loop;
    }

    // Costs of a region's paths from every block of the region (and from
    // the header of every loop directly inside it) to each destination; the
    // answer is the one at the region's first block.
    Destinations evaluate(int region) {
        const std::vector<size_t>& blocks = region >= 0 ? forest_.loops[region].blocks : flow_.order;
        exits_.clear();
        exit_index_.clear();
        for (size_t b : blocks) {
            for (size_t target : flow_.successors[b]) {
                if (region >= 0 && !in_region(region, target) &&
                    exit_index_.emplace(Edge{b, target}, exits_.size()).second) {
                    exits_.emplace_back(b, target);
                }
            }
        }
        values_.clear();
        for (auto it = blocks.rbegin(); it != blocks.rend(); ++it) {
            const size_t b = *it;
            const int child = child_loop(region, b);
            if (child < 0) {
                values_[b] = block_destinations(region, b);
            } else if (forest_.loops[child].header == b) {
                values_[b] = loop_destinations(region, child);
            }
        }
        const size_t first = region >= 0 ? forest_.loops[region].header : flow_.order.front();
        auto found = values_.find(first);
        return found != values_.end() ? found->second : Destinations(2 + exits_.size());
    }

    // Where taking the edge from one block to another leads, seen from the region.
    Destinations along(int region, size_t from, size_t to) const {
        Destinations result(2 + exits_.size());
        if (region >= 0 && to == forest_.loops[region].header && forest_.is_back_edge(from, to)) {
            result[ITERATE] = Span::zero();
        } else if (!in_region(region, to)) {
            result[2 + exit_index_.at(Edge{from, to})] = Span::zero();
        } else if (auto found = values_.find(to); found != values_.end() && !forest_.is_back_edge(from, to)) {
            result = found->second;  // edges closing an unstructured cycle are left out
        }
        return result;
    }

    Destinations block_destinations(int region, size_t b) const {
        Destinations result(2 + exits_.size());
        if (ends_invocation(function_.blocks[b])) result[END] = Span::zero();
        for (size_t target : flow_.successors[b]) {
            const auto& forward = flow_.forward[b];
            const bool walked =
                std::find(forward.begin(), forward.end(), target) != forward.end() || forest_.is_back_edge(b, target);
            if (walked) result = joined(std::move(result), along(region, b, target));
        }
        for (Span& span : result) {
            if (span.reachable) span.add(low_[b], high_[b]);
        }
        return result;
    }

    // A loop inside the region, entered at its header: its turns counted by
    // its trips, then one of its ways out.
    Destinations loop_destinations(int region, int loop_index) const {
        const Loop& loop = forest_.loops[loop_index];
        const LoopSummary& summary = summaries_[loop_index];
        Destinations result(2 + exits_.size());
        bool leaves = false;
        for (const auto& [edge, span] : summary.exits) {
            const bool counted_exit = loop.trips && edge == Edge{loop.trips->test_block, loop.trips->exit_block};
            Span taken = after_turns(loop, summary.iterate, span, counted_exit);
            if (!taken.reachable) continue;
            leaves = true;
            Destinations next = along(region, edge.first, edge.second);
            for (Span& onward : next) {
                if (onward.reachable) onward.add(taken.low, taken.high);
            }
            result = joined(std::move(result), next);
        }
        Span ends = after_turns(loop, summary.iterate, summary.end, false);
        if (!leaves && !ends.reachable && summary.iterate.reachable) {
            // A loop nothing leaves: one turn at least, and no bound.
            ends = summary.iterate;
            ends.high.fill(INF);
        }
        result[END].merge(ends);
        for (Span& span : result) {
            if (span.reachable) span.add(fetches_.loop[loop_index], fetches_.loop[loop_index]);
        }
        return result;
    }

    // A way out of a loop after the turns it can take first: exactly its
    // trips before the exit its counter takes, any number fewer before the
    // others; any number at all when the trips are unknown.
    static Span after_turns(const Loop& loop, const Span& turn, const Span& out, bool counted_exit) {
        if (!out.reachable) return out;
        Span span = out;
        if (!loop.trips) {
            if (turn.reachable) span.high.fill(INF);
            return span;
        }
        const double trips = static_cast<double>(loop.trips->count);
        if (counted_exit) {
            if (trips == 0) return span;
            if (!turn.reachable) return Span{};
            for (size_t p = 0; p < PIPE_COUNT; ++p) {
                span.low[p] += trips * turn.low[p];
                span.high[p] += trips * turn.high[p];
            }
        } else if (trips > 1 && turn.reachable) {
            for (size_t p = 0; p < PIPE_COUNT; ++p) span.high[p] += (trips - 1) * turn.high[p];
        }
        return span;
    }

    const Program& program_;
    const Function& function_;
    const ControlFlow& flow_;
    const LoopForest& forest_;
    std::vector<PipeCycles> low_, high_;  // by block: its own instructions and callees
    InputFetches fetches_;
    PathFigures figures_;
    std::vector<LoopSummary> summaries_;
    // The region being evaluated.
    std::vector<Edge> exits_;
    std::map<Edge, size_t> exit_index_;
    std::unordered_map<size_t, Destinations> values_;
};

}  // namespace

InstructionMask::InstructionMask(const Module& module, bool initial) {
    bits_.resize(module.functions.size());
    for (size_t fn = 0; fn < module.functions.size(); ++fn) {
        const auto& blocks = module.functions[fn].blocks;
        bits_[fn].resize(blocks.size());
        for (size_t b = 0; b < blocks.size(); ++b) {
            bits_[fn][b].assign(blocks[b].instructions.size(), initial ? 1 : 0);
        }
    }
}

PathFigures path_figures(const Program& program, const InstructionMask& mask) {
    std::vector<std::optional<PathFigures>> done(program.module.functions.size());
    for (size_t fn : program.callees_first()) {
        done[fn] = FunctionPaths(program, fn, mask, done).figures();
    }
    if (program.entry_function < done.size() && done[program.entry_function]) {
        return *done[program.entry_function];
    }
    return {};
}

}  // namespace reference
