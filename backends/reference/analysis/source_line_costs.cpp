#include "analysis/source_line_costs.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "analysis/register_pressure.h"
#include "analysis/type_facts.h"

namespace reference {

namespace {

// What the variant's instructions say about each line, by source-line index.
struct LineFacts {
    std::vector<bool> runs;  // some instruction of the line is in the variant
    std::vector<int> loop;   // -1 outside loops, else the trips, or UNKNOWN_TRIPS
    std::vector<uint64_t> stack_bytes;
};

constexpr int UNKNOWN_TRIPS = -2;

LineFacts line_facts(const Program& program, const InstructionMask& mask) {
    const Module& module = program.module;
    const size_t count = module.source_lines.size();
    LineFacts facts{std::vector<bool>(count, false), std::vector<int>(count, -1), std::vector<uint64_t>(count, 0)};
    std::vector<uint32_t> pending(program.stack_variables.begin(), program.stack_variables.end());
    std::sort(pending.begin(), pending.end());
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        const auto& instructions = module.functions[fn].blocks[b].instructions;
        const size_t index = static_cast<size_t>(&instruction - instructions.data());
        if (!mask.contains(fn, b, index)) return;
        const uint32_t line = instruction.source_line;
        facts.runs[line] = true;
        const int innermost = program.control_flow[fn].loops.innermost[b];
        if (innermost >= 0 && facts.loop[line] == -1) {
            const auto& trips = program.control_flow[fn].loops.loops[innermost].trips;
            facts.loop[line] = trips && trips->count <= INT32_MAX ? static_cast<int>(trips->count) : UNKNOWN_TRIPS;
        }
        // A stack array belongs to the first line that touches it.
        for (uint32_t id : value_operands(instruction)) {
            auto found = std::lower_bound(pending.begin(), pending.end(), id);
            if (found == pending.end() || *found != id) continue;
            facts.stack_bytes[line] += byte_size(module, pointee_type(module, module.value_type(id)));
            pending.erase(found);
        }
    });
    return facts;
}

std::string place(const Module& module, size_t line) {
    const SourceLine& at = module.source_lines[line];
    return std::to_string(at.file) + ":" + std::to_string(at.line) + ":";
}

// Lines in source order, the place without a line last.
std::vector<size_t> source_order(const Module& module) {
    std::vector<size_t> order(module.source_lines.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin() + 1, order.end(), [&](size_t a, size_t b) {
        const SourceLine &x = module.source_lines[a], &y = module.source_lines[b];
        return x.file != y.file ? x.file < y.file : x.line < y.line;
    });
    std::rotate(order.begin(), order.begin() + 1, order.end());
    return order;
}

void append(std::string& list, const std::string& entry) {
    if (!list.empty()) list += ";";
    list += entry;
}

}  // namespace

void add_source_line_costs(Statistics& statistics, const Program& program, const CoreModel& core,
                           const InstructionMask& mask, const PathFigures& figures, bool varyings) {
    const Module& module = program.module;
    const LineFacts facts = line_facts(program, mask);
    const std::vector<double> registers = registers_by_line(program, mask);
    std::string files, costs, live, stack, loops;
    for (size_t f = 0; f < std::max<size_t>(module.source_files.size(), 1); ++f) {
        if (f > 0) files += "|";
        if (f < module.source_files.size()) files += module.source_files[f];
    }
    for (size_t line : source_order(module)) {
        const PipeCycles cycles = line < figures.lines.size() ? figures.lines[line] : PipeCycles{};
        const bool costs_something = std::any_of(cycles.begin(), cycles.end(), [](double c) { return c != 0; });
        if (costs_something) append(costs, place(module, line) + slash_list(pipe_values(core, cycles, varyings)));
        if (facts.runs[line] && registers[line] >= 0) {
            const uint64_t whole = whole_registers(registers[line]);
            append(live,
                   place(module, line) + std::to_string(std::min<uint64_t>(whole, program.profile.work_registers)));
            const uint64_t bytes = facts.stack_bytes[line] + spilled_bytes(program.profile, registers[line]);
            if (bytes > 0) append(stack, place(module, line) + std::to_string(bytes));
        } else if (facts.stack_bytes[line] > 0) {
            append(stack, place(module, line) + std::to_string(facts.stack_bytes[line]));
        }
        if (facts.loop[line] != -1 && (costs_something || facts.runs[line])) {
            append(loops, place(module, line) + (facts.loop[line] == UNKNOWN_TRIPS ? std::string("unknown")
                                                                                   : std::to_string(facts.loop[line])));
        }
    }
    statistics.emplace_back("source_file_names", files);
    statistics.emplace_back("source_line_costs", costs);
    statistics.emplace_back("source_line_registers", live);
    statistics.emplace_back("source_line_stack", stack);
    statistics.emplace_back("source_line_loops", loops);
}

}  // namespace reference
