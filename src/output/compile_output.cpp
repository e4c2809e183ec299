#include "output/compile_output.h"

#include <algorithm>

#include "output/backend_records.h"
#include "output/output_tables.h"

namespace {

// A known-benign warning the back-end raises for every large binding.
const std::string SUPPRESSED_WARNING = "0:1: SPV01: Warning: 'Binding' is larger than allowed maximum";

void append_once(std::vector<std::string>& lines, const std::string& line) {
    if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(line);
}

size_t variant_rank(const std::string& name) {
    return std::find(VARIANT_ORDER.begin(), VARIANT_ORDER.end(), name) - VARIANT_ORDER.begin();
}

}  // namespace

bool ShaderVariant::before(const ShaderVariant& a, const ShaderVariant& b) {
    return variant_rank(a.name) < variant_rank(b.name);
}

CompileOutput::CompileOutput(ArchitectureType architecture_in, const std::string& core_in,
                             const std::string& revision_in, const std::string& driver_in,
                             CompilerType compiler_type_in, SourceType source_type_in, const shadex_outputs& outputs,
                             bool source_lines)
    : architecture(architecture_in), core(core_in), revision(revision_in), driver(driver_in),
      compiler_type(compiler_type_in), source_type(source_type_in), source_lines_requested(source_lines) {
    read_messages(outputs);
    for (const auto& record : variant_lists(outputs)) read_variant(record);
    add_slow_path_warnings();
    std::sort(variants.begin(), variants.end(), ShaderVariant::before);
    run_fixups();
}

bool CompileOutput::has_property(ShaderProps property) const {
    const auto found = properties.find(property);
    return found != properties.end() && found->second;
}

bool CompileOutput::tset_shader_prop(ShaderProps property, uint32_t flags) {
    if ((flags & property) == 0) return false;
    properties[property] = true;
    return true;
}

void CompileOutput::read_messages(const shadex_outputs& outputs) {
    for (const auto& line : copy_texts(outputs.errors, outputs.error_count)) {
        append_once(errors, line);
    }
    for (const auto& line : copy_texts(outputs.warnings, outputs.warning_count)) {
        if (line != SUPPRESSED_WARNING) append_once(warnings, line);
    }
}

void CompileOutput::add_slow_path_warnings() {
    if (last_slow_rq) warnings.push_back("Using a ray query traversal slow path.");
    if (has_slow_vrs) {
        warnings.push_back("Using a VRS slow path due to a block footprint larger than 2x2.");
    }
}

void CompileOutput::run_fixups() {
    const bool tarsel = architecture == ArchitectureType::Tarsel;
    const bool opencl = compiler_type == CompilerType::OpenCL;

    workaround_empty_programs();
    workaround_longest_path();
    if (tarsel) workaround_tarsel_normalization();
    workaround_full_pipe_normalization();
    workaround_varying_frag_only();
    if (!tarsel && source_type == SourceType::Vertex) workaround_common_attribute_streams();
    workaround_vulkan_attribute_names();
    workaround_opencl_error_strings();
    if (opencl && !tarsel) {
        workaround_opencl_missing_tls_size();
    } else if (!opencl) {
        workaround_legacy_graphics_missing_alloca_size();
    }
    sort_attributes();
    if (static_cast<int32_t>(architecture) > static_cast<int32_t>(ArchitectureType::Ostrem)) {
        workaround_pelion_pipe_names();
    }
    workaround_pelion_aggregate_cost();
    workaround_pelion_configurable_cores();
}
