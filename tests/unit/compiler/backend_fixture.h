// A private directory laid out like an install (graphics/, opencl/) into
// which tests drop copies of the scripted back-end.
#pragma once

#include <string>
#include <vector>

#include "plugin/scripted_files.h"

class BackendDir {
public:
    BackendDir();
    ~BackendDir();
    BackendDir(const BackendDir&) = delete;
    BackendDir& operator=(const BackendDir&) = delete;

    const std::string& path() const { return root; }
    // Installs a copy under subdir/file_name and returns its path.
    std::string add(const std::string& subdir, const std::string& file_name, const std::string& scenario,
                    ScriptedVariant variant = ScriptedVariant::Full) const;

private:
    std::string root;
};

// Joins scenario lines with line ends.
std::string lines(const std::vector<std::string>& scenario_lines);
