// The fix-ups that make every architecture's and back-end's results look
// alike. Each one checks its own conditions; the constructor runs them in a
// fixed order.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "common/koro_exception.h"
#include "common/text.h"
#include "output/attribute_streams.h"
#include "output/compile_output.h"
#include "output/normalization_tables.h"

namespace {

const std::string OPENCL_FRONTEND_FAILED = "error: Compiler frontend failed (error code <unknown>)";
const std::string OPENCL_SOURCE_PREFIX = "<source>:";
const std::string OPENCL_ERROR_INFIX = ": error: ";

// What the first three reported pipes are on these cores.
const char* const ARITHMETIC_PIPES[] = {"FMA", "CVT", "SFU"};

const std::string N403_NOTE =
    "Koro-N403 reports assume a 32 FMA/cycle and 4 Texture op/cycle core configuration.\n"
    "      Other core configurations might have 16-64 FMA/cycle and 2-8 Texture op/cycle.";
const std::string N503_NOTE =
    "Koro-N503 reports assume a 48 FMA/cycle and 8 Texture op/cycle core configuration.\n"
    "      Other core configurations might have 48-64 FMA/cycle and 4-8 Texture op/cycle.";

template <typename T>
void erase_at(std::vector<T>& list, size_t index) {
    if (index < list.size()) list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
}

float larger(float x, float y) { return x > y ? x : y; }

// 1-based aggregate-cost group of a core, 0 when it is in none. The last
// group is tested first.
size_t aggregate_cost_group(const std::string& core) {
    for (size_t group = AGGREGATE_COST_GROUPS.size(); group > 0; --group) {
        const auto& cores = AGGREGATE_COST_GROUPS[group - 1];
        if (std::find(cores.begin(), cores.end(), core) != cores.end()) return group;
    }
    return 0;
}

// One arithmetic cost from the FMA, CVT and SFU pipe costs, by how the
// core's group issues them.
float aggregate_arithmetic_cost(size_t group, float fma, float cvt, float sfu) {
    switch (group) {
        case 4: {
            const float t = 2.0f * fma + 2.0f * cvt - 0.25f * sfu;
            return larger(sfu, (t > 0.0f ? 0.5f * t : 0.0f) + 0.25f * sfu);
        }
        case 3: {
            const float t = 2.0f * fma - cvt - 0.25f * sfu;
            return larger(sfu, cvt + 0.25f * sfu + (t > 0.0f ? 0.5f * t : 0.0f));
        }
        case 2: return larger(sfu, fma + cvt + 0.25f * sfu);
        case 1: return larger(larger(fma, cvt), sfu);
        default: return std::numeric_limits<float>::quiet_NaN();
    }
}

// Prepends the aggregate of the first three entries. A list too short to
// hold all three gets NaN, so that it still lines up with the pipe names.
void prepend_aggregate(std::vector<float>& list, size_t group) {
    const float aggregate = list.size() < 3 ? std::numeric_limits<float>::quiet_NaN()
                                            : aggregate_arithmetic_cost(group, list[0], list[1], list[2]);
    list.insert(list.begin(), aggregate);
}

// A variant's lists of per-pipe figures, each parallel to its pipe names:
// the totals (the cycles and every source line's costs), and all of them.
// Every fix-up of per-pipe figures goes through these, so that a line's costs
// are normalised exactly as the totals are.
std::vector<std::vector<float>*> total_lists(ShaderVariant& variant) {
    std::vector<std::vector<float>*> lists = {&variant.cycles};
    for (auto& line : variant.source_lines) lists.push_back(&line.cycles);
    return lists;
}

std::vector<std::vector<float>*> pipe_lists(ShaderVariant& variant) {
    std::vector<std::vector<float>*> lists = total_lists(variant);
    lists.push_back(&variant.shortest_path);
    lists.push_back(&variant.longest_path);
    return lists;
}

}  // namespace

void CompileOutput::workaround_empty_programs() {
    if (architecture == ArchitectureType::Tarsel) return;
    variants.erase(
        std::remove_if(variants.begin(), variants.end(), [](const ShaderVariant& v) { return v.cycles.empty(); }),
        variants.end());
}

void CompileOutput::workaround_longest_path() {
    // A negative entry means an unbounded path (loops): no entry is meaningful then.
    for (auto& variant : variants) {
        auto& path = variant.longest_path;
        if (std::any_of(path.begin(), path.end(), [](float v) { return v < 0.0f; })) {
            std::fill(path.begin(), path.end(), -1.0f);
        }
    }
}

void CompileOutput::workaround_tarsel_normalization() {
    const auto divisor = TARSEL_NORMALIZATION.find(core);
    if (divisor == TARSEL_NORMALIZATION.end()) return;
    // Only the arithmetic pipe's total scales with the core's pipe count.
    for (auto& variant : variants) {
        for (auto* list : total_lists(variant))
            if (!list->empty()) (*list)[0] /= divisor->second;
    }
}

void CompileOutput::workaround_full_pipe_normalization() {
    if (architecture == ArchitectureType::Tarsel) return;
    const auto divisors = FULL_NORMALIZATION.find(core);
    if (divisors == FULL_NORMALIZATION.end()) {
        throw KoroException_(UNKNOWN_GPU_FOR_NORMALIZATION, core);
    }
    for (auto& variant : variants) {
        for (size_t i = 0; i < variant.pipe_names.size(); ++i) {
            const auto divisor = divisors->second.find(variant.pipe_names[i]);
            if (divisor == divisors->second.end()) continue;
            const float d = static_cast<float>(divisor->second);
            for (auto* list : total_lists(variant))
                if (i < list->size()) (*list)[i] /= d;
            if (i < variant.shortest_path.size()) variant.shortest_path[i] /= d;
            // Unbounded (-1) longest paths stay as they are.
            if (i < variant.longest_path.size() && variant.longest_path[i] > 0.0f) variant.longest_path[i] /= d;
        }
    }
}

void CompileOutput::workaround_varying_frag_only() {
    if (architecture == ArchitectureType::Tarsel || compiler_type == CompilerType::OpenCL ||
        source_type == SourceType::Fragment) {
        return;
    }
    // The varying pipe only does work for fragment shaders.
    for (auto& variant : variants) {
        const auto v_pipe = std::find(variant.pipe_names.begin(), variant.pipe_names.end(), "V");
        if (v_pipe == variant.pipe_names.end()) continue;
        const auto index = static_cast<size_t>(v_pipe - variant.pipe_names.begin());
        erase_at(variant.pipe_names, index);
        for (auto* list : pipe_lists(variant)) erase_at(*list, index);
    }
}

void CompileOutput::workaround_common_attribute_streams() {
    // A stream feeding the position is listed only there.
    for (const auto& position : position_attributes) {
        const auto twin =
            std::find_if(varying_attributes.begin(), varying_attributes.end(),
                         [&](const ShaderAttribute& varying) { return varying.symbol == position.symbol; });
        if (twin != varying_attributes.end()) varying_attributes.erase(twin);
    }
}

void CompileOutput::workaround_vulkan_attribute_names() {
    if (architecture == ArchitectureType::Tarsel || compiler_type != CompilerType::Vulkan ||
        source_type != SourceType::Vertex) {
        return;
    }
    for (auto& attribute : position_attributes) {
        attribute.symbol = decode_vulkan_attribute_symbol(attribute.symbol);
    }
    for (auto& attribute : varying_attributes) {
        attribute.symbol = decode_vulkan_attribute_symbol(attribute.symbol);
    }
}

void CompileOutput::workaround_opencl_error_strings() {
    if (compiler_type != CompilerType::OpenCL) return;
    // Says nothing beyond the errors that come with it.
    const auto generic = std::find(errors.begin(), errors.end(), OPENCL_FRONTEND_FAILED);
    if (generic != errors.end()) errors.erase(generic);
    for (auto& line : errors) {
        if (starts_with(line, OPENCL_SOURCE_PREFIX)) line.erase(0, OPENCL_SOURCE_PREFIX.size());
        const auto infix = line.find(OPENCL_ERROR_INFIX);
        if (infix != std::string::npos) line.replace(infix, OPENCL_ERROR_INFIX.size(), ": ");
        if (!line.empty() && line.back() == '\n') line.pop_back();
    }
}

void CompileOutput::workaround_opencl_missing_tls_size() {
    for (auto& variant : variants) {
        if (variant.tls_size >= 0 || (variant.spill_size < 0 && variant.stack_size < 0)) continue;
        const int64_t total = int64_t{std::max(variant.stack_size, 0)} + int64_t{std::max(variant.spill_size, 0)};
        variant.tls_size = static_cast<int32_t>(std::min<int64_t>(total, std::numeric_limits<int32_t>::max()));
    }
}

void CompileOutput::workaround_legacy_graphics_missing_alloca_size() {
    for (auto& variant : variants) {
        if (variant.stack_size < 0 && variant.tls_size >= 0 && variant.spill_size >= 0) {
            variant.stack_size = variant.tls_size - variant.spill_size;
        }
    }
}

void CompileOutput::workaround_pelion_pipe_names() {
    for (auto& variant : variants) {
        const size_t renamed = std::min<size_t>(variant.pipe_names.size(), 3);
        for (size_t i = 0; i < renamed; ++i) variant.pipe_names[i] = ARITHMETIC_PIPES[i];
    }
}

void CompileOutput::workaround_pelion_aggregate_cost() {
    if (static_cast<int32_t>(architecture) < static_cast<int32_t>(ArchitectureType::Pelion) || variants.empty()) {
        return;
    }
    const size_t group = aggregate_cost_group(core);
    for (auto& variant : variants) {
        variant.pipe_names.insert(variant.pipe_names.begin(), "A");
        for (auto* list : pipe_lists(variant)) prepend_aggregate(*list, group);
    }
}

void CompileOutput::workaround_pelion_configurable_cores() {
    if (core == "Koro-N403") messages.push_back(N403_NOTE);
    if (core == "Koro-N503") messages.push_back(N503_NOTE);
}
