#include "analysis/input_fetches.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "analysis/dominance.h"
#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

// Components of one input variable, in the order its type lists them.
struct ComponentRange {
    uint32_t root = 0;
    uint64_t first = 0;
    uint64_t count = 0;
};

// The components a load through `pointer` reads: constant indices narrow the
// range, a dynamic index reads every element it could pick.
std::optional<ComponentRange> components_read(const Program& program, uint32_t pointer) {
    const Module& module = program.module;
    std::vector<const Instruction*> chains;  // outermost last
    uint32_t current = pointer;
    for (int step = 0; step < 64; ++step) {
        if (module.global_variables.count(current) > 0) break;
        const Instruction* definition = module.definition(current);
        if (definition == nullptr || definition->operands.empty()) return std::nullopt;
        if (definition->opcode == OpAccessChain || definition->opcode == OpInBoundsAccessChain) {
            chains.push_back(definition);
        } else if (definition->opcode != OpCopyObject) {
            return std::nullopt;
        }
        current = definition->operands[0];
    }
    if (module.global_variables.count(current) == 0) return std::nullopt;
    ComponentRange range{current, 0, 0};
    uint32_t type_id = pointee_type(module, module.value_type(current));
    for (auto chain = chains.rbegin(); chain != chains.rend(); ++chain) {
        const auto& ops = (*chain)->operands;
        for (size_t at = 1; at < ops.size(); ++at) {
            const Instruction* type = module.type(type_id);
            if (type == nullptr || type->operands.empty()) return std::nullopt;
            uint64_t index = 0;
            const bool constant = constant_integer(module, ops[at], index);
            if (type->opcode == OpTypeStruct) {
                if (!constant || index >= type->operands.size()) return std::nullopt;
                for (uint64_t member = 0; member < index; ++member) {
                    range.first += component_count(module, type->operands[member]);
                }
                type_id = type->operands[index];
            } else if (type->opcode == OpTypeArray || type->opcode == OpTypeVector || type->opcode == OpTypeMatrix) {
                if (!constant) {
                    range.count = component_count(module, type_id);
                    return range;
                }
                type_id = type->operands[0];
                range.first += index * component_count(module, type_id);
            } else {
                return std::nullopt;
            }
        }
    }
    range.count = component_count(module, type_id);
    return range;
}

// Component ranges [first, end) of one input already fetched.
using Fetched = std::map<uint64_t, uint64_t>;

// Adds [first, first + count) and returns how many of those were new.
uint64_t fetch(Fetched& fetched, uint64_t first, uint64_t count) {
    uint64_t end = first + count;
    uint64_t covered = 0;
    auto it = fetched.upper_bound(first);
    if (it != fetched.begin() && std::prev(it)->second >= first) --it;
    while (it != fetched.end() && it->first <= end) {
        covered += std::min(end, it->second) - std::max(first, it->first);
        first = std::min(first, it->first);
        end = std::max(end, it->second);
        it = fetched.erase(it);
    }
    fetched.emplace(first, end);
    return count - std::min(count, covered);
}

struct Site {
    ComponentRange range;
    bool half = false;             // 16-bit components pair up on the interpolator
    uint64_t component_bytes = 4;  // for attribute fetches
    uint32_t source_line = 0;
};

class FetchCharges {
public:
    FetchCharges(const Program& program, size_t fn, const InstructionMask& mask)
        : program_(program), flow_(program.control_flow[fn]) {
        const auto& blocks = program.module.functions[fn].blocks;
        sites_.resize(blocks.size());
        for (size_t b : flow_.order) {
            const auto& instructions = blocks[b].instructions;
            for (size_t i = 0; i < instructions.size(); ++i) {
                if (mask.contains(fn, b, i)) add_site(b, instructions[i]);
            }
        }
    }

    InputFetches charge() {
        InputFetches fetches;
        const size_t count = flow_.successors.size();
        fetches.block.assign(count, PipeCycles{});
        fetches.loop.assign(flow_.loops.loops.size(), PipeCycles{});
        fetches.lines.assign(program_.module.source_lines.size(), PipeCycles{});
        // Reads inside a loop belong to the outermost loop's entry.
        std::vector<std::vector<size_t>> sites_at(count);
        std::vector<int> loop_entry(count, -1);
        for (size_t b : flow_.order) {
            int loop = flow_.loops.innermost[b];
            while (loop >= 0 && flow_.loops.loops[loop].parent >= 0) loop = flow_.loops.loops[loop].parent;
            const size_t point = loop >= 0 ? flow_.loops.loops[loop].header : b;
            if (loop >= 0) loop_entry[point] = loop;
            sites_at[point].push_back(b);
        }
        // Down the dominator tree, each point sees what its dominators fetched.
        std::vector<std::vector<size_t>> children(count);
        for (size_t b : flow_.order) {
            if (flow_.idom[b] != NO_DOMINATOR && flow_.idom[b] != b) children[flow_.idom[b]].push_back(b);
        }
        std::unordered_map<uint32_t, Fetched> fetched;
        struct Visit {
            size_t block;
            bool leaving;
            std::vector<std::pair<uint32_t, Fetched>> saved;
        };
        std::vector<Visit> stack;
        if (!flow_.order.empty()) stack.push_back({flow_.order.front(), false, {}});
        while (!stack.empty()) {
            if (stack.back().leaving) {
                for (auto& [root, before] : stack.back().saved) fetched[root] = std::move(before);
                stack.pop_back();
                continue;
            }
            stack.back().leaving = true;
            const size_t point = stack.back().block;
            PipeCycles& cost = loop_entry[point] >= 0 ? fetches.loop[loop_entry[point]] : fetches.block[point];
            cost = charge_point(sites_at[point], fetched, stack.back().saved, fetches.lines);
            for (size_t child : children[point]) stack.push_back({child, false, {}});
        }
        return fetches;
    }

private:
    void add_site(size_t block, const Instruction& instruction) {
        if (instruction.opcode != OpLoad || instruction.operands.empty()) return;
        const uint32_t pointer = instruction.operands[0];
        if (program_.memory_kind(pointer) != MemoryKind::Input) return;
        if (program_.builtin_of(program_.trace_pointer(pointer)) >= 0) return;
        const std::optional<ComponentRange> range = components_read(program_, pointer);
        if (!range || range->count == 0) return;
        Site site;
        site.range = *range;
        const uint32_t bits = scalar_bits(program_.module, instruction.type_id);
        site.half = bits == 16 || is_half_precision(program_, instruction);
        site.component_bytes = std::max<uint32_t>(bits / 8, 1);
        site.source_line = instruction.source_line;
        sites_[block].push_back(site);
    }

    // The cost of the components first fetched at a point, per input; each
    // input's share also goes to the line of the first read that fetched it.
    PipeCycles charge_point(const std::vector<size_t>& blocks, std::unordered_map<uint32_t, Fetched>& fetched,
                            std::vector<std::pair<uint32_t, Fetched>>& saved, std::vector<PipeCycles>& lines) {
        struct NewComponents {
            uint64_t full = 0, half = 0, bytes = 0;
            uint32_t source_line = 0;
            bool any = false;
        };
        std::map<uint32_t, NewComponents> added;
        for (size_t b : blocks) {
            for (const Site& site : sites_[b]) {
                Fetched& set = fetched[site.range.root];
                if (added.count(site.range.root) == 0) saved.emplace_back(site.range.root, set);
                NewComponents& fresh = added[site.range.root];
                const uint64_t count = fetch(set, site.range.first, site.range.count);
                if (count > 0 && !fresh.any) {
                    fresh.any = true;
                    fresh.source_line = site.source_line;
                }
                (site.half ? fresh.half : fresh.full) += count;
                fresh.bytes += count * site.component_bytes;
            }
        }
        PipeCycles cost{};
        for (const auto& [root, fresh] : added) {
            if (fresh.full + fresh.half == 0) continue;
            PipeCycles input{};
            if (program_.is_fragment()) {
                input[PipeV] = static_cast<double>(fresh.full) + std::ceil(static_cast<double>(fresh.half) / 2.0);
            } else {
                input[PipeLS] = load_store_messages(fresh.bytes);
            }
            add_cycles(cost, input);
            if (fresh.source_line < lines.size()) add_cycles(lines[fresh.source_line], input);
        }
        return cost;
    }

    const Program& program_;
    const ControlFlow& flow_;
    std::vector<std::vector<Site>> sites_;
};

}  // namespace

InputFetches input_fetches(const Program& program, size_t function, const InstructionMask& mask) {
    return FetchCharges(program, function, mask).charge();
}

}  // namespace reference
