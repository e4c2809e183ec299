// `shadex-suite run`: every entry on every requested core, each run exactly
// as shadex would run it, in worker processes.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "compiler/compiler_manager.h"
#include "suite/results.h"

struct Shard {
    unsigned index = 1;  // 1-based
    unsigned count = 1;
};

struct RunSettings {
    std::vector<std::string> cores;  // as given; "all" for every core; empty for the default one
    unsigned jobs = 1;
    std::chrono::seconds timeout{300};
    Shard shard;
    bool progress = false;  // a progress line on standard error
    std::vector<std::string> inputs;
};

// "K/N" with 1 <= K <= N; throws std::invalid_argument.
Shard parse_shard(const std::string& text);

// Whether an entry belongs to a shard: a hash of its id, so the split is the
// same on every machine and does not move when other entries come or go.
bool in_shard(const std::string& id, const Shard& shard);

// The core names to run on: "all" is every core of the catalogue, in its
// order; no name is the default core ("default"). Throws
// std::invalid_argument for a core the catalogue does not have.
std::vector<std::string> resolve_cores(const std::vector<std::string>& requested, CompilerManager& manager);

// The shadex command line of one run (the program name first).
std::vector<std::string> shadex_arguments(const SuiteEntry& entry, const std::string& core);

// The records of every run; `entries` (when given) receives the entries run.
SuiteRecords run_suite(const RunSettings& settings, CompilerManager& manager,
                       std::vector<SuiteEntry>* entries_run = nullptr);
