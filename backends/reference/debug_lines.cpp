#include "debug_lines.h"

#include <spirv/unified1/NonSemanticShaderDebugInfo100.h>
#include <glslang/SPIRV/spirv.hpp>

#include <unordered_map>

#include "analysis/spirv_words.h"

namespace reference {

namespace {

constexpr uint32_t word(uint32_t count, uint32_t opcode) { return count << 16 | opcode; }

}  // namespace

void lines_from_shader_debug_info(std::vector<uint32_t>& module) {
    if (module.size() < SPIRV_HEADER_WORDS) return;
    uint32_t set = 0;
    walk_instructions(module, [&](uint16_t opcode, size_t first, size_t end) {
        if (opcode == spv::OpExtInstImport && end - first >= 3 &&
            literal_string(module, first + 2, end) == "NonSemantic.Shader.DebugInfo.100")
            set = module[first + 1];
    });
    if (set == 0) return;

    std::unordered_map<uint32_t, uint32_t> constants;  // 32-bit OpConstant values by id
    std::unordered_map<uint32_t, uint32_t> sources;    // DebugSource id -> its file's OpString
    std::vector<uint32_t> rebuilt(module.begin(), module.begin() + SPIRV_HEADER_WORDS);
    const size_t walked = walk_instructions(module, [&](uint16_t opcode, size_t first, size_t end) {
        const bool in_set = opcode == spv::OpExtInst && end - first >= 5 && module[first + 3] == set;
        if (opcode == spv::OpConstant && end - first == 4) constants[module[first + 2]] = module[first + 3];
        if (opcode == spv::OpExtInstImport && end - first >= 2 && module[first + 1] == set) return;
        if (!in_set) {
            rebuilt.insert(rebuilt.end(), module.begin() + first, module.begin() + end);
            return;
        }
        const uint32_t instruction = module[first + 4];
        if (instruction == NonSemanticShaderDebugInfo100DebugSource && end - first >= 6) {
            sources[module[first + 2]] = module[first + 5];
        } else if (instruction == NonSemanticShaderDebugInfo100DebugNoLine) {
            rebuilt.push_back(word(1, spv::OpNoLine));
        } else if (instruction == NonSemanticShaderDebugInfo100DebugLine && end - first >= 9) {
            auto source = sources.find(module[first + 5]);
            auto line = constants.find(module[first + 6]);
            auto column = constants.find(module[first + 8]);
            if (source != sources.end() && line != constants.end())
                rebuilt.insert(rebuilt.end(), {word(4, spv::OpLine), source->second, line->second,
                                               column != constants.end() ? column->second : 0});
        }
    });
    // A damaged tail is kept as it is, for the validator to name.
    rebuilt.insert(rebuilt.end(), module.begin() + static_cast<std::ptrdiff_t>(walked), module.end());
    module.swap(rebuilt);
}

}  // namespace reference
