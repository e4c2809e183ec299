// What the library says about itself and about each core, as key/value pairs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core_catalogue.h"

namespace reference {

using CapabilityPairs = std::vector<std::pair<std::string, std::string>>;

constexpr const char* FLEXIBLE_VERSION = "4.6.0";

// compiler_type is "openglessl" (OpenGL ES and Vulkan) or "opencl".
CapabilityPairs library_metadata(const std::string& compiler_type);

// The versions and extensions of one core for the APIs of compiler_type.
// Keys whose list would be empty are left out.
CapabilityPairs core_capabilities(const std::string& compiler_type, const CoreInfo& core);

// The core records: every core and revision, oldest first.
std::vector<std::pair<std::string, std::string>> core_records();

}  // namespace reference
