#include "unit/compiler/backend_fixture.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::vector<std::string> tab_fields(const std::string& line) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1)
        fields.push_back(line.substr(start, tab - start));
    fields.push_back(line.substr(start));
    return fields;
}

}  // namespace

BackendDir::BackendDir() {
    std::string pattern = (fs::temp_directory_path() / "shadex-backends-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    root = pattern;
}

BackendDir::~BackendDir() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

std::string BackendDir::add(const std::string& subdir, const std::string& file_name,
                            const std::string& scenario, ScriptedVariant variant) const {
    return install_scripted_backend(root, subdir, file_name, scenario, variant);
}

std::string lines(const std::vector<std::string>& scenario_lines) {
    std::string text;
    for (const std::string& line : scenario_lines) text += line + "\n";
    return text;
}

void expect_all_released(const std::vector<std::string>& log) {
    EXPECT_EQ(release_problems(log), "");
}

std::vector<std::string> compile_options(const std::vector<std::string>& log, size_t n) {
    std::vector<std::string> compiles = calls_of(log, "compile");
    if (n >= compiles.size()) return {};
    std::vector<std::string> fields = tab_fields(compiles[n]);
    // compile, core=, revision=, options..., source_length=, source=
    if (fields.size() < 5) return {};
    return {fields.begin() + 3, fields.end() - 2};
}

std::string compile_field(const std::vector<std::string>& log, const std::string& field,
                          size_t n) {
    std::vector<std::string> compiles = calls_of(log, "compile");
    if (n >= compiles.size()) return "<no compile " + std::to_string(n) + ">";
    for (const std::string& text : tab_fields(compiles[n])) {
        if (text.rfind(field + "=", 0) == 0) return text.substr(field.size() + 1);
    }
    return "<no field " + field + ">";
}
