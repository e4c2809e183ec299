#include "analysis/opcode_recipes.h"

#include <initializer_list>
#include <unordered_map>
#include <utility>

#include "analysis/spirv_defs.h"

namespace reference {

namespace {

using namespace spirv;

constexpr OpcodeRecipe per_result(uint8_t fma, uint8_t cvt, uint8_t sfu) { return {false, fma, cvt, sfu}; }

const OpcodeRecipe ONE_FMA = per_result(1, 0, 0);
const OpcodeRecipe ONE_CVT = per_result(0, 1, 0);

class Table {
public:
    // An entry already made stays: earlier rows win.
    void add(std::initializer_list<uint16_t> opcodes, OpcodeRecipe recipe) {
        for (uint16_t opcode : opcodes) rows_.emplace(opcode, recipe);
    }
    void add_range(uint16_t first, uint16_t last, OpcodeRecipe recipe) {
        for (uint32_t opcode = first; opcode <= last; ++opcode) rows_.emplace(static_cast<uint16_t>(opcode), recipe);
    }
    const OpcodeRecipe* find(uint16_t opcode) const {
        auto found = rows_.find(opcode);
        return found == rows_.end() ? nullptr : &found->second;
    }

private:
    std::unordered_map<uint16_t, OpcodeRecipe> rows_;
};

Table build() {
    Table table;
    // Adds, multiplies, negation, selection: one fma-pipe operation a component.
    table.add({OpFAdd, OpFSub, OpFMul, OpIAdd, OpISub, OpIMul, OpSNegate, OpSelect, OpVectorTimesScalar,
               OpMatrixTimesScalar, OpOuterProduct},
              ONE_FMA);
    // Wide results: two operations per component of the operands.
    table.add({OpIAddCarry, OpISubBorrow, OpUMulExtended, OpSMulExtended}, {true, 2, 0, 0});
    // Division is a reciprocal and a multiply; integer division a sequence.
    table.add({OpFDiv}, per_result(1, 0, 1));
    table.add({OpUDiv, OpSDiv, OpUMod, OpSRem, OpSMod}, per_result(4, 2, 1));
    table.add({OpFRem, OpFMod}, per_result(2, 1, 1));
    table.add({OpVectorInsertDynamic}, ONE_CVT);
    // Comparisons, logic, bitwise operations and dot products of packed integers.
    table.add_range(OpIsNan, OpFUnordGreaterThanEqual, ONE_FMA);
    table.add_range(OpBitwiseOr, OpNot, ONE_FMA);
    table.add_range(OpSDot, OpSUDotAccSat, ONE_FMA);
    // Conversions (pointer casts are free), shifts, bit-field operations and
    // subgroup operations run on the conversion pipe.
    table.add_range(OpConvertFToU, OpQuantizeToF16, ONE_CVT);
    table.add({OpSatConvertSToU, OpSatConvertUToS}, ONE_CVT);
    table.add_range(OpShiftRightLogical, OpShiftLeftLogical, ONE_CVT);
    table.add_range(OpBitFieldInsert, OpBitCount, ONE_CVT);
    table.add_range(OpGroupNonUniformElect, OpGroupNonUniformQuadSwap, ONE_CVT);
    table.add({OpGroupNonUniformRotateKHR}, ONE_CVT);
    // Derivatives: a swizzle between lanes, and for fwidth an add of two.
    table.add({OpFwidth, OpFwidthFine, OpFwidthCoarse}, per_result(1, 2, 0));
    table.add_range(OpDPdx, OpFwidthCoarse, ONE_CVT);
    return table;
}

}  // namespace

const OpcodeRecipe* opcode_recipe(uint16_t opcode) {
    static const Table table = build();
    return table.find(opcode);
}

}  // namespace reference
