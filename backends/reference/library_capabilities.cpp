#include "library_capabilities.h"

#include "core_features.h"

namespace reference {

namespace {

void add_if_any(CapabilityPairs& pairs, const std::string& key, const std::string& value) {
    if (!value.empty()) pairs.emplace_back(key, value);
}

}  // namespace

CapabilityPairs library_metadata(const std::string& compiler_type) {
    CapabilityPairs pairs = {{"flexible_version", FLEXIBLE_VERSION}, {"compiler_type", compiler_type}};
    if (compiler_type == "opencl") {
        add_if_any(pairs, "opencl_version", version_list_text(all_opencl_versions()));
        add_if_any(pairs, "opencl_extensions", name_list_text(all_opencl_extensions()));
    } else {
        add_if_any(pairs, "openglessl_version", version_list_text(all_opengles_versions()));
        add_if_any(pairs, "openglessl_extensions", name_list_text(all_opengles_extensions()));
    }
    return pairs;
}

CapabilityPairs core_capabilities(const std::string& compiler_type, const CoreInfo& core) {
    const CoreFeatures& features = core_features(core);
    CapabilityPairs pairs;
    if (compiler_type == "opencl") {
        add_if_any(pairs, "opencl_c_version", version_list_text(features.opencl_versions));
        add_if_any(pairs, "opencl_c_extensions", name_list_text(features.opencl_extensions));
    } else {
        add_if_any(pairs, "openglessl_version", version_list_text(features.opengles_versions));
        add_if_any(pairs, "openglessl_extensions", name_list_text(features.opengles_extensions));
        add_if_any(pairs, "spirv_version", version_list_text(features.spirv_versions));
        add_if_any(pairs, "spirv_extensions", name_list_text(features.spirv_extensions));
    }
    return pairs;
}

std::vector<std::pair<std::string, std::string>> core_records() {
    std::vector<std::pair<std::string, std::string>> records;
    for (const CoreInfo& core : reference_cores()) records.emplace_back(core.name, core.revision);
    return records;
}

}  // namespace reference
