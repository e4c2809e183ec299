#include "compiler/compiler_manager.h"

#include <algorithm>
#include <set>

#include "common/koro_exception.h"
#include "common/promise.h"
#include "compiler/abi_records.h"
#include "compiler/capability_values.h"
#include "compiler/compiler_library.h"
#include "compiler/core_tables.h"
#include "compiler/library_manager.h"

namespace {

const char* const LOAD_ERROR = "Compiler load error";

// What a library's metadata offers for all of its cores.
struct LibraryOffer {
    std::vector<CompilerType> families;  // in the order the metadata names them
    std::vector<uint32_t> opengles_versions;
    std::vector<uint32_t> opencl_versions{120};
    // A library that cannot describe single cores gives no SPIR-V version;
    // the first one is assumed.
    std::vector<uint32_t> vulkan_versions{100};
    std::vector<std::string> opengles_extensions;
    std::vector<std::string> opencl_extensions;
    std::set<std::string> variants;

    void add_family(CompilerType family) {
        if (std::find(families.begin(), families.end(), family) == families.end()) families.push_back(family);
    }
    const std::vector<uint32_t>& versions(CompilerType family) const {
        if (family == CompilerType::OpenCL) return opencl_versions;
        if (family == CompilerType::Vulkan) return vulkan_versions;
        return opengles_versions;
    }
    std::vector<std::string> extensions(CompilerType family) const {
        if (family == CompilerType::OpenCL) return opencl_extensions;
        if (family == CompilerType::OpenGLES) return opengles_extensions;
        return {};
    }
};

LibraryOffer read_offer(const FlexiblePairs& metadata, const CompilerLibrary& library) {
    LibraryOffer offer;
    for (const auto& [key, value] : metadata) {
        if (IGNORED_KEYS.count(key)) continue;
        if (key == "compiler_type") {
            if (value == "openglessl") {
                offer.add_family(CompilerType::OpenGLES);
                if (library.flexible_major > 3) offer.add_family(CompilerType::Vulkan);
            } else {
                offer.add_family(CompilerType::OpenCL);
            }
        } else if (key == "spirv") {
            // From 4.0 on Vulkan comes with "openglessl"; earlier it is announced here.
            if (library.flexible_major == 3 && value == "true") offer.add_family(CompilerType::Vulkan);
        } else if (key == "openglessl_version") {
            offer.opengles_versions = parse_version_list(key, value);
        } else if (key == "opencl_version") {
            offer.opencl_versions = parse_version_list(key, value);
        } else if (key == "openglessl_extensions") {
            offer.opengles_extensions = parse_name_list(value);
        } else if (key == "opencl_extensions") {
            offer.opencl_extensions = parse_name_list(value);
        } else if (key == "variant") {
            for (const std::string& name : parse_name_list(value)) offer.variants.insert(name);
        }
    }
    return offer;
}

bool reads_core_capabilities(const CompilerLibrary& library, CompilerType family) {
    return (library.flexible_major >= 4 && family != CompilerType::OpenCL) ||
           (library.flexible_major > 3 && library.flexible_minor != 0);
}

struct CoreKeys {
    const char* versions;
    const char* extensions;
};

CoreKeys core_keys(CompilerType family) {
    if (family == CompilerType::Vulkan) return {"spirv_version", "spirv_extensions"};
    if (family == CompilerType::OpenCL) return {"opencl_c_version", "opencl_c_extensions"};
    return {"openglessl_version", "openglessl_extensions"};
}

// Driver text of a catalogue entry: Koro-Nxx_r20p0-01rel0 gives r20p0-01rel0.
std::string driver_text(const std::string& driver_name) {
    size_t underscore = driver_name.find('_');
    return underscore == std::string::npos ? driver_name : driver_name.substr(underscore + 1);
}

}  // namespace

CompilerManager::CompilerManager(const std::string& dir) { load_compilers(dir); }

void CompilerManager::load_compilers(const std::string& dir) {
    LibraryManager manager(dir);
    for (const auto& library : manager.libraries) add_library_compilers(library);
    // Equal entries (same core and revision) keep no particular order.
    std::sort(compilers.begin(), compilers.end(), Compiler::before);
}

void CompilerManager::add_library_compilers(const std::shared_ptr<CompilerLibrary>& library) {
    shadex_capabilities capabilities{};
    if (library->get_capabilities(&capabilities) != 0) throw KoroException_(LOAD_ERROR);
    Promise release([&library, &capabilities] { library->release_capabilities(&capabilities); });

    LibraryOffer offer =
        read_offer(read_flexible_list(capabilities.metadata, LOAD_ERROR, library->path, "metadata"), *library);
    std::vector<HardwareCore> cores = read_hardware_cores(capabilities, LOAD_ERROR, library->path);
    std::string driver = driver_text(library->driver_name);

    for (CompilerType family : offer.families) {
        for (const HardwareCore& hardware : cores) {
            if (Denylist::CORES.count(hardware.core)) continue;
            if (family == CompilerType::Vulkan && Denylist::CORES_VULKAN.count(hardware.core)) continue;
            std::vector<uint32_t> versions = offer.versions(family);
            std::vector<std::string> extensions = offer.extensions(family);
            if (reads_core_capabilities(*library, family))
                load_core_capabilities(*library, family, hardware.core, hardware.revision, versions, extensions);
            compilers.emplace_back(driver, normalize_core_name(hardware.core), hardware.revision, family, versions,
                                   extensions, offer.variants, library);
        }
    }
}

void CompilerManager::load_core_capabilities(CompilerLibrary& library, CompilerType type, const std::string& core,
                                             const std::string& revision, std::vector<uint32_t>& versions,
                                             std::vector<std::string>& extensions) {
    // An interface 1.1 library may omit the symbols; calling through null would crash.
    if (!library.get_core_specific_capabilities || !library.release_core_specific_capabilities)
        throw KoroException_(LOAD_ERROR, library.path +
                                             " : shadex_get_core_specific_capabilities or "
                                             "shadex_release_core_specific_capabilities missing");

    shadex_hardware_core hardware{core.c_str(), revision.c_str()};
    shadex_core_specific_capabilities capabilities{};
    if (library.get_core_specific_capabilities(&hardware, &capabilities) != 0) throw KoroException_(LOAD_ERROR);
    Promise release([&library, &capabilities] { library.release_core_specific_capabilities(&capabilities); });

    versions.clear();
    extensions.clear();
    CoreKeys keys = core_keys(type);
    for (const auto& [key, value] :
         read_flexible_list(capabilities.capabilities, LOAD_ERROR, library.path, "capabilities of core " + core)) {
        if (key == keys.versions) {
            std::vector<uint32_t> listed = parse_version_list(key, value);
            versions.insert(versions.end(), listed.begin(), listed.end());
        } else if (key == keys.extensions) {
            std::vector<std::string> listed = parse_name_list(value);
            extensions.insert(extensions.end(), listed.begin(), listed.end());
        }
    }
}

std::vector<Compiler*> CompilerManager::get_compilers(const std::optional<std::string>& driver,
                                                      const std::optional<std::string>& core,
                                                      const std::optional<std::string>& revision, CompilerType type,
                                                      uint32_t min_version) {
    std::vector<Compiler*> found;
    for (Compiler& compiler : compilers) {
        if (compiler.matches(driver, core, revision, type, min_version)) found.push_back(&compiler);
    }
    return found;
}

std::vector<Compiler*> CompilerManager::get_compilers(const std::optional<std::string>& core, CompilerType type) {
    return get_compilers(std::nullopt, core, std::nullopt, type, 0);
}

Compiler* CompilerManager::get_default_compiler(CompilerType type) {
    for (Compiler& compiler : compilers) {
        if (type == CompilerType::Any || compiler.type == type) return &compiler;
    }
    return nullptr;
}

ArchitectureType CompilerManager::get_architecture_for_core(const std::string& core) {
    for (const auto& [name, architecture] : CORE_TO_ARCH) {
        if (name == core) return architecture;
    }
    return ArchitectureType::None;
}

uint32_t CompilerManager::get_sort_index_for_core(const std::string& core) {
    for (size_t i = 0; i < CORE_TO_ARCH.size(); ++i) {
        if (CORE_TO_ARCH[i].first == core) return static_cast<uint32_t>(i);
    }
    return 0;
}

std::string CompilerManager::normalize_core_name(const std::string& core) {
    auto found = VARIANT_TO_BASE_MAP.find(core);
    return found == VARIANT_TO_BASE_MAP.end() ? core : found->second;
}

std::string CompilerManager::compilerize_core_name(const std::string& core) {
    auto found = BASE_TO_COMPILER_MAP.find(core);
    return found == BASE_TO_COMPILER_MAP.end() ? core : found->second;
}
