#include "analysis/path_figures.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "analysis/spirv_defs.h"

namespace reference {

namespace {

using namespace spirv;

constexpr double INF = std::numeric_limits<double>::infinity();

bool ends_invocation(const Block& block) {
    if (block.instructions.empty()) return false;
    switch (block.instructions.back().opcode) {
        case OpReturn: case OpReturnValue: case OpKill: case OpTerminateInvocation:
        case OpIgnoreIntersectionKHR: case OpTerminateRayKHR: case OpEmitMeshTasksEXT:
        case OpIgnoreIntersectionNV: case OpTerminateRayNV:
            return true;
        default:
            return false;
    }
}

PathFigures function_figures(const Program& program, size_t fn, const InstructionMask& mask,
                             const std::vector<std::optional<PathFigures>>& done) {
    const Module& module = program.module;
    const Function& function = module.functions[fn];
    const ControlFlow& flow = program.control_flow[fn];
    const size_t count = function.blocks.size();
    PathFigures figures;
    figures.unbounded = flow.has_cycle;
    std::vector<PipeCycles> on_short(count), on_long(count);

    for (size_t b : flow.order) {
        const auto& instructions = function.blocks[b].instructions;
        for (size_t i = 0; i < instructions.size(); ++i) {
            if (!mask.contains(fn, b, i)) continue;
            const Instruction& instruction = instructions[i];
            if (instruction.opcode == OpFunctionCall && !instruction.operands.empty()) {
                auto callee = module.function_index.find(instruction.operands[0]);
                if (callee == module.function_index.end()) continue;
                if (!done[callee->second]) {
                    figures.unbounded = true;  // recursion
                    continue;
                }
                const PathFigures& called = *done[callee->second];
                for (size_t p = 0; p < PIPE_COUNT; ++p) {
                    figures.total[p] += called.total[p];
                    on_short[b][p] += called.shortest[p];
                    on_long[b][p] += called.longest[p];
                }
                figures.unbounded = figures.unbounded || called.unbounded;
                figures.mix.add(called.mix);
                continue;
            }
            const InstructionCost cost = instruction_cost(program, instruction);
            for (size_t p = 0; p < PIPE_COUNT; ++p) {
                figures.total[p] += cost.pipes[p];
                on_short[b][p] += cost.pipes[p];
                on_long[b][p] += cost.pipes[p];
            }
            figures.mix.add(cost.mix);
        }
    }

    // Paths end where the invocation (or call) ends; a block whose only
    // edges go back round a loop is not an end.
    std::vector<PipeCycles> shortest(count), longest(count);
    for (auto it = flow.order.rbegin(); it != flow.order.rend(); ++it) {
        const size_t b = *it;
        const bool terminal = flow.forward[b].empty();
        for (size_t p = 0; p < PIPE_COUNT; ++p) {
            double low = INF, high = -INF;
            if (terminal && ends_invocation(function.blocks[b])) {
                low = high = 0;
            }
            for (size_t next : flow.forward[b]) {
                low = std::min(low, shortest[next][p]);
                high = std::max(high, longest[next][p]);
            }
            shortest[b][p] = on_short[b][p] + low;
            longest[b][p] = on_long[b][p] + high;
        }
    }
    for (size_t p = 0; p < PIPE_COUNT; ++p) {
        const bool has_exit = count > 0 && shortest[0][p] < INF;
        figures.shortest[p] = has_exit ? shortest[0][p] : figures.total[p];
        figures.longest[p] = has_exit ? longest[0][p] : figures.total[p];
    }
    return figures;
}

}  // namespace

InstructionMask::InstructionMask(const Module& module, bool initial) {
    bits_.resize(module.functions.size());
    for (size_t fn = 0; fn < module.functions.size(); ++fn) {
        const auto& blocks = module.functions[fn].blocks;
        bits_[fn].resize(blocks.size());
        for (size_t b = 0; b < blocks.size(); ++b) {
            bits_[fn][b].assign(blocks[b].instructions.size(), initial ? 1 : 0);
        }
    }
}

PathFigures path_figures(const Program& program, const InstructionMask& mask) {
    std::vector<std::optional<PathFigures>> done(program.module.functions.size());
    for (size_t fn : program.callees_first()) {
        done[fn] = function_figures(program, fn, mask, done);
    }
    if (program.entry_function < done.size() && done[program.entry_function]) {
        return *done[program.entry_function];
    }
    return {};
}

}  // namespace reference
