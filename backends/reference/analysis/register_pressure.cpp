#include "analysis/register_pressure.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "analysis/instruction_cost.h"
#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

constexpr uint32_t NONE = UINT32_MAX;

// Register space one value takes.
double value_weight(const Program& program, const Instruction& definition) {
    const Module& module = program.module;
    const uint32_t type = definition.type_id;
    if (is_opaque(module, type)) return 0;
    if (is_pointer(module, type)) {
        // Logical pointers fold into the access; physical ones are 32- or
        // 64-bit addresses held like integers.
        if (module.addressing_model == 0 || definition.opcode == OpVariable) return 0;
        return program.profile.register_components == 1 ? static_cast<double>(byte_size(module, type)) / 4.0 : 1.0;
    }
    if (definition.opcode == OpLoad && !definition.operands.empty() &&
        program.memory_kind(definition.operands[0]) == MemoryKind::UniformRegister) {
        return 0;
    }
    const double components = static_cast<double>(std::min<uint64_t>(component_count(module, type), 1u << 16));
    const uint32_t bits = scalar_bits(module, type);
    if (program.profile.register_components > 1) {
        const double per_register = program.profile.register_components * (bits == 64 ? 0.5 : 1.0);
        return std::ceil(components / per_register);
    }
    if (bits == 64) return components * 2;
    if (program.profile.packs_fp16 && (bits < 32 || is_half_precision(program, definition))) return components / 2;
    return components;
}

// Whether a scheduler moves the instruction towards its reader: loads of
// memory the program cannot write, and the access chains feeding them (at
// most an index stays live a little longer). Moving arithmetic could keep
// its operands live longer than its result saves.
bool is_movable(const Program& program, const Instruction& instruction) {
    switch (instruction.opcode) {
        case OpLoad: return !instruction.operands.empty() && program.is_read_only(instruction.operands[0]);
        case OpAccessChain:
        case OpInBoundsAccessChain: return true;
        default: return false;
    }
}

// The order a scheduler that keeps register pressure low gives the block:
// a movable instruction whose value has a single reader, in this block, goes
// right before that reader; the rest keep their places. Optimised modules
// list loads in source order, which keeps loaded values live far longer than
// any driver would. Values read several times stay where they are.
template <typename LiveOut>
std::vector<size_t> pressure_order(const Program& program, const Block& block, LiveOut is_live_out) {
    const auto& instructions = block.instructions;
    const size_t count = instructions.size();
    std::unordered_map<uint32_t, size_t> defined_at;
    for (size_t i = 0; i < count; ++i) {
        if (instructions[i].result_id != 0) defined_at.emplace(instructions[i].result_id, i);
    }
    // deps[i]: the movable definitions instruction i reads from this block.
    std::vector<std::vector<size_t>> deps(count);
    std::vector<uint32_t> readers(count, 0);
    std::vector<char> read_later(count, 0);
    for (size_t i = 0; i < count; ++i) {
        for (uint32_t id : value_operands(instructions[i])) {
            auto found = defined_at.find(id);
            if (found == defined_at.end()) continue;
            ++readers[found->second];
            // A phi reads at the end of a predecessor, not here.
            if (instructions[i].opcode != OpPhi && found->second < i) {
                deps[i].push_back(found->second);
                read_later[found->second] = 1;
            }
        }
    }
    std::vector<char> deferred(count, 0);
    for (size_t i = 0; i < count; ++i) {
        deferred[i] = readers[i] == 1 && read_later[i] && !is_live_out(instructions[i].result_id) &&
                      is_movable(program, instructions[i]);
    }
    // Only deferred definitions are pulled towards their reader.
    for (auto& list : deps) {
        list.erase(std::remove_if(list.begin(), list.end(), [&](size_t d) { return !deferred[d]; }), list.end());
    }
    std::vector<size_t> order;
    order.reserve(count);
    std::vector<char> placed(count, 0);
    std::vector<std::pair<size_t, size_t>> stack;  // instruction, next dependency
    for (size_t root = 0; root < count; ++root) {
        if (deferred[root] || placed[root]) continue;
        placed[root] = 1;
        stack.push_back({root, 0});
        while (!stack.empty()) {
            const size_t at = stack.back().first;
            const size_t next = stack.back().second++;
            if (next < deps[at].size()) {
                const size_t dependency = deps[at][next];
                if (!placed[dependency]) {
                    placed[dependency] = 1;
                    stack.push_back({dependency, 0});
                }
                continue;
            }
            order.push_back(at);
            stack.pop_back();
        }
    }
    return order;
}

class FunctionLiveness {
public:
    FunctionLiveness(const Program& program, size_t fn, const InstructionMask& mask,
                     const std::vector<double>& callee_peaks, const std::vector<std::vector<double>>* callee_lines)
        : program_(program), module_(program.module), function_(module_.functions[fn]), fn_(fn), mask_(mask),
          callee_peaks_(callee_peaks), callee_lines_(callee_lines), flow_(program.control_flow[fn]) {
        if (callee_lines_ != nullptr) lines_.assign(module_.source_lines.size(), -1.0);
    }

    // By source line, after peak(); empty unless callee lines were given.
    std::vector<double>& lines() { return lines_; }

    double peak() {
        collect_values();
        // Hostile modules can pair thousands of values with thousands of
        // blocks; past this size only the pressure inside each block counts.
        constexpr double LIVE_SET_LIMIT = 5e7;
        if (static_cast<double>(values_.size()) * function_.blocks.size() <= LIVE_SET_LIMIT) {
            compute_live_sets();
        } else {
            live_out_.assign(function_.blocks.size(), {});
        }
        double peak = 0;
        for (size_t b : flow_.order) peak = std::max(peak, block_peak(b));
        return peak;
    }

private:
    void collect_values() {
        // A kernel's own arguments sit in uniform registers.
        const bool kernel_arguments = program_.is_kernel() && fn_ == program_.entry_function;
        for (size_t p = 0; p < function_.parameters.size() && !kernel_arguments; ++p) {
            add_value(function_.parameters[p], 0);
        }
        const size_t count = function_.blocks.size();
        for (size_t b = 0; b < count; ++b) block_of_label_.emplace(function_.blocks[b].label, b);
        uses_.resize(count);
        phi_uses_.resize(count);
        for (size_t b : flow_.order) {
            const auto& instructions = function_.blocks[b].instructions;
            for (size_t i = 0; i < instructions.size(); ++i) {
                if (!mask_.contains(fn_, b, i)) continue;
                const Instruction& instruction = instructions[i];
                if (instruction.result_id != 0) add_value(instruction, b);
            }
        }
        for (size_t b : flow_.order) {
            const auto& instructions = function_.blocks[b].instructions;
            for (size_t i = 0; i < instructions.size(); ++i) {
                if (!mask_.contains(fn_, b, i)) continue;
                const Instruction& instruction = instructions[i];
                if (instruction.opcode == OpPhi) {
                    const auto& ops = instruction.operands;
                    for (size_t at = 0; at + 1 < ops.size(); at += 2) {
                        const uint32_t value = index_of(ops[at]);
                        auto from = block_of_label_.find(ops[at + 1]);
                        if (value != NONE && from != block_of_label_.end()) {
                            phi_uses_[from->second].push_back(value);
                        }
                    }
                    continue;
                }
                for (uint32_t id : value_operands(instruction)) {
                    const uint32_t value = index_of(id);
                    if (value != NONE && values_[value].block != b) uses_[b].push_back(value);
                }
            }
        }
    }

    void add_value(const Instruction& definition, size_t block) {
        const double weight = value_weight(program_, definition);
        if (weight <= 0) return;
        index_.emplace(definition.result_id, static_cast<uint32_t>(values_.size()));
        values_.push_back({weight, block});
    }

    uint32_t index_of(uint32_t id) const {
        auto found = index_.find(id);
        return found == index_.end() ? NONE : found->second;
    }

    // Per value, walk up from each use to the definition, marking the value
    // live on the way (the usual path exploration for SSA form).
    void compute_live_sets() {
        const size_t count = function_.blocks.size();
        live_in_.assign(count, {});
        live_out_.assign(count, {});
        std::vector<uint32_t> in_mark(count, NONE), out_mark(count, NONE);
        std::vector<std::vector<uint32_t>> use_blocks(values_.size()), phi_blocks(values_.size());
        for (size_t b = 0; b < count; ++b) {
            for (uint32_t v : uses_[b]) use_blocks[v].push_back(static_cast<uint32_t>(b));
            for (uint32_t v : phi_uses_[b]) phi_blocks[v].push_back(static_cast<uint32_t>(b));
        }
        std::vector<size_t> stack;
        for (uint32_t v = 0; v < values_.size(); ++v) {
            const size_t home = values_[v].block;
            auto live_out = [&](size_t block) {
                if (out_mark[block] != v) {
                    out_mark[block] = v;
                    live_out_[block].push_back(v);
                }
            };
            stack.assign(use_blocks[v].begin(), use_blocks[v].end());
            for (uint32_t block : phi_blocks[v]) {
                live_out(block);
                if (block != home) stack.push_back(block);
            }
            while (!stack.empty()) {
                const size_t block = stack.back();
                stack.pop_back();
                if (block == home || in_mark[block] == v) continue;
                in_mark[block] = v;
                live_in_[block].push_back(v);
                for (size_t predecessor : flow_.predecessors[block]) {
                    live_out(predecessor);
                    stack.push_back(predecessor);
                }
            }
        }
    }

    double block_peak(size_t b) {
        std::vector<char>& live = live_flags_;
        live.assign(values_.size(), 0);
        double current = 0;
        for (uint32_t v : live_out_[b]) {
            live[v] = 1;
            current += values_[v].weight;
        }
        double peak = current;
        const auto& instructions = function_.blocks[b].instructions;
        const std::vector<size_t> order = pressure_order(program_, function_.blocks[b], [&](uint32_t id) {
            const uint32_t value = index_of(id);
            return value != NONE && live[value];
        });
        for (size_t k = order.size(); k-- > 0;) {
            const size_t i = order[k];
            if (!mask_.contains(fn_, b, i)) continue;
            const Instruction& instruction = instructions[i];
            const uint32_t defined = instruction.result_id != 0 ? index_of(instruction.result_id) : NONE;
            double at_instruction = current;
            if (defined != NONE) {
                if (live[defined]) {
                    live[defined] = 0;
                    current -= values_[defined].weight;
                } else {
                    at_instruction += values_[defined].weight;  // written even if never read
                }
            }
            if (instruction.opcode == OpFunctionCall && !instruction.operands.empty()) {
                auto callee = module_.function_index.find(instruction.operands[0]);
                if (callee != module_.function_index.end() && callee->second < callee_peaks_.size()) {
                    peak = std::max(peak, current + callee_peaks_[callee->second]);
                    if (callee_lines_ != nullptr) {
                        const std::vector<double>& inner = (*callee_lines_)[callee->second];
                        for (size_t l = 0; l < inner.size() && l < lines_.size(); ++l)
                            if (inner[l] >= 0) lines_[l] = std::max(lines_[l], current + inner[l]);
                    }
                }
            }
            if (instruction.opcode != OpPhi) {
                for (uint32_t id : value_operands(instruction)) {
                    const uint32_t used = index_of(id);
                    if (used != NONE && !live[used]) {
                        live[used] = 1;
                        current += values_[used].weight;
                    }
                }
            }
            peak = std::max({peak, at_instruction, current});
            if (!lines_.empty()) {
                double& line = lines_[instruction.source_line];
                line = std::max({line, at_instruction, current});
            }
        }
        return peak;
    }

    struct Value {
        double weight;
        size_t block;
    };

    const Program& program_;
    const Module& module_;
    const Function& function_;
    const size_t fn_;
    const InstructionMask& mask_;
    const std::vector<double>& callee_peaks_;
    const std::vector<std::vector<double>>* callee_lines_;
    std::vector<double> lines_;
    const ControlFlow& flow_;
    std::unordered_map<uint32_t, size_t> block_of_label_;
    std::unordered_map<uint32_t, uint32_t> index_;
    std::vector<Value> values_;
    std::vector<std::vector<uint32_t>> uses_, phi_uses_, live_in_, live_out_;
    std::vector<char> live_flags_;
};

}  // namespace

double peak_registers(const Program& program, const InstructionMask& mask) {
    const Module& module = program.module;
    std::vector<double> peaks(module.functions.size(), 0.0);
    for (size_t fn : program.callees_first()) {
        peaks[fn] = FunctionLiveness(program, fn, mask, peaks, nullptr).peak();
    }
    if (program.entry_function >= module.functions.size() || !program.reachable_functions[program.entry_function]) {
        return 0;
    }
    return peaks[program.entry_function];
}

std::vector<double> registers_by_line(const Program& program, const InstructionMask& mask) {
    const Module& module = program.module;
    std::vector<double> peaks(module.functions.size(), 0.0);
    std::vector<std::vector<double>> lines(module.functions.size());
    for (size_t fn : program.callees_first()) {
        FunctionLiveness liveness(program, fn, mask, peaks, &lines);
        peaks[fn] = liveness.peak();
        lines[fn] = std::move(liveness.lines());
    }
    if (program.entry_function >= module.functions.size() || !program.reachable_functions[program.entry_function]) {
        return std::vector<double>(module.source_lines.size(), -1.0);
    }
    return lines[program.entry_function];
}

}  // namespace reference
