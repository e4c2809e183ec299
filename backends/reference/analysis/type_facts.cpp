#include "analysis/type_facts.h"

#include <algorithm>
#include <unordered_map>

#include "analysis/spirv_defs.h"

namespace reference {

namespace {

using namespace spirv;

constexpr int MAX_DEPTH = 32;
constexpr uint64_t SATURATED = uint64_t(1) << 40;

uint64_t saturating_multiply(uint64_t a, uint64_t b) {
    if (a == 0 || b == 0) return 0;
    return a > SATURATED / b ? SATURATED : a * b;
}

uint64_t array_length(const Module& module, const Instruction& array) {
    uint64_t length = 1;
    if (array.operands.size() >= 2 && constant_integer(module, array.operands[1], length)) {
        return std::min(length, SATURATED);
    }
    return 1;
}

// Shared walk for component counts and byte sizes: a scalar weighs
// scalar_weight(type) and aggregates add up their members.
// Memoised, since hostile modules can nest structs of structs many times over.
template <typename ScalarWeight>
uint64_t aggregate(const Module& module, uint32_t type_id, int depth, const ScalarWeight& scalar_weight,
                   std::unordered_map<uint32_t, uint64_t>& memo) {
    auto known = memo.find(type_id);
    if (known != memo.end()) return known->second;
    const Instruction* type = module.type(type_id);
    if (type == nullptr || depth > MAX_DEPTH) return 0;
    const auto& ops = type->operands;
    uint64_t result = 0;  // runtime arrays, opaque handles, void
    switch (type->opcode) {
        case OpTypeBool:
        case OpTypeInt:
        case OpTypeFloat:
        case OpTypePointer: result = scalar_weight(*type); break;
        case OpTypeVector:
        case OpTypeMatrix:
        case OpTypeArray:
            if (ops.size() >= 2) {
                result = saturating_multiply(aggregate(module, ops[0], depth + 1, scalar_weight, memo),
                                             type->opcode == OpTypeArray ? array_length(module, *type) : ops[1]);
            }
            break;
        case OpTypeStruct:
            for (uint32_t member : ops) {
                result = std::min(SATURATED, result + aggregate(module, member, depth + 1, scalar_weight, memo));
            }
            break;
        default: break;
    }
    memo[type_id] = result;
    return result;
}

}  // namespace

uint64_t component_count(const Module& module, uint32_t type_id) {
    std::unordered_map<uint32_t, uint64_t> memo;
    return aggregate(
        module, type_id, 0, [](const Instruction&) { return uint64_t(1); }, memo);
}

uint64_t byte_size(const Module& module, uint32_t type_id) {
    const bool physical32 = module.addressing_model == AddressingPhysical32;
    std::unordered_map<uint32_t, uint64_t> memo;
    auto scalar_bytes = [physical32](const Instruction& scalar) -> uint64_t {
        if (scalar.opcode == OpTypePointer) return physical32 ? 4 : 8;
        if (scalar.opcode == OpTypeBool || scalar.operands.empty()) return 4;
        return std::max<uint64_t>(1, std::min<uint64_t>(scalar.operands[0], 1024) / 8);
    };
    return aggregate(module, type_id, 0, scalar_bytes, memo);
}

uint32_t vector_width(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    for (int depth = 0; type != nullptr && depth < MAX_DEPTH; ++depth) {
        if (type->opcode == OpTypeVector) {
            return type->operands.size() >= 2 ? std::max<uint32_t>(1, std::min<uint32_t>(type->operands[1], 16)) : 1;
        }
        if (type->opcode != OpTypeMatrix || type->operands.empty()) return 1;
        type = module.type(type->operands[0]);
    }
    return 1;
}

uint32_t matrix_columns(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    if (type == nullptr || type->opcode != OpTypeMatrix || type->operands.size() < 2) return 1;
    return std::max<uint32_t>(1, std::min<uint32_t>(type->operands[1], 16));
}

uint32_t scalar_bits(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    for (int depth = 0; type != nullptr && depth < MAX_DEPTH; ++depth) {
        switch (type->opcode) {
            case OpTypeInt:
            case OpTypeFloat: return type->operands.empty() ? 32 : type->operands[0];
            case OpTypeVector:
            case OpTypeMatrix:
            case OpTypeArray:
            case OpTypeRuntimeArray:
                if (type->operands.empty()) return 32;
                type = module.type(type->operands[0]);
                break;
            case OpTypeStruct:
                if (type->operands.empty()) return 32;
                type = module.type(type->operands[0]);
                break;
            default: return 32;
        }
    }
    return 32;
}

bool is_opaque(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    if (type == nullptr) return true;
    switch (type->opcode) {
        case OpTypeBool:
        case OpTypeInt:
        case OpTypeFloat:
        case OpTypeVector:
        case OpTypeMatrix:
        case OpTypeArray:
        case OpTypeStruct:
        case OpTypePointer: return false;
        default: return true;
    }
}

bool is_pointer(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    return type != nullptr && type->opcode == OpTypePointer;
}

uint32_t pointer_storage_class(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    return type != nullptr && type->opcode == OpTypePointer && !type->operands.empty() ? type->operands[0] : 0;
}

uint32_t pointee_type(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    return type != nullptr && type->opcode == OpTypePointer && type->operands.size() >= 2 ? type->operands[1] : 0;
}

const Instruction* image_type_of(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    for (int depth = 0; type != nullptr && depth < 4; ++depth) {
        if (type->opcode == OpTypeImage) return type;
        if (type->operands.empty()) return nullptr;
        if (type->opcode == OpTypeSampledImage || type->opcode == OpTypeArray || type->opcode == OpTypeRuntimeArray) {
            type = module.type(type->operands[0]);
        } else if (type->opcode == OpTypePointer && type->operands.size() >= 2) {
            type = module.type(type->operands[1]);
        } else {
            return nullptr;
        }
    }
    return nullptr;
}

bool constant_integer(const Module& module, uint32_t id, uint64_t& value) {
    auto found = module.constants.find(id);
    if (found == module.constants.end()) return false;
    const Instruction& constant = found->second;
    if ((constant.opcode != OpConstant && constant.opcode != OpSpecConstant) || constant.operands.empty()) {
        return false;
    }
    value = constant.operands[0];
    if (constant.operands.size() >= 2) value |= uint64_t(constant.operands[1]) << 32;
    return true;
}

}  // namespace reference
