#include "analysis/instruction_cost.h"

#include <algorithm>
#include <cmath>

#include "analysis/ext_inst_recipes.h"
#include "analysis/opcode_recipes.h"
#include "analysis/spirv_defs.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

using namespace spirv;

// Bytes one load/store message carries per thread.
constexpr double MESSAGE_BYTES = 16.0;
// Atomics hold the load/store unit for a read, a modify and a write.
constexpr double ATOMIC_MESSAGES = 2.0;

bool is_boolean(const Module& module, uint32_t type_id) {
    const Instruction* type = module.type(type_id);
    if (type != nullptr && type->opcode == OpTypeVector && !type->operands.empty()) {
        type = module.type(type->operands[0]);
    }
    return type != nullptr && type->opcode == OpTypeBool;
}

double messages(uint64_t bytes) { return load_store_messages(bytes); }

class CostBuilder {
public:
    CostBuilder(const Program& program, const Instruction& instruction)
        : program_(program), module_(program.module), instruction_(instruction),
          half_(is_half_precision(program, instruction)),
          wide_(scalar_bits(module_, instruction.type_id) == 64 ? 2.0 : 1.0) {}

    // `repeats` operations over `width` components each.
    void arithmetic(Pipe pipe, uint64_t width, uint64_t repeats) {
        if (width == 0 || repeats == 0) return;
        const double n = static_cast<double>(std::min<uint64_t>(width, 64));
        const double r = static_cast<double>(std::min<uint64_t>(repeats, 1u << 20));
        const ArchitectureProfile& profile = program_.profile;
        cost_.mix.operations += n * r;
        if (half_) cost_.mix.half_operations += n * r;
        double issued = 0;
        if (!profile.scalar_lanes) {
            // A vec4 ALU takes a whole vector per operation; special functions
            // are scalar on every architecture.
            issued = r * (pipe == PipeSFU ? n : std::ceil(n / 4.0)) * wide_;
        } else if (half_ && profile.packs_fp16 && pipe != PipeSFU) {
            const double lanes = r * std::ceil(n / 2.0);
            cost_.mix.half_lanes += lanes;
            cost_.mix.idle_half_lanes += r * std::fmod(n, 2.0);
            issued = lanes;
        } else {
            issued = r * n * wide_;
        }
        cost_.pipes[pipe] += issued / profile.lanes_per_unit;
    }

    // fma/cvt/sfu operations per component of the result.
    void elementwise(uint32_t type_id, double fma, double cvt, double sfu) {
        const uint64_t width = vector_width(module_, type_id);
        const uint64_t columns = matrix_columns(module_, type_id);
        arithmetic(PipeFMA, width, columns * static_cast<uint64_t>(fma));
        arithmetic(PipeCVT, width, columns * static_cast<uint64_t>(cvt));
        arithmetic(PipeSFU, width, columns * static_cast<uint64_t>(sfu));
    }

    void add(Pipe pipe, double units) { cost_.pipes[pipe] += units; }

    InstructionCost build();

private:
    uint32_t operand_type(size_t at) const {
        return at < instruction_.operands.size() ? module_.value_type(instruction_.operands[at]) : 0;
    }
    void memory_access(uint32_t pointer, uint32_t value_type, bool is_load);
    void texture();
    void extended();

    const Program& program_;
    const Module& module_;
    const Instruction& instruction_;
    const bool half_;
    const double wide_;
    InstructionCost cost_;
};

void CostBuilder::memory_access(uint32_t pointer, uint32_t value_type, bool is_load) {
    const uint64_t bytes = byte_size(module_, value_type);
    const PointerInfo info = program_.trace_pointer(pointer);
    switch (program_.memory_kind(pointer)) {
        case MemoryKind::Memory:
        case MemoryKind::Stack: add(PipeLS, messages(bytes)); break;
        case MemoryKind::ConstantTable:
            // Its one store is the table itself; entries at constant indices fold.
            if (is_load && info.dynamic_index) add(PipeLS, messages(bytes));
            break;
        case MemoryKind::Input: break;  // fetched once per component, wherever it is read (input_fetches.h)
        case MemoryKind::Output:
            // Fragment outputs go to the tile buffer; reading them back is a
            // framebuffer fetch. Other stages write their outputs to memory.
            if (program_.is_fragment() == is_load) add(PipeLS, messages(bytes));
            break;
        case MemoryKind::Tile:
            // Fetched colour, depth and stencil, and pixel local storage both
            // ways: a load/store message to the on-chip tile buffer.
            add(PipeLS, messages(bytes));
            break;
        default: break;
    }
}

void CostBuilder::texture() {
    double units = 1.0;
    if (const Instruction* image = image_type_of(module_, operand_type(0))) {
        if (image->operands.size() >= 2 && (image->operands[1] == Dim3D || image->operands[1] == DimCube)) {
            units *= 2.0;
        }
    }
    const int mask_at = image_operands_position(instruction_.opcode);
    if (mask_at >= 0 && static_cast<size_t>(mask_at) < instruction_.operands.size() &&
        (instruction_.operands[mask_at] & ImageOperandGrad) != 0) {
        units *= 2.0;  // explicit gradients filter anisotropically
    }
    add(PipeT, units);
    const uint16_t op = instruction_.opcode;
    const bool projective = (op >= OpImageSampleProjImplicitLod && op <= OpImageSampleProjDrefExplicitLod) ||
                            (op >= OpImageSparseSampleProjImplicitLod && op <= OpImageSparseSampleProjDrefExplicitLod);
    if (projective) arithmetic(PipeSFU, 1, 1);  // the divide by q
}

void CostBuilder::extended() {
    const auto& ops = instruction_.operands;
    if (ops.size() < 2) return;
    auto set = module_.ext_imports.find(ops[0]);
    if (set == module_.ext_imports.end()) return;
    const Recipe recipe = extended_recipe(set->second, ops[1]);
    const uint32_t result = instruction_.type_id;
    const uint32_t argument = operand_type(2);
    const uint64_t argument_width = vector_width(module_, argument);
    switch (recipe.shape) {
        case RecipeShape::Elementwise: elementwise(result, recipe.fma, recipe.cvt, recipe.sfu); break;
        case RecipeShape::Geometric:
            arithmetic(PipeFMA, argument_width, recipe.fma);
            arithmetic(PipeSFU, 1, recipe.sfu);
            break;
        case RecipeShape::Cross: arithmetic(PipeFMA, 3, 2); break;
        case RecipeShape::Determinant: {
            const uint64_t order = matrix_columns(module_, argument);
            arithmetic(PipeFMA, order, order);
            break;
        }
        case RecipeShape::Inverse: {
            const uint64_t order = matrix_columns(module_, argument);
            arithmetic(PipeFMA, order, order * order);
            arithmetic(PipeSFU, 1, 1);
            break;
        }
        case RecipeShape::Interpolate:
            if (program_.is_fragment()) add(PipeV, static_cast<double>(vector_width(module_, result)));
            break;
        case RecipeShape::Load: add(PipeLS, messages(byte_size(module_, result) / (recipe.half_data ? 2 : 1))); break;
        case RecipeShape::Store:
            add(PipeLS, messages(byte_size(module_, argument) / (recipe.half_data ? 2 : 1)));
            break;
        case RecipeShape::Message: add(PipeLS, ATOMIC_MESSAGES); break;
        case RecipeShape::Free: break;
    }
}

InstructionCost CostBuilder::build() {
    const uint16_t op = instruction_.opcode;
    const uint32_t result = instruction_.type_id;
    const auto& ops = instruction_.operands;
    if (const OpcodeRecipe* recipe = opcode_recipe(op)) {
        elementwise(recipe->per_operand_component ? operand_type(0) : result, recipe->fma, recipe->cvt, recipe->sfu);
        return cost_;
    }
    switch (op) {
        case OpAny:
        case OpAll:
        case OpDot: arithmetic(PipeFMA, vector_width(module_, operand_type(0)), 1); break;
        case OpMatrixTimesVector:
            arithmetic(PipeFMA, vector_width(module_, result), matrix_columns(module_, operand_type(0)));
            break;
        case OpVectorTimesMatrix:
            arithmetic(PipeFMA, vector_width(module_, operand_type(0)), vector_width(module_, result));
            break;
        case OpMatrixTimesMatrix:
            arithmetic(PipeFMA, vector_width(module_, result),
                       uint64_t(matrix_columns(module_, result)) * matrix_columns(module_, operand_type(0)));
            break;
        case OpVectorExtractDynamic: arithmetic(PipeCVT, vector_width(module_, operand_type(0)), 1); break;
        case OpLoad:
            if (!ops.empty()) memory_access(ops[0], result, true);
            break;
        case OpStore:
            if (ops.size() >= 2) memory_access(ops[0], module_.value_type(ops[1]), false);
            break;
        case OpCopyMemory:
        case OpCopyMemorySized:
            if (ops.size() >= 2) {
                const uint32_t pointee = pointee_type(module_, module_.value_type(ops[0]));
                memory_access(ops[1], pointee, true);
                memory_access(ops[0], pointee, false);
            }
            break;
        case OpImageRead:
        case OpImageWrite:
        case OpImageSparseRead:
        case OpColorAttachmentReadEXT:
        case OpDepthAttachmentReadEXT:
        case OpStencilAttachmentReadEXT: add(PipeLS, 1.0); break;
        case OpAtomicFlagTestAndSet:
        case OpAtomicFlagClear:
        case OpAtomicFMinEXT:
        case OpAtomicFMaxEXT:
        case OpAtomicFAddEXT:
        case OpGroupAsyncCopy: add(PipeLS, ATOMIC_MESSAGES); break;
        case OpExtInst: extended(); break;
        default:
            if (op >= OpAtomicLoad && op <= OpAtomicXor) {
                add(PipeLS, ATOMIC_MESSAGES);
            } else if ((op >= OpImageSampleImplicitLod && op <= OpImageDrefGather) ||
                       (op >= OpImageSparseSampleImplicitLod && op <= OpImageSparseDrefGather)) {
                texture();
            }
            break;
    }
    return cost_;
}

}  // namespace

bool is_half_precision(const Program& program, const Instruction& instruction) {
    const Module& module = program.module;
    auto half = [&module](uint32_t id, uint32_t type) {
        const Decorations* decorations = module.decorations_of(id);
        return (decorations != nullptr && decorations->relaxed_precision) || scalar_bits(module, type) == 16;
    };
    if (instruction.result_id == 0) return false;
    if (half(instruction.result_id, instruction.type_id)) return true;
    // A comparison takes the precision of what it compares.
    if (!is_boolean(module, instruction.type_id) || instruction.operands.empty() || instruction.opcode == OpExtInst) {
        return false;
    }
    const uint32_t first = instruction.operands[0];
    const uint32_t first_type = module.value_type(first);
    return !is_boolean(module, first_type) && half(first, first_type);
}

double load_store_messages(uint64_t bytes) {
    return std::max(1.0, std::ceil(static_cast<double>(bytes) / MESSAGE_BYTES));
}

InstructionCost instruction_cost(const Program& program, const Instruction& instruction) {
    return CostBuilder(program, instruction).build();
}

}  // namespace reference
