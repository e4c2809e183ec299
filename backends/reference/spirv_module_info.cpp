#include "spirv_module_info.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <functional>
#include <unordered_set>

namespace reference {

namespace {}  // namespace

// Calls visit(opcode, first word, end word) for each whole instruction.
void for_each_instruction(const std::vector<uint32_t>& module,
                          const std::function<void(uint32_t, size_t, size_t)>& visit) {
    if (module.size() < SPIRV_HEADER_WORDS || module[0] != spv::MagicNumber) return;
    walk_instructions(module, visit);
}

uint32_t module_version(const std::vector<uint32_t>& module) {
    if (module.size() < SPIRV_HEADER_WORDS) return 0;
    const uint32_t major = (module[1] >> 16) & 0xFF;
    const uint32_t minor = (module[1] >> 8) & 0xFF;
    return major * 100 + minor * 10;
}

std::vector<EntryPoint> entry_points(const std::vector<uint32_t>& module) {
    std::vector<EntryPoint> found;
    for_each_instruction(module, [&](uint32_t opcode, size_t first, size_t end) {
        if (opcode != spv::OpEntryPoint || end - first < 4) return;
        found.push_back({module[first + 1], literal_string(module, first + 3, end)});
    });
    return found;
}

SourceDeclaration source_declaration(const std::vector<uint32_t>& module) {
    SourceDeclaration source;
    for_each_instruction(module, [&](uint32_t opcode, size_t first, size_t end) {
        if (opcode == spv::OpSource && end - first >= 3) {
            source.language = module[first + 1];
            source.version = module[first + 2];
        } else if (opcode == spv::OpSourceExtension && end - first >= 2) {
            source.extensions.push_back(literal_string(module, first + 1, end));
        }
    });
    return source;
}

bool declares_capability(const std::vector<uint32_t>& module, uint32_t capability) {
    bool found = false;
    for_each_instruction(module, [&](uint32_t opcode, size_t first, size_t end) {
        if (opcode == spv::OpCapability && end - first >= 2 && module[first + 1] == capability) found = true;
    });
    return found;
}

bool has_only_empty_functions(const std::vector<uint32_t>& module) {
    // From the first function on, only functions made of one block that
    // returns at once.
    bool in_functions = false;
    bool empty = true;
    uint32_t previous = 0;
    for_each_instruction(module, [&](uint32_t opcode, size_t, size_t) {
        if (opcode == spv::OpFunction) in_functions = true;
        if (!in_functions) return;
        const bool expected = (opcode == spv::OpFunction && (previous == 0 || previous == spv::OpFunctionEnd)) ||
                              (opcode == spv::OpLabel && previous == spv::OpFunction) ||
                              (opcode == spv::OpReturn && previous == spv::OpLabel) ||
                              (opcode == spv::OpFunctionEnd && previous == spv::OpReturn);
        empty = empty && expected;
        previous = opcode;
    });
    return in_functions && empty && previous == spv::OpFunctionEnd;
}

size_t control_flow_nesting_depth(const std::vector<uint32_t>& module) {
    std::vector<uint32_t> open_merges;  // innermost last
    std::unordered_set<uint32_t> open_set;
    size_t deepest = 0;
    for_each_instruction(module, [&](uint32_t opcode, size_t first, size_t end) {
        if (opcode == spv::OpFunction) {
            open_merges.clear();
            open_set.clear();
        } else if ((opcode == spv::OpSelectionMerge || opcode == spv::OpLoopMerge) && end - first >= 2) {
            open_merges.push_back(module[first + 1]);
            open_set.insert(module[first + 1]);
            deepest = std::max(deepest, open_merges.size());
        } else if (opcode == spv::OpLabel && end - first >= 2 && open_set.count(module[first + 1])) {
            // Reaching a merge block closes its construct and any left open inside it.
            uint32_t closed;
            do {
                closed = open_merges.back();
                open_merges.pop_back();
                open_set.erase(closed);
            } while (closed != module[first + 1]);
        }
    });
    return deepest;
}

}  // namespace reference
