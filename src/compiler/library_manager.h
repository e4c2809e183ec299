// Finds the back-end libraries beside the executable (graphics/ then opencl/),
// opens each one and keeps them newest driver first.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "compiler/compiler_library.h"

class LibraryManager {
public:
    // Throws whatever opening the first unusable library throws.
    explicit LibraryManager(const std::string& dir);

    // dir/graphics candidates, then dir/opencl candidates, in listing order.
    static std::vector<std::string> get_library_paths(const std::string& dir);
    // Appends every entry of dir whose name ends in ".so"; a directory that
    // cannot be opened adds nothing.
    static void get_lib_paths_from_dir(const std::string& dir, std::vector<std::string>& paths);
    static void add_path_separator(std::string& path);

    std::vector<std::shared_ptr<CompilerLibrary>> libraries;
};
