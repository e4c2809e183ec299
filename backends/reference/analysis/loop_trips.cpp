#include "analysis/loop_trips.h"

#include <cstdint>
#include <unordered_map>

#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

enum class Relation { Less, LessEqual, Greater, GreaterEqual, Equal, NotEqual };

bool is_comparison(uint16_t opcode) { return opcode >= OpIEqual && opcode <= OpSLessThanEqual; }

bool is_unsigned_comparison(uint16_t opcode) {
    return opcode == OpUGreaterThan || opcode == OpUGreaterThanEqual || opcode == OpULessThan ||
           opcode == OpULessThanEqual;
}

Relation relation_of(uint16_t opcode) {
    switch (opcode) {
        case OpIEqual: return Relation::Equal;
        case OpINotEqual: return Relation::NotEqual;
        case OpUGreaterThan:
        case OpSGreaterThan: return Relation::Greater;
        case OpUGreaterThanEqual:
        case OpSGreaterThanEqual: return Relation::GreaterEqual;
        case OpULessThan:
        case OpSLessThan: return Relation::Less;
        default: return Relation::LessEqual;
    }
}

// `bound <r> v` as a relation of v to bound.
Relation mirrored(Relation r) {
    switch (r) {
        case Relation::Less: return Relation::Greater;
        case Relation::LessEqual: return Relation::GreaterEqual;
        case Relation::Greater: return Relation::Less;
        case Relation::GreaterEqual: return Relation::LessEqual;
        default: return r;
    }
}

Relation negated(Relation r) {
    switch (r) {
        case Relation::Less: return Relation::GreaterEqual;
        case Relation::LessEqual: return Relation::Greater;
        case Relation::Greater: return Relation::LessEqual;
        case Relation::GreaterEqual: return Relation::Less;
        case Relation::Equal: return Relation::NotEqual;
        default: return Relation::Equal;
    }
}

bool holds(Relation r, int64_t v, int64_t bound) {
    switch (r) {
        case Relation::Less: return v < bound;
        case Relation::LessEqual: return v <= bound;
        case Relation::Greater: return v > bound;
        case Relation::GreaterEqual: return v >= bound;
        case Relation::Equal: return v == bound;
        default: return v != bound;
    }
}

int64_t ceil_divide(int64_t numerator, int64_t denominator) {
    return (numerator + denominator - 1) / denominator;  // both positive
}

// A 32-bit integer constant, sign-extended.
std::optional<int64_t> constant_int32(const Module& module, uint32_t id) {
    auto constant = module.constants.find(id);
    if (constant == module.constants.end() || constant->second.opcode != OpConstant ||
        constant->second.operands.size() != 1 || scalar_bits(module, constant->second.type_id) != 32) {
        return std::nullopt;
    }
    return static_cast<int64_t>(static_cast<int32_t>(constant->second.operands[0]));
}

struct Counter {
    int64_t start = 0;
    int64_t step = 0;
};

// The induction variable behind a phi of the header: a constant from one
// side, the phi plus or minus a constant from the other.
std::optional<Counter> counter_of(const Module& module, uint32_t id, size_t function, size_t header) {
    auto where = module.definitions.find(id);
    if (where == module.definitions.end() || where->second.function != function || where->second.block != header) {
        return std::nullopt;
    }
    const Instruction* phi = module.definition(id);
    if (phi == nullptr || phi->opcode != OpPhi || phi->operands.size() != 4 ||
        scalar_bits(module, phi->type_id) != 32) {
        return std::nullopt;
    }
    for (size_t side = 0; side < 2; ++side) {
        const std::optional<int64_t> start = constant_int32(module, phi->operands[2 * side]);
        const Instruction* stepped = module.definition(phi->operands[2 * (1 - side)]);
        if (!start || stepped == nullptr || (stepped->opcode != OpIAdd && stepped->opcode != OpISub) ||
            stepped->operands.size() != 2) {
            continue;
        }
        const uint32_t a = stepped->operands[0];
        const uint32_t b = stepped->operands[1];
        std::optional<int64_t> step;
        if (a == id)
            step = constant_int32(module, b);
        else if (b == id && stepped->opcode == OpIAdd)
            step = constant_int32(module, a);
        if (step) return Counter{*start, stepped->opcode == OpISub ? -*step : *step};
    }
    return std::nullopt;
}

}  // namespace

std::optional<uint64_t> counted_iterations(uint16_t comparison, bool counter_on_left, bool stay_when_true,
                                           int64_t start, int64_t step, int64_t bound) {
    const bool is_unsigned = is_unsigned_comparison(comparison);
    auto in_domain = [is_unsigned](int64_t value) {
        const uint32_t word = static_cast<uint32_t>(value);
        return is_unsigned ? static_cast<int64_t>(word) : static_cast<int64_t>(static_cast<int32_t>(word));
    };
    Relation relation = relation_of(comparison);
    if (!counter_on_left) relation = mirrored(relation);
    if (!stay_when_true) relation = negated(relation);
    int64_t value = in_domain(start);
    int64_t limit = in_domain(bound);
    const int64_t delta = static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(step)));

    // The first steps one by one: equality tests and short loops end here.
    constexpr uint64_t STEPPED = 64;
    for (uint64_t k = 0; k < STEPPED; ++k) {
        if (!holds(relation, value, limit)) return k;
        value = in_domain(value + delta);
    }
    // Then in one go, when the counter walks monotonically to the bound
    // without wrapping round (a wrapping counter is left unknown).
    const int64_t lowest = is_unsigned ? 0 : INT32_MIN;
    const int64_t highest = is_unsigned ? UINT32_MAX : INT32_MAX;
    int64_t more = 0;
    switch (relation) {
        case Relation::LessEqual:
            if (limit == highest) return std::nullopt;
            ++limit;
            [[fallthrough]];
        case Relation::Less:
            if (delta <= 0) return std::nullopt;
            more = ceil_divide(limit - value, delta);
            if (value + more * delta > highest) return std::nullopt;
            break;
        case Relation::GreaterEqual:
            if (limit == lowest) return std::nullopt;
            --limit;
            [[fallthrough]];
        case Relation::Greater:
            if (delta >= 0) return std::nullopt;
            more = ceil_divide(value - limit, -delta);
            if (value + more * delta < lowest) return std::nullopt;
            break;
        case Relation::NotEqual:
            if (delta == 0 || (limit - value) % delta != 0 || (limit - value) / delta <= 0) return std::nullopt;
            more = (limit - value) / delta;
            break;
        case Relation::Equal: return std::nullopt;  // still equal after many steps: the step is zero
    }
    return STEPPED + static_cast<uint64_t>(more);
}

std::optional<LoopTrips> loop_trips(const Module& module, const Function& function, size_t header,
                                    const std::function<bool(size_t)>& leaves_loop) {
    if (header >= function.blocks.size() || function.blocks[header].instructions.empty()) return std::nullopt;
    std::unordered_map<uint32_t, size_t> block_of_label;
    for (size_t b = 0; b < function.blocks.size(); ++b) block_of_label.emplace(function.blocks[b].label, b);
    auto block_of = [&](uint32_t label) -> std::optional<size_t> {
        auto found = block_of_label.find(label);
        if (found == block_of_label.end()) return std::nullopt;
        return found->second;
    };

    size_t test = header;
    const Instruction* branch = &function.blocks[header].instructions.back();
    if (branch->opcode == OpBranch && !branch->operands.empty()) {
        const std::optional<size_t> next = block_of(branch->operands[0]);
        if (!next || leaves_loop(*next) || function.blocks[*next].instructions.empty()) return std::nullopt;
        test = *next;
        branch = &function.blocks[test].instructions.back();
    }
    if (branch->opcode != OpBranchConditional || branch->operands.size() < 3) return std::nullopt;
    const std::optional<size_t> when_true = block_of(branch->operands[1]);
    const std::optional<size_t> when_false = block_of(branch->operands[2]);
    if (!when_true || !when_false) return std::nullopt;
    const bool true_leaves = leaves_loop(*when_true);
    if (true_leaves == leaves_loop(*when_false)) return std::nullopt;

    const Instruction* condition = module.definition(branch->operands[0]);
    if (condition == nullptr || !is_comparison(condition->opcode) || condition->operands.size() != 2) {
        return std::nullopt;
    }
    const auto function_number = module.function_index.find(function.id);
    if (function_number == module.function_index.end()) return std::nullopt;
    for (size_t side = 0; side < 2; ++side) {
        const std::optional<int64_t> bound = constant_int32(module, condition->operands[1 - side]);
        const std::optional<Counter> counter =
            counter_of(module, condition->operands[side], function_number->second, header);
        if (!bound || !counter) continue;
        const std::optional<uint64_t> count =
            counted_iterations(condition->opcode, side == 0, !true_leaves, counter->start, counter->step, *bound);
        if (!count) return std::nullopt;
        return LoopTrips{*count, test, true_leaves ? *when_true : *when_false};
    }
    return std::nullopt;
}

}  // namespace reference
