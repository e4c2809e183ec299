// Finding and reading the files that `#include` names, for the front ends
// that compile in process. The search directories come from the request:
// the first is the main source's own directory, the others are the user's
// include directories, in order.
#pragma once

#include <string>
#include <vector>

namespace reference {

// Nesting deeper than this is taken for an include cycle.
constexpr int MAX_INCLUDE_DEPTH = 200;

struct IncludeLookup {
    std::string path;     // the file found, as the search directory spells it
    std::string content;  // its text
    std::string failure;  // why nothing can be included; empty when found or not found
    bool found() const { return !path.empty(); }
};

// "x" from a file in `includer_dir` (empty for the main source): that
// directory, then every search directory. <x> (`system`): the search
// directories after the first.
IncludeLookup find_include(const std::string& name, bool system, const std::string& includer_dir,
                           const std::vector<std::string>& search_dirs);

// The directory part of an included file's path, for the files it includes.
std::string directory_of(const std::string& path);

}  // namespace reference
