#include "analysis/variant_statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "analysis/instruction_cost.h"

namespace reference {

namespace {

// Registers are counted in whole units; a sliver above an integer is
// rounding noise from the 16-bit halves.
constexpr double REGISTER_SLACK = 1e-6;

uint64_t register_bytes(const ArchitectureProfile& profile, uint64_t registers) {
    return registers * 4u * profile.register_components;
}

// Traffic through the load/store unit that every path of the variant pays;
// no source line causes it.
void add_to_every_path(PathFigures& figures, double messages) {
    figures.total[PipeLS] += messages;
    figures.shortest[PipeLS] += messages;
    figures.longest[PipeLS] += messages;
    if (!figures.lines.empty()) figures.lines[0][PipeLS] += messages;
}

}  // namespace

uint64_t whole_registers(double peak_registers) {
    return static_cast<uint64_t>(std::ceil(std::max(0.0, peak_registers - REGISTER_SLACK)));
}

uint64_t spilled_bytes(const ArchitectureProfile& profile, double peak_registers) {
    const uint64_t registers = whole_registers(peak_registers);
    if (registers <= profile.work_registers) return 0;
    return register_bytes(profile, registers - profile.work_registers);
}

std::string slash_list(const std::vector<double>& values) {
    std::string text;
    for (double value : values) {
        if (!text.empty()) text += "/";
        text += format_figure(value);
    }
    return text;
}

std::vector<double> pipe_values(const CoreModel& core, const PipeCycles& cycles, bool varyings) {
    const double arithmetic = cycles[PipeFMA] + cycles[PipeCVT] + cycles[PipeSFU];
    if (core.architecture == Architecture::Tarsel) return {arithmetic, cycles[PipeLS], cycles[PipeT]};
    std::vector<double> values;
    if (core.architecture == Architecture::Ostrem) {
        values.push_back(arithmetic);
    } else {
        values.insert(values.end(), {cycles[PipeFMA], cycles[PipeCVT], cycles[PipeSFU]});
    }
    values.push_back(cycles[PipeLS]);
    if (varyings) values.push_back(cycles[PipeV]);
    values.push_back(cycles[PipeT]);
    return values;
}

std::string format_figure(double value) {
    if (!std::isfinite(value)) return "0";
    const double rounded = std::round(value);
    char buffer[64];
    if (std::fabs(value - rounded) < 1e-9 && std::fabs(rounded) < 1e15) {
        std::snprintf(buffer, sizeof buffer, "%.0f", rounded);
        return std::string(buffer) == "-0" ? "0" : buffer;
    }
    // Nine significant digits survive the program's reading as a 32-bit
    // float, so a figure the back-end divides (Tarsel's arithmetic paths)
    // reads back as the same number as one the program divides.
    std::snprintf(buffer, sizeof buffer, "%.9g", value);
    return buffer;
}

void add_pipe_figures(Statistics& statistics, const CoreModel& core, const PathFigures& figures, bool varyings) {
    auto arithmetic = [](const PipeCycles& cycles) { return cycles[PipeFMA] + cycles[PipeCVT] + cycles[PipeSFU]; };
    auto longest = [&figures](double value) { return figures.unbounded ? -1.0 : value; };
    if (core.architecture == Architecture::Tarsel) {
        // The program divides only the total arithmetic figure by the core's
        // pipe count; the paths are reported already divided.
        const double rate = core.arithmetic_rate > 0 ? core.arithmetic_rate : 1.0;
        const struct {
            const char* prefix;
            double total, shortest, longest;
        } pipes[] = {
            {"arithmetic", arithmetic(figures.total), arithmetic(figures.shortest) / rate,
             figures.unbounded ? -1.0 : arithmetic(figures.longest) / rate},
            {"load_store", figures.total[PipeLS], figures.shortest[PipeLS], longest(figures.longest[PipeLS])},
            {"texture", figures.total[PipeT], figures.shortest[PipeT], longest(figures.longest[PipeT])},
        };
        for (const auto& pipe : pipes) {
            const std::string prefix = pipe.prefix;
            statistics.emplace_back(prefix + "_cycles", format_figure(pipe.total));
            statistics.emplace_back(prefix + "_shortest_path", format_figure(pipe.shortest));
            statistics.emplace_back(prefix + "_longest_path", format_figure(pipe.longest));
        }
        return;
    }
    std::string names = core.architecture == Architecture::Ostrem ? "A/LS" : "A1/A2/A3/LS";
    names += varyings ? "/V/T" : "/T";
    std::vector<double> longest_path = pipe_values(core, figures.longest, varyings);
    for (double& value : longest_path) value = longest(value);
    statistics.emplace_back("pipe_names", names);
    statistics.emplace_back("cycles", slash_list(pipe_values(core, figures.total, varyings)));
    statistics.emplace_back("shortest", slash_list(pipe_values(core, figures.shortest, varyings)));
    statistics.emplace_back("longest", slash_list(longest_path));
}

void add_half_precision(Statistics& statistics, const ArchitectureProfile& profile, const ArithmeticMix& mix) {
    if (profile.architecture == Architecture::Tarsel) return;
    const double share = mix.operations > 0 ? mix.half_operations / mix.operations : 0.0;
    statistics.emplace_back("part_float16", format_figure(share));
    if (profile.packs_fp16) {
        const double idle = mix.half_lanes > 0 ? mix.idle_half_lanes / mix.half_lanes : 0.0;
        statistics.emplace_back("part_v2float16_underused", format_figure(idle));
    }
}

void add_spill_traffic(PathFigures& figures, const ArchitectureProfile& profile, double peak_registers) {
    const uint64_t bytes = spilled_bytes(profile, peak_registers);
    if (bytes > 0) add_to_every_path(figures, 2 * load_store_messages(bytes));
}

uint64_t work_registers_used(const ArchitectureProfile& profile, double peak_registers) {
    return std::min<uint64_t>(whole_registers(peak_registers), profile.work_registers);
}

uint64_t uniform_register_capacity(const CoreModel& core, const ArchitectureProfile& profile, double peak_registers) {
    if (core.architecture != Architecture::Tarsel) return core.uniform_registers;
    const uint64_t work = work_registers_used(profile, peak_registers);
    return core.uniform_registers > work ? core.uniform_registers - work : 0;
}

uint64_t add_uniform_overflow(PathFigures& figures, const ArchitectureProfile& profile, uint64_t uniform_registers,
                              uint64_t capacity) {
    if (uniform_registers <= capacity) return uniform_registers;
    add_to_every_path(figures, load_store_messages(register_bytes(profile, uniform_registers - capacity)));
    return capacity;
}

void add_storage(Statistics& statistics, const ArchitectureProfile& profile, double peak_registers,
                 uint64_t stack_bytes, uint64_t workgroup_bytes) {
    const uint64_t spill_bytes = spilled_bytes(profile, peak_registers);
    const uint64_t registers = work_registers_used(profile, peak_registers);
    // The program reads these as signed 32-bit numbers.
    auto clamp = [](uint64_t value) { return std::to_string(std::min<uint64_t>(value, INT32_MAX)); };
    statistics.emplace_back("work_registers_used", std::to_string(registers));
    statistics.emplace_back("spilling_used", spill_bytes > 0 ? "true" : "false");
    statistics.emplace_back("spill_size", clamp(spill_bytes));
    statistics.emplace_back("alloca_size", clamp(stack_bytes));
    statistics.emplace_back("tls_size", clamp(stack_bytes + spill_bytes));
    statistics.emplace_back("wls_size", clamp(workgroup_bytes));
}

}  // namespace reference
