#include "analysis/shader_facts.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_set>

#include <spirv/unified1/OpenCL.std.h>

#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

bool is_atomic(uint16_t op) {
    return (op >= OpAtomicLoad && op <= OpAtomicXor) || op == OpAtomicFlagTestAndSet || op == OpAtomicFlagClear ||
           op == OpAtomicFMinEXT || op == OpAtomicFMaxEXT || op == OpAtomicFAddEXT;
}

// Memory other threads or later passes can see.
bool visible_memory(const Program& program, uint32_t pointer) {
    if (program.memory_kind(pointer) != MemoryKind::Memory) return false;
    const PointerInfo info = program.trace_pointer(pointer);
    uint32_t storage = info.storage_class;
    if (info.root != 0) storage = pointer_storage_class(program.module, program.module.value_type(info.root));
    return storage != StorageWorkgroup;
}

bool is_subpass_image(const Program& program, uint32_t image) {
    const Instruction* type = image_type_of(program.module, program.module.value_type(image));
    return type != nullptr && type->operands.size() >= 2 && type->operands[1] == DimSubpassData;
}

size_t index_in_block(const Program& program, size_t fn, size_t b, const Instruction& instruction) {
    return static_cast<size_t>(&instruction - program.module.functions[fn].blocks[b].instructions.data());
}

}  // namespace

bool has_side_effects(const Program& program) {
    bool found = false;
    program.for_each_instruction([&](size_t, size_t, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        if (found || instruction.operands.empty()) return;
        if (op == OpImageWrite) {
            found = true;
        } else if (op == OpStore || op == OpCopyMemory || op == OpCopyMemorySized || is_atomic(op)) {
            found = visible_memory(program, instruction.operands[0]);
        } else if (op == OpExtInst && instruction.operands.size() >= 2) {
            // vstore and printf write memory the host reads.
            const uint32_t number = instruction.operands[1];
            auto set = program.module.ext_imports.find(instruction.operands[0]);
            found = set != program.module.ext_imports.end() && set->second == "OpenCL.std" &&
                    ((number >= OpenCLLIB::Vstoren && number <= OpenCLLIB::Vstorea_halfn_r &&
                      number != OpenCLLIB::Vload_half && number != OpenCLLIB::Vload_halfn &&
                      number != OpenCLLIB::Vloada_halfn) ||
                     number == OpenCLLIB::Printf);
        }
    });
    return found;
}

std::vector<std::string> shader_flags(const Program& program) {
    std::set<std::string> raised;
    if (has_side_effects(program)) raised.insert("HAS_SIDE_EFFECTS");
    if (program.entry != nullptr) {
        const auto& modes = program.entry->execution_modes;
        if (std::find(modes.begin(), modes.end(), ModeEarlyFragmentTests) != modes.end()) {
            raised.insert("HAS_EARLY_FRAGMENT_TESTS");
        }
    }
    program.for_each_instruction([&](size_t, size_t, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        const auto& ops = instruction.operands;
        if (op == OpKill || op == OpTerminateInvocation || op == OpDemoteToHelperInvocation) {
            raised.insert("MODIFIES_COVERAGE");
        } else if (op == OpColorAttachmentReadEXT) {
            raised.insert("COLOR_BUFFER_READ");
        } else if (op == OpDepthAttachmentReadEXT) {
            raised.insert("DEPTH_BUFFER_READ");
        } else if (op == OpStencilAttachmentReadEXT) {
            raised.insert("STENCIL_BUFFER_READ");
        } else if ((op == OpImageRead || op == OpImageSparseRead) && !ops.empty() &&
                   is_subpass_image(program, ops[0])) {
            raised.insert("COLOR_BUFFER_READ");
        } else if (op == OpLoad && !ops.empty() && program.is_fragment() &&
                   program.memory_kind(ops[0]) == MemoryKind::Output) {
            raised.insert("COLOR_BUFFER_READ");  // framebuffer fetch
        } else if (op == OpLoad && !ops.empty() && program.memory_kind(ops[0]) == MemoryKind::Tile) {
            switch (program.tile_kind(ops[0])) {
                case TileKind::Color: raised.insert("COLOR_BUFFER_READ"); break;
                case TileKind::Depth: raised.insert("DEPTH_BUFFER_READ"); break;
                case TileKind::Stencil: raised.insert("STENCIL_BUFFER_READ"); break;
                case TileKind::PixelLocal: raised.insert("LOCAL_STORAGE_READ"); break;
            }
        } else if (op == OpStore && !ops.empty() && program.memory_kind(ops[0]) == MemoryKind::Tile) {
            raised.insert("LOCAL_STORAGE_WRITE");
        } else if ((op == OpStore || op == OpCopyMemory) && !ops.empty() &&
                   program.memory_kind(ops[0]) == MemoryKind::Output) {
            switch (program.builtin_of(program.trace_pointer(ops[0]))) {
                case BuiltInSampleMask: raised.insert("MODIFIES_COVERAGE"); break;
                case BuiltInFragDepth: raised.insert("DEPTH_BUFFER_WRITTEN"); break;
                case BuiltInFragStencilRef: raised.insert("STENCIL_BUFFER_WRITTEN"); break;
                default: break;
            }
        }
    });
    static const char* const ORDER[] = {"HAS_SIDE_EFFECTS",     "HAS_EARLY_FRAGMENT_TESTS", "COLOR_BUFFER_READ",
                                        "DEPTH_BUFFER_READ",    "STENCIL_BUFFER_READ",      "LOCAL_STORAGE_READ",
                                        "DEPTH_BUFFER_WRITTEN", "STENCIL_BUFFER_WRITTEN",   "LOCAL_STORAGE_WRITE",
                                        "MODIFIES_COVERAGE"};
    std::vector<std::string> flags;
    for (const char* flag : ORDER) {
        if (raised.count(flag) > 0) flags.emplace_back(flag);
    }
    return flags;
}

uint64_t stack_bytes(const Program& program) {
    uint64_t total = 0;
    for (uint32_t variable : program.stack_variables) {
        const uint32_t type = pointee_type(program.module, program.module.value_type(variable));
        total = std::min<uint64_t>(total + byte_size(program.module, type), uint64_t(1) << 31);
    }
    return total;
}

uint64_t workgroup_bytes(const Program& program) {
    const Module& module = program.module;
    std::unordered_set<uint32_t> used;
    program.for_each_instruction([&](size_t, size_t, const Instruction& instruction) {
        for (uint32_t id : value_operands(instruction)) {
            auto variable = module.global_variables.find(id);
            if (variable != module.global_variables.end() &&
                pointer_storage_class(module, variable->second.type_id) == StorageWorkgroup) {
                used.insert(id);
            }
        }
    });
    uint64_t total = 0;
    for (uint32_t variable : used) {
        const uint32_t type = pointee_type(module, module.value_type(variable));
        total = std::min<uint64_t>(total + byte_size(module, type), uint64_t(1) << 31);
    }
    return total;
}

uint64_t uniform_registers(const Program& program, const InstructionMask& variant, const InstructionMask* pilot) {
    const Module& module = program.module;
    std::unordered_set<uint32_t> counted;
    uint64_t registers = 0;
    auto count_value = [&](uint32_t id) {
        if (!counted.insert(id).second) return;
        const uint32_t type = module.value_type(id);
        if (is_opaque(module, type)) return;
        // 32-bit words: a 64-bit value or a 64-bit pointer takes two.
        const uint64_t words = is_pointer(module, type) ? (byte_size(module, type) + 3) / 4
                                                        : std::min<uint64_t>(component_count(module, type), 1u << 16) *
                                                              (scalar_bits(module, type) == 64 ? 2 : 1);
        const uint32_t per_register = program.profile.register_components;
        registers += (words + per_register - 1) / per_register;
    };
    // A kernel's arguments are the same for the whole dispatch: they are
    // loaded into uniform registers before it starts.
    if (program.is_kernel()) {
        for (const Instruction& parameter : module.functions[program.entry_function].parameters) {
            count_value(parameter.result_id);
        }
    }
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        if (!variant.contains(fn, b, index_in_block(program, fn, b, instruction))) return;
        for (uint32_t id : value_operands(instruction)) {
            const Instruction* definition = module.definition(id);
            if (definition == nullptr) continue;
            auto where = module.definitions.find(id);
            const bool from_pilot =
                pilot != nullptr && where->second.block != SIZE_MAX &&
                pilot->contains(where->second.function, where->second.block, where->second.instruction);
            const bool read_in_place = definition->opcode == OpLoad && !definition->operands.empty() &&
                                       program.memory_kind(definition->operands[0]) == MemoryKind::UniformRegister;
            if (from_pilot || read_in_place) count_value(id);
        }
    });
    return registers;
}

}  // namespace reference
