#include "analysis/program.h"

#include <unordered_map>
#include <utility>

#include "analysis/dominance.h"
#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

bool holds_array(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    return type != nullptr && (type->opcode == OpTypeArray || type->opcode == OpTypeStruct);
}

}  // namespace

const EntryPointDecl* find_entry_point(const Module& module, const std::string& name, std::optional<Stage> stage) {
    const uint32_t model = stage ? execution_model(*stage) : UINT32_MAX;
    const EntryPointDecl* by_name = nullptr;
    for (const auto& entry : module.entry_points) {
        if (!name.empty() && entry.name != name) continue;
        if (entry.execution_model == model) return &entry;
        if (by_name == nullptr) by_name = &entry;
    }
    return by_name;
}

Program::Program(const Module& module_in, const ArchitectureProfile& profile_in, std::optional<Stage> stage_in,
                 const EntryPointDecl& entry_in, const TileVariables& tile_names)
    : module(module_in), profile(profile_in), stage(stage_in), entry(&entry_in) {
    for (const auto& [id, name] : module.names) {
        auto tile = tile_names.find(name);
        if (tile != tile_names.end() && module.global_variables.count(id) > 0) tile_variables.emplace(id, tile->second);
    }
    const size_t count = module.functions.size();
    reachable_functions.assign(count, false);
    control_flow.resize(count);
    auto entry_index = module.function_index.find(entry->function);
    if (entry_index == module.function_index.end()) return;
    entry_function = entry_index->second;

    std::vector<size_t> pending = {entry_function};
    reachable_functions[entry_function] = true;
    while (!pending.empty()) {
        const size_t fn = pending.back();
        pending.pop_back();
        ControlFlow& flow = control_flow[fn];
        flow = build_control_flow(module, module.functions[fn]);
        flow.idom = immediate_dominators(flow);
        flow.loops = find_loops(module, module.functions[fn], flow, flow.idom);
        for (size_t callee : callees_of(fn)) {
            if (reachable_functions[callee]) continue;
            reachable_functions[callee] = true;
            pending.push_back(callee);
        }
    }

    for_each_instruction([this](size_t, size_t, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        if (op != OpAccessChain && op != OpInBoundsAccessChain && op != OpPtrAccessChain &&
            op != OpInBoundsPtrAccessChain) {
            return;
        }
        const PointerInfo pointer = trace_pointer(instruction.result_id);
        if (!pointer.dynamic_index || pointer.root == 0) return;
        const uint32_t root_type = module.value_type(pointer.root);
        const uint32_t storage = pointer_storage_class(module, root_type);
        if ((storage == StorageFunction || storage == StoragePrivate) &&
            holds_array(module, pointee_type(module, root_type))) {
            stack_variables.insert(pointer.root);
        }
    });
    find_constant_tables();
}

// A dynamically indexed local array that only ever holds constants (its
// initialiser, or one store of a constant to the whole array, which is how
// older SPIR-V versions spell the same table) is a lookup table: drivers keep
// it in constant memory instead of building it on every thread's stack.
void Program::find_constant_tables() {
    std::unordered_map<uint32_t, int> initialisations;
    std::unordered_set<uint32_t> written;
    for (uint32_t variable : stack_variables) {
        const Instruction* definition = module.definition(variable);
        if (definition == nullptr) definition = &module.global_variables.at(variable);
        const bool initialised = definition->operands.size() >= 2 && module.is_constant(definition->operands[1]);
        initialisations[variable] = initialised ? 1 : 0;
    }
    for_each_instruction([&](size_t, size_t, const Instruction& instruction) {
        const uint16_t op = instruction.opcode;
        const auto& ops = instruction.operands;
        if (op == OpFunctionCall) {
            // A callee could write through any pointer it is given.
            for (size_t at = 1; at < ops.size(); ++at) written.insert(trace_pointer(ops[at]).root);
            return;
        }
        const bool writes =
            op == OpStore || op == OpCopyMemory || op == OpCopyMemorySized || (op >= OpAtomicLoad && op <= OpAtomicXor);
        if (!writes || ops.empty()) return;
        const uint32_t root = trace_pointer(ops[0]).root;
        auto initialisation = initialisations.find(root);
        if (initialisation == initialisations.end()) return;
        const bool whole_constant = op == OpStore && ops[0] == root && ops.size() >= 2 && module.is_constant(ops[1]);
        if (!whole_constant || ++initialisation->second > 1) written.insert(root);
    });
    for (const auto& [variable, count] : initialisations) {
        if (count == 1 && written.count(variable) == 0) constant_tables.insert(variable);
    }
    for (uint32_t table : constant_tables) stack_variables.erase(table);
}

PointerInfo Program::trace_pointer(uint32_t pointer) const {
    PointerInfo info;
    info.storage_class = pointer_storage_class(module, module.value_type(pointer));
    uint32_t current = pointer;
    for (int step = 0; step < 256; ++step) {
        if (module.global_variables.count(current) > 0) {
            info.root = current;
            return info;
        }
        const Instruction* definition = module.definition(current);
        if (definition == nullptr || definition->operands.empty()) return info;
        const auto& ops = definition->operands;
        switch (definition->opcode) {
            case OpVariable:
            case OpFunctionParameter: info.root = current; return info;
            case OpAccessChain:
            case OpInBoundsAccessChain:
            case OpPtrAccessChain:
            case OpInBoundsPtrAccessChain: {
                const bool element_first =
                    definition->opcode == OpPtrAccessChain || definition->opcode == OpInBoundsPtrAccessChain;
                for (size_t at = 1; at < ops.size(); ++at) {
                    if (!module.is_constant(ops[at])) info.dynamic_index = true;
                }
                const size_t member_at = element_first ? 2 : 1;
                uint64_t member = 0;
                info.root_member = member_at < ops.size() && constant_integer(module, ops[member_at], member)
                                       ? static_cast<int64_t>(member & 0xFFFFFFFF)
                                       : -1;
                current = ops[0];
                break;
            }
            case OpCopyObject:
            case OpBitcast:
            case OpPtrCastToGeneric:
            case OpGenericCastToPtr:
            case OpGenericCastToPtrExplicit:
            case OpImageTexelPointer: current = ops[0]; break;
            default: return info;
        }
    }
    return info;
}

std::vector<size_t> Program::callees_of(size_t fn) const {
    std::vector<size_t> result;
    const auto& blocks = module.functions[fn].blocks;
    for (size_t b = 0; b < blocks.size(); ++b) {
        if (!control_flow[fn].reachable[b]) continue;
        for (const Instruction& instruction : blocks[b].instructions) {
            if (instruction.opcode != OpFunctionCall || instruction.operands.empty()) continue;
            auto callee = module.function_index.find(instruction.operands[0]);
            if (callee != module.function_index.end()) result.push_back(callee->second);
        }
    }
    return result;
}

std::vector<size_t> Program::callees_first() const {
    std::vector<char> state(module.functions.size(), 0);
    std::vector<size_t> order;
    std::vector<std::pair<size_t, std::vector<size_t>>> stack;
    if (entry_function >= module.functions.size()) return order;
    stack.emplace_back(entry_function, callees_of(entry_function));
    state[entry_function] = 1;
    while (!stack.empty()) {
        auto& pending = stack.back().second;
        if (pending.empty()) {
            state[stack.back().first] = 2;
            order.push_back(stack.back().first);
            stack.pop_back();
            continue;
        }
        const size_t next = pending.back();
        pending.pop_back();
        if (state[next] == 0) {
            state[next] = 1;
            stack.emplace_back(next, callees_of(next));
        }
    }
    return order;
}

int64_t Program::builtin_of(const PointerInfo& pointer) const {
    if (pointer.root == 0) return -1;
    if (const Decorations* decorations = module.decorations_of(pointer.root)) {
        if (decorations->builtin >= 0) return decorations->builtin;
    }
    if (pointer.root_member < 0) return -1;
    // Built-ins inside a block such as gl_PerVertex are decorated on the
    // struct member; arrays of such blocks (tessellation) index the array first.
    uint32_t type_id = pointee_type(module, module.value_type(pointer.root));
    for (int depth = 0; depth < 2; ++depth) {
        const Instruction* type = module.type(type_id);
        if (type == nullptr) return -1;
        if (type->opcode == OpTypeStruct) {
            auto found = module.member_builtins.find({type_id, static_cast<uint32_t>(pointer.root_member)});
            return found == module.member_builtins.end() ? -1 : static_cast<int64_t>(found->second);
        }
        if (type->opcode != OpTypeArray || type->operands.empty()) return -1;
        type_id = type->operands[0];
    }
    return -1;
}

Program::ResolvedStorage Program::resolve_storage(uint32_t pointer_id) const {
    ResolvedStorage resolved;
    resolved.pointer = trace_pointer(pointer_id);
    const PointerInfo& pointer = resolved.pointer;
    resolved.storage_class = pointer.storage_class;
    if (pointer.root != 0) {
        const uint32_t root_storage = pointer_storage_class(module, module.value_type(pointer.root));
        if (root_storage != StorageGeneric) resolved.storage_class = root_storage;
        const uint32_t block_type = pointee_type(module, module.value_type(pointer.root));
        const Decorations* block = module.decorations_of(block_type);
        resolved.buffer_block = block != nullptr && block->buffer_block;
        if (const Instruction* array = module.type(block_type);
            array != nullptr && (array->opcode == OpTypeArray || array->opcode == OpTypeRuntimeArray) &&
            !array->operands.empty()) {
            const Decorations* element = module.decorations_of(array->operands[0]);
            resolved.buffer_block = resolved.buffer_block || (element != nullptr && element->buffer_block);
        }
    }
    return resolved;
}

TileKind Program::tile_kind(uint32_t pointer_id) const {
    auto found = tile_variables.find(trace_pointer(pointer_id).root);
    return found == tile_variables.end() ? TileKind::Color : found->second;
}

bool Program::is_read_only(uint32_t pointer_id) const {
    const ResolvedStorage resolved = resolve_storage(pointer_id);
    if (constant_tables.count(resolved.pointer.root) > 0) return true;
    switch (resolved.storage_class) {
        case StorageInput:
        case StorageUniformConstant:
        case StoragePushConstant: return true;
        case StorageUniform: return !resolved.buffer_block;
        default: return false;
    }
}

MemoryKind Program::memory_kind(uint32_t pointer_id) const {
    const ResolvedStorage resolved = resolve_storage(pointer_id);
    const PointerInfo& pointer = resolved.pointer;
    const uint32_t storage = resolved.storage_class;
    const bool buffer_block = resolved.buffer_block;
    if (tile_variables.count(pointer.root) > 0) return MemoryKind::Tile;
    switch (storage) {
        case StorageInput: return MemoryKind::Input;
        case StorageOutput: return MemoryKind::Output;
        case StorageFunction:
        case StoragePrivate:
            if (constant_tables.count(pointer.root) > 0) return MemoryKind::ConstantTable;
            return stack_variables.count(pointer.root) > 0 ? MemoryKind::Stack : MemoryKind::Register;
        case StorageUniformConstant:
        case StoragePushConstant: return pointer.dynamic_index ? MemoryKind::Memory : MemoryKind::UniformRegister;
        case StorageUniform:
            if (buffer_block) return MemoryKind::Memory;
            return pointer.dynamic_index ? MemoryKind::Memory : MemoryKind::UniformRegister;
        case StorageWorkgroup:
        case StorageCrossWorkgroup:
        case StorageGeneric:
        case StorageStorageBuffer:
        case StorageImage:
        case StoragePhysicalStorageBuffer:
        case StorageShaderRecordBuffer: return MemoryKind::Memory;
        default: return MemoryKind::Other;
    }
}

}  // namespace reference
