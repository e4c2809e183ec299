// shadex-suite: a whole shader set through shadex's own compile job, in one
// run; a results document to keep as a baseline; merges of shards.
#include <unistd.h>

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
#include "suite/results.h"
#include "suite/suite_run.h"

namespace {

const char* const USAGE =
    "Usage:\n"
    "  shadex-suite run [-c CORE]... [-j N] [-o FILE] [--timeout SECONDS] [--shard K/N] [-q] INPUT...\n"
    "  shadex-suite merge -o FILE RESULTS...\n"
    "\n"
    "An INPUT is a shader file, a directory (every shader file under it) or @LIST (a file whose\n"
    "every line is the arguments of one shadex run). Run a command with --help for its options.\n";

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes through a temporary file beside the target, so that an interrupted
// run never leaves half a document where a baseline was.
void write_document(const std::string& path, const SuiteRecords& records) {
    if (path.empty() || path == "-") {
        write_results(std::cout, records);
        if (!std::cout.flush()) throw std::runtime_error("Could not write the results to standard output.");
        return;
    }
    const std::string partial = path + ".partial";
    {
        std::ofstream file(partial, std::ios::binary | std::ios::trunc);
        if (!file) throw std::runtime_error("Could not create output file: " + path);
        write_results(file, records);
        if (!file.flush()) throw std::runtime_error("Could not write output file: " + path);
    }
    std::error_code error;
    std::filesystem::rename(partial, path, error);
    if (error) {
        std::filesystem::remove(partial, error);
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
    std::fprintf(stderr, "shadex-suite: %zu runs: %zu compiled, %zu with compile errors, %zu refused, %zu crashed or timed out\n",
                 records.size(), clean, errors, refused, failed);
}

int run_command(std::vector<std::string> args) {
    TCLAP::CmdLine cmd("Analyse every entry on every requested core; write one results document.", ' ',
                       product::VERSION);
    TCLAP::MultiArg<std::string> cores("c", "core", "A core to analyse on (repeatable); all: every core.", false, "CORE", cmd);
    TCLAP::ValueArg<unsigned> jobs("j", "jobs", "Worker processes (default: the number of CPUs).", false, cpu_count(), "N", cmd);
    TCLAP::ValueArg<std::string> output("o", "output", "Results file (default: standard output).", false, "", "FILE", cmd);
    TCLAP::ValueArg<unsigned> timeout("", "timeout", "Time limit of one run, in seconds (0: none; default 300).", false, 300, "SECONDS", cmd);
    TCLAP::ValueArg<std::string> shard("", "shard", "Analyse only the K-th of N stable shares of the entries.", false, "1/1", "K/N", cmd);
    TCLAP::SwitchArg quiet("q", "quiet", "No progress line and no summary.", cmd);
    TCLAP::UnlabeledMultiArg<std::string> inputs("inputs", "Shader files, directories and @LIST files.", true, "INPUT", cmd);
    cmd.setExceptionHandling(false);
    cmd.parse(args);

    CompilerManager manager(get_executable_dir());
    RunSettings settings;
    settings.cores = cores.getValue();
    settings.jobs = jobs.getValue() == 0 ? 1 : jobs.getValue();
    settings.timeout = std::chrono::seconds(timeout.getValue());
    settings.progress = !quiet.getValue() && isatty(STDERR_FILENO);
    settings.inputs = inputs.getValue();
    try {
        settings.shard = parse_shard(shard.getValue());
        SuiteRecords records = run_suite(settings, manager);
        write_document(output.getValue(), records);
        if (!quiet.getValue()) summarise(records);
    } catch (const std::invalid_argument& problem) {
        throw UsageError(problem.what());
    }
    return 0;
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
