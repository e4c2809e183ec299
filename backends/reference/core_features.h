// What each core offers: API versions, extensions and the optional stages.
// The program reads the versions and extensions through the per-core
// capabilities; compiles are checked against the same table.
#pragma once

#include <string>
#include <vector>

#include "core_catalogue.h"

namespace reference {

struct CoreFeatures {
    std::vector<int> opengles_versions;  // shading language versions: 100 300 310 320
    std::vector<int> spirv_versions;     // hundredths, 100 to 160; empty: no Vulkan
    std::vector<int> opencl_versions;    // hundredths: 110 120 200 300
    bool geometry_shaders = false;
    bool tessellation_shaders = false;
    bool ray_tracing = false;
    std::vector<std::string> opengles_extensions;
    std::vector<std::string> spirv_extensions;
    std::vector<std::string> opencl_extensions;
};

const CoreFeatures& core_features(const CoreInfo& core);

// "1.0 1.1" style lists for the capability records are built from these.
int highest_version(const std::vector<int>& versions);
std::string version_list_text(const std::vector<int>& versions);
std::string name_list_text(const std::vector<std::string>& names);

// Every version and extension any core offers, for the library-wide metadata.
const std::vector<int>& all_opengles_versions();
const std::vector<int>& all_opencl_versions();
const std::vector<std::string>& all_opengles_extensions();
const std::vector<std::string>& all_opencl_extensions();

}  // namespace reference
