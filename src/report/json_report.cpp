#include "report/json_report.h"

#include <filesystem>

#include "common/platform.h"
#include "common/product.h"
#include "common/text.h"
#include "report/perf_table.h"
#include "report/pipe_info.h"
#include "report/shader_properties.h"

using nlohmann::json;

// Where the build puts the documentation: relative to the installed
// executable, and the checkout of a development build.
#ifndef SHADEX_DOC_FROM_EXECUTABLE
#define SHADEX_DOC_FROM_EXECUTABLE "../../share/doc/shadex"
#endif
#ifndef SHADEX_SOURCE_README
#define SHADEX_SOURCE_README ""
#endif

namespace {

// The README of the tree this executable was installed in, wherever that
// tree was copied; for a development build, its own checkout's README.
std::string documentation_link() {
    std::error_code error;
    const std::string dir = get_executable_dir();
    if (!dir.empty()) {
        auto installed = (std::filesystem::path(dir) / SHADEX_DOC_FROM_EXECUTABLE / "README.md").lexically_normal();
        if (std::filesystem::is_regular_file(installed, error)) return "file://" + installed.string();
    }
    if (std::filesystem::is_regular_file(SHADEX_SOURCE_README, error))
        return std::string("file://") + SHADEX_SOURCE_README;
    return "file:///usr/share/doc/shadex/README.md";
}

}  // namespace

namespace {

json schema(const std::string& name, int version) {
    json object = json::object();
    object["name"] = name;
    object["version"] = version;
    return object;
}

json variant_property(const std::string& name, const std::string& display_name, const std::string& description,
                      json value) {
    json object = json::object();
    object["name"] = name;
    object["display_name"] = display_name;
    object["description"] = description;
    object["value"] = std::move(value);
    return object;
}

json variant_properties(const ShaderVariant& variant, SourceType source_type) {
    json properties = json::array();
    properties.push_back(variant_property("work_registers_used", "Work Registers Used",
                                          "Number of read-write work registers used.", variant.work_registers_used));
    properties.push_back(variant_property("thread_occupancy", "Thread Occupancy",
                                          "Shader core thread occupancy percentage.", variant.occupancy));
    properties.push_back(variant_property("uniform_registers_used", "Uniform Registers Used",
                                          "Number of read-only uniform registers used.",
                                          variant.uniform_registers_used));
    bool compute = source_type == SourceType::Compute || source_type == SourceType::Kernel;
    if (compute && variant.wls_size >= 0) {
        properties.push_back(variant_property("shared_storage_size", "Shared Storage Size",
                                              "Number of bytes of workgroup shared storage allocated.",
                                              variant.wls_size));
    }
    // The whole stack is the thread-local storage; alloca and spill are its two regions.
    if (variant.tls_size >= 0) {
        properties.push_back(variant_property("stack_size", "Stack Size", "Number of bytes of stack memory allocated.",
                                              variant.tls_size));
    }
    properties.push_back(variant_property("has_stack_spilling", "Has Stack Spilling",
                                          "True if one or more registers were spilled to the stack.",
                                          variant.has_spilling));
    if (variant.spill_size >= 0) {
        properties.push_back(variant_property("stack_spill_bytes", "Stack Spill Size (bytes)",
                                              "Number of bytes allocated to stack spilling.", variant.spill_size));
    }
    if (variant.stack_size >= 0) {
        properties.push_back(variant_property("stack_alloca_bytes", "Stack Alloca Size (bytes)",
                                              "Number of bytes allocated to stack alloca.", variant.stack_size));
    }
    // -2: the back-end never reported it, so the entry is left out; other
    // negatives mean it is unknown. Idle lanes only mean something when the
    // 16-bit share itself is known.
    bool fp16_known = variant.fp16_percent >= 0;
    if (variant.fp16_percent != -2) {
        properties.push_back(variant_property("fp16_arithmetic", "16-bit Arithmetic",
                                              "Percentage of narrow arithmetic ops.",
                                              fp16_known ? json(variant.fp16_percent) : json(nullptr)));
    }
    if (variant.v2fp16_underused_percent != -2) {
        properties.push_back(variant_property("fp16_idle_lanes", "16-bit Arithmetic Idle Lanes",
                                              "Percentage of SIMD lanes idle in narrow arithmetic ops.",
                                              fp16_known ? json(variant.v2fp16_underused_percent) : json(nullptr)));
    }
    return properties;
}

// Unknown (negative) counts are null; so is NaN, as the JSON writer shows it.
json cycle_count(const std::vector<float>& cycles) {
    return map_to_json(cycles,
                       [](float value) { return value < 0.0f ? json(nullptr) : json(static_cast<double>(value)); });
}

json cycles_json(const std::vector<std::string>& pipelines, const std::vector<float>& cycles) {
    json object = json::object();
    object["cycle_count"] = cycle_count(cycles);
    object["bound_pipelines"] = get_limiting_pipes(pipelines, cycles).to_json();
    return object;
}

json attribute_list(const std::vector<ShaderAttribute>& attributes) {
    json list = json::array();
    for (const auto& attribute : attributes) {
        json object = json::object();
        object["symbol"] = attribute.symbol;
        object["location"] = attribute.stream < 0 ? json(nullptr) : json(attribute.stream);
        list.push_back(std::move(object));
    }
    return list;
}

json pipeline_catalogue(ArchitectureType architecture) {
    json pipelines = json::array();
    for (const auto& entry : PIPE_INFO.at(architecture)) {
        json object = json::object();
        object["name"] = entry.second.name;
        object["display_name"] = entry.second.display_name;
        object["description"] = entry.second.description;
        pipelines.push_back(std::move(object));
    }
    return pipelines;
}

json source_lines_json(const std::vector<AnnotatedLine>& lines) {
    json list = json::array();
    for (const AnnotatedLine& line : lines) {
        const SourceLineCost& costs = *line.costs;
        json object = json::object();
        object["file"] = line.line == 0 ? json(nullptr) : json(line.file);
        object["line"] = line.line == 0 ? json(nullptr) : json(line.line);
        object["cycles"] = cycle_count(costs.cycles);
        object["work_registers"] = costs.work_registers < 0 ? json(nullptr) : json(costs.work_registers);
        object["stack_bytes"] = costs.stack_bytes;
        if (costs.in_loop)
            object["loop_trip_count"] = costs.loop_trip_count < 0 ? json(nullptr) : json(costs.loop_trip_count);
        object["source"] = line.text ? json(*line.text) : json(nullptr);
        list.push_back(std::move(object));
    }
    return list;
}

json split_lines(const std::vector<std::string>& messages) {
    json lines = json::array();
    for (const auto& message : messages) {
        for (const auto& line : split(message, '\n')) lines.push_back(line);
    }
    return lines;
}

}  // namespace

void write_json(std::ostream& out, const json& document) {
    out << document.dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
}

json get_json_producer_header() {
    json producer = json::object();
    producer["name"] = product::NAME;
    producer["version"] = json::array({product::VERSION_MAJOR, product::VERSION_MINOR, product::VERSION_PATCH});
    producer["build"] = product::BUILD;
    static const std::string link = documentation_link();
    producer["documentation"] = link;
    return producer;
}

json get_attribute_streams(const CompileOutput& output) {
    json streams = json::object();
    streams["position"] = attribute_list(output.position_attributes);
    streams["nonposition"] = attribute_list(output.varying_attributes);
    return streams;
}

json map_to_json(const std::vector<float>& values, const std::function<json(float)>& convert) {
    json list = json::array();
    for (float value : values) list.push_back(convert(value));
    return list;
}

json get_variant_json(const ShaderVariant& variant, ArchitectureType architecture, SourceType source_type) {
    const PipeInfoMap& pipes = PIPE_INFO.at(architecture);
    std::vector<std::string> pipelines;
    for (const auto& label : variant.pipe_names) pipelines.push_back(pipes.at(label).name);

    json performance = json::object();
    performance["pipelines"] = pipelines;
    performance["total_cycles"] = cycles_json(pipelines, variant.cycles);
    performance["shortest_path_cycles"] = cycles_json(pipelines, variant.shortest_path);
    performance["longest_path_cycles"] = cycles_json(pipelines, variant.longest_path);

    json object = json::object();
    object["name"] = variant.name;
    object["properties"] = variant_properties(variant, source_type);
    object["performance"] = std::move(performance);
    return object;
}

void print_json(std::ostream& out, const CompileOutput& output, const std::string& filename, const std::string& source,
                const ProgramInputs* annotate) {
    json hardware = json::object();
    hardware["core"] = output.core;
    hardware["revision"] = output.revision;
    hardware["architecture"] = to_string(output.architecture);

    json shader_type = json::object();
    shader_type["api"] = to_string(output.compiler_type);
    shader_type["type"] = to_string(output.source_type);

    json shader = json::object();
    shader["filename"] = filename == "-" ? std::string("STDIN") : filename;
    shader["hardware"] = std::move(hardware);
    shader["driver"] = output.driver;
    shader["shader"] = std::move(shader_type);
    shader["warnings"] = json(output.warnings);

    json document = json::object();
    document["producer"] = get_json_producer_header();

    if (!output.errors.empty()) {
        document["schema"] = schema("error", 0);
        shader["errors"] = json(output.errors);
        document["shaders"] = json::array({shader});
        write_json(out, document);
        return;
    }

    document["schema"] = schema("performance", 2);
    shader["notes"] = split_lines(output.messages);
    shader["hardware"]["pipelines"] = pipeline_catalogue(output.architecture);
    json variants = json::array();
    for (const auto& variant : output.variants) {
        variants.push_back(get_variant_json(variant, output.architecture, output.source_type));
        if (annotate) variants.back()["source_lines"] = source_lines_json(annotate_lines(variant, source, *annotate));
    }
    shader["variants"] = std::move(variants);
    json properties = json::array();
    for (const auto& property : get_shader_properties(output)) {
        properties.push_back(static_cast<json>(property));
    }
    shader["properties"] = std::move(properties);
    if (output.architecture != ArchitectureType::Tarsel && output.source_type == SourceType::Vertex) {
        shader["attribute_streams"] = get_attribute_streams(output);
    }
    document["shaders"] = json::array({shader});
    write_json(out, document);
}
