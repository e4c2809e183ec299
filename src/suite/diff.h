// Two results documents compared run by run (entry and core) and variant by
// variant: what got worse, what got better, what appeared, disappeared,
// started or stopped failing.
#pragma once

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "suite/results.h"

struct DiffSettings {
    double threshold = 0;           // percent a change must exceed to count
    std::set<std::string> metrics;  // empty: every metric
};

// Every metric a diff knows, in report order.
const std::vector<std::string>& diff_metric_names();

struct MetricChange {
    std::string variant;
    std::string metric;  // e.g. "work_registers_used" or "total_cycles"
    std::string pipe;    // the pipeline of a cycle figure; "" otherwise
    nlohmann::json before;
    nlohmann::json after;  // null for an unbounded path
    double relative = 0;   // (after - before) / before; +-infinity from or to zero or unbounded
    int verdict = 0;       // +1 worse, -1 better, 0 neither (or within the threshold)
};

enum class RunChange { Unchanged, Hurt, Helped, Added, Removed, NewlyFailing, Fixed, StillFailing };

struct RunDiff {
    std::string id;
    std::string core;
    RunChange change = RunChange::Unchanged;
    std::vector<MetricChange> metrics;  // the ones that moved
    std::string failure;                // why the new run (or, when fixed, the old one) failed
    double worst = 0;                   // largest relative worsening, for ordering
    double best = 0;                    // largest relative improvement
};

struct PipeSummary {
    double before = 0;  // sum of total cycles over runs that succeeded in both
    double after = 0;
    double log_ratio_sum = 0;  // for the geometric mean of after / before
    size_t ratios = 0;
};

struct SuiteDiff {
    std::vector<RunDiff> runs;  // sorted by id then core
    std::map<std::string, PipeSummary> pipes;
    bool regressed() const;  // something hurt or newly failing
    size_t count(RunChange change) const;
};

SuiteDiff diff_results(const SuiteRecords& before, const SuiteRecords& after, const DiffSettings& settings);

void print_diff_text(std::ostream& out, const SuiteDiff& diff);
void print_diff_markdown(std::ostream& out, const SuiteDiff& diff);
void print_diff_json(std::ostream& out, const SuiteDiff& diff);
