// Read-only facts about a SPIR-V module, taken straight from its words. Every
// reader stops at the first malformed instruction instead of reading past it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <glslang/SPIRV/spirv.hpp>

#include "analysis/spirv_words.h"

namespace reference {

struct EntryPoint {
    uint32_t execution_model = 0;
    std::string name;
};

struct SourceDeclaration {
    uint32_t language = 0;                // SPIR-V SourceLanguage: 1 ESSL, 2 GLSL, 3 OpenCL C
    uint32_t version = 0;                 // as the source declared it, e.g. 300
    std::vector<std::string> extensions;  // from OpSourceExtension
};

// Calls visit(opcode, first word, end word) for each whole instruction after
// the header; stops at the first malformed one.
void for_each_instruction(const std::vector<uint32_t>& module,
                          const std::function<void(uint32_t, size_t, size_t)>& visit);

// The version in hundredths (1.3 is 130); 0 for a module too short to have one.
uint32_t module_version(const std::vector<uint32_t>& module);

std::vector<EntryPoint> entry_points(const std::vector<uint32_t>& module);

SourceDeclaration source_declaration(const std::vector<uint32_t>& module);

bool declares_capability(const std::vector<uint32_t>& module, uint32_t capability);

// True when every function is a single block that returns at once (a probe's
// "void main() {}"): there is nothing to optimise.
bool has_only_empty_functions(const std::vector<uint32_t>& module);

// How many structured constructs (selections and loops) enclose the deepest
// block of any function: each opens at its merge instruction and closes at its
// merge block, which follows the construct's blocks in the module's order.
size_t control_flow_nesting_depth(const std::vector<uint32_t>& module);

}  // namespace reference
