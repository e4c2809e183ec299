// The output model fed arbitrary back-end records, through the path a compile
// takes: the shadex_outputs record, CompileOutput with its fix-ups, then the
// text report (brief and detailed) and the JSON report, which must parse.
//
// Input, one item per line:
//   core architecture api stage      e.g. "Koro-N68 pelion vulkan vertex"
//   variant                          starts another variant record
//   error TEXT / warning TEXT        a message line
//   null                             a null text in the current record
//   KEY VALUE                        a statistic; a line without a space is a lone key
// Inputs that mention a source_ key are read as answers to a request for
// costs per source line.
// The whole input also serves as the source the text report quotes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "common/koro_exception.h"
#include "common/text.h"
#include "output/compile_output.h"
#include "report/compile_report.h"

namespace {

struct Target {
    std::string core;
    ArchitectureType architecture;
    CompilerType api;
    SourceType stage;
};

template <typename Value>
std::optional<Value> find_word(const std::vector<std::pair<std::string, Value>>& table, const std::string& word) {
    for (const auto& [name, value] : table)
        if (name == word) return value;
    return std::nullopt;
}

std::optional<Target> read_target(const std::string& line) {
    static const std::vector<std::pair<std::string, ArchitectureType>> architectures = {
        {"none", ArchitectureType::None},      {"tarsel", ArchitectureType::Tarsel},
        {"ostrem", ArchitectureType::Ostrem},  {"pelion", ArchitectureType::Pelion},
        {"fifth", ArchitectureType::FifthGen},
    };
    static const std::vector<std::pair<std::string, CompilerType>> apis = {
        {"opengles", CompilerType::OpenGLES},
        {"vulkan", CompilerType::Vulkan},
        {"opencl", CompilerType::OpenCL},
    };
    static const std::vector<std::pair<std::string, SourceType>> stages = [] {
        std::vector<std::pair<std::string, SourceType>> rows;
        for (SourceType stage : {SourceType::Vertex, SourceType::TessControl, SourceType::TessEvaluation,
                                 SourceType::Geometry, SourceType::Fragment, SourceType::Compute, SourceType::Kernel,
                                 SourceType::RayGeneration, SourceType::RayIntersection, SourceType::RayAnyHit,
                                 SourceType::RayClosestHit, SourceType::RayMiss, SourceType::RayCallable}) {
            rows.emplace_back(to_api_literal(stage), stage);
        }
        return rows;
    }();

    const std::vector<std::string> words = split(line, ' ');
    if (words.size() != 4) return std::nullopt;
    const auto architecture = find_word(architectures, words[1]);
    const auto api = find_word(apis, words[2]);
    const auto stage = find_word(stages, words[3]);
    if (!architecture || !api || !stage) return std::nullopt;
    return Target{words[0], *architecture, *api, *stage};
}

// The texts of one back-end record, and the pointer arrays that lay them out
// as the plug-in interface does. Null texts are null pointers.
struct Record {
    std::vector<std::vector<std::optional<std::string>>> variants;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;

    std::vector<std::vector<const char*>> variant_pointers;
    std::vector<shadex_flexible_list> lists;
    std::vector<const char*> error_pointers;
    std::vector<const char*> warning_pointers;

    void add_line(const std::string& line) {
        if (line == "variant") {
            variants.emplace_back();
        } else if (starts_with(line, "error ")) {
            errors.push_back(line.substr(6));
        } else if (starts_with(line, "warning ")) {
            warnings.push_back(line.substr(8));
        } else {
            if (variants.empty()) variants.emplace_back();
            auto& texts = variants.back();
            const size_t space = line.find(' ');
            if (line == "null") {
                texts.emplace_back();
            } else if (space == std::string::npos) {
                texts.emplace_back(line);
            } else {
                texts.emplace_back(line.substr(0, space));
                texts.emplace_back(line.substr(space + 1));
            }
        }
    }

    shadex_outputs lay_out() {
        for (const auto& texts : variants) {
            auto& pointers = variant_pointers.emplace_back();
            for (const auto& text : texts) pointers.push_back(text ? text->c_str() : nullptr);
        }
        for (const auto& pointers : variant_pointers)
            lists.push_back({static_cast<shadex_u32>(pointers.size()), 0, pointers.data()});
        for (const auto& text : errors) error_pointers.push_back(text.c_str());
        for (const auto& text : warnings) warning_pointers.push_back(text.c_str());

        shadex_outputs outputs{};
        outputs.variant_count = static_cast<shadex_u32>(lists.size());
        outputs.variants = lists.data();
        outputs.error_count = static_cast<shadex_u32>(error_pointers.size());
        outputs.errors = error_pointers.data();
        outputs.warning_count = static_cast<shadex_u32>(warning_pointers.size());
        outputs.warnings = warning_pointers.data();
        return outputs;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Texts cross the interface as C strings: a NUL ends the input.
    std::string source(reinterpret_cast<const char*>(data), size);
    source.resize(source.find('\0') == std::string::npos ? size : source.find('\0'));
    const std::vector<std::string> lines = split(source, '\n');
    if (lines.empty()) return 0;
    const std::optional<Target> target = read_target(lines[0]);
    if (!target) return 0;

    Record record;
    for (size_t i = 1; i < lines.size(); ++i) record.add_line(lines[i]);
    const shadex_outputs outputs = record.lay_out();

    // Records that name source-line keys are read as answers to --annotate.
    const bool annotated = source.find("source_") != std::string::npos;
    const ProgramInputs inputs{{"shader.vert"}, {static_cast<unsigned>(lines.size() - 1)}, false};
    std::unique_ptr<CompileOutput> output;
    try {
        output = std::make_unique<CompileOutput>(target->architecture, target->core, "r0p0", "r1p0-00rel0", target->api,
                                                 target->stage, outputs, annotated);
    } catch (const KoroException_&) {
        return 0;
    }

    // A performance table with fewer figures than pipe names, a pipe the
    // architecture does not have, or an OpenGL ES error whose line number is
    // not a number ends a report with the standard range or conversion
    // error, which the program reports as any other error.
    auto report = [&](ReportFormat format, bool detailed) {
        std::ostringstream out;
        try {
            print_compile_report(out, detailed, source, *output, "shader.vert", format, annotated ? &inputs : nullptr);
        } catch (const std::out_of_range&) {
            return;
        } catch (const std::invalid_argument&) {
            return;
        }
        if (format == ReportFormat::Json && !nlohmann::json::accept(out.str())) std::abort();
    };
    report(ReportFormat::Text, false);
    report(ReportFormat::Text, true);
    report(ReportFormat::Json, false);
    return 0;
}
