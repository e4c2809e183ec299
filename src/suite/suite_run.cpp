#include "suite/suite_run.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "driver/shadex_run.h"
#include "suite/entry_needs.h"
#include "suite/vulkan_glsl_in_process.h"

namespace {

uint64_t fnv1a(const std::string& text) {
    uint64_t hash = 1469598103934665603ull;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    return hash;
}

bool all_digits(const std::string& text) {
    return !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
}

struct Progress {
    bool shown;
    size_t total;
    size_t done = 0;
    size_t failed = 0;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

    void update(bool failure) {
        ++done;
        if (failure) ++failed;
        if (!shown) return;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const double rate = seconds > 0 ? done / seconds : 0;
        const double left = rate > 0 ? (total - done) / rate : 0;
        std::fprintf(stderr, "\r%zu/%zu runs, %zu failed, %.1f/s, %.0f s left   ", done, total, failed, rate, left);
        if (done == total) std::fputc('\n', stderr);
        std::fflush(stderr);
    }
};

}  // namespace

Shard parse_shard(const std::string& text) {
    const size_t slash = text.find('/');
    const std::string k = text.substr(0, slash), n = slash == std::string::npos ? "" : text.substr(slash + 1);
    if (!all_digits(k) || !all_digits(n) || std::stoul(k) < 1 || std::stoul(k) > std::stoul(n))
        throw std::invalid_argument("Invalid shard " + text + ": expected K/N with 1 <= K <= N.");
    return {static_cast<unsigned>(std::stoul(k)), static_cast<unsigned>(std::stoul(n))};
}

bool in_shard(const std::string& id, const Shard& shard) { return fnv1a(id) % shard.count == shard.index - 1; }

std::vector<std::string> resolve_cores(const std::vector<std::string>& requested, CompilerManager& manager) {
    std::vector<std::string> cores;
    auto add = [&cores](const std::string& core) {
        for (const std::string& known : cores)
            if (known == core) return;
        cores.push_back(core);
    };
    if (requested.empty()) return {"default"};
    for (const std::string& name : requested) {
        if (name == "all") {
            for (Compiler* compiler :
                 manager.get_compilers(std::nullopt, std::nullopt, std::nullopt, CompilerType::Any))
                add(compiler->core);
            continue;
        }
        const std::string core = CompilerManager::normalize_core_name(name);
        if (core != "default" && manager.get_compilers(core, CompilerType::Any).empty())
            throw std::invalid_argument(core + " is an invalid target core.");
        add(core);
    }
    return cores;
}

std::vector<std::string> shadex_arguments(const SuiteEntry& entry, const std::string& core) {
    std::vector<std::string> args = {"shadex"};
    if (core != "default") args.insert(args.end(), {"-c", core});
    args.insert(args.end(), {"--format", "json"});
    args.insert(args.end(), entry.args.begin(), entry.args.end());
    return args;
}

SuiteRecords run_suite(const RunSettings& settings, CompilerManager& manager, std::vector<SuiteEntry>* entries_run) {
    const std::vector<std::string> cores = resolve_cores(settings.cores, manager);
    std::vector<SuiteEntry> entries;
    for (SuiteEntry& entry : collect_entries(settings.inputs))
        if (in_shard(entry.id, settings.shard)) entries.push_back(std::move(entry));

    SuiteRecords records;
    struct Run {
        const SuiteEntry* entry;
        std::string core;
    };
    std::vector<Run> runs;
    std::vector<std::string> needs;  // of each run, for the scheduling
    for (const SuiteEntry& entry : entries) {
        const std::string need = entry.refusal.empty() ? entry_need(entry) : "";
        for (const std::string& core : cores) {
            if (entry.refusal.empty()) {
                runs.push_back({&entry, core});
                needs.push_back(need);
            } else {
                records.push_back(refused_record(entry, core));
            }
        }
    }

    const std::string here = std::filesystem::current_path().string();
    auto task = [&](size_t index) {
        const Run& run = runs[index];
        TaskOutcome outcome;
        if (chdir(run.entry->directory.empty() ? here.c_str() : run.entry->directory.c_str()) != 0) {
            outcome.status = 2;
            outcome.err = "ERROR: cannot enter " + run.entry->directory;
            return outcome;
        }
        std::ostringstream out, err;
        outcome.status =
            run_shadex(shadex_arguments(*run.entry, run.core), manager, out, err, convert_vulkan_glsl_in_process);
        outcome.out = out.str();
        outcome.err = err.str();
        return outcome;
    };
    Progress progress{settings.progress, runs.size()};
    run_in_workers(needs, settings.jobs, settings.timeout, task, [&](size_t index, TaskOutcome outcome) {
        progress.update(!outcome.failure.empty() || outcome.status != 0);
        records.push_back(make_record(runs[index].entry->id, runs[index].core, outcome));
    });
    if (entries_run) *entries_run = std::move(entries);
    sort_records(records);
    return records;
}
