#include "unit/compiler/backend_fixture.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

BackendDir::BackendDir() {
    std::string pattern = (fs::temp_directory_path() / "shadex-backends-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    root = pattern;
}

BackendDir::~BackendDir() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

std::string BackendDir::add(const std::string& subdir, const std::string& file_name, const std::string& scenario,
                            ScriptedVariant variant) const {
    return install_scripted_backend(root, subdir, file_name, scenario, variant);
}

std::string lines(const std::vector<std::string>& scenario_lines) {
    std::string text;
    for (const std::string& line : scenario_lines) text += line + "\n";
    return text;
}
