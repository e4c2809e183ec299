#include "plugin/scripted_files.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

std::string install_scripted_backend(const std::string& root, const std::string& subdir, const std::string& file_name,
                                     const std::string& scenario, ScriptedVariant variant) {
    // The variants are built beside the full library, under its name plus a suffix.
    const char* const suffixes[] = {"", "_no_core_specific", "_no_compile"};  // by ScriptedVariant
    fs::path built = SCRIPTED_BACKEND;
    built.replace_filename(built.stem().string() + suffixes[static_cast<int>(variant)] + ".so");
    fs::path dir = subdir.empty() ? fs::path(root) : fs::path(root) / subdir;
    fs::create_directories(dir);
    fs::path library = dir / file_name;
    fs::copy_file(built, library, fs::copy_options::overwrite_existing);
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

std::string release_problems(const std::vector<std::string>& log) {
    std::string problems;
    for (const std::string& line : log)
        if (line.find("\tunknown") != std::string::npos || line.find("scenario_error") != std::string::npos)
            problems += line + "\n";
    auto count = [&log](const std::string& entry) { return calls_of(log, entry).size(); };
    // A failed getter hands out nothing; a failed compile still hands out its outputs record.
    const std::pair<size_t, std::string> handed_out[] = {
        {count("get_capabilities") - count("get_capabilities_failed"), "release_capabilities"},
        {count("get_core_specific_capabilities") - count("get_core_specific_capabilities_failed"),
         "release_core_specific_capabilities"},
        {count("compile"), "release_outputs"},
    };
    for (const auto& [records, release] : handed_out)
        if (records != count(release))
            problems += std::to_string(records) + " records handed out, " + std::to_string(count(release)) + " " +
                        release + "\n";
    return problems;
}
