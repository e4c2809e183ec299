#include "loop_trip_counts.h"

#include <algorithm>
#include <string>

#include "analysis/loop_trips.h"
#include "analysis/module_ir.h"
#include "analysis/spirv_defs.h"

namespace reference {

namespace {

size_t words_of(const Instruction& instruction) {
    return 1 + (instruction.type_id != 0 ? 1 : 0) + (instruction.result_id != 0 ? 1 : 0) + instruction.operands.size();
}

constexpr size_t LABEL_WORDS = 2;

}  // namespace

std::vector<LoopShape> loop_shapes(const std::vector<uint32_t>& words, uint32_t trip_limit) {
    std::string error;
    const Module module = parse_module(words, error);
    std::vector<LoopShape> shapes;
    for (const Function& function : module.functions) {
        for (size_t header = 0; header < function.blocks.size(); ++header) {
            const auto& instructions = function.blocks[header].instructions;
            if (instructions.size() < 2 || instructions[instructions.size() - 2].opcode != spirv::OpLoopMerge ||
                instructions[instructions.size() - 2].operands.empty()) {
                continue;
            }
            const uint32_t merge_label = instructions[instructions.size() - 2].operands[0];
            LoopShape shape;
            for (size_t b = header; b < function.blocks.size() && function.blocks[b].label != merge_label; ++b) {
                shape.body_words += LABEL_WORDS;
                for (const Instruction& instruction : function.blocks[b].instructions) {
                    shape.body_words += words_of(instruction);
                }
            }
            const std::optional<LoopTrips> trips = loop_trips(
                module, function, header, [&](size_t block) { return function.blocks[block].label == merge_label; });
            if (trips) shape.trips = static_cast<uint32_t>(std::min<uint64_t>(trips->count, uint64_t(trip_limit) + 1));
            shapes.push_back(shape);
        }
    }
    return shapes;
}

}  // namespace reference
