#include "analysis/module_ir.h"

#include <algorithm>
#include <cstddef>
#include <unordered_set>

#include "analysis/spirv_defs.h"
#include "analysis/spirv_words.h"

namespace reference {

namespace {

using namespace spirv;

bool is_type_declaration(uint16_t opcode) {
    static const std::unordered_set<uint16_t> extra = {spv::OpTypePipeStorage,
                                                       spv::OpTypeNamedBarrier,
                                                       spv::OpTypeUntypedPointerKHR,
                                                       spv::OpTypeCooperativeMatrixKHR,
                                                       spv::OpTypeRayQueryKHR,
                                                       spv::OpTypeHitObjectNV,
                                                       spv::OpTypeAccelerationStructureKHR,
                                                       spv::OpTypeCooperativeMatrixNV};
    return (opcode >= OpTypeVoid && opcode < OpTypeForwardPointer) || extra.count(opcode) > 0;
}

bool is_constant_declaration(uint16_t opcode) {
    return opcode == OpUndef || (opcode >= OpConstantTrue && opcode <= OpConstantNull) ||
           (opcode >= OpSpecConstantTrue && opcode <= OpSpecConstantOp) || opcode == spv::OpConstantPipeStorage;
}

// Function-body opcodes that never produce a result.
bool never_has_result(uint16_t opcode) {
    static const std::unordered_set<uint16_t> opcodes = {0,
                                                         OpLine,
                                                         OpNoLine,
                                                         OpStore,
                                                         OpCopyMemory,
                                                         OpCopyMemorySized,
                                                         OpImageWrite,
                                                         spv::OpEmitVertex,
                                                         spv::OpEndPrimitive,
                                                         spv::OpEmitStreamVertex,
                                                         spv::OpEndStreamPrimitive,
                                                         spv::OpControlBarrier,
                                                         spv::OpMemoryBarrier,
                                                         spv::OpAtomicStore,
                                                         OpLoopMerge,
                                                         OpSelectionMerge,
                                                         OpBranch,
                                                         OpBranchConditional,
                                                         OpSwitch,
                                                         OpKill,
                                                         OpReturn,
                                                         OpReturnValue,
                                                         OpUnreachable,
                                                         OpLifetimeStart,
                                                         OpLifetimeStop,
                                                         spv::OpGroupWaitEvents,
                                                         spv::OpCommitReadPipe,
                                                         spv::OpCommitWritePipe,
                                                         spv::OpGroupCommitReadPipe,
                                                         spv::OpGroupCommitWritePipe,
                                                         spv::OpRetainEvent,
                                                         spv::OpReleaseEvent,
                                                         spv::OpSetUserEventStatus,
                                                         spv::OpCaptureEventProfilingInfo,
                                                         OpAtomicFlagClear,
                                                         spv::OpMemoryNamedBarrier,
                                                         OpTerminateInvocation,
                                                         spv::OpUntypedPrefetchKHR,
                                                         spv::OpTraceRayKHR,
                                                         spv::OpExecuteCallableKHR,
                                                         OpIgnoreIntersectionKHR,
                                                         OpTerminateRayKHR,
                                                         spv::OpCooperativeMatrixStoreKHR,
                                                         OpEmitMeshTasksEXT,
                                                         spv::OpSetMeshOutputsEXT,
                                                         spv::OpWritePackedPrimitiveIndices4x8NV,
                                                         OpIgnoreIntersectionNV,
                                                         OpTerminateRayNV,
                                                         spv::OpTraceNV,
                                                         spv::OpTraceMotionNV,
                                                         spv::OpTraceRayMotionNV,
                                                         spv::OpExecuteCallableNV,
                                                         spv::OpBeginInvocationInterlockEXT,
                                                         spv::OpEndInvocationInterlockEXT,
                                                         OpDemoteToHelperInvocation,
                                                         spv::OpAssumeTrueKHR};
    return opcodes.count(opcode) > 0;
}

std::string literal_text(const uint32_t* words, size_t count, size_t& words_used) {
    std::string text;
    words_used = count;
    for (size_t w = 0; w < count; ++w) {
        for (int byte = 0; byte < 4; ++byte) {
            char c = static_cast<char>((words[w] >> (8 * byte)) & 0xFF);
            if (c == '\0') {
                words_used = w + 1;
                return text;
            }
            text.push_back(c);
        }
    }
    return text;
}

uint32_t byte_swap(uint32_t word) {
    return (word >> 24) | ((word >> 8) & 0xFF00) | ((word << 8) & 0xFF0000) | (word << 24);
}

class Parser {
public:
    explicit Parser(Module& module) : module_(module) {}

    void instruction(uint16_t opcode, const uint32_t* words, size_t count) {
        if (function_ != nullptr) {
            in_function(opcode, words, count);
        } else {
            global(opcode, words, count);
        }
    }

    void finish() {
        close_function();
        for (auto& entry : module_.entry_points) {
            for (const auto& mode : modes_) {
                if (mode.first == entry.function) entry.execution_modes.push_back(mode.second);
            }
        }
    }

private:
    static Instruction typed(uint16_t opcode, const uint32_t* words, size_t count) {
        Instruction instruction;
        instruction.opcode = opcode;
        if (count >= 2) {
            instruction.type_id = words[0];
            instruction.result_id = words[1];
            instruction.operands.assign(words + 2, words + count);
        }
        return instruction;
    }

    void global(uint16_t opcode, const uint32_t* words, size_t count) {
        if (is_type_declaration(opcode) && count >= 1) {
            Instruction type;
            type.opcode = opcode;
            type.result_id = words[0];
            type.operands.assign(words + 1, words + count);
            module_.types.emplace(words[0], std::move(type));
        } else if (is_constant_declaration(opcode) && count >= 2) {
            module_.value_types.emplace(words[1], words[0]);
            module_.constants.emplace(words[1], typed(opcode, words, count));
        } else if (opcode == OpVariable && count >= 3) {
            module_.value_types.emplace(words[1], words[0]);
            module_.global_variables.emplace(words[1], typed(opcode, words, count));
        } else if (opcode == OpFunction && count >= 2) {
            start_function(words[1], words[0]);
        } else if (opcode == OpName && count >= 2) {
            size_t used = 0;
            module_.names.emplace(words[0], literal_text(words + 1, count - 1, used));
        } else if (opcode == spv::OpString && count >= 2) {
            size_t used = 0;
            strings_.emplace(words[0], literal_text(words + 1, count - 1, used));
        } else if (opcode == spv::OpSource && count >= 3) {
            // Included files may have an OpSource of their own, after the main one.
            if (main_file_ == 0) main_file_ = words[2];
        } else if (opcode == OpExtInstImport && count >= 2) {
            size_t used = 0;
            module_.ext_imports.emplace(words[0], literal_text(words + 1, count - 1, used));
        } else if (opcode == OpMemoryModel && count >= 1) {
            module_.addressing_model = words[0];
        } else if (opcode == OpEntryPoint && count >= 3) {
            EntryPointDecl entry;
            entry.execution_model = words[0];
            entry.function = words[1];
            size_t used = 0;
            entry.name = literal_text(words + 2, count - 2, used);
            module_.entry_points.push_back(std::move(entry));
        } else if ((opcode == OpExecutionMode || opcode == OpExecutionModeId) && count >= 2) {
            modes_.emplace_back(words[0], words[1]);
        } else if (opcode == OpDecorate && count >= 2) {
            decorate(module_.decorations[words[0]], words[1], count >= 3 ? words[2] : 0);
        } else if (opcode == OpMemberDecorate && count >= 4 && words[2] == DecorationBuiltIn) {
            module_.member_builtins[{words[0], words[1]}] = words[3];
        }
    }

    static void decorate(Decorations& target, uint32_t decoration, uint32_t value) {
        switch (decoration) {
            case DecorationRelaxedPrecision: target.relaxed_precision = true; break;
            case DecorationBlock: target.block = true; break;
            case DecorationBufferBlock: target.buffer_block = true; break;
            case DecorationBuiltIn: target.builtin = value; break;
            case DecorationLocation: target.location = value; break;
            default: break;
        }
    }

    void start_function(uint32_t id, uint32_t return_type) {
        close_function();
        module_.function_index.emplace(id, module_.functions.size());
        module_.functions.emplace_back();
        function_ = &module_.functions.back();
        function_->id = id;
        module_.value_types.emplace(id, return_type);
    }

    void close_function() {
        function_ = nullptr;
        block_open_ = false;
    }

    bool defines_result(uint16_t opcode, const uint32_t* words, size_t count) const {
        if (never_has_result(opcode) || count < 2) return false;
        return module_.types.count(words[0]) > 0 && module_.definitions.count(words[1]) == 0 &&
               module_.value_types.count(words[1]) == 0;
    }

    void in_function(uint16_t opcode, const uint32_t* words, size_t count) {
        const size_t function_number = module_.functions.size() - 1;
        if (opcode == OpFunctionEnd) {
            close_function();
        } else if (opcode == OpFunctionParameter && count >= 2) {
            if (module_.value_types.emplace(words[1], words[0]).second) {
                module_.definitions[words[1]] = {function_number, SIZE_MAX, function_->parameters.size()};
            }
            function_->parameters.push_back(typed(opcode, words, count));
        } else if (opcode == OpLine && count >= 2) {
            current_line_ = source_line(words[0], words[1]);
        } else if (opcode == OpNoLine) {
            current_line_ = 0;
        } else if (is_debug_info(opcode, words, count)) {
            // Describes the source; never runs.
        } else if (opcode == OpLabel && count >= 1) {
            current_line_ = 0;  // a line does not reach into the next block
            function_->blocks.emplace_back();
            function_->blocks.back().label = words[0];
            block_open_ = true;
        } else if (opcode == OpFunction) {
            global(opcode, words, count);
        } else if (block_open_) {
            Block& block = function_->blocks.back();
            Instruction instruction;
            instruction.opcode = opcode;
            if (defines_result(opcode, words, count)) {
                instruction = typed(opcode, words, count);
                module_.value_types.emplace(words[1], words[0]);
                module_.definitions[words[1]] = {function_number, function_->blocks.size() - 1,
                                                 block.instructions.size()};
            } else {
                instruction.operands.assign(words, words + count);
            }
            instruction.source_line = current_line_;
            block.instructions.push_back(std::move(instruction));
            if (is_block_terminator(opcode)) {
                block_open_ = false;
                current_line_ = 0;
            }
        }
    }

    // Debug-information sets describe the source and never run.
    bool is_debug_info(uint16_t opcode, const uint32_t* words, size_t count) const {
        if (opcode != OpExtInst || count < 3) return false;
        auto set = module_.ext_imports.find(words[2]);
        return set != module_.ext_imports.end() &&
               (set->second.rfind("NonSemantic.", 0) == 0 || set->second == "OpenCL.DebugInfo.100" ||
                set->second == "DebugInfo");
    }

    // The index of a (file, line) pair, adding it when new; the main source
    // is file 0 whatever order the files are met in.
    uint32_t source_line(uint32_t file_string, uint32_t line) {
        if (line == 0) return 0;
        if (module_.source_files.empty()) {
            const uint32_t main = main_file_ != 0 ? main_file_ : file_string;
            file_indices_.emplace(main, 0);
            module_.source_files.push_back(string_text(main));
        }
        auto file = file_indices_.find(file_string);
        if (file == file_indices_.end()) {
            file = file_indices_.emplace(file_string, static_cast<uint32_t>(module_.source_files.size())).first;
            module_.source_files.push_back(string_text(file_string));
        }
        auto [found, added] =
            line_indices_.emplace(std::pair{file->second, line}, static_cast<uint32_t>(module_.source_lines.size()));
        if (added) module_.source_lines.push_back(SourceLine{file->second, line});
        return found->second;
    }

    std::string string_text(uint32_t id) const {
        auto found = strings_.find(id);
        return found == strings_.end() ? std::string() : found->second;
    }

    Module& module_;
    Function* function_ = nullptr;
    bool block_open_ = false;
    std::vector<std::pair<uint32_t, uint32_t>> modes_;
    std::unordered_map<uint32_t, std::string> strings_;  // OpString by id
    uint32_t main_file_ = 0;                             // OpSource's file
    uint32_t current_line_ = 0;
    std::unordered_map<uint32_t, uint32_t> file_indices_;  // OpString id -> source_files index
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> line_indices_;
};

// The plain image instruction a sparse one mirrors: its operands sit at the
// same places.
uint16_t without_residency(uint16_t opcode) {
    switch (opcode) {
        case OpImageSparseSampleImplicitLod: return OpImageSampleImplicitLod;
        case OpImageSparseSampleExplicitLod: return OpImageSampleExplicitLod;
        case OpImageSparseSampleDrefImplicitLod: return OpImageSampleDrefImplicitLod;
        case OpImageSparseSampleDrefExplicitLod: return OpImageSampleDrefExplicitLod;
        case OpImageSparseSampleProjImplicitLod: return OpImageSampleProjImplicitLod;
        case OpImageSparseSampleProjExplicitLod: return OpImageSampleProjExplicitLod;
        case OpImageSparseSampleProjDrefImplicitLod: return OpImageSampleProjDrefImplicitLod;
        case OpImageSparseSampleProjDrefExplicitLod: return OpImageSampleProjDrefExplicitLod;
        case OpImageSparseFetch: return OpImageFetch;
        case OpImageSparseGather: return OpImageGather;
        case OpImageSparseDrefGather: return OpImageDrefGather;
        case OpImageSparseRead: return OpImageRead;
        default: return opcode;
    }
}

}  // namespace

int image_operands_position(uint16_t opcode) {
    switch (without_residency(opcode)) {
        case OpImageSampleImplicitLod:
        case OpImageSampleExplicitLod:
        case OpImageSampleProjImplicitLod:
        case OpImageSampleProjExplicitLod:
        case OpImageFetch:
        case OpImageRead: return 2;
        case OpImageSampleDrefImplicitLod:
        case OpImageSampleDrefExplicitLod:
        case OpImageSampleProjDrefImplicitLod:
        case OpImageSampleProjDrefExplicitLod:
        case OpImageGather:
        case OpImageDrefGather:
        case OpImageWrite: return 3;
        default: return -1;
    }
}

const Instruction* Module::type(uint32_t id) const {
    auto found = types.find(id);
    return found == types.end() ? nullptr : &found->second;
}

const Instruction* Module::definition(uint32_t id) const {
    auto found = definitions.find(id);
    if (found == definitions.end()) return nullptr;
    const Location& where = found->second;
    if (where.function >= functions.size()) return nullptr;
    const Function& function = functions[where.function];
    if (where.block == SIZE_MAX) {
        return where.instruction < function.parameters.size() ? &function.parameters[where.instruction] : nullptr;
    }
    if (where.block >= function.blocks.size()) return nullptr;
    const Block& block = function.blocks[where.block];
    return where.instruction < block.instructions.size() ? &block.instructions[where.instruction] : nullptr;
}

const Decorations* Module::decorations_of(uint32_t id) const {
    auto found = decorations.find(id);
    return found == decorations.end() ? nullptr : &found->second;
}

uint32_t Module::value_type(uint32_t id) const {
    auto found = value_types.find(id);
    return found == value_types.end() ? 0 : found->second;
}

bool Module::is_constant(uint32_t id) const { return constants.count(id) > 0; }

Module parse_module(const std::vector<uint32_t>& input, std::string& error) {
    Module module;
    if (input.size() < 5) {
        error = "SPIR-V module is too short";
        return module;
    }
    std::vector<uint32_t> swapped;
    const std::vector<uint32_t>* words = &input;
    if (input[0] == byte_swap(MAGIC)) {
        swapped.reserve(input.size());
        for (uint32_t word : input) swapped.push_back(byte_swap(word));
        words = &swapped;
    } else if (input[0] != MAGIC) {
        error = "not a SPIR-V module";
        return module;
    }
    Parser parser(module);
    const size_t stopped = walk_instructions(*words, [&](uint16_t opcode, size_t first, size_t end) {
        parser.instruction(opcode, words->data() + first + 1, end - first - 1);
    });
    if (stopped != words->size()) error = "malformed SPIR-V instruction at word " + std::to_string(stopped);
    parser.finish();
    return module;
}

bool is_block_terminator(uint16_t opcode) {
    switch (opcode) {
        case OpBranch:
        case OpBranchConditional:
        case OpSwitch:
        case OpKill:
        case OpReturn:
        case OpReturnValue:
        case OpUnreachable:
        case OpTerminateInvocation:
        case OpIgnoreIntersectionKHR:
        case OpTerminateRayKHR:
        case OpEmitMeshTasksEXT:
        case OpIgnoreIntersectionNV:
        case OpTerminateRayNV: return true;
        default: return false;
    }
}

std::vector<uint32_t> branch_targets(const Module& module, const Instruction& instruction) {
    const auto& ops = instruction.operands;
    std::vector<uint32_t> targets;
    if (instruction.opcode == OpBranch && ops.size() >= 1) {
        targets.push_back(ops[0]);
    } else if (instruction.opcode == OpBranchConditional && ops.size() >= 3) {
        targets.push_back(ops[1]);
        targets.push_back(ops[2]);
    } else if (instruction.opcode == OpSwitch && ops.size() >= 2) {
        targets.push_back(ops[1]);
        // Case literals are as wide as the selector: one word, or two for 64 bits.
        size_t literal_words = 1;
        if (const Instruction* type = module.type(module.value_type(ops[0]))) {
            if (!type->operands.empty() && type->operands[0] > 32) literal_words = 2;
        }
        for (size_t at = 2; at + literal_words < ops.size(); at += literal_words + 1) {
            targets.push_back(ops[at + literal_words]);
        }
    }
    return targets;
}

std::vector<uint32_t> value_operands(const Instruction& instruction) {
    const auto& ops = instruction.operands;
    auto take = [&ops](std::initializer_list<size_t> positions) {
        std::vector<uint32_t> ids;
        for (size_t at : positions) {
            if (at < ops.size()) ids.push_back(ops[at]);
        }
        return ids;
    };
    auto all_but = [&ops](size_t skip_from, size_t skip_count) {
        std::vector<uint32_t> ids;
        for (size_t at = 0; at < ops.size(); ++at) {
            if (at < skip_from || at >= skip_from + skip_count) ids.push_back(ops[at]);
        }
        return ids;
    };
    const uint16_t op = instruction.opcode;
    if (op == OpLoopMerge || op == OpSelectionMerge || op == OpBranch) return {};
    switch (op) {
        case OpLoad:
        case OpCompositeExtract:
        case OpArrayLength:
        case OpGenericCastToPtrExplicit:
        case OpBranchConditional:
        case OpSwitch:
        case OpReturnValue: return take({0});
        case OpStore:
        case OpCompositeInsert:
        case OpVectorShuffle:
        case OpCopyMemory: return take({0, 1});
        case OpCopyMemorySized: return take({0, 1, 2});
        case OpVariable: return take({1});
        case OpFunctionCall: return all_but(0, 1);
        case OpExtInst: return all_but(0, 2);
        case OpPhi: {
            std::vector<uint32_t> ids;
            for (size_t at = 0; at < ops.size(); at += 2) ids.push_back(ops[at]);
            return ids;
        }
        default: break;
    }
    const int mask_at = image_operands_position(op);
    if (mask_at >= 0) return all_but(static_cast<size_t>(mask_at), 1);
    if ((op >= OpGroupNonUniformIAdd && op <= OpGroupNonUniformLogicalXor) || op == OpGroupNonUniformBallotBitCount) {
        return all_but(1, 1);  // the group operation is a literal
    }
    return ops;
}

}  // namespace reference
