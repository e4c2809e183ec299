// Sizes and shapes of SPIR-V types, as the cost model counts them. Every
// query tolerates missing or cyclic type ids and saturates instead of
// overflowing.
#pragma once

#include <cstdint>

#include "analysis/module_ir.h"

namespace reference {

// Scalar components in a value of the type (vec4: 4, mat3: 9, struct: sum).
uint64_t component_count(const Module& module, uint32_t type_id);

// Components of the innermost vector: 4 for vec4 and mat4, 1 for a scalar.
uint32_t vector_width(const Module& module, uint32_t type_id);

// Columns of a matrix type; 1 for anything else.
uint32_t matrix_columns(const Module& module, uint32_t type_id);

// Bit width of the scalars inside the type (bool counts as 32); 32 when unknown.
uint32_t scalar_bits(const Module& module, uint32_t type_id);

// Bytes the type occupies in memory, without padding.
uint64_t byte_size(const Module& module, uint32_t type_id);

// Images, samplers and other handles that are never held in work registers.
bool is_opaque(const Module& module, uint32_t type_id);

bool is_pointer(const Module& module, uint32_t type_id);

// The storage class and pointee of a pointer type (0 when not a pointer).
uint32_t pointer_storage_class(const Module& module, uint32_t type_id);
uint32_t pointee_type(const Module& module, uint32_t type_id);

// The image type behind an image, sampled image or pointer to either; null otherwise.
const Instruction* image_type_of(const Module& module, uint32_t type_id);

// The value of an integer constant; false when the id is not one.
bool constant_integer(const Module& module, uint32_t id, uint64_t& value);

}  // namespace reference
