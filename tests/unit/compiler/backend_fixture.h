// A private directory laid out like an install (graphics/, opencl/) into
// which tests drop copies of the scripted back-end.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "common/platform.h"
#include "plugin/scripted_files.h"

class BackendDir {
public:
    BackendDir() = default;
    BackendDir(const BackendDir&) = delete;
    BackendDir& operator=(const BackendDir&) = delete;
    ~BackendDir() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    const std::string& path() const { return root; }
    // Installs a copy under subdir/file_name and returns its path.
    std::string add(const std::string& subdir, const std::string& file_name, const std::string& scenario,
                    ScriptedVariant variant = ScriptedVariant::Full) const {
        return install_scripted_backend(root, subdir, file_name, scenario, variant);
    }

private:
    const std::string root = get_temp_dir();
};

// Joins scenario lines with line ends.
inline std::string lines(const std::vector<std::string>& scenario_lines) {
    std::string text;
    for (const std::string& line : scenario_lines) text += line + "\n";
    return text;
}
