#include "suite/entry_needs.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "input/spirv_module.h"
#include "suite/sarif.h"

namespace fs = std::filesystem;

namespace {

// The tables a GLSL source needs: its version and profile as the front end
// reads them ("450", "310 es"); a source without #version is 100, and a
// desktop version's profile is core unless it says compatibility.
std::string glsl_version(const std::string& head) {
    const size_t at = head.find("#version");
    if (at == std::string::npos) return "100";
    const size_t end = head.find_first_of("\r\n", at);
    std::istringstream words(head.substr(at + 8, end == std::string::npos ? std::string::npos : end - at - 8));
    std::string number, profile;
    words >> number >> profile;
    return profile == "es" || profile == "compatibility" ? number + " " + profile : number;
}

}  // namespace

std::string entry_need(const SuiteEntry& entry) {
    std::string api = "gles";
    for (const std::string& arg : entry.args) {
        if (arg == "--vulkan") api = "vulkan";
        if (arg.rfind("--opencl", 0) == 0) api = "opencl";
    }
    const std::vector<std::string> inputs = input_files_of(entry.args);
    if (inputs.empty()) return "";
    // The first input holds the #version line: later ones are appended to it.
    const fs::path input = fs::path(entry.directory) / inputs.front();
    std::ifstream file(input, std::ios::binary);
    std::string head(4096, '\0');
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<size_t>(file.gcount()));
    if (head.empty() || has_spirv_magic(Bytes(head.begin(), head.end()))) return "";
    if (api == "opencl") return "opencl " + fs::absolute(input).lexically_normal().string();
    return api + " " + glsl_version(head);
}
