// The per-variant statistics walk: one back-end key/value list becomes one
// ShaderVariant, or is dropped when it describes a variant the reports leave out.
#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "common/koro_exception.h"
#include "common/text.h"
#include "output/attribute_streams.h"
#include "output/backend_records.h"
#include "output/compile_output.h"
#include "output/output_tables.h"
#include "output/source_line_statistics.h"

struct CompileOutput::VariantReading {
    ShaderVariant variant;
    uint32_t flags = 0;                // "shader_flag" bits seen so far
    bool drop_after = false;           // remove once all keys are read
    bool drop_now = false;             // remove without reading further
    bool pipes_named = false;          // a "pipe_names" key, not the per-pipe keys
    StatisticPairs source_statistics;  // read once the pipes are known
};

namespace {

const uint32_t VARIANT_NAME_BITS = 0x101;
const std::string NOT_REPORTED = "N/A";

int32_t integer(const std::string& value) { return std::stoi(value); }

float real(const std::string& value) { return std::stof(value); }

// A fraction scaled to a whole percentage, truncated toward zero; "N/A"
// and NaN mean not applicable (-1).
int32_t percentage(const std::string& value, float factor) {
    if (value == NOT_REPORTED) return -1;
    const float scaled = real(value) * factor;
    if (std::isnan(scaled)) return -1;
    // Beyond the 32-bit range the statistic is malformed; +-2^31 are exact floats.
    if (!(scaled >= -2147483648.0f && scaled < 2147483648.0f)) {
        throw std::out_of_range("percentage");
    }
    return static_cast<int32_t>(scaled);
}

bool vrs_needs_slow_path(uint32_t mask) {
    return (mask & 0xFu) == 4 || ((mask >> 4) & 0xFu) == 4 || (mask & 0xF00u) != 0;
}

void append_pipe(ShaderVariant& variant, const std::string& pipe, const std::string& cycles) {
    variant.pipe_names.push_back(pipe);
    variant.cycles.push_back(real(cycles));
}

}  // namespace

void CompileOutput::read_variant(const shadex_flexible_list& record) {
    VariantReading reading;
    for (const auto& [key, value] : copy_pairs(record)) {
        read_statistic_value(key, value, [&, &k = key, &v = value] { read_statistic(reading, k, v); });
        if (reading.drop_now) return;
    }
    if (!reading.drop_after) keep_variant(reading);
}

void CompileOutput::keep_variant(VariantReading& reading) {
    if (architecture != ArchitectureType::Tarsel) {
        const auto row = UNIFORM_REGISTERS.find(core);
        if (row == UNIFORM_REGISTERS.end()) {
            throw KoroException_("Unknown GPU for uniform registers", core);
        }
        reading.variant.uniform_registers_available = row->second;
    }
    if (source_lines_requested) read_source_lines(reading.variant, reading.source_statistics, reading.pipes_named);
    for (uint32_t bit = HAS_SIDE_EFFECTS; bit <= MODIFIES_COVERAGE; bit <<= 1) {
        tset_shader_prop(static_cast<ShaderProps>(bit), reading.flags);
    }
    const bool slow_rq = (reading.flags & HAS_SLOW_RQ) != 0;
    has_stack_or_slow_rq |= slow_rq;
    last_slow_rq = slow_rq;
    variants.push_back(std::move(reading.variant));
}

void CompileOutput::read_statistic(VariantReading& reading, const std::string& key, const std::string& value) {
    ShaderVariant& variant = reading.variant;
    if (IGNORED_STATISTICS_KEYS.count(key) != 0) {
        return;
    } else if (key == "spilling_used") {
        variant.has_spilling = value == "true";
    } else if (key == "spill_size") {
        variant.spill_size = integer(value);
        variant.has_spilling = variant.spill_size != 0;
    } else if (key == "uniform_spill_bytes") {
        return;
    } else if (key == "tls_size") {
        variant.tls_size = integer(value);
    } else if (key == "is_pilot") {
        if (value == "true") {
            properties[HAS_DROPPED_VARIANT] = true;
            reading.drop_now = true;
        }
    } else if (key == "wls_size") {
        variant.wls_size = integer(value);
    } else if (key == "part_float16") {
        variant.fp16_percent = percentage(value, 100.0f);
    } else if (key == "work_registers_used") {
        read_work_registers(variant, integer(value));
    } else if (key == "uniform_registers_used") {
        variant.uniform_registers_used = integer(value);
    } else if (key == "kernel_name") {
        entry_point = value;
    } else if (key == "variant") {
        const auto name = VARIANT_NAMES.find(static_cast<uint32_t>(integer(value)) & VARIANT_NAME_BITS);
        if (name != VARIANT_NAMES.end()) variant.name = name->second;
    } else if (key == "shader_flag") {
        const auto flag = SHADER_FLAG_PROPS.find(value);
        if (flag != SHADER_FLAG_PROPS.end()) reading.flags |= flag->second;
    } else if (key == "render_target") {
        read_render_target(reading, value);
    } else if (key == "arithmetic_cycles") {
        append_pipe(variant, "A", value);
    } else if (key == "load_store_cycles") {
        append_pipe(variant, "LS", value);
    } else if (key == "texture_cycles") {
        append_pipe(variant, "T", value);
    } else if (key == "arithmetic_shortest_path" || key == "load_store_shortest_path" ||
               key == "texture_shortest_path") {
        variant.shortest_path.push_back(real(value));
    } else if (key == "arithmetic_longest_path" || key == "load_store_longest_path" || key == "texture_longest_path") {
        variant.longest_path.push_back(real(value));
    } else if (key == "pipe_names") {
        variant.pipe_names = split(value, '/');
        reading.pipes_named = true;
    } else if (source_lines_requested && is_source_line_key(key)) {
        reading.source_statistics.emplace_back(key, value);
    } else if (key == "cycles") {
        variant.cycles = split_float(value, '/');
    } else if (key == "shortest") {
        variant.shortest_path = split_float(value, '/');
    } else if (key == "longest") {
        variant.longest_path = split_float(value, '/');
    } else if (key == "position_attribute_symbols") {
        decode_attributes(value, position_attributes);
    } else if (key == "varying_attribute_symbols") {
        decode_attributes(value, varying_attributes);
    } else if (key == "vrs_mask") {
        const auto mask = static_cast<uint32_t>(integer(value));
        has_vrs |= mask != 0;
        has_slow_vrs |= has_vrs && vrs_needs_slow_path(mask);
    } else if (key == "stack_layers") {
        has_stack_or_slow_rq |= integer(value) > 0;
    } else if (key == "alloca_size") {
        variant.stack_size = integer(value);
    } else if (key == "v2float16_size") {
        variant.v2fp16_size = integer(value);
    } else if (key == "part_v2float16_underused") {
        // Two lanes per instruction: an idle lane is half an instruction.
        variant.v2fp16_underused_percent = percentage(value, 50.0f);
    }
}

void CompileOutput::read_work_registers(ShaderVariant& variant, int32_t registers) const {
    const std::vector<OccupancyRow>& table = occupancy_table(architecture);
    variant.work_registers_used = registers;
    for (const auto& row : table) {
        if (row.registers >= registers) {
            variant.work_registers_allocated = row.registers;
            variant.occupancy = row.percent;
            break;
        }
    }
    if (architecture == ArchitectureType::Tarsel) {
        // Work and uniform registers share one file of 24 on these cores.
        const int64_t available = int64_t{24} - registers;
        variant.uniform_registers_available =
            static_cast<int32_t>(std::min<int64_t>(available, std::numeric_limits<int32_t>::max()));
    }
}

void CompileOutput::read_render_target(VariantReading& reading, const std::string& value) {
    if (core == "Koro-L220") {
        reading.variant.name = "Render target " + value;
    } else if (architecture == ArchitectureType::Tarsel) {
        if (value == "0") {
            reading.variant.name = "Main";
        } else {
            properties[HAS_DROPPED_VARIANT] = true;
            reading.drop_after = true;
        }
    }
}
