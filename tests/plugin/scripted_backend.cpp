// A back-end whose answers come from a text file, for testing the program
// against libraries of every shape without shipping real compilers. Each copy
// reads "<its own path>.scenario" on every call and appends a line per call to
// "<its own path>.log", so copies under different names can share an install.
//
// Scenario: one directive a line ('#' lines and empty lines skipped): a word,
// one space, then fields separated by " | " (the last field is the rest of the
// line; <null> stands for a null pointer).
//   api MAJOR MINOR               interface version reported (default: 1 1)
//   meta KEY | VALUE              a library metadata pair, in order
//   core NAME | REVISION          a hardware core record, in order
//   core_cap NAME | KEY | VALUE   a per-core pair for core NAME, whatever the API
//   fail ENTRY | STATUS [| SKIP]  ENTRY (get_capabilities or
//                                 get_core_specific_capabilities) returns
//                                 STATUS, after SKIP successful calls in the
//                                 same process
//   break WHAT                    "metadata", "cores" or "core_cap": entries
//                                 behind a null array; "metadata_odd": a key
//                                 without a value
//   compile ... end               a compile answer; the first whose "when"
//                                 lines all hold is used, else nothing is filled:
//     when option | KEY | VALUE     that option pair was sent
//     when source | TEXT            the source holds TEXT
//     status N                      status returned (default 0)
//     variant                       starts the next variant
//     stat KEY | VALUE              a statistic of the current variant
//     error TEXT / warning TEXT     a message line
//     crash / hang                  SIGSEGV / never return
//
// Log lines, fields separated by tabs: get_api_version; get_capabilities;
// get_core_specific_capabilities CORE REVISION; compile core=CORE revision=REV
// KEY=VALUE... source_length=N source=ESCAPED (the text up to its NUL, or
// "spirv_binary_length" bytes, its first 512 with \n, \t, \\ and \xHH
// escapes); ENTRY_failed status=N after a getter returning N != 0;
// release_capabilities, release_core_specific_capabilities, release_outputs
// (then "unknown" when the record was not handed out, or was already
// released); "scenario_error line N: TEXT" for scenario mistakes. A failed
// getter hands out nothing; a failed compile still hands out its outputs.
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "scripted_files.h"
#include "shadex_abi.h"

namespace {

using Text = std::optional<std::string>;  // nullopt: a null pointer

struct Pair {
    Text key;
    Text value;
};

using Variant = std::vector<Pair>;  // statistics

struct CompileAnswer {
    std::vector<std::pair<std::string, std::string>> option_conditions;
    std::vector<std::string> source_conditions;
    shadex_u32 status = 0;
    bool crash = false;
    bool hang = false;
    std::vector<Variant> variants;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

struct Scenario {
    shadex_u32 api_major = 1;
    shadex_u32 api_minor = 1;
    std::vector<Pair> metadata;
    std::vector<Pair> cores;
    std::vector<std::pair<std::string, Pair>> core_caps;
    std::map<std::string, std::pair<shadex_u32, size_t>> failures;  // entry -> status, calls to skip
    std::set<std::string> breaks;
    std::vector<CompileAnswer> answers;

    bool broken(const std::string& what) const { return breaks.count(what) > 0; }
};

// Everything one filled record points to, kept until its release.
struct Storage {
    std::deque<std::string> texts;  // deque: element addresses stay put
    std::vector<const char*> pointers;
    std::vector<shadex_hardware_core> cores;
    std::deque<std::vector<const char*>> variant_pointers;
    std::vector<shadex_flexible_list> variants;
    std::vector<const char*> errors;
    std::vector<const char*> warnings;

    const char* keep(const Text& text) {
        if (!text) return nullptr;
        texts.push_back(*text);
        return texts.back().c_str();
    }
};

// Records handed out and not yet released, by the id written into the
// record's unused padding word.
std::map<shadex_u32, std::unique_ptr<Storage>> live_records;

std::pair<shadex_u32, Storage*> new_storage() {
    static shadex_u32 last_id = 0;
    auto& slot = live_records[++last_id];
    slot = std::make_unique<Storage>();
    return {last_id, slot.get()};
}

std::string library_path() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&library_path), &info) && info.dli_fname) return info.dli_fname;
    return "scripted_backend";
}

void log_line(const std::string& line) { std::ofstream(library_path() + ".log", std::ios::app) << line << '\n'; }

std::vector<std::string> fields_of(const std::string& rest) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t bar; (bar = rest.find(" | ", start)) != std::string::npos; start = bar + 3)
        fields.push_back(rest.substr(start, bar - start));
    fields.push_back(rest.substr(start));
    return fields;
}

Text as_text(const std::string& field) {
    if (field == "<null>") return std::nullopt;
    return field;
}

// Takes one directive into the scenario; false when the line is not one.
bool read_line(Scenario& scenario, bool& in_answer, const std::string& word, const std::string& rest) {
    const std::vector<std::string> fields = fields_of(rest);
    const size_t n = fields.size();
    if (in_answer) {
        CompileAnswer& answer = scenario.answers.back();
        if (word == "end") {
            in_answer = false;
        } else if (word == "when" && n == 3 && fields[0] == "option") {
            answer.option_conditions.emplace_back(fields[1], fields[2]);
        } else if (word == "when" && n == 2 && fields[0] == "source") {
            answer.source_conditions.push_back(fields[1]);
        } else if (word == "status" && n == 1) {
            answer.status = static_cast<shadex_u32>(std::stoul(fields[0]));
        } else if (word == "variant" || (word == "stat" && n == 2)) {
            if (word == "variant" || answer.variants.empty()) answer.variants.emplace_back();
            if (word == "stat") answer.variants.back().push_back({as_text(fields[0]), as_text(fields[1])});
        } else if (word == "error" || word == "warning") {
            (word == "error" ? answer.errors : answer.warnings).push_back(rest);
        } else if ((word == "crash" || word == "hang") && rest.empty()) {
            (word == "crash" ? answer.crash : answer.hang) = true;
        } else {
            return false;
        }
    } else if (word == "api") {
        std::istringstream numbers(rest);
        return static_cast<bool>(numbers >> scenario.api_major >> scenario.api_minor);
    } else if ((word == "meta" || word == "core") && n == 2) {
        (word == "meta" ? scenario.metadata : scenario.cores).push_back({as_text(fields[0]), as_text(fields[1])});
    } else if (word == "core_cap" && n == 3) {
        scenario.core_caps.push_back({fields[0], {as_text(fields[1]), as_text(fields[2])}});
    } else if (word == "fail" && (n == 2 || n == 3)) {
        scenario.failures[fields[0]] = {static_cast<shadex_u32>(std::stoul(fields[1])),
                                        n == 3 ? std::stoul(fields[2]) : 0};
    } else if (word == "break" && n == 1) {
        scenario.breaks.insert(fields[0]);
    } else if (word == "compile") {
        scenario.answers.emplace_back();
        in_answer = true;
    } else {
        return false;
    }
    return true;
}

Scenario read_scenario() {
    Scenario scenario;
    std::ifstream file(library_path() + ".scenario");
    bool in_answer = false;
    size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.empty() || line[0] == '#') continue;
        const size_t space = line.find(' ');
        bool understood = false;
        try {
            understood = read_line(scenario, in_answer, line.substr(0, space),
                                   space == std::string::npos ? "" : line.substr(space + 1));
        } catch (const std::exception&) {  // a number that does not parse
        }
        if (!understood) log_line("scenario_error\tline " + std::to_string(number) + ": " + line);
    }
    return scenario;
}

// The status an entry point must fail with, or 0.
shadex_u32 injected_failure(const Scenario& scenario, const std::string& entry) {
    static std::map<std::string, size_t> earlier_calls;
    const size_t earlier = earlier_calls[entry]++;
    auto found = scenario.failures.find(entry);
    if (found == scenario.failures.end()) return 0;
    shadex_u32 status = earlier >= found->second.second ? found->second.first : 0;
    if (status != 0) log_line(entry + "_failed\tstatus=" + std::to_string(status));
    return status;
}

[[maybe_unused]] std::string text_or_null(const char* text) { return text ? text : "<null>"; }

// The pairs laid out key, value, ... in `texts`, which storage keeps.
shadex_flexible_list fill_list(Storage& storage, std::vector<const char*>& texts, const std::vector<Pair>& pairs,
                               bool odd = false) {
    for (const Pair& pair : pairs) {
        texts.push_back(storage.keep(pair.key));
        texts.push_back(storage.keep(pair.value));
    }
    if (odd) texts.push_back(storage.keep(std::string("dangling")));
    return {static_cast<shadex_u32>(texts.size()), 0, texts.data()};
}

[[maybe_unused]] bool answer_applies(const CompileAnswer& answer,
                                     const std::vector<std::pair<std::string, std::string>>& options,
                                     const std::string& source) {
    for (const auto& condition : answer.option_conditions)
        if (std::find(options.begin(), options.end(), condition) == options.end()) return false;
    for (const auto& wanted : answer.source_conditions)
        if (source.find(wanted) == std::string::npos) return false;
    return true;
}

void release(const char* entry, shadex_u32 id) {
    log_line(std::string(entry) + (live_records.erase(id) > 0 ? "" : "\tunknown"));
}

}  // namespace

shadex_u32 shadex_get_api_version(shadex_api_version* version) {
    Scenario scenario = read_scenario();
    log_line("get_api_version");
    version->major = scenario.api_major;
    version->minor = scenario.api_minor;
    return 0;
}

shadex_u32 shadex_get_capabilities(shadex_capabilities* capabilities) {
    Scenario scenario = read_scenario();
    log_line("get_capabilities");
    shadex_u32 status = injected_failure(scenario, "get_capabilities");
    if (status != 0) return status;
    auto [id, storage] = new_storage();
    capabilities->padding_ = id;
    capabilities->metadata = fill_list(*storage, storage->pointers, scenario.metadata, scenario.broken("metadata_odd"));
    if (scenario.broken("metadata")) capabilities->metadata = {2, 0, nullptr};
    for (const Pair& core : scenario.cores)
        storage->cores.push_back({storage->keep(core.key), storage->keep(core.value)});
    capabilities->core_count = static_cast<shadex_u32>(storage->cores.size());
    capabilities->cores = storage->cores.data();
    if (scenario.broken("cores")) {
        capabilities->core_count = 1;
        capabilities->cores = nullptr;
    }
    return 0;
}

void shadex_release_capabilities(shadex_capabilities* capabilities) {
    release("release_capabilities", capabilities->padding_);
}

#ifndef SCRIPTED_NO_CORE_SPECIFIC
shadex_u32 shadex_get_core_specific_capabilities(const shadex_hardware_core* core,
                                                 shadex_core_specific_capabilities* capabilities) {
    Scenario scenario = read_scenario();
    std::string name = text_or_null(core->core);
    log_line("get_core_specific_capabilities\t" + name + "\t" + text_or_null(core->revision));
    shadex_u32 status = injected_failure(scenario, "get_core_specific_capabilities");
    if (status != 0) return status;
    auto [id, storage] = new_storage();
    std::vector<Pair> pairs;
    for (const auto& [core_name, pair] : scenario.core_caps)
        if (core_name == name) pairs.push_back(pair);
    capabilities->capabilities = fill_list(*storage, storage->pointers, pairs);
    capabilities->capabilities.padding_ = id;
    if (scenario.broken("core_cap")) capabilities->capabilities = {2, id, nullptr};
    return 0;
}

void shadex_release_core_specific_capabilities(shadex_core_specific_capabilities* capabilities) {
    release("release_core_specific_capabilities", capabilities->capabilities.padding_);
}
#endif

#ifndef SCRIPTED_NO_COMPILE
shadex_u32 shadex_compile(const shadex_inputs* inputs, shadex_outputs* outputs) {
    Scenario scenario = read_scenario();
    std::vector<std::pair<std::string, std::string>> options;
    for (shadex_u32 i = 0; i + 1 < inputs->options.count; i += 2)
        options.emplace_back(text_or_null(inputs->options.entries[i]), text_or_null(inputs->options.entries[i + 1]));

    const char* bytes = static_cast<const char*>(inputs->source);
    size_t length = bytes ? std::strlen(bytes) : 0;
    for (const auto& [key, value] : options)
        if (key == "spirv_binary_length") length = std::stoul(value);
    std::string source = bytes ? std::string(bytes, length) : std::string();

    std::string line = "compile\tcore=" + text_or_null(inputs->hardware.core) +
                       "\trevision=" + text_or_null(inputs->hardware.revision);
    for (const auto& [key, value] : options) line += "\t" + key + "=" + value;
    line += "\tsource_length=" + std::to_string(length);
    line += "\tsource=" + scripted_log_escape(source.substr(0, 512));

    auto found = std::find_if(scenario.answers.begin(), scenario.answers.end(), [&](const CompileAnswer& candidate) {
        return answer_applies(candidate, options, source);
    });
    const CompileAnswer* answer = found == scenario.answers.end() ? nullptr : &*found;
    log_line(line);
    if (answer && answer->crash) raise(SIGSEGV);
    while (answer && answer->hang) pause();

    auto [id, storage] = new_storage();
    outputs->padding0_ = id;
    if (!answer) return 0;
    for (const Variant& variant : answer->variants)
        storage->variants.push_back(fill_list(*storage, storage->variant_pointers.emplace_back(), variant));
    for (const auto& error : answer->errors) storage->errors.push_back(storage->keep(error));
    for (const auto& warning : answer->warnings) storage->warnings.push_back(storage->keep(warning));
    outputs->variant_count = static_cast<shadex_u32>(storage->variants.size());
    outputs->variants = storage->variants.data();
    outputs->error_count = static_cast<shadex_u32>(storage->errors.size());
    outputs->errors = storage->errors.data();
    outputs->warning_count = static_cast<shadex_u32>(storage->warnings.size());
    outputs->warnings = storage->warnings.data();
    return answer->status;
}
#endif

void shadex_release_outputs(shadex_outputs* outputs) { release("release_outputs", outputs->padding0_); }
