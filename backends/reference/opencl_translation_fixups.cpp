#include "opencl_translation_fixups.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "analysis/spirv_words.h"

namespace reference {

namespace {

constexpr uint32_t VERSION_1_0 = 0x00010000;
constexpr uint32_t VERSION_1_1 = 0x00010100;
constexpr uint32_t VERSION_1_4 = 0x00010400;

struct Instruction {
    size_t offset;  // of its first word in the module
    uint32_t opcode;
    uint32_t word_count;
};

std::vector<Instruction> instructions_of(const std::vector<uint32_t>& module) {
    if (module.size() < SPIRV_HEADER_WORDS || module[0] != spv::MagicNumber)
        throw std::runtime_error("the translator produced no SPIR-V module");
    std::vector<Instruction> list;
    const size_t stopped = walk_instructions(module, [&](uint16_t opcode, size_t first, size_t end) {
        list.push_back({first, opcode, static_cast<uint32_t>(end - first)});
    });
    if (stopped != module.size()) throw std::runtime_error("the translator produced a malformed SPIR-V module");
    return list;
}

// Words taken by a NUL-terminated literal string starting at word index first.
size_t literal_string_words(const std::vector<uint32_t>& module, size_t first, size_t end) {
    for (size_t index = first; index < end; ++index) {
        uint32_t word = module[index];
        for (int byte = 0; byte < 4; ++byte)
            if (((word >> (8 * byte)) & 0xffu) == 0) return index - first + 1;
    }
    return end - first;
}

struct Block {
    uint32_t label = 0;
    size_t begin = 0;  // word offsets of its first instruction and one past its last
    size_t end = 0;
    size_t terminator = 0;  // index of its last instruction
    std::vector<uint32_t> successors;
};

// Integer widths of the values a switch may select on: constants and the
// results of instructions in function bodies whose result type is an integer.
std::map<uint32_t, uint32_t> integer_value_widths(const std::vector<uint32_t>& module,
                                                  const std::vector<Instruction>& list) {
    std::map<uint32_t, uint32_t> type_widths;
    std::map<uint32_t, uint32_t> value_widths;
    bool in_function = false;
    for (const Instruction& instruction : list) {
        const size_t at = instruction.offset;
        if (instruction.opcode == spv::OpFunction) in_function = true;
        if (instruction.opcode == spv::OpTypeInt && instruction.word_count >= 3)
            type_widths[module[at + 1]] = module[at + 2];
        bool may_hold_integer = in_function || instruction.opcode == spv::OpConstant ||
                                instruction.opcode == spv::OpSpecConstant || instruction.opcode == spv::OpUndef;
        if (!may_hold_integer || instruction.word_count < 3) continue;
        auto type = type_widths.find(module[at + 1]);
        if (type != type_widths.end()) value_widths[module[at + 2]] = type->second;
    }
    return value_widths;
}

std::vector<uint32_t> successors_of(const std::vector<uint32_t>& module, const Instruction& last,
                                    const std::map<uint32_t, uint32_t>& value_widths) {
    const size_t at = last.offset;
    switch (last.opcode) {
        case spv::OpBranch:
            if (last.word_count >= 2) return {module[at + 1]};
            break;
        case spv::OpBranchConditional:
            if (last.word_count >= 4) return {module[at + 2], module[at + 3]};
            break;
        case spv::OpSwitch: {
            // Selector, default, then (literal, label) pairs whose literal is
            // as wide as the selector: one word, or two for 64 bits.
            if (last.word_count < 3) break;
            std::vector<uint32_t> targets{module[at + 2]};
            auto width = value_widths.find(module[at + 1]);
            size_t literal_words = width != value_widths.end() && width->second > 32 ? 2 : 1;
            for (size_t index = 3 + literal_words; index < last.word_count; index += literal_words + 1)
                targets.push_back(module[at + index]);
            return targets;
        }
        default: break;
    }
    return {};
}

// Blocks in reverse post-order from the first, then the unreachable ones.
std::vector<size_t> dominance_order(const std::vector<Block>& blocks) {
    std::map<uint32_t, size_t> index_of_label;
    for (size_t index = 0; index < blocks.size(); ++index) index_of_label[blocks[index].label] = index;

    std::vector<bool> visited(blocks.size(), false);
    std::vector<size_t> post_order;
    std::vector<std::pair<size_t, size_t>> stack{{0, 0}};  // block, next successor to visit
    visited[0] = true;
    while (!stack.empty()) {
        auto& [block, next] = stack.back();
        if (next < blocks[block].successors.size()) {
            auto successor = index_of_label.find(blocks[block].successors[next++]);
            if (successor != index_of_label.end() && !visited[successor->second]) {
                visited[successor->second] = true;
                stack.emplace_back(successor->second, 0);
            }
        } else {
            post_order.push_back(block);
            stack.pop_back();
        }
    }
    std::vector<size_t> order(post_order.rbegin(), post_order.rend());
    for (size_t index = 0; index < blocks.size(); ++index)
        if (!visited[index]) order.push_back(index);
    return order;
}

}  // namespace

std::string replace_freeze_instructions(const std::string& llvm_assembly) {
    static const std::string FREEZE = " = freeze ";
    std::istringstream lines(llvm_assembly);
    std::string result;
    result.reserve(llvm_assembly.size());
    std::string line;
    while (std::getline(lines, line)) {
        size_t at = line.find(FREEZE);
        if (at != std::string::npos) {
            std::string operands = line.substr(at + FREEZE.size());
            size_t space = operands.rfind(' ');
            // Aggregates cannot be bitcast and constant vectors hold commas:
            // such lines stay as they are and the translation falls back.
            if (space != std::string::npos && operands.find(',') == std::string::npos && operands[0] != '{' &&
                operands[0] != '[') {
                std::string type = operands.substr(0, space);
                bool named_aggregate = type[0] == '%' && type.back() != '*';
                if (!named_aggregate) line = line.substr(0, at) + " = bitcast " + operands + " to " + type;
            }
        }
        result += line;
        result += '\n';
    }
    return result;
}

std::string splat_select_conditions(const std::string& llvm_assembly) {
    // "  %r = select [flags] i1 COND, <N x T> A, <N x T> B"
    static const std::regex SCALAR_SELECT(
        R"(^(\s*)(%[-a-zA-Z$._0-9]+) = select ((?:[a-z]+ )*)i1 ([^,]+), <(\d+) x (.*)$)");
    std::istringstream lines(llvm_assembly);
    std::string result;
    result.reserve(llvm_assembly.size());
    std::string line;
    size_t splats = 0;
    while (std::getline(lines, line)) {
        std::smatch select;
        if (std::regex_match(line, select, SCALAR_SELECT)) {
            const std::string indent = select[1], lanes = select[5];
            const std::string vector = "<" + lanes + " x i1>";
            const std::string one = "%shadex.condition." + std::to_string(splats);
            const std::string all = "%shadex.splat." + std::to_string(splats++);
            result += indent + one + " = insertelement " + vector + " undef, i1 " + select[4].str() + ", i32 0\n";
            result += indent + all + " = shufflevector " + vector + " " + one + ", " + vector + " undef, <" + lanes +
                      " x i32> zeroinitializer\n";
            line = indent + select[2].str() + " = select " + select[3].str() + vector + " " + all + ", <" + lanes +
                   " x " + select[6].str();
        }
        result += line;
        result += '\n';
    }
    return result;
}

void order_blocks_by_dominance(std::vector<uint32_t>& module) {
    const std::vector<Instruction> list = instructions_of(module);
    const std::map<uint32_t, uint32_t> value_widths = integer_value_widths(module, list);
    std::vector<uint32_t> reordered(module.begin(), module.begin() + SPIRV_HEADER_WORDS);
    std::vector<Block> blocks;
    size_t copied_to = SPIRV_HEADER_WORDS;  // words before this offset are already in reordered

    auto close_block = [&](size_t index) {
        blocks.back().end = list[index].offset;
        blocks.back().terminator = index - 1;
    };
    for (size_t index = 0; index < list.size(); ++index) {
        const Instruction& instruction = list[index];
        if (instruction.opcode == spv::OpLabel) {
            if (blocks.empty()) {
                reordered.insert(reordered.end(), module.begin() + copied_to, module.begin() + instruction.offset);
            } else {
                close_block(index);
            }
            Block block;
            block.label = instruction.word_count >= 2 ? module[instruction.offset + 1] : 0;
            block.begin = instruction.offset;
            blocks.push_back(block);
        } else if (instruction.opcode == spv::OpFunctionEnd && !blocks.empty()) {
            close_block(index);
            for (Block& block : blocks) block.successors = successors_of(module, list[block.terminator], value_widths);
            for (size_t chosen : dominance_order(blocks))
                reordered.insert(reordered.end(), module.begin() + blocks[chosen].begin,
                                 module.begin() + blocks[chosen].end);
            blocks.clear();
            copied_to = instruction.offset;
        }
    }
    if (!blocks.empty()) throw std::runtime_error("the translator produced a function without an end");
    reordered.insert(reordered.end(), module.begin() + copied_to, module.end());
    module.swap(reordered);
}

void complete_entry_point_interfaces(std::vector<uint32_t>& module) {
    const std::vector<Instruction> list = instructions_of(module);
    const bool every_variable = module[1] >= VERSION_1_4;
    std::vector<uint32_t> variables;
    for (const Instruction& instruction : list) {
        if (instruction.opcode == spv::OpFunction) break;
        if (instruction.opcode != spv::OpVariable || instruction.word_count < 4) continue;
        uint32_t storage = module[instruction.offset + 3];
        if (every_variable || storage == spv::StorageClassInput || storage == spv::StorageClassOutput)
            variables.push_back(module[instruction.offset + 2]);
    }
    if (variables.empty()) return;

    std::vector<uint32_t> rebuilt(module.begin(), module.begin() + SPIRV_HEADER_WORDS);
    for (const Instruction& instruction : list) {
        const size_t begin = instruction.offset;
        const size_t end = begin + instruction.word_count;
        if (instruction.opcode != spv::OpEntryPoint || instruction.word_count < 4) {
            rebuilt.insert(rebuilt.end(), module.begin() + begin, module.begin() + end);
            continue;
        }
        const size_t interface_begin = begin + 3 + literal_string_words(module, begin + 3, end);
        std::vector<uint32_t> words(module.begin() + begin, module.begin() + end);
        std::set<uint32_t> listed(module.begin() + std::min(interface_begin, end), module.begin() + end);
        for (uint32_t variable : variables)
            if (listed.insert(variable).second) words.push_back(variable);
        words[0] = static_cast<uint32_t>(words.size() << 16) | spv::OpEntryPoint;
        rebuilt.insert(rebuilt.end(), words.begin(), words.end());
    }
    module.swap(rebuilt);
}

std::vector<std::string> undefined_function_names(const std::vector<uint32_t>& module) {
    std::map<uint32_t, std::string> names;
    std::vector<std::string> undefined;
    uint32_t function = 0;
    bool has_body = false;
    for (const Instruction& instruction : instructions_of(module)) {
        const size_t at = instruction.offset;
        const size_t end = at + instruction.word_count;
        switch (instruction.opcode) {
            case spv::OpName:
                if (instruction.word_count >= 3) names.emplace(module[at + 1], literal_string(module, at + 2, end));
                break;
            case spv::OpDecorate:
                // The linkage name, when there is one, wins: it is the source's spelling.
                if (instruction.word_count >= 4 && module[at + 2] == spv::DecorationLinkageAttributes)
                    names[module[at + 1]] = literal_string(module, at + 3, end);
                break;
            case spv::OpFunction:
                function = instruction.word_count >= 3 ? module[at + 2] : 0;
                has_body = false;
                break;
            case spv::OpLabel: has_body = true; break;
            case spv::OpFunctionEnd:
                if (!has_body) {
                    auto name = names.find(function);
                    undefined.push_back(name != names.end() ? name->second : "%" + std::to_string(function));
                }
                break;
            default: break;
        }
    }
    return undefined;
}

void drop_translator_debug_info(std::vector<uint32_t>& module) {
    const std::vector<Instruction> list = instructions_of(module);
    uint32_t debug_set = 0;
    bool producer = false;
    for (const Instruction& instruction : list) {
        const size_t at = instruction.offset;
        if (instruction.opcode == spv::OpExtInstImport && instruction.word_count >= 3 &&
            literal_string(module, at + 2, at + instruction.word_count) == "OpenCL.DebugInfo.100")
            debug_set = module[at + 1];
        producer = producer || instruction.opcode == spv::OpModuleProcessed;
    }
    if (debug_set == 0 && !producer) return;
    auto is_debug = [&](const Instruction& instruction) {
        const size_t at = instruction.offset;
        return instruction.opcode == spv::OpModuleProcessed ||
               (instruction.opcode == spv::OpExtInstImport && instruction.word_count >= 2 &&
                module[at + 1] == debug_set) ||
               (instruction.opcode == spv::OpExtInst && instruction.word_count >= 5 && module[at + 3] == debug_set);
    };
    std::vector<uint32_t> rebuilt(module.begin(), module.begin() + SPIRV_HEADER_WORDS);
    for (const Instruction& instruction : list) {
        if (is_debug(instruction)) continue;
        rebuilt.insert(rebuilt.end(), module.begin() + instruction.offset,
                       module.begin() + instruction.offset + instruction.word_count);
    }
    if (rebuilt[1] == VERSION_1_1) rebuilt[1] = VERSION_1_0;
    module.swap(rebuilt);
}

}  // namespace reference
