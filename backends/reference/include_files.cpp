#include "include_files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace reference {

namespace {

// Found, refused with a reason, or absent (both fields empty).
IncludeLookup read_candidate(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error || !fs::exists(status)) return {};
    if (fs::is_directory(status)) return {"", "", "it names a directory"};
    if (!fs::is_regular_file(status)) return {"", "", "it names something other than a file"};
    std::ifstream file(path, std::ios::binary);
    if (!file) return {"", "", "the file cannot be read"};
    std::string content(std::istreambuf_iterator<char>(file), {});
    if (file.bad()) return {"", "", "the file cannot be read"};
    return {path, std::move(content), ""};
}

std::string join(const std::string& dir, const std::string& name) {
    if (dir.empty() || dir == ".") return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

}  // namespace

IncludeLookup find_include(const std::string& name, bool system, const std::string& includer_dir,
                           const std::vector<std::string>& search_dirs) {
    if (!name.empty() && name.front() == '/') return read_candidate(name);
    std::vector<std::string> dirs;
    if (!system) {
        dirs.push_back(!includer_dir.empty() ? includer_dir : search_dirs.empty() ? "." : search_dirs.front());
        dirs.insert(dirs.end(), search_dirs.begin(), search_dirs.end());
    } else if (search_dirs.size() > 1) {
        dirs.assign(search_dirs.begin() + 1, search_dirs.end());
    }
    for (const std::string& dir : dirs) {
        IncludeLookup lookup = read_candidate(join(dir, name));
        if (lookup.found() || !lookup.failure.empty()) return lookup;
    }
    return {};
}

std::string directory_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace reference
