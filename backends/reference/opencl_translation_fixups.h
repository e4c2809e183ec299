// What the OpenCL front end does to the LLVM to SPIR-V translator's input and
// output. The translator cannot translate LLVM's "freeze" instruction, lays
// out basic blocks in LLVM's order rather than one where every block follows
// its dominator, and leaves out of an entry point's interface the built-in
// variables only its callees read. And as it translates one source on its own,
// a call of a function defined nowhere only shows in its output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

// LLVM assembly with every "freeze" of a scalar, vector or pointer turned into
// a bitcast to the same type. Freeze only pins down undefined bits, which no
// estimate depends on.
std::string replace_freeze_instructions(const std::string& llvm_assembly);

// LLVM assembly where a select between vectors on one i1 condition selects
// on that condition repeated in every lane: LLVM allows the scalar form,
// SPIR-V before 1.4 does not, and the translator copies it through.
std::string splat_select_conditions(const std::string& llvm_assembly);

// Reorders the blocks of every function so that each block comes after its
// dominators (reverse post-order from the entry; unreachable blocks last).
// Throws std::runtime_error for a malformed module.
void order_blocks_by_dominance(std::vector<uint32_t>& module);

// Lists in every entry point's interface each module-scope variable the
// module's version requires there (Input and Output before SPIR-V 1.4, every
// one from 1.4 on) that it does not already list.
void complete_entry_point_interfaces(std::vector<uint32_t>& module);

// With debug information the translator adds an OpModuleProcessed, which
// alone raises the module to SPIR-V 1.1 (above what OpenCL C 1.2 may run),
// and OpenCL.DebugInfo.100 instructions the validator refuses. Only the
// OpLine instructions are wanted: the rest goes, and a 1.1 module returns to 1.0.
void drop_translator_debug_info(std::vector<uint32_t>& module);

// Functions the module declares without a body, that is imports it expects
// from elsewhere: a program calling them cannot be linked.
std::vector<std::string> undefined_function_names(const std::vector<uint32_t>& module);

}  // namespace reference
