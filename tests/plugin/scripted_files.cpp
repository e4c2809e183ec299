#include "plugin/scripted_files.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

std::string scripted_backend_library(ScriptedVariant variant) {
    fs::path full = SCRIPTED_BACKEND;
    switch (variant) {
        case ScriptedVariant::NoCoreSpecific:
            return (full.parent_path() / "libscripted_backend_no_core_specific.so").string();
        case ScriptedVariant::NoCompile: return (full.parent_path() / "libscripted_backend_no_compile.so").string();
        case ScriptedVariant::Full: break;
    }
    return full.string();
}

std::string install_scripted_backend(const std::string& root, const std::string& subdir, const std::string& file_name,
                                     const std::string& scenario, ScriptedVariant variant) {
    fs::path dir = subdir.empty() ? fs::path(root) : fs::path(root) / subdir;
    fs::create_directories(dir);
    fs::path library = dir / file_name;
    fs::copy_file(scripted_backend_library(variant), library, fs::copy_options::overwrite_existing);
    std::ofstream(library.string() + ".scenario", std::ios::binary) << scenario;
    return library.string();
}

std::vector<std::string> read_scripted_log(const std::string& library_path) {
    std::ifstream log(library_path + ".log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> calls_of(const std::vector<std::string>& log, const std::string& entry) {
    std::vector<std::string> found;
    for (const std::string& line : log) {
        if (line == entry || line.rfind(entry + "\t", 0) == 0) found.push_back(line);
    }
    return found;
}

size_t count_calls(const std::vector<std::string>& log, const std::string& entry) {
    return calls_of(log, entry).size();
}

std::string release_problems(const std::vector<std::string>& log) {
    std::string problems;
    for (const std::string& line : log)
        if (line.find("\tunknown") != std::string::npos || line.find("scenario_error") != std::string::npos)
            problems += line + "\n";
    auto pair_up = [&](const std::string& get, const std::string& release) {
        size_t handed_out = count_calls(log, get) - count_calls(log, get + "_failed");
        size_t released = count_calls(log, release);
        if (handed_out != released)
            problems += get + " handed out " + std::to_string(handed_out) + ", " + release + " " +
                        std::to_string(released) + "\n";
    };
    pair_up("get_capabilities", "release_capabilities");
    pair_up("get_core_specific_capabilities", "release_core_specific_capabilities");
    // A failed compile still hands out its outputs record.
    size_t compiles = count_calls(log, "compile");
    if (compiles != count_calls(log, "release_outputs"))
        problems += "compile called " + std::to_string(compiles) + ", release_outputs " +
                    std::to_string(count_calls(log, "release_outputs")) + "\n";
    return problems;
}
