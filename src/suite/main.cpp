// shadex-suite: a whole shader set through shadex's own compile job, in one
// run; a results document to keep as a baseline; merges of shards.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <tclap/CmdLine.h>

#include "common/platform.h"
#include "common/product.h"
#include "compiler/compiler_manager.h"
#include "suite/diff.h"
#include "suite/results.h"
#include "suite/sarif.h"
#include "suite/suite_run.h"

namespace {

const char* const USAGE =
    "Usage:\n"
    "  shadex-suite run [-c CORE]... [-j N] [-o FILE] [--timeout SECONDS] [--shard K/N] [--sarif FILE] [-q]\n"
    "                   INPUT...\n"
    "  shadex-suite diff [--format text|markdown|json] [--threshold PCT] [--metric NAME]... OLD NEW\n"
    "  shadex-suite check --baseline FILE [--update] [diff options] [run options] INPUT...\n"
    "  shadex-suite merge -o FILE RESULTS...\n"
    "\n"
    "An INPUT is a shader file, a directory (every shader file under it) or @LIST (a file whose\n"
    "every line is the arguments of one shadex run). Run a command with --help for its options.\n";

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A regular file is written beside the target first and renamed into place,
// so that an interrupted run never leaves half a document where a baseline
// was; anything else (a terminal, /dev/null, a pipe) is written directly.
void write_document(const std::string& path, const SuiteRecords& records) {
    if (path.empty() || path == "-") {
        write_results(std::cout, records);
        if (!std::cout.flush()) throw std::runtime_error("Could not write the results to standard output.");
        return;
    }
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    const bool replace = !std::filesystem::exists(status) || std::filesystem::is_regular_file(status);
    const std::string target = replace ? path + ".partial" : path;
    {
        std::ofstream file(target, std::ios::binary | std::ios::trunc);
        if (!file) throw std::runtime_error("Could not create output file: " + path);
        write_results(file, records);
        if (!file.flush()) throw std::runtime_error("Could not write output file: " + path);
    }
    if (!replace) return;
    std::filesystem::rename(target, path, error);
    if (error) {
        std::filesystem::remove(target, error);
        throw std::runtime_error("Could not write output file: " + path);
    }
}

unsigned cpu_count() {
    const unsigned count = std::thread::hardware_concurrency();
    return count == 0 ? 1 : count;
}

void summarise(const SuiteRecords& records) {
    size_t clean = 0, errors = 0, refused = 0, failed = 0;
    for (const auto& record : records) {
        if (record.contains("failure"))
            ++failed;
        else if (record["status"] == 0)
            ++clean;
        else if (record["status"] == 1)
            ++errors;
        else
            ++refused;
    }
    std::fprintf(
        stderr,
        "shadex-suite: %zu runs: %zu compiled, %zu with compile errors, %zu refused, %zu crashed or timed out\n",
        records.size(), clean, errors, refused, failed);
}

// The options of a run, declared on a command line (run and check share them).
struct RunArgs {
    TCLAP::MultiArg<std::string> cores;
    TCLAP::ValueArg<unsigned> jobs;
    TCLAP::ValueArg<unsigned> timeout;
    TCLAP::ValueArg<std::string> shard;
    TCLAP::ValueArg<std::string> sarif;
    TCLAP::SwitchArg quiet;
    TCLAP::UnlabeledMultiArg<std::string> inputs;

    explicit RunArgs(TCLAP::CmdLine& cmd)
        : cores("c", "core", "A core to analyse on (repeatable); all: every core.", false, "CORE", cmd),
          jobs("j", "jobs", "Worker processes (default: the number of CPUs).", false, cpu_count(), "N", cmd),
          timeout("", "timeout", "Time limit of one run, in seconds (0: none; default 300).", false, 300, "SECONDS",
                  cmd),
          shard("", "shard", "Analyse only the K-th of N stable shares of the entries.", false, "1/1", "K/N", cmd),
          sarif("", "sarif", "Also write the findings as SARIF 2.1.0 to FILE.", false, "", "FILE", cmd),
          quiet("q", "quiet", "No progress line and no summary.", cmd),
          inputs("inputs", "Shader files, directories and @LIST files.", true, "INPUT", cmd) {}

    SuiteRecords run() const {
        CompilerManager manager(get_executable_dir());
        RunSettings settings;
        settings.cores = cores.getValue();
        settings.jobs = jobs.getValue() == 0 ? 1 : jobs.getValue();
        settings.timeout = std::chrono::seconds(timeout.getValue());
        settings.progress = !quiet.getValue() && isatty(STDERR_FILENO);
        settings.inputs = inputs.getValue();
        try {
            settings.shard = parse_shard(shard.getValue());
            std::vector<SuiteEntry> entries;
            SuiteRecords records = run_suite(settings, manager, &entries);
            if (!sarif.getValue().empty()) {
                std::ofstream file(sarif.getValue(), std::ios::binary | std::ios::trunc);
                if (file) write_sarif(file, entries, records);
                if (!file || !file.flush()) throw std::runtime_error("Could not write " + sarif.getValue());
            }
            if (!quiet.getValue()) summarise(records);
            return records;
        } catch (const std::invalid_argument& problem) {
            throw UsageError(problem.what());
        }
    }
};

// The options of a comparison (diff and check share them).
struct DiffArgs {
    std::vector<std::string> format_words{"text", "markdown", "json"};
    TCLAP::ValuesConstraint<std::string> format_constraint{format_words};
    TCLAP::ValueArg<std::string> format;
    TCLAP::ValueArg<double> threshold;
    TCLAP::MultiArg<std::string> metrics;

    explicit DiffArgs(TCLAP::CmdLine& cmd)
        : format("", "format", "How to print the comparison.", false, "text", &format_constraint, cmd),
          threshold("", "threshold", "Percent a change must exceed to count (default 0).", false, 0, "PCT", cmd),
          metrics("", "metric", "Compare only this metric (repeatable).", false, "NAME", cmd) {}

    // Prints the comparison; the exit status says whether anything regressed.
    int compare(const SuiteRecords& before, const SuiteRecords& after) const {
        DiffSettings settings;
        settings.threshold = threshold.getValue();
        const std::vector<std::string>& known = diff_metric_names();
        for (const std::string& metric : metrics.getValue()) {
            if (std::find(known.begin(), known.end(), metric) == known.end()) {
                std::string list;
                for (const std::string& name : known) list += (list.empty() ? "" : ", ") + name;
                throw UsageError("Unknown metric " + metric + "; the metrics are " + list + ".");
            }
            settings.metrics.insert(metric);
        }
        SuiteDiff diff = diff_results(before, after, settings);
        if (format.getValue() == "markdown")
            print_diff_markdown(std::cout, diff);
        else if (format.getValue() == "json")
            print_diff_json(std::cout, diff);
        else
            print_diff_text(std::cout, diff);
        return diff.regressed() ? 1 : 0;
    }
};

SuiteRecords read_or_refuse(const std::string& path) {
    try {
        return read_results(path);
    } catch (const std::invalid_argument& problem) {
        throw UsageError(problem.what());
    }
}

int run_command(std::vector<std::string> args) {
    TCLAP::CmdLine cmd("Analyse every entry on every requested core; write one results document.", ' ',
                       product::VERSION);
    TCLAP::ValueArg<std::string> output("o", "output", "Results file (default: standard output).", false, "", "FILE",
                                        cmd);
    RunArgs run(cmd);
    cmd.setExceptionHandling(false);
    cmd.parse(args);
    write_document(output.getValue(), run.run());
    return 0;
}

int diff_command(std::vector<std::string> args) {
    TCLAP::CmdLine cmd("Compare two results documents run by run.", ' ', product::VERSION);
    DiffArgs diff(cmd);
    TCLAP::UnlabeledValueArg<std::string> before("old", "The earlier results.", true, "", "OLD", cmd);
    TCLAP::UnlabeledValueArg<std::string> after("new", "The later results.", true, "", "NEW", cmd);
    cmd.setExceptionHandling(false);
    cmd.parse(args);
    return diff.compare(read_or_refuse(before.getValue()), read_or_refuse(after.getValue()));
}

int check_command(std::vector<std::string> args) {
    TCLAP::CmdLine cmd("Run, then compare with a baseline (or bless the run as the new baseline).", ' ',
                       product::VERSION);
    TCLAP::ValueArg<std::string> baseline("", "baseline", "The blessed results document.", true, "", "FILE", cmd);
    TCLAP::SwitchArg update("", "update", "Write this run's results to the baseline instead of comparing.", cmd);
    DiffArgs diff(cmd);
    RunArgs run(cmd);
    cmd.setExceptionHandling(false);
    cmd.parse(args);
    if (update.getValue()) {
        write_document(baseline.getValue(), run.run());
        return 0;
    }
    const SuiteRecords before = read_or_refuse(baseline.getValue());
    return diff.compare(before, run.run());
}

int merge_command(std::vector<std::string> args) {
    TCLAP::CmdLine cmd("Join the results of shards into one document.", ' ', product::VERSION);
    TCLAP::ValueArg<std::string> output("o", "output", "Merged results file.", true, "", "FILE", cmd);
    TCLAP::UnlabeledMultiArg<std::string> inputs("results", "Results documents.", true, "RESULTS", cmd);
    cmd.setExceptionHandling(false);
    cmd.parse(args);
    std::vector<SuiteRecords> parts;
    try {
        for (const std::string& path : inputs.getValue()) parts.push_back(read_results(path));
        write_document(output.getValue(), merge_results(parts));
    } catch (const std::invalid_argument& problem) {
        throw UsageError(problem.what());
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv, argv + argc);
    if (args.size() < 2 || args[1] == "-h" || args[1] == "--help") {
        (args.size() < 2 ? std::cerr : std::cout) << USAGE;
        return args.size() < 2 ? 2 : 0;
    }
    const std::string command = args[1];
    args.erase(args.begin());
    args[0] = "shadex-suite " + command;
    try {
        if (command == "run") return run_command(args);
        if (command == "merge") return merge_command(args);
        if (command == "diff") return diff_command(args);
        if (command == "check") return check_command(args);
        std::cerr << "shadex-suite: unknown command " << command << "\n\n" << USAGE;
        return 2;
    } catch (TCLAP::ExitException& exit) {
        return exit.getExitStatus();
    } catch (TCLAP::ArgException& problem) {
        std::cerr << "shadex-suite: " << problem.error() << " " << problem.argId() << "\n";
        return 2;
    } catch (const UsageError& problem) {
        std::cerr << "shadex-suite: " << problem.what() << "\n";
        return 2;
    } catch (const std::exception& problem) {
        std::cerr << "shadex-suite: " << problem.what() << "\n";
        return 2;
    }
}
