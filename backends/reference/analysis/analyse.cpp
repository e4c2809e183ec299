#include "analysis/analyse.h"

#include <exception>
#include <unordered_map>

#include "analysis/core_model.h"
#include "analysis/module_ir.h"
#include "analysis/path_figures.h"
#include "analysis/program.h"
#include "analysis/register_pressure.h"
#include "analysis/shader_facts.h"
#include "analysis/source_line_costs.h"
#include "analysis/variant_split.h"
#include "analysis/variant_statistics.h"

namespace reference {

namespace {

constexpr int MAIN_VARIANT = 0;
constexpr int VARYING_VARIANT = 1;
constexpr int POSITION_VARIANT = 256;
constexpr uint32_t UNASSIGNED_STREAM = 65535;

// Everything in `keep` that `drop` does not hold.
InstructionMask without(const Program& program, InstructionMask keep, const InstructionMask& drop) {
    program.for_each_instruction([&](size_t fn, size_t b, const Instruction& instruction) {
        const size_t index =
            static_cast<size_t>(&instruction - program.module.functions[fn].blocks[b].instructions.data());
        if (drop.contains(fn, b, index)) keep.set(fn, b, index, false);
    });
    return keep;
}

// "name:location" entries; on Vulkan the name carries the variable's id so
// the program can point at the SPIR-V variable.
std::string attribute_symbols(const Program& program, const std::vector<uint32_t>& inputs, bool vulkan) {
    std::string text;
    for (uint32_t id : inputs) {
        auto name = program.module.names.find(id);
        const std::string source_name = name == program.module.names.end() ? std::string() : name->second;
        std::string symbol;
        if (vulkan || source_name.empty()) {
            symbol = "in_" + std::to_string(id);
            if (!source_name.empty()) symbol += "_" + source_name;
        } else {
            symbol = source_name;
        }
        int64_t location = UNASSIGNED_STREAM;
        if (const Decorations* decorations = program.module.decorations_of(id)) {
            if (decorations->location >= 0 && decorations->location < UNASSIGNED_STREAM)
                location = decorations->location;
        }
        if (!text.empty()) text += ",";
        text += symbol + ":" + std::to_string(location);
    }
    return text;
}

class VariantWriter {
public:
    VariantWriter(const Program& program, const CoreModel& core, const AnalysisRequest& request)
        : program_(program), core_(core), request_(request), flags_(shader_flags(program)),
          stack_(stack_bytes(program)), workgroup_(workgroup_bytes(program)) {}

    Statistics variant(int number, const InstructionMask& mask, const InstructionMask* pilot) const {
        Statistics statistics = {{"variant", std::to_string(number)}};
        PathFigures figures = path_figures(program_, mask);
        const double registers = peak_registers(program_, mask);
        add_spill_traffic(figures, program_.profile, registers);
        add_storage(statistics, program_.profile, registers, stack_, workgroup_);
        const uint64_t uniforms =
            add_uniform_overflow(figures, program_.profile, uniform_registers(program_, mask, pilot),
                                 uniform_register_capacity(core_, program_.profile, registers));
        statistics.emplace_back("uniform_registers_used", std::to_string(uniforms));
        add_half_precision(statistics, program_.profile, figures.mix);
        add_pipe_figures(statistics, core_, figures, has_varyings());
        for (const std::string& flag : flags_) statistics.emplace_back("shader_flag", flag);
        if (program_.is_kernel() && program_.entry != nullptr) {
            statistics.emplace_back("kernel_name", program_.entry->name);
        }
        if (request_.source_costs) add_source_line_costs(statistics, program_, core_, mask, figures, has_varyings());
        return statistics;
    }

    Statistics pilot(const InstructionMask& mask) const {
        Statistics statistics = {{"is_pilot", "true"}, {"variant", std::to_string(MAIN_VARIANT)}};
        add_pipe_figures(statistics, core_, path_figures(program_, mask), has_varyings());
        return statistics;
    }

private:
    // Kernels have no varyings, so no varying pipe.
    bool has_varyings() const { return !program_.is_kernel(); }

    const Program& program_;
    const CoreModel& core_;
    const AnalysisRequest& request_;
    const std::vector<std::string> flags_;
    const uint64_t stack_;
    const uint64_t workgroup_;
};

void analyse(const AnalysisRequest& request, const CoreModel& core, AnalysisResult& result) {
    std::string error;
    const Module module = parse_module(request.module, error);
    if (!error.empty()) {
        result.errors.push_back("Invalid SPIR-V module: " + error);
        return;
    }
    const EntryPointDecl* entry = find_entry_point(module, request.entry_point, request.stage);
    if (entry == nullptr || module.function_index.count(entry->function) == 0) {
        result.errors.push_back("Entry point '" + request.entry_point + "' not found in the SPIR-V module");
        return;
    }
    AnalysisRequest effective = request;
    if (!effective.stage) effective.stage = stage_of_execution_model(entry->execution_model);
    const Program program(module, architecture_profile(core.architecture), effective.stage, *entry,
                          request.tile_variables);
    const VariantWriter writer(program, core, effective);

    // Tarsel cores run neither pilot shaders nor split vertex shaders.
    const bool splits_allowed = core.architecture != Architecture::Tarsel;
    InstructionMask everything(module, true);
    const bool pilot_requested = splits_allowed && request.request_pilot;
    const InstructionMask uniform_work =
        pilot_requested ? uniform_only_instructions(program) : InstructionMask(module, false);
    const bool pilot = pilot_requested && has_arithmetic(program, uniform_work);
    const InstructionMask* pilot_mask = pilot ? &uniform_work : nullptr;
    const InstructionMask main_work = pilot ? without(program, everything, uniform_work) : everything;

    if (splits_allowed && request.request_idvs && program.is_vertex() && !has_side_effects(program)) {
        GeometrySplit split = split_geometry(program);
        Statistics position = writer.variant(
            POSITION_VARIANT, pilot ? without(program, split.position, uniform_work) : split.position, pilot_mask);
        position.emplace_back("position_attribute_symbols",
                              attribute_symbols(program, split.position_inputs, request.vulkan));
        result.variants.push_back(std::move(position));
        // With nothing but the position to write, there is nothing to shade.
        if (split.has_varyings) {
            Statistics varying = writer.variant(
                VARYING_VARIANT, pilot ? without(program, split.varying, uniform_work) : split.varying, pilot_mask);
            varying.emplace_back("varying_attribute_symbols",
                                 attribute_symbols(program, split.varying_inputs, request.vulkan));
            result.variants.push_back(std::move(varying));
        }
    } else {
        result.variants.push_back(writer.variant(MAIN_VARIANT, main_work, pilot_mask));
    }
    if (pilot) result.variants.push_back(writer.pilot(uniform_work));
}

}  // namespace

AnalysisResult analyse_module(const AnalysisRequest& request) {
    AnalysisResult result;
    const CoreModel* core = find_core_model(request.core);
    if (core == nullptr) {
        result.errors.push_back("No cost model for core '" + request.core + "'");
        return result;
    }
    try {
        analyse(request, *core, result);
    } catch (const std::exception& failure) {
        result.variants.clear();
        result.errors.push_back(std::string("Internal error in the performance model: ") + failure.what());
    }
    return result;
}

}  // namespace reference
