// A small, read-only picture of a SPIR-V module: types, constants, global
// variables, decorations, entry points and functions made of blocks. Built
// from untrusted words: nothing is read outside the buffer, unknown opcodes
// are kept as plain instructions, and lookups of missing ids return null.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace reference {

struct Instruction {
    uint16_t opcode = 0;
    uint32_t type_id = 0;            // 0 when the instruction has no result type
    uint32_t result_id = 0;          // 0 when the instruction has no result
    uint32_t source_line = 0;        // index into Module::source_lines; 0: none known
    std::vector<uint32_t> operands;  // the words after the result type and id
};

// A line of a source file the module's debug information names.
struct SourceLine {
    uint32_t file = 0;  // index into Module::source_files
    uint32_t line = 0;  // 1-based
};

struct Block {
    uint32_t label = 0;
    std::vector<Instruction> instructions;  // the terminator is the last one
};

struct Function {
    uint32_t id = 0;
    std::vector<Instruction> parameters;
    std::vector<Block> blocks;
};

struct Decorations {
    bool relaxed_precision = false;
    bool block = false;
    bool buffer_block = false;
    int64_t builtin = -1;
    int64_t location = -1;
};

struct EntryPointDecl {
    uint32_t execution_model = 0;
    uint32_t function = 0;
    std::string name;
    std::vector<uint32_t> execution_modes;
};

struct Module {
    uint32_t addressing_model = 0;
    // Types and constants by id: the declaring instruction.
    std::unordered_map<uint32_t, Instruction> types;
    std::unordered_map<uint32_t, Instruction> constants;
    std::unordered_map<uint32_t, Instruction> global_variables;
    std::unordered_map<uint32_t, std::string> names;
    std::unordered_map<uint32_t, std::string> ext_imports;
    std::unordered_map<uint32_t, Decorations> decorations;
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> member_builtins;  // (struct, member) -> built-in
    std::vector<EntryPointDecl> entry_points;
    std::vector<Function> functions;
    std::unordered_map<uint32_t, size_t> function_index;
    // The type of every value: constants, variables, parameters, results.
    std::unordered_map<uint32_t, uint32_t> value_types;
    // Where each function-local result is defined.
    struct Location {
        size_t function;
        size_t block;        // SIZE_MAX for a parameter
        size_t instruction;  // index into the block or the parameter list
    };
    std::unordered_map<uint32_t, Location> definitions;
    // From OpLine or the non-semantic DebugLine: the files (0 is the main
    // source) and lines instructions came from; line 0 stands for none.
    std::vector<std::string> source_files;
    std::vector<SourceLine> source_lines = {SourceLine{}};

    const Instruction* type(uint32_t id) const;
    const Instruction* definition(uint32_t id) const;  // function-local results only
    const Decorations* decorations_of(uint32_t id) const;
    uint32_t value_type(uint32_t id) const;  // 0 when unknown
    bool is_constant(uint32_t id) const;
};

// Parses a module; on malformed input fills error and returns what was read.
Module parse_module(const std::vector<uint32_t>& words, std::string& error);

// The ids of the blocks an instruction can branch to (terminators only).
std::vector<uint32_t> branch_targets(const Module& module, const Instruction& instruction);

bool is_block_terminator(uint16_t opcode);

// The operands of an instruction that name values (not literals, labels or
// extended-instruction sets).
std::vector<uint32_t> value_operands(const Instruction& instruction);

// Index in operands of the image-operands mask of an image instruction, or -1
// for other instructions.
int image_operands_position(uint16_t opcode);

}  // namespace reference
