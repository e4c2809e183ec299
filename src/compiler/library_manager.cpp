#include "compiler/library_manager.h"

#include <dirent.h>

#include <algorithm>

#include "common/platform.h"
#include "common/text.h"

LibraryManager::LibraryManager(const std::string& dir) {
    for (const std::string& path : get_library_paths(dir)) libraries.push_back(std::make_shared<CompilerLibrary>(path));
    // The comparator answers true for equal names, so only a merge sort keeps
    // discovery order among them without harm.
    std::stable_sort(libraries.begin(), libraries.end(), CompilerLibrary::before);
}

std::vector<std::string> LibraryManager::get_library_paths(const std::string& dir) {
    std::string base = dir;
    add_path_separator(base);
    std::vector<std::string> paths;
    get_lib_paths_from_dir(base + "graphics", paths);
    get_lib_paths_from_dir(base + "opencl", paths);
    return paths;
}

void LibraryManager::get_lib_paths_from_dir(const std::string& dir, std::vector<std::string>& paths) {
    DIR* listing = opendir(dir.c_str());
    if (!listing) return;
    std::string prefix = dir;
    add_path_separator(prefix);
    while (const dirent* entry = readdir(listing)) {
        std::string name = entry->d_name;
        if (ends_with(name, ".so")) paths.push_back(prefix + name);
    }
    closedir(listing);
}

void LibraryManager::add_path_separator(std::string& path) {
    const std::string separator = get_path_sep();
    if (path.empty() || path.back() != separator.front()) path += separator;
}
