#include "report/text_report.h"

#include "output/output_tables.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "common/text.h"
#include "report/compile_report.h"
#include "report/format.h"
#include "report/json_report.h"
#include "report/perf_table.h"
#include "report/shader_properties.h"

namespace {

const char* to_text(bool value) { return value ? "true" : "false"; }

// used / capacity as a whole percentage, truncated toward zero in single
// precision. A zero capacity gives a non-finite ratio; that shows as the
// x86 "integer indefinite" value instead of being undefined behaviour.
int32_t percent_of(int32_t used, int32_t capacity) {
    float percent = static_cast<float>(used) / static_cast<float>(capacity) * 100.0f;
    if (std::isnan(percent) || percent >= 2147483648.0f || percent < -2147483648.0f) {
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(percent);
}

bool is_compute_stage(SourceType type) { return type == SourceType::Compute || type == SourceType::Kernel; }

// The whole stack is the thread-local storage; alloca and spill are its regions.
void print_stack_use(std::ostream& out, const ShaderVariant& variant) {
    int32_t stack = variant.tls_size;
    if (stack < 0) {
        out << "Stack spilling: " << to_text(variant.has_spilling) << std::endl;
    } else if (stack == 0) {
        out << "Stack use: false" << std::endl;
    } else {
        out << "Stack use: " << stack << " bytes";
        if (variant.stack_size > 0) out << " - Alloca region: " << variant.stack_size << " bytes";
        if (variant.spill_size > 0) out << " - Spill region: " << variant.spill_size << " bytes";
        out << std::endl;
    }
}

// -1: reported as not applicable; -2: never reported, so no line at all.
void print_fp16_use(std::ostream& out, const ShaderVariant& variant) {
    if (variant.fp16_percent >= 0) {
        out << "16-bit arithmetic: " << variant.fp16_percent << "%";
        if (variant.v2fp16_underused_percent > 0) {
            out << " - Idle SIMD lanes: " << variant.v2fp16_underused_percent << "%";
        }
        out << std::endl;
    } else if (variant.fp16_percent == -1) {
        out << "16-bit arithmetic: " << NOT_APPLICABLE << std::endl;
    }
}

void print_variant_stats(std::ostream& out, bool detailed, const CompileOutput& output, const ShaderVariant& variant,
                         const std::string& source, const ProgramInputs* annotate) {
    out << "Work registers: " << variant.work_registers_used << " ("
        << percent_of(variant.work_registers_used, work_register_capacity(output.architecture)) << "% used at "
        << variant.occupancy << "% occupancy)" << std::endl;
    out << "Uniform registers: " << variant.uniform_registers_used << " ("
        << percent_of(variant.uniform_registers_used, variant.uniform_registers_available) << "% used)" << std::endl;
    if (is_compute_stage(output.source_type) && variant.wls_size >= 0) {
        out << "Shared storage size: " << variant.wls_size << " bytes" << std::endl;
    }
    print_stack_use(out, variant);
    print_fp16_use(out, variant);
    out << std::endl;
    print_perf_table(out, detailed, output, variant, PIPE_INFO.at(output.architecture));
    if (!annotate) return;
    const std::vector<AnnotatedLine> lines = annotate_lines(variant, source, *annotate);
    print_source_line_costs(out, detailed, output, variant, lines, names_several_files(*annotate, lines));
}

void print_shader_properties(std::ostream& out, const CompileOutput& output) {
    print_section_title(out, "Shader properties");
    for (const auto& property : get_shader_properties(output)) {
        out << property.display_name << ": " << to_text(property.value) << std::endl;
    }
    if (output.source_type == SourceType::Fragment) {
        out << std::endl;
        out << "Note: This tool shows only the shader-visible property state." << std::endl;
        out << "API configuration may also impact the value of some properties." << std::endl;
    }
    out << std::endl;
}

void print_attribute_list(std::ostream& out, const std::vector<ShaderAttribute>& attributes) {
    if (attributes.empty()) out << " - None" << std::endl;
    for (const auto& attribute : attributes) {
        out << " - " << attribute.symbol << " (location=";
        if (attribute.stream < 0) {
            out << "dynamic";
        } else {
            out << attribute.stream;
        }
        out << ")" << std::endl;
    }
}

void print_attribute_streams(std::ostream& out, const CompileOutput& output) {
    print_section_title(out, "Recommended attribute streams");
    out << "Position attributes" << std::endl;
    print_attribute_list(out, output.position_attributes);
    out << std::endl;
    out << "Non-position attributes" << std::endl;
    print_attribute_list(out, output.varying_attributes);
    out << std::endl;
}

void print_text_report(std::ostream& out, bool detailed, const std::string& source, const CompileOutput& output,
                       const ProgramInputs* annotate) {
    print_section_title(out, "Configuration");
    out << "Hardware: " << output.core << " " << output.revision << std::endl;
    out << "Architecture: " << to_string(output.architecture) << std::endl;
    out << "Driver: " << output.driver << std::endl;
    out << "Shader type: " << to_string(output.compiler_type) << " " << to_string(output.source_type) << std::endl;
    out << std::endl;

    print_compiler_logs(out, source, output);
    if (!output.errors.empty()) {
        out << "Compilation failed." << std::endl;
        return;
    }
    print_shader_stats(out, detailed, output, source, annotate);
}

}  // namespace

void print_compile_report(std::ostream& out, bool detailed, const std::string& source, const CompileOutput& output,
                          const std::string& filename, ReportFormat format, const ProgramInputs* annotate) {
    switch (format) {
        case ReportFormat::Text: print_text_report(out, detailed, source, output, annotate); break;
        case ReportFormat::Json: print_json(out, output, filename, source, annotate); break;
    }
}

void print_compiler_logs(std::ostream& out, const std::string& source, const CompileOutput& output) {
    bool opengles = output.compiler_type == CompilerType::OpenGLES;
    bool opencl = output.compiler_type == CompilerType::OpenCL;

    std::vector<std::string> source_lines;
    if (opengles && !output.errors.empty()) {
        source_lines = split(source, '\n');
        for (auto& line : source_lines) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
        }
    }

    if (output.warnings.empty() && output.errors.empty() && output.messages.empty()) return;

    print_section_title(out, "Compiler messages");
    for (const auto& warning : output.warnings) out << "WARNING: " << warning << std::endl;
    for (const auto& error : output.errors) {
        out << "ERROR: " << error << std::endl;
        if (opencl) {
            out << std::endl;
        } else if (opengles) {
            print_compiler_context(out, error, source_lines);
        }
    }
    for (const auto& message : output.messages) out << "INFO: " << message << std::endl;

    // Errors of these two APIs already end in a blank line or a source quote,
    // even when the quote turned out empty.
    bool errors_self_terminated = !output.errors.empty() && (opengles || opencl);
    if (!output.messages.empty() || !errors_self_terminated) out << std::endl;
}

void print_compiler_context(std::ostream& out, const std::string& message,
                            const std::vector<std::string>& source_lines) {
    std::vector<std::string> fields = split(message, ':');
    if (fields.size() < 3 || fields[2].empty()) return;
    if (fields[2].size() > 1 && fields[2][1] == 'X') return;

    int line = std::stoi(fields[1]);  // 1-based
    if (line < 1 || static_cast<size_t>(line) > source_lines.size()) return;

    size_t first = line > 1 ? line - 1 : line;
    size_t last = source_lines.size() > static_cast<size_t>(line) ? line + 1 : line;
    for (size_t number = first; number <= last; ++number) {
        out << (number == static_cast<size_t>(line) ? "  >> " : "     ") << source_lines[number - 1] << std::endl;
    }
    if (!source_lines[last - 1].empty()) out << std::endl;
}

void print_shader_stats(std::ostream& out, bool detailed, const CompileOutput& output, const std::string& source,
                        const ProgramInputs* annotate) {
    if (output.variants.empty()) {
        out << "Compilation produced an empty shader binary." << std::endl;
        return;
    }

    if (output.compiler_type == CompilerType::OpenCL) {
        print_section_title(out, "Kernel '" + output.entry_point + "'");
    } else {
        print_section_title(out, "Main shader");
    }

    for (const auto& variant : output.variants) {
        if (output.variants.size() > 1) print_section_subtitle(out, variant.name + " variant");
        print_variant_stats(out, detailed, output, variant, source, annotate);
    }

    // That core's back-end reports no usable property flags.
    if (output.core != "Koro-L220") print_shader_properties(out, output);

    if (output.architecture != ArchitectureType::Tarsel && output.source_type == SourceType::Vertex) {
        print_attribute_streams(out, output);
    }
}

void print_perf_table(std::ostream& out, bool detailed, const CompileOutput& output, const ShaderVariant& variant,
                      const PipeInfoMap& pipes) {
    std::vector<std::string> labels = variant.pipe_names;
    std::vector<float> total = variant.cycles;
    std::vector<float> shortest = variant.shortest_path;
    std::vector<float> longest = variant.longest_path;

    if (hides_sub_pipelines(output.architecture, detailed)) {
        erase_sub_pipelines(labels);
        erase_sub_pipelines(total);
        erase_sub_pipelines(shortest);
        erase_sub_pipelines(longest);
    }

    out << std::string(26, ' ') << get_perf_table_row(labels) << std::endl;
    out << "Total instruction cycles: " << get_perf_table_row(labels, total) << std::endl;
    out << "Shortest path cycles:     " << get_perf_table_row(labels, shortest) << std::endl;
    out << "Longest path cycles:      " << get_perf_table_row(labels, longest) << std::endl;
    out << std::endl;

    // Four entries per legend line.
    for (size_t i = 0; i < labels.size(); ++i) {
        if (i > 0) {
            if ((i - 1) % 4 == 3) {
                out << "," << std::endl;
            } else {
                out << ", ";
            }
        }
        out << labels[i] << " = " << pipes.at(labels[i]).display_name;
    }
    out << std::endl;
    out << std::endl;
}
