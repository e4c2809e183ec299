#include "opencl_front_end.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <stdexcept>

#include "child_process.h"
#include "opencl_translation_fixups.h"
#include "resident_tools.h"
#include "spirv_module_info.h"
#include "temporary_directory.h"

namespace reference {

const char* const OPENCL_FRONT_END_FAILED = "error: Compiler frontend failed (error code <unknown>)";

namespace {

const char* const CLANG = "clang-14";
const char* const TRANSLATOR = "llvm-spirv-14";
// Generous: a hung tool must not hang the compile, a slow machine must not fail it.
const std::chrono::seconds TOOL_TIME_LIMIT{120};
// The file is named this way so that clang's diagnostics name the buffer as
// the program expects ("<source>:3:5: error: ...").
const char* const SOURCE_FILE = "<source>";
const char* const KNOWN_VERSIONS[] = {"1.0", "1.1", "1.2", "2.0", "3.0"};

void write_file(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<uint32_t> read_module(const std::string& path) {
    std::string bytes = read_file(path);
    if (bytes.empty() || bytes.size() % 4 != 0)
        throw std::runtime_error("the translator wrote a truncated SPIR-V module");
    std::vector<uint32_t> words(bytes.size() / 4);
    for (size_t index = 0; index < words.size(); ++index)
        for (int byte = 3; byte >= 0; --byte)
            words[index] = (words[index] << 8) | static_cast<unsigned char>(bytes[index * 4 + byte]);
    return words;
}

void replace_first(std::string& text, const std::string& from, const std::string& to) {
    size_t at = text.find(from);
    if (at != std::string::npos) text.replace(at, from.size(), to);
}

// Error lines go to errors as clang wrote them (a fatal error counts as an
// error); warnings lose the buffer name and the word "warning", which the
// program's own prefix repeats.
void collect_diagnostics(const std::string& output, FrontEndResult& result) {
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        replace_first(line, ": fatal error: ", ": error: ");
        if (line.find(": error: ") != std::string::npos) {
            result.errors.push_back(line);
        } else if (line.find(": warning: ") != std::string::npos) {
            const std::string prefix = std::string(SOURCE_FILE) + ":";
            if (line.rfind(prefix, 0) == 0) line.erase(0, prefix.size());
            replace_first(line, ": warning: ", ": ");
            result.warnings.push_back(line);
        }
    }
}

// The line of a tool's output that best says what went wrong.
std::string headline(const std::string& output) {
    std::istringstream lines(output);
    std::string line, first;
    while (std::getline(lines, line)) {
        if (line.find("error") != std::string::npos || line.find("Error") != std::string::npos) return line;
        if (first.empty()) first = line;
    }
    return first.empty() ? "no message" : first;
}

// Why a tool that failed without a diagnostic of its own stopped.
std::string failure_reason(const std::string& tool, const ChildProcessResult& run, const std::string& output) {
    if (run.timed_out) return tool + " did not finish within " + std::to_string(TOOL_TIME_LIMIT.count()) + " seconds";
    if (!run.exited) return tool + " was stopped by signal " + std::to_string(run.signal_number);
    return tool + " failed: " + headline(output);
}

// The tools run in the resident process when it is installed beside the
// back-end and starts, as child processes otherwise (a build without the
// compiler's libraries, the unit tests, a machine without those libraries).
ChildProcessResult run_opencl_tool(const std::vector<std::string>& command, const std::string& working_directory,
                                   const std::string& output_path) {
    static const std::string resident = resident_tools_beside_this_library();
    static ResidentTools tools(resident);
    static std::atomic<bool> resident_starts{!resident.empty()};
    if (resident_starts) {
        try {
            return tools.run(command, working_directory, output_path, TOOL_TIME_LIMIT);
        } catch (const std::runtime_error&) {
            resident_starts = false;
        }
    }
    return run_child_process(command, working_directory, output_path, TOOL_TIME_LIMIT);
}

struct Translation {
    std::vector<uint32_t> module;    // empty when the compile failed
    std::string translator_failure;  // set when only the SPIR-V translation failed
};

class OpenCLCompile {
public:
    OpenCLCompile(const std::string& source, const std::string& standard,
                  const std::vector<std::string>& preprocessor_arguments, FrontEndResult& result)
        : directory_("shadex-opencl"), standard_(standard), preprocessor_arguments_(preprocessor_arguments),
          result_(result) {
        write_file(directory_.file(SOURCE_FILE), source);
    }

    // source -> LLVM assembly -> (repaired) bitcode -> SPIR-V at one
    // optimisation level. Diagnostics of the source go to result.
    Translation translate(const std::string& optimisation) {
        std::vector<std::string> compile = {CLANG,
                                            "-c",
                                            "-target",
                                            "spir64",
                                            "-emit-llvm",
                                            "-S",
                                            "-x",
                                            "cl",
                                            "-cl-std=" + standard_,
                                            optimisation,
                                            "-fno-vectorize",
                                            "-fno-slp-vectorize",
                                            "-fno-caret-diagnostics",
                                            "-fno-color-diagnostics",
                                            "-fno-crash-diagnostics"};
        compile.insert(compile.end(), preprocessor_arguments_.begin(), preprocessor_arguments_.end());
        compile.insert(compile.end(), {SOURCE_FILE, "-o", "program.ll"});
        std::string output;
        ChildProcessResult run = run_tool(compile, output);
        FrontEndResult diagnostics;
        collect_diagnostics(output, diagnostics);
        result_.errors = diagnostics.errors;
        result_.warnings = diagnostics.warnings;
        if (!run.succeeded()) {
            if (result_.errors.empty()) result_.errors.push_back(failure_reason(CLANG, run, output));
            return {};
        }

        write_file(directory_.file("repaired.ll"),
                   splat_select_conditions(replace_freeze_instructions(read_file(directory_.file("program.ll")))));
        run = run_tool({CLANG, "-c", "-target", "spir64", "-emit-llvm", "-x", "ir", "repaired.ll", "-o", "program.bc"},
                       output);
        if (!run.succeeded()) return {{}, failure_reason(CLANG, run, output)};

        // 1.4 is the oldest version with wrap flags and a scalar condition
        // selecting between vectors, both of which LLVM's output uses.
        run = run_tool({TRANSLATOR, "--spirv-max-version=1.4", "program.bc", "-o", "program.spv"}, output);
        if (!run.succeeded()) return {{}, failure_reason(TRANSLATOR, run, output)};

        Translation translation;
        translation.module = read_module(directory_.file("program.spv"));
        drop_translator_debug_info(translation.module);
        order_blocks_by_dominance(translation.module);
        complete_entry_point_interfaces(translation.module);
        return translation;
    }

private:
    ChildProcessResult run_tool(const std::vector<std::string>& command, std::string& output) {
        const std::string output_path = directory_.file("tool-output.txt");
        ChildProcessResult run = run_opencl_tool(command, directory_.path(), output_path);
        output = read_file(output_path);
        return run;
    }

    TemporaryDirectory directory_;
    std::string standard_;
    const std::vector<std::string>& preprocessor_arguments_;
    FrontEndResult& result_;
};

std::string join_names(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "'" : ", '") + name + "'";
    return text;
}

// What makes the program unusable as a whole (a call of a function defined
// nowhere) or for this request (no kernel of that name); empty when nothing.
std::string program_error(const std::vector<uint32_t>& module, const std::string& kernel_name) {
    std::vector<std::string> undefined = undefined_function_names(module);
    if (!undefined.empty()) return "The program calls " + join_names(undefined) + " but defines no such function.";
    std::vector<std::string> kernels;
    for (const EntryPoint& entry : entry_points(module))
        if (entry.execution_model == spv::ExecutionModelKernel) kernels.push_back(entry.name);
    if (kernels.empty()) return "The program defines no kernel.";
    if (kernel_name.empty() || std::find(kernels.begin(), kernels.end(), kernel_name) != kernels.end()) return "";
    return "No kernel named '" + kernel_name + "' in the program; it defines " + join_names(kernels) + ".";
}

// -D for each define; clang runs in its own directory, so the include
// directories are made absolute: the source's own one serves "x" only
// (-iquote), the others both forms (-I).
std::vector<std::string> preprocessor_arguments(const std::vector<std::string>& defines,
                                                const std::vector<std::string>& include_dirs) {
    std::vector<std::string> arguments;
    for (const std::string& define : defines)
        if (!define.empty()) arguments.push_back("-D" + define);
    for (size_t index = 0; index < include_dirs.size(); ++index) {
        arguments.push_back(index == 0 ? "-iquote" : "-I");
        arguments.push_back(std::filesystem::absolute(include_dirs[index]).lexically_normal().string());
    }
    return arguments;
}

// The module and diagnostics of one source, whichever kernel is asked for.
FrontEndResult translate_source(const std::string& source, const std::string& standard,
                                const std::vector<std::string>& preprocessor_arguments) {
    FrontEndResult result;
    OpenCLCompile compile(source, standard, preprocessor_arguments, result);
    // Optimised code is what the estimate should see, but the translator does
    // not handle everything LLVM's optimiser produces: unoptimised code is the
    // fallback.
    Translation translation = compile.translate("-O2");
    if (translation.module.empty() && !translation.translator_failure.empty()) translation = compile.translate("-O0");
    if (translation.module.empty() && !translation.translator_failure.empty())
        result.errors.push_back("The kernel could not be translated to SPIR-V: " + translation.translator_failure);
    result.module = std::move(translation.module);
    return result;
}

// The last translations, so that the kernels of one file compiled one after
// another (a whole shader set, kernel by kernel) run the tools once. A source
// that includes files is never reused: they may have changed.
class TranslationCache {
public:
    FrontEndResult translate(const std::string& source, const std::string& standard,
                             const std::vector<std::string>& arguments) {
        if (source.find("include") != std::string::npos) return translate_source(source, standard, arguments);
        std::string key = standard + '\n';
        for (const std::string& argument : arguments) key += argument + '\n';
        key += source;
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [known, result] : entries_)
            if (known == key) return result;
        FrontEndResult result = translate_source(source, standard, arguments);
        entries_.emplace_front(std::move(key), result);
        if (entries_.size() > CAPACITY) entries_.pop_back();
        return result;
    }

private:
    static constexpr size_t CAPACITY = 4;
    std::mutex mutex_;
    std::deque<std::pair<std::string, FrontEndResult>> entries_;
};

void compile_into(const std::string& source, const std::string& kernel_name, const std::string& standard,
                  const std::vector<std::string>& preprocessor_arguments, FrontEndResult& result) {
    static TranslationCache cache;
    result = cache.translate(source, standard, preprocessor_arguments);
    if (result.module.empty()) return;
    std::string error = program_error(result.module, kernel_name);
    if (!error.empty()) {
        result.module.clear();
        result.errors.push_back(error);
    }
}

}  // namespace

std::string opencl_c_standard(const std::string& cl_std) {
    if (cl_std.empty()) return "CL1.2";
    std::string version = cl_std.rfind("CL", 0) == 0 ? cl_std.substr(2) : cl_std;
    for (const char* known : KNOWN_VERSIONS)
        if (version == known) return "CL" + version;
    return "";
}

FrontEndResult compile_opencl_source(const std::string& source, const std::string& kernel_name,
                                     const std::string& cl_std, const std::vector<std::string>& defines,
                                     const std::vector<std::string>& include_dirs, bool debug_lines) {
    FrontEndResult result;
    const std::string standard = opencl_c_standard(cl_std);
    if (standard.empty()) {
        result.errors.push_back("OpenCL C version '" + cl_std +
                                "' cannot be compiled; the known versions are 1.0, 1.1, 1.2, 2.0 and 3.0.");
    } else {
        // The program hands the source over with its terminating NUL.
        std::string text = source.substr(0, source.find_last_not_of('\0') + 1);
        try {
            std::vector<std::string> arguments = preprocessor_arguments(defines, include_dirs);
            // Line tables are all the translator needs for OpLine.
            if (debug_lines) arguments.push_back("-gline-tables-only");
            compile_into(text, kernel_name, standard, arguments, result);
        } catch (const std::exception& failure) {
            result.module.clear();
            result.errors.push_back(std::string("The OpenCL C front end failed: ") + failure.what());
        }
    }
    if (!result.errors.empty()) result.errors.push_back(OPENCL_FRONT_END_FAILED);
    return result;
}

}  // namespace reference
