#include "loop_trip_counts.h"

#include <unordered_map>

#include "spirv_module_info.h"

namespace reference {

namespace {

constexpr uint32_t OP_TYPE_INT = 21;
constexpr uint32_t OP_CONSTANT = 43;
constexpr uint32_t OP_IADD = 128;
constexpr uint32_t OP_ISUB = 130;
constexpr uint32_t OP_IEQUAL = 170;
constexpr uint32_t OP_SLESS_THAN_EQUAL = 179;
constexpr uint32_t OP_PHI = 245;
constexpr uint32_t OP_LOOP_MERGE = 246;
constexpr uint32_t OP_LABEL = 248;
constexpr uint32_t OP_BRANCH = 249;
constexpr uint32_t OP_BRANCH_CONDITIONAL = 250;

struct Instruction {
    uint32_t opcode;
    size_t first;  // word index of the opcode word
    size_t count;
};

class ModuleIndex {
public:
    explicit ModuleIndex(const std::vector<uint32_t>& words) : words(words) {
        if (words.size() < 5 || words[0] != SPIRV_MAGIC) return;
        for (size_t at = 5; at < words.size();) {
            const uint32_t count = words[at] >> 16;
            if (count == 0 || count > words.size() - at) break;
            const Instruction instruction{words[at] & 0xFFFF, at, count};
            index_result(instruction, instructions.size());
            instructions.push_back(instruction);
            at += count;
        }
    }

    const std::vector<Instruction>& all() const { return instructions; }
    uint32_t word(const Instruction& instruction, size_t operand) const {
        return operand < instruction.count ? words[instruction.first + operand] : 0;
    }
    const Instruction* defining(uint32_t id) const {
        auto found = definitions.find(id);
        return found == definitions.end() ? nullptr : &instructions[found->second];
    }
    // The index of the instruction that ends the block with this label.
    std::optional<size_t> terminator_of(uint32_t label) const {
        auto found = labels.find(label);
        if (found == labels.end()) return std::nullopt;
        for (size_t i = found->second + 1; i < instructions.size(); ++i) {
            const uint32_t opcode = instructions[i].opcode;
            if (opcode == OP_BRANCH || opcode == OP_BRANCH_CONDITIONAL) return i;
            if (opcode == OP_LABEL) return std::nullopt;
        }
        return std::nullopt;
    }

private:
    void index_result(const Instruction& instruction, size_t position) {
        const uint32_t opcode = instruction.opcode;
        if (opcode == OP_LABEL || opcode == OP_TYPE_INT) {
            if (instruction.count >= 2) {
                definitions[words[instruction.first + 1]] = position;
                if (opcode == OP_LABEL) labels[words[instruction.first + 1]] = position;
            }
        } else if (opcode == OP_CONSTANT || opcode == OP_IADD || opcode == OP_ISUB || opcode == OP_PHI ||
                   (opcode >= OP_IEQUAL && opcode <= OP_SLESS_THAN_EQUAL)) {
            if (instruction.count >= 3) definitions[words[instruction.first + 2]] = position;
        }
    }

    const std::vector<uint32_t>& words;
    std::vector<Instruction> instructions;
    std::unordered_map<uint32_t, size_t> definitions;
    std::unordered_map<uint32_t, size_t> labels;
};

// A 32-bit integer constant, sign-extended.
std::optional<int64_t> constant_value(const ModuleIndex& index, uint32_t id) {
    const Instruction* constant = index.defining(id);
    if (!constant || constant->opcode != OP_CONSTANT || constant->count != 4) return std::nullopt;
    const Instruction* type = index.defining(index.word(*constant, 1));
    if (!type || type->opcode != OP_TYPE_INT || index.word(*type, 2) != 32) return std::nullopt;
    return static_cast<int64_t>(static_cast<int32_t>(index.word(*constant, 3)));
}

// Whether the comparison holds, read as its opcode says (signed or not).
bool compare(uint32_t opcode, int64_t left, int64_t right) {
    const uint64_t uleft = static_cast<uint32_t>(left);
    const uint64_t uright = static_cast<uint32_t>(right);
    switch (opcode) {
        case OP_IEQUAL: return left == right;
        case OP_IEQUAL + 1: return left != right;
        case OP_IEQUAL + 2: return uleft > uright;
        case OP_IEQUAL + 3: return left > right;
        case OP_IEQUAL + 4: return uleft >= uright;
        case OP_IEQUAL + 5: return left >= right;
        case OP_IEQUAL + 6: return uleft < uright;
        case OP_IEQUAL + 7: return left < right;
        case OP_IEQUAL + 8: return uleft <= uright;
        default: return left <= right;
    }
}

int64_t wrap32(int64_t value) { return static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(value))); }

struct Counter {
    int64_t start = 0;
    int64_t step = 0;
};

// The induction variable behind an OpPhi: a constant from one side, the phi
// plus or minus a constant from the other.
std::optional<Counter> counter_of(const ModuleIndex& index, const Instruction& phi) {
    if (phi.opcode != OP_PHI || phi.count != 7) return std::nullopt;
    const uint32_t phi_id = index.word(phi, 2);
    for (int side = 0; side < 2; ++side) {
        std::optional<int64_t> start = constant_value(index, index.word(phi, 3 + 2 * side));
        const uint32_t other = index.word(phi, 3 + 2 * (1 - side));
        const Instruction* stepped = index.defining(other);
        if (!start || !stepped || (stepped->opcode != OP_IADD && stepped->opcode != OP_ISUB)) continue;
        const uint32_t a = index.word(*stepped, 3);
        const uint32_t b = index.word(*stepped, 4);
        std::optional<int64_t> step;
        if (a == phi_id) step = constant_value(index, b);
        else if (b == phi_id && stepped->opcode == OP_IADD) step = constant_value(index, a);
        if (!step) continue;
        return Counter{*start, stepped->opcode == OP_ISUB ? -*step : *step};
    }
    return std::nullopt;
}

std::optional<uint32_t> trip_count(const ModuleIndex& index, size_t merge_position, uint32_t header, uint32_t limit) {
    const Instruction& merge = index.all()[merge_position];
    const uint32_t merge_block = index.word(merge, 1);

    // The exit test sits in the header or in the block the header branches to;
    // loops tested at the bottom are not counted.
    std::optional<size_t> branch = index.terminator_of(header);
    if (branch && index.all()[*branch].opcode == OP_BRANCH)
        branch = index.terminator_of(index.word(index.all()[*branch], 1));
    if (!branch || index.all()[*branch].opcode != OP_BRANCH_CONDITIONAL) return std::nullopt;
    const Instruction& test = index.all()[*branch];
    // Leaving on the false side means staying while the test holds.
    const bool stay_when_true = index.word(test, 3) == merge_block;
    if (!stay_when_true && index.word(test, 2) != merge_block) return std::nullopt;

    const Instruction* condition = index.defining(index.word(test, 1));
    if (!condition || condition->opcode < OP_IEQUAL || condition->opcode > OP_SLESS_THAN_EQUAL) return std::nullopt;
    for (int side = 0; side < 2; ++side) {
        const uint32_t variable = index.word(*condition, 3 + side);
        std::optional<int64_t> bound = constant_value(index, index.word(*condition, 4 - side));
        if (!bound) continue;
        const Instruction* defining = index.defining(variable);
        std::optional<Counter> counter = defining ? counter_of(index, *defining) : std::nullopt;
        if (!counter) continue;
        int64_t value = counter->start;
        uint32_t iterations = 0;
        while (iterations <= limit) {
            const bool holds = side == 0 ? compare(condition->opcode, value, *bound)
                                         : compare(condition->opcode, *bound, value);
            if (holds != stay_when_true) break;
            ++iterations;
            value = wrap32(value + counter->step);
        }
        return iterations;
    }
    return std::nullopt;
}

}  // namespace

std::vector<LoopShape> loop_shapes(const std::vector<uint32_t>& module, uint32_t trip_limit) {
    const ModuleIndex index(module);
    std::vector<LoopShape> shapes;
    uint32_t current_label = 0;
    size_t current_label_word = 0;
    for (size_t i = 0; i < index.all().size(); ++i) {
        const Instruction& instruction = index.all()[i];
        if (instruction.opcode == OP_LABEL) {
            current_label = index.word(instruction, 1);
            current_label_word = instruction.first;
        }
        if (instruction.opcode != OP_LOOP_MERGE) continue;
        LoopShape shape;
        shape.trips = trip_count(index, i, current_label, trip_limit);
        const Instruction* merge_label = index.defining(index.word(instruction, 1));
        if (merge_label && merge_label->first > current_label_word)
            shape.body_words = merge_label->first - current_label_word;
        shapes.push_back(shape);
    }
    return shapes;
}

}  // namespace reference
