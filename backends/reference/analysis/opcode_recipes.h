// What an ordinary instruction costs, by opcode: work on the fma, cvt and sfu
// pipes for each component of its result (or of its first operand). The
// instructions whose cost depends on more than their opcode (memory,
// textures, matrices, extended instructions) are costed in instruction_cost.
#pragma once

#include <cstdint>

namespace reference {

struct OpcodeRecipe {
    bool per_operand_component;  // width of the first operand rather than of the result
    uint8_t fma;
    uint8_t cvt;
    uint8_t sfu;
};

// Null for an opcode the table does not cost.
const OpcodeRecipe* opcode_recipe(uint16_t opcode);

}  // namespace reference
