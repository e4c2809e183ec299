#include "suite/sarif.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "common/joined_lines.h"
#include "common/product.h"
#include "report/json_report.h"

using nlohmann::json;
namespace fs = std::filesystem;

namespace {

struct Rule {
    const char* id;
    const char* level;
    const char* description;
};

const Rule RULES[] = {
    {"compile-error", "error", "The shader does not compile for this core."},
    {"compile-warning", "warning", "The compiler warns about the shader on this core."},
    {"run-failure", "error", "The analysis could not run: a usage error, a crash or a time limit."},
    {"stack-spilling", "note", "Registers are spilled to the stack: memory traffic on every invocation."},
    {"low-occupancy", "note", "Thread occupancy below 100 %: fewer threads hide latency."},
    {"late-zs", "note", "Depth and stencil are tested or updated after the shader runs: no early rejection."},
    {"stack-use", "note", "The shader keeps data on the stack (dynamically indexed arrays)."},
};

const char* const VALUE_OPTIONS[] = {"-o",     "--output", "-D",     "--define", "-S",       "--sconst", "-c",
                                     "--core", "-n",       "--name", "--format", "--opencl", "-I",       "--include"};

bool all_digits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// "a/b c.frag" -> "a/b%20c.frag": a relative URI reference.
std::string uri_of(const std::string& path) {
    std::string uri;
    for (unsigned char c : path) {
        if (std::isalnum(c) || std::string("/._-~").find(static_cast<char>(c)) != std::string::npos) {
            uri += static_cast<char>(c);
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            uri += escaped;
        }
    }
    return uri;
}

// A path of the entry's directory, as seen from the current one.
std::string user_path(const SuiteEntry& entry, const std::string& path) {
    if (entry.directory.empty() || fs::path(path).is_absolute()) return path;
    std::error_code error;
    fs::path relative = fs::relative(fs::path(entry.directory) / path, fs::current_path(), error);
    return error ? (fs::path(entry.directory) / path).string() : relative.string();
}

unsigned count_file_line_ends(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return count_line_ends(std::string(std::istreambuf_iterator<char>(file), {}));
}

json result(const std::string& rule, const std::string& level, const std::string& text, const SourceLocation& where) {
    json item = {{"ruleId", rule}, {"level", level}, {"message", {{"text", text}}}};
    if (!where.file.empty()) {
        json physical = {{"artifactLocation", {{"uri", uri_of(where.file)}}}};
        if (where.line > 0) physical["region"] = {{"startLine", where.line}};
        item["locations"] = json::array({{{"physicalLocation", physical}}});
    }
    return item;
}

}  // namespace

std::vector<std::string> input_files_of(const std::vector<std::string>& args) {
    std::vector<std::string> inputs;
    bool rest_are_inputs = false;
    for (size_t index = 0; index < args.size(); ++index) {
        const std::string& arg = args[index];
        if (!rest_are_inputs && arg == "--") {
            rest_are_inputs = true;
        } else if (!rest_are_inputs && arg.size() > 1 && arg[0] == '-') {
            if (std::find(std::begin(VALUE_OPTIONS), std::end(VALUE_OPTIONS), arg) != std::end(VALUE_OPTIONS)) ++index;
        } else {
            inputs.push_back(arg);
        }
    }
    return inputs;
}

SourceLocation locate_message(const std::string& message, bool opencl, const std::vector<std::string>& inputs,
                              const std::vector<unsigned>& line_ends) {
    const size_t first = message.find(':');
    if (first == std::string::npos) return {};
    const size_t second = message.find(':', first + 1);
    const std::string head = message.substr(0, first);
    const std::string next = second == std::string::npos ? "" : message.substr(first + 1, second - first - 1);
    unsigned line = 0;
    if (opencl && all_digits(head) && all_digits(next))
        line = static_cast<unsigned>(std::stoul(head));
    else if (!opencl && head == "0" && all_digits(next))
        line = static_cast<unsigned>(std::stoul(next));
    else if (!head.empty() && all_digits(next))
        return {head, static_cast<unsigned>(std::stoul(next))};  // an included file
    if (line == 0 || inputs.empty()) return {inputs.empty() ? "" : inputs.front(), 0};
    const InputLine where = locate_joined_line(line, line_ends);
    return {inputs[std::min(where.input, inputs.size() - 1)], where.line};
}

void write_sarif(std::ostream& out, const std::vector<SuiteEntry>& entries, const SuiteRecords& records) {
    std::map<std::string, const SuiteEntry*> by_id;
    for (const SuiteEntry& entry : entries) by_id[entry.id] = &entry;

    json results = json::array();
    for (const json& record : records) {
        auto found = by_id.find(record["id"].get<std::string>());
        if (found == by_id.end()) continue;
        const SuiteEntry& entry = *found->second;
        const std::string core = record["core"];
        std::vector<std::string> inputs;
        std::vector<unsigned> line_ends;
        for (const std::string& input : input_files_of(entry.args)) {
            inputs.push_back(user_path(entry, input));
            line_ends.push_back(count_file_line_ends(inputs.back()));
        }
        const SourceLocation whole{inputs.empty() ? "" : inputs.front(), 0};
        const std::string prefix = "[" + core + "] ";
        if (record.contains("failure") || record.contains("message")) {
            const std::string text = record.contains("failure") ? record["failure"] : record["message"];
            results.push_back(result("run-failure", "error", prefix + text, whole));
            continue;
        }
        for (const json& shader : record["report"].value("shaders", json::array())) {
            const bool opencl = shader.value("shader", json::object()).value("api", "") == "OpenCL";
            for (const char* kind : {"errors", "warnings"}) {
                const bool error = std::string(kind) == "errors";
                for (const json& message : shader.value(kind, json::array())) {
                    SourceLocation where = locate_message(message, opencl, inputs, line_ends);
                    if (where.file != whole.file && !where.file.empty() && where.line > 0 &&
                        std::find(inputs.begin(), inputs.end(), where.file) == inputs.end())
                        where.file = user_path(entry, where.file);
                    results.push_back(result(error ? "compile-error" : "compile-warning", error ? "error" : "warning",
                                             prefix + message.get<std::string>(), where));
                }
            }
            bool late_zs = false;
            for (const json& property : shader.value("properties", json::array()))
                if ((property.value("name", "") == "uses_late_zs_test" ||
                     property.value("name", "") == "uses_late_zs_update") &&
                    property.value("value", json()) == true)
                    late_zs = true;
            if (late_zs)
                results.push_back(result("late-zs", "note", prefix + "depth/stencil tested or updated late", whole));
            for (const json& variant : shader.value("variants", json::array())) {
                std::map<std::string, json> values;
                for (const json& property : variant.value("properties", json::array()))
                    values[property.value("name", "")] = property.value("value", json());
                const std::string name = prefix + variant.value("name", "") + " variant: ";
                if (values["has_stack_spilling"] == true)
                    results.push_back(result(
                        "stack-spilling", "note",
                        name + values["stack_spill_bytes"].dump() + " bytes of registers spilled to the stack", whole));
                if (values["thread_occupancy"].is_number() && values["thread_occupancy"].get<double>() < 100)
                    results.push_back(result("low-occupancy", "note",
                                             name + "thread occupancy " + values["thread_occupancy"].dump() + " %",
                                             whole));
                if (values["stack_size"].is_number() && values["stack_size"].get<double>() > 0)
                    results.push_back(
                        result("stack-use", "note", name + values["stack_size"].dump() + " bytes of stack", whole));
            }
        }
    }

    json rules = json::array();
    for (const Rule& rule : RULES)
        rules.push_back({{"id", rule.id},
                         {"shortDescription", {{"text", rule.description}}},
                         {"defaultConfiguration", {{"level", rule.level}}}});
    json document = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                     {"version", "2.1.0"},
                     {"runs", json::array({{{"tool",
                                             {{"driver",
                                               {{"name", "shadex-suite"},
                                                {"version", product::VERSION},
                                                {"informationUri", get_json_producer_header()["documentation"]},
                                                {"rules", rules}}}}},
                                            {"results", results}}})}};
    out << document.dump(1, ' ', false, json::error_handler_t::replace) << "\n";
}
