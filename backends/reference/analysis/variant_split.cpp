#include "analysis/variant_split.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "analysis/instruction_cost.h"
#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

// Operations that need the thread itself (its position in a quad or
// subgroup, its control flow), so their results never move to a pilot.
bool thread_bound(uint16_t op) {
    return op == OpPhi || op == OpFunctionCall || op == OpVariable || op == OpSampledImage || op == OpImage ||
           (op >= OpDPdx && op <= OpFwidthCoarse) ||
           (op >= OpGroupNonUniformElect && op <= OpGroupNonUniformQuadSwap) ||
           (op >= spv::OpSubgroupBallotKHR && op <= spv::OpSubgroupReadInvocationKHR) ||
           (op >= OpImageSampleImplicitLod && op <= OpImageQuerySamples) ||
           (op >= OpImageSparseSampleImplicitLod && op <= OpImageSparseRead) || op == OpImageTexelPointer;
}

bool is_uniform_root(const Module& module, uint32_t id) {
    auto variable = module.global_variables.find(id);
    if (variable == module.global_variables.end()) return false;
    const uint32_t storage = pointer_storage_class(module, variable->second.type_id);
    return storage == StorageUniformConstant || storage == StorageUniform || storage == StoragePushConstant;
}

struct InstructionRef {
    size_t function, block, index;
};

// Backward slice over data, memory and control dependences.
class Slicer {
public:
    explicit Slicer(const Program& program) : program_(program), module_(program.module) {
        dependences_.resize(module_.functions.size());
        block_of_label_.resize(module_.functions.size());
        program.for_each_instruction([this](size_t fn, size_t b, const Instruction& instruction) {
            const auto& block = module_.functions[fn].blocks[b];
            const size_t index = static_cast<size_t>(&instruction - block.instructions.data());
            const InstructionRef ref{fn, b, index};
            const uint16_t op = instruction.opcode;
            if (op == OpStore || op == OpCopyMemory || op == OpCopyMemorySized ||
                (op >= OpAtomicLoad && op <= OpAtomicXor)) {
                // Stores, copies and atomics all name the written pointer first.
                if (!instruction.operands.empty()) {
                    writers_[program_.trace_pointer(instruction.operands[0]).root].push_back(ref);
                }
            } else if (op == OpFunctionCall && !instruction.operands.empty()) {
                auto callee = module_.function_index.find(instruction.operands[0]);
                if (callee != module_.function_index.end()) callers_[callee->second].push_back(ref);
            } else if (op == OpReturnValue) {
                returns_[fn].push_back(ref);
            }
        });
        for (size_t fn = 0; fn < module_.functions.size(); ++fn) {
            if (!program.reachable_functions[fn]) continue;
            dependences_[fn] = control_dependences(program.control_flow[fn]);
            const auto& blocks = module_.functions[fn].blocks;
            for (size_t b = 0; b < blocks.size(); ++b) block_of_label_[fn].emplace(blocks[b].label, b);
        }
    }

    // Everything the seeds depend on; inputs read along the way are listed.
    InstructionMask slice(const std::vector<InstructionRef>& seeds, std::vector<uint32_t>& inputs) {
        InstructionMask mask(module_, false);
        std::vector<std::vector<char>> needed_blocks(module_.functions.size());
        for (size_t fn = 0; fn < module_.functions.size(); ++fn) {
            needed_blocks[fn].assign(module_.functions[fn].blocks.size(), 0);
        }
        std::set<uint32_t> input_set;
        std::vector<InstructionRef> work = seeds;
        std::vector<std::pair<size_t, size_t>> block_work;
        auto add_definition = [&](uint32_t id) {
            auto where = module_.definitions.find(id);
            if (where == module_.definitions.end()) return;
            const auto& location = where->second;
            if (location.block == SIZE_MAX) {
                // A parameter: whatever every caller passes.
                auto calls = callers_.find(location.function);
                if (calls != callers_.end()) work.insert(work.end(), calls->second.begin(), calls->second.end());
                return;
            }
            work.push_back({location.function, location.block, location.instruction});
        };
        while (!work.empty() || !block_work.empty()) {
            if (!block_work.empty()) {
                const auto [fn, b] = block_work.back();
                block_work.pop_back();
                for (size_t decider : dependences_[fn][b]) {
                    const auto& instructions = module_.functions[fn].blocks[decider].instructions;
                    if (!instructions.empty()) work.push_back({fn, decider, instructions.size() - 1});
                }
                if (fn != program_.entry_function) {
                    auto calls = callers_.find(fn);
                    if (calls != callers_.end()) work.insert(work.end(), calls->second.begin(), calls->second.end());
                }
                continue;
            }
            const InstructionRef ref = work.back();
            work.pop_back();
            if (mask.contains(ref.function, ref.block, ref.index)) continue;
            mask.set(ref.function, ref.block, ref.index, true);
            if (!needed_blocks[ref.function][ref.block]) {
                needed_blocks[ref.function][ref.block] = 1;
                block_work.emplace_back(ref.function, ref.block);
            }
            const Instruction& instruction = module_.functions[ref.function].blocks[ref.block].instructions[ref.index];
            for (uint32_t id : value_operands(instruction)) add_definition(id);
            if (instruction.opcode == OpPhi) {
                for (size_t at = 1; at < instruction.operands.size(); at += 2) {
                    auto from = block_of_label_[ref.function].find(instruction.operands[at]);
                    if (from != block_of_label_[ref.function].end() && !needed_blocks[ref.function][from->second]) {
                        needed_blocks[ref.function][from->second] = 1;
                        block_work.emplace_back(ref.function, from->second);
                    }
                }
            } else if (instruction.opcode == OpLoad && !instruction.operands.empty()) {
                const PointerInfo pointer = program_.trace_pointer(instruction.operands[0]);
                if (program_.memory_kind(instruction.operands[0]) == MemoryKind::Input) {
                    if (pointer.root != 0 && program_.builtin_of(pointer) < 0) input_set.insert(pointer.root);
                } else {
                    auto writers = writers_.find(pointer.root);
                    if (writers != writers_.end())
                        work.insert(work.end(), writers->second.begin(), writers->second.end());
                }
            } else if (instruction.opcode == OpFunctionCall && !instruction.operands.empty()) {
                auto callee = module_.function_index.find(instruction.operands[0]);
                if (callee != module_.function_index.end()) {
                    auto returns = returns_.find(callee->second);
                    if (returns != returns_.end())
                        work.insert(work.end(), returns->second.begin(), returns->second.end());
                }
            }
        }
        inputs.assign(input_set.begin(), input_set.end());
        return mask;
    }

private:
    const Program& program_;
    const Module& module_;
    std::vector<std::vector<std::vector<size_t>>> dependences_;
    std::vector<std::unordered_map<uint32_t, size_t>> block_of_label_;
    std::unordered_map<uint32_t, std::vector<InstructionRef>> writers_;
    std::unordered_map<size_t, std::vector<InstructionRef>> callers_;
    std::unordered_map<size_t, std::vector<InstructionRef>> returns_;
};

bool feeds_position(int64_t builtin) {
    return builtin == BuiltInPosition || builtin == BuiltInPointSize || builtin == BuiltInClipDistance ||
           builtin == BuiltInCullDistance;
}

}  // namespace

InstructionMask uniform_only_instructions(const Program& program) {
    const Module& module = program.module;
    InstructionMask mask(module, false);
    std::unordered_set<uint32_t> uniform;
    auto is_uniform = [&](uint32_t id) {
        return module.is_constant(id) || uniform.count(id) > 0 || is_uniform_root(module, id);
    };
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        if (instruction.result_id == 0 || thread_bound(op)) return;
        if (op == OpLoad && (instruction.operands.empty() ||
                             program.memory_kind(instruction.operands[0]) != MemoryKind::UniformRegister)) {
            return;
        }
        const InstructionCost cost = instruction_cost(program, instruction);
        if (cost.pipes[PipeLS] > 0 || cost.pipes[PipeV] > 0 || cost.pipes[PipeT] > 0) return;
        const auto operands = value_operands(instruction);
        if (!std::all_of(operands.begin(), operands.end(), is_uniform)) return;
        uniform.insert(instruction.result_id);
        const auto& instructions = module.functions[fn].blocks[b].instructions;
        mask.set(fn, b, static_cast<size_t>(&instruction - instructions.data()), true);
    });
    return mask;
}

bool has_arithmetic(const Program& program, const InstructionMask& mask) {
    bool found = false;
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        if (found) return;
        const auto& instructions = program.module.functions[fn].blocks[b].instructions;
        if (mask.contains(fn, b, static_cast<size_t>(&instruction - instructions.data()))) {
            found = instruction_cost(program, instruction).has_arithmetic();
        }
    });
    return found;
}

GeometrySplit split_geometry(const Program& program) {
    std::vector<InstructionRef> position_seeds, varying_seeds;
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        if ((op != OpStore && op != OpCopyMemory && op != OpCopyMemorySized) || instruction.operands.empty()) return;
        if (program.memory_kind(instruction.operands[0]) != MemoryKind::Output) return;
        const auto& instructions = program.module.functions[fn].blocks[b].instructions;
        const InstructionRef ref{fn, b, static_cast<size_t>(&instruction - instructions.data())};
        const bool position = feeds_position(program.builtin_of(program.trace_pointer(instruction.operands[0])));
        (position ? position_seeds : varying_seeds).push_back(ref);
    });
    Slicer slicer(program);
    GeometrySplit split{InstructionMask(program.module, false), InstructionMask(program.module, false), {}, {}};
    split.position = slicer.slice(position_seeds, split.position_inputs);
    split.varying = slicer.slice(varying_seeds, split.varying_inputs);
    split.has_varyings = !varying_seeds.empty();
    return split;
}

}  // namespace reference
