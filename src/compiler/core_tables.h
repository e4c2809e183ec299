// Fixed knowledge about the Koro cores: their architecture generation and age
// order, the cores kept out of the catalogue, and the spellings of core
// variants. Built once at start-up, read-only afterwards.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/vocabulary.h"

// Oldest core first; a core's row index is its sort index.
extern const std::vector<std::pair<std::string, ArchitectureType>> CORE_TO_ARCH;

namespace Denylist {
// Never put into the catalogue.
extern const std::set<std::string> CORES;
// OpenGL ES compilers for these are capped at version 310.
extern const std::set<std::string> CORES_ES32;
// No Vulkan compiler is made for these.
extern const std::set<std::string> CORES_VULKAN;
}  // namespace Denylist

// Back-end and user spellings of a core variant -> catalogue name.
extern const std::map<std::string, std::string> VARIANT_TO_BASE_MAP;
// Catalogue name -> the name a back-end expects when compiling.
extern const std::map<std::string, std::string> BASE_TO_COMPILER_MAP;

// Library metadata keys that catalogue building skips.
extern const std::set<std::string> IGNORED_KEYS;
