#include "suite/diff.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

using nlohmann::json;

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();

// Variant properties a diff follows, and which way is worse.
const std::vector<std::pair<std::string, int>> PROPERTY_DIRECTIONS = {
    {"work_registers_used", +1},
    {"uniform_registers_used", +1},
    {"thread_occupancy", -1},
    {"stack_size", +1},
    {"has_stack_spilling", +1},
    {"stack_spill_bytes", +1},
    // The 16-bit share is shown, not scored: its cost is in the cycles, and
    // a shader that loses all its arithmetic would seem to lose its share.
    {"stack_alloca_bytes", +1},
    {"fp16_arithmetic", 0},
};
const char* const PATHS[] = {"total_cycles", "shortest_path_cycles", "longest_path_cycles"};

using Figures = std::map<std::string, json>;  // "variant\tmetric\tpipe" -> value

std::string key(const std::string& variant, const std::string& metric, const std::string& pipe) {
    return variant + "\t" + metric + "\t" + pipe;
}

bool wanted(const DiffSettings& settings, const std::string& metric) {
    return settings.metrics.empty() || settings.metrics.count(metric) > 0;
}

// Every figure of a successful run's report, by variant.
Figures figures_of(const json& report, const DiffSettings& settings) {
    Figures figures;
    for (const json& shader : report.value("shaders", json::array())) {
        for (const json& variant : shader.value("variants", json::array())) {
            const std::string name = variant.value("name", "");
            for (const json& property : variant.value("properties", json::array())) {
                const std::string metric = property.value("name", "");
                for (const auto& [known, direction] : PROPERTY_DIRECTIONS)
                    if (metric == known && wanted(settings, metric))
                        figures[key(name, metric, "")] = property.value("value", json());
            }
            const json& performance = variant.value("performance", json::object());
            const json& pipes = performance.value("pipelines", json::array());
            for (const char* path : PATHS) {
                const json& figure = performance.value(path, json::object());
                const json& counts = figure.value("cycle_count", json::array());
                if (wanted(settings, path))
                    for (size_t index = 0; index < pipes.size() && index < counts.size(); ++index)
                        figures[key(name, path, pipes[index].get<std::string>())] = counts[index];
                if (wanted(settings, "bound_pipelines"))
                    figures[key(name, "bound_pipelines", path)] = figure.value("bound_pipelines", json());
            }
        }
    }
    return figures;
}

int direction_of(const std::string& metric) {
    for (const auto& [known, direction] : PROPERTY_DIRECTIONS)
        if (metric == known) return direction;
    return metric == "bound_pipelines" ? 0 : +1;
}

// null is an unbounded path: more than any number.
double as_number(const json& value) {
    if (value.is_null()) return INF;
    if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
    if (value.is_number()) return value.get<double>();
    return 0;
}

double relative_change(double before, double after) {
    if (before == after) return 0;
    if (std::isinf(before) || std::isinf(after)) return std::isinf(after) ? INF : -INF;
    if (before == 0) return after > 0 ? INF : -INF;
    return (after - before) / std::fabs(before);
}

bool succeeded(const json& record) { return record.value("status", json()) == 0 && record.contains("report"); }

std::string failure_of(const json& record) {
    if (record.contains("failure")) return record["failure"];
    if (record.contains("message")) return record["message"];
    // A report with errors: its first error says why.
    for (const json& shader : record.value("report", json::object()).value("shaders", json::array()))
        for (const json& error : shader.value("errors", json::array())) return error.get<std::string>();
    return "exit status " + record.value("status", json()).dump();
}

void compare(RunDiff& run, const json& before, const json& after, const DiffSettings& settings) {
    const Figures old_figures = figures_of(before["report"], settings);
    const Figures new_figures = figures_of(after["report"], settings);
    std::set<std::string> keys;
    for (const auto& [name, value] : old_figures) keys.insert(name);
    for (const auto& [name, value] : new_figures) keys.insert(name);
    for (const std::string& name : keys) {
        const json old_value = old_figures.count(name) ? old_figures.at(name) : json();
        const json new_value = new_figures.count(name) ? new_figures.at(name) : json();
        if (old_value == new_value) continue;
        MetricChange change;
        const size_t first = name.find('\t'), second = name.find('\t', first + 1);
        change.variant = name.substr(0, first);
        change.metric = name.substr(first + 1, second - first - 1);
        change.pipe = name.substr(second + 1);
        change.before = old_value;
        change.after = new_value;
        const int direction = direction_of(change.metric);
        // A variant that appears or disappears is reported, not scored.
        const bool both = old_figures.count(name) && new_figures.count(name);
        if (direction != 0 && both) {
            change.relative = relative_change(as_number(old_value), as_number(new_value));
            const double worsening = change.relative * direction;
            if (worsening > settings.threshold / 100) change.verdict = +1;
            if (-worsening > settings.threshold / 100) change.verdict = -1;
            if (change.verdict > 0) run.worst = std::max(run.worst, worsening);
            if (change.verdict < 0) run.best = std::max(run.best, -worsening);
        }
        run.metrics.push_back(std::move(change));
    }
    const bool worse =
        std::any_of(run.metrics.begin(), run.metrics.end(), [](const MetricChange& c) { return c.verdict > 0; });
    const bool better =
        std::any_of(run.metrics.begin(), run.metrics.end(), [](const MetricChange& c) { return c.verdict < 0; });
    run.change = worse ? RunChange::Hurt : better ? RunChange::Helped : RunChange::Unchanged;
}

void add_to_pipes(SuiteDiff& diff, const json& before, const json& after) {
    DiffSettings totals;
    totals.metrics = {"total_cycles"};
    std::map<std::string, std::pair<double, double>> sums;
    for (const auto& [name, value] : figures_of(before["report"], totals))
        sums[name.substr(name.rfind('\t') + 1)].first += as_number(value);
    for (const auto& [name, value] : figures_of(after["report"], totals))
        sums[name.substr(name.rfind('\t') + 1)].second += as_number(value);
    for (const auto& [pipe, pair] : sums) {
        PipeSummary& summary = diff.pipes[pipe];
        summary.before += pair.first;
        summary.after += pair.second;
        if (pair.first > 0 && pair.second > 0) {
            summary.log_ratio_sum += std::log(pair.second / pair.first);
            ++summary.ratios;
        }
    }
}

const char* change_name(RunChange change) {
    switch (change) {
        case RunChange::Unchanged: return "unchanged";
        case RunChange::Hurt: return "hurt";
        case RunChange::Helped: return "helped";
        case RunChange::Added: return "added";
        case RunChange::Removed: return "removed";
        case RunChange::NewlyFailing: return "newly failing";
        case RunChange::Fixed: return "fixed";
        case RunChange::StillFailing: return "still failing";
    }
    return "";
}

std::string number_text(const json& value) {
    if (value.is_null()) return "unbounded";
    if (value.is_number_float()) {
        char text[32];
        std::snprintf(text, sizeof text, "%.9g", value.get<double>());
        return text;
    }
    return value.dump();
}

std::string percent_text(double relative) {
    if (std::isinf(relative)) return relative > 0 ? "new" : "gone";
    char text[32];
    std::snprintf(text, sizeof text, "%+.1f%%", relative * 100);
    return text;
}

std::string metric_label(const MetricChange& change) {
    std::string label = change.variant.empty() ? change.metric : change.variant + " " + change.metric;
    if (!change.pipe.empty()) label += "[" + change.pipe + "]";
    return label;
}

std::string change_text(const MetricChange& change) {
    std::string text = metric_label(change) + ": " + number_text(change.before) + " -> " + number_text(change.after);
    if (change.verdict != 0 || change.relative != 0)
        text += " (" + percent_text(change.relative) +
                (change.verdict > 0   ? ", worse"
                 : change.verdict < 0 ? ", better"
                                      : "") +
                ")";
    return text;
}

// Hurt worst first, helped best first, the rest by id.
std::vector<const RunDiff*> listed(const SuiteDiff& diff, RunChange change) {
    std::vector<const RunDiff*> runs;
    for (const RunDiff& run : diff.runs)
        if (run.change == change) runs.push_back(&run);
    if (change == RunChange::Hurt)
        std::stable_sort(runs.begin(), runs.end(),
                         [](const RunDiff* a, const RunDiff* b) { return a->worst > b->worst; });
    if (change == RunChange::Helped)
        std::stable_sort(runs.begin(), runs.end(),
                         [](const RunDiff* a, const RunDiff* b) { return a->best > b->best; });
    return runs;
}

const RunChange LISTED_ORDER[] = {RunChange::NewlyFailing, RunChange::Hurt,  RunChange::Helped,
                                  RunChange::Fixed,        RunChange::Added, RunChange::Removed};

std::string summary_line(const SuiteDiff& diff) {
    std::string text = std::to_string(diff.runs.size()) + " runs compared: ";
    const RunChange order[] = {RunChange::Hurt,  RunChange::Helped,      RunChange::Unchanged,
                               RunChange::Added, RunChange::Removed,     RunChange::NewlyFailing,
                               RunChange::Fixed, RunChange::StillFailing};
    for (size_t index = 0; index < std::size(order); ++index)
        text += (index ? ", " : "") + std::to_string(diff.count(order[index])) + " " + change_name(order[index]);
    return text + ".";
}

double geomean_change(const PipeSummary& summary) {
    return summary.ratios == 0 ? 0 : std::exp(summary.log_ratio_sum / summary.ratios) - 1;
}

}  // namespace

const std::vector<std::string>& diff_metric_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const auto& [name, direction] : PROPERTY_DIRECTIONS) all.push_back(name);
        for (const char* path : PATHS) all.push_back(path);
        all.push_back("bound_pipelines");
        return all;
    }();
    return names;
}

bool SuiteDiff::regressed() const { return count(RunChange::Hurt) > 0 || count(RunChange::NewlyFailing) > 0; }

size_t SuiteDiff::count(RunChange change) const {
    return static_cast<size_t>(
        std::count_if(runs.begin(), runs.end(), [change](const RunDiff& run) { return run.change == change; }));
}

SuiteDiff diff_results(const SuiteRecords& before, const SuiteRecords& after, const DiffSettings& settings) {
    std::map<std::pair<std::string, std::string>, std::pair<const json*, const json*>> runs;
    for (const json& record : before) runs[{record["id"], record["core"]}].first = &record;
    for (const json& record : after) runs[{record["id"], record["core"]}].second = &record;

    SuiteDiff diff;
    for (const auto& [name, pair] : runs) {
        RunDiff run;
        run.id = name.first;
        run.core = name.second;
        const json* old_record = pair.first;
        const json* new_record = pair.second;
        if (!old_record) {
            run.change = RunChange::Added;
        } else if (!new_record) {
            run.change = RunChange::Removed;
        } else if (succeeded(*old_record) && succeeded(*new_record)) {
            compare(run, *old_record, *new_record, settings);
            add_to_pipes(diff, *old_record, *new_record);
        } else if (succeeded(*old_record)) {
            run.change = RunChange::NewlyFailing;
            run.failure = failure_of(*new_record);
        } else if (succeeded(*new_record)) {
            run.change = RunChange::Fixed;
            run.failure = failure_of(*old_record);
        } else {
            run.change = RunChange::StillFailing;
            run.failure = failure_of(*new_record);
        }
        diff.runs.push_back(std::move(run));
    }
    return diff;
}

void print_diff_text(std::ostream& out, const SuiteDiff& diff) {
    out << summary_line(diff) << "\n";
    if (!diff.pipes.empty()) {
        out << "\nTotal cycles over the runs in both, by pipeline:\n";
        char line[160];
        std::snprintf(line, sizeof line, "  %-14s %12s %12s %9s %9s\n", "pipeline", "old sum", "new sum", "change",
                      "geomean");
        out << line;
        for (const auto& [pipe, summary] : diff.pipes) {
            std::snprintf(line, sizeof line, "  %-14s %12.9g %12.9g %9s %9s\n", pipe.c_str(), summary.before,
                          summary.after, percent_text(relative_change(summary.before, summary.after)).c_str(),
                          percent_text(geomean_change(summary)).c_str());
            out << line;
        }
    }
    for (RunChange change : LISTED_ORDER) {
        std::vector<const RunDiff*> runs = listed(diff, change);
        if (runs.empty()) continue;
        std::string title = change_name(change);
        title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
        out << "\n"
            << title
            << (change == RunChange::Hurt     ? " (worst first)"
                : change == RunChange::Helped ? " (best first)"
                                              : "")
            << ":\n";
        for (const RunDiff* run : runs) {
            out << "  " << run->id << " on " << run->core;
            if (!run->failure.empty()) out << ": " << run->failure;
            out << "\n";
            for (const MetricChange& metric : run->metrics) out << "    " << change_text(metric) << "\n";
        }
    }
}

void print_diff_markdown(std::ostream& out, const SuiteDiff& diff) {
    out << "**shadex-suite diff:** " << summary_line(diff) << "\n";
    if (!diff.pipes.empty()) {
        out << "\n| Pipeline | Old sum | New sum | Change | Geomean |\n|---|---:|---:|---:|---:|\n";
        for (const auto& [pipe, summary] : diff.pipes)
            out << "| " << pipe << " | " << number_text(summary.before) << " | " << number_text(summary.after) << " | "
                << percent_text(relative_change(summary.before, summary.after)) << " | "
                << percent_text(geomean_change(summary)) << " |\n";
    }
    for (RunChange change : LISTED_ORDER) {
        std::vector<const RunDiff*> runs = listed(diff, change);
        if (runs.empty()) continue;
        std::string title = change_name(change);
        title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
        out << "\n### " << title << " (" << runs.size() << ")\n\n";
        for (const RunDiff* run : runs) {
            out << "- `" << run->id << "` on " << run->core;
            if (!run->failure.empty()) out << ": " << run->failure;
            out << "\n";
            for (const MetricChange& metric : run->metrics) out << "  - " << change_text(metric) << "\n";
        }
    }
}

void print_diff_json(std::ostream& out, const SuiteDiff& diff) {
    json document;
    json summary = json::object();
    for (RunChange change : {RunChange::Hurt, RunChange::Helped, RunChange::Unchanged, RunChange::Added,
                             RunChange::Removed, RunChange::NewlyFailing, RunChange::Fixed, RunChange::StillFailing})
        summary[change_name(change)] = diff.count(change);
    document["summary"] = summary;
    document["schema"] = {{"name", "suite-diff"}, {"version", 1}};
    json pipes = json::object();
    for (const auto& [pipe, figures] : diff.pipes)
        pipes[pipe] = {
            {"old_sum", figures.before}, {"new_sum", figures.after}, {"geomean_change", geomean_change(figures)}};
    document["pipelines"] = pipes;
    json runs = json::array();
    for (const RunDiff& run : diff.runs) {
        if (run.change == RunChange::Unchanged) continue;
        json entry = {{"id", run.id}, {"core", run.core}, {"change", change_name(run.change)}};
        if (!run.failure.empty()) entry["failure"] = run.failure;
        json metrics = json::array();
        for (const MetricChange& metric : run.metrics) {
            json item = {{"variant", metric.variant},
                         {"metric", metric.metric},
                         {"old", metric.before},
                         {"new", metric.after},
                         {"verdict", metric.verdict > 0   ? "worse"
                                     : metric.verdict < 0 ? "better"
                                                          : "neutral"}};
            if (!metric.pipe.empty()) item["pipeline"] = metric.pipe;
            if (std::isfinite(metric.relative)) item["relative_change"] = metric.relative;
            metrics.push_back(item);
        }
        entry["metrics"] = metrics;
        runs.push_back(entry);
    }
    document["runs"] = runs;
    out << document.dump(-1, ' ', false, json::error_handler_t::replace) << "\n";
}
