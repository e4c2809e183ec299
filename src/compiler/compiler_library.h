// One opened back-end compiler library: entry points resolved, interface and
// flexible versions checked, driver release name parsed from the file name.
// Construction yields a usable library or throws; closing is tied to
// destruction, so nothing obtained from the library may outlive the object.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "compiler/shadex_abi.h"

// A driver release name such as Koro-Nxx_r20p0-01rel0. Fields are in order of
// significance; an unparsed field is 0xFFFFFFFF.
struct DriverName {
    DriverName() = default;
    // Throws KoroException_("Library load error", name) when the name follows
    // neither release pattern.
    explicit DriverName(const std::string& name);

    // Descending order, deliberately true both ways for equal names.
    bool before(const DriverName& other) const;

    uint32_t scheme = 0xFFFFFFFF;  // 0: Koro-L100_..., 1: Koro-Nxx_...
    uint32_t r = 0xFFFFFFFF;
    uint32_t p = 0xFFFFFFFF;
    uint32_t o = 0xFFFFFFFF;  // read as octal: "01" is 1, "08" does not parse
    uint32_t rel = 0xFFFFFFFF;
};

class CompilerLibrary {
public:
    // Opens the library, reads its versions and driver name; throws
    // KoroException_ on failure with the handle already closed.
    explicit CompilerLibrary(const std::string& path);
    ~CompilerLibrary();
    CompilerLibrary(const CompilerLibrary&) = delete;
    CompilerLibrary& operator=(const CompilerLibrary&) = delete;

    // Newest driver first (DriverName::before).
    static bool before(const std::shared_ptr<CompilerLibrary>& a, const std::shared_ptr<CompilerLibrary>& b);

    shadex_compile_fn compile = nullptr;
    shadex_release_outputs_fn release_outputs = nullptr;
    shadex_get_capabilities_fn get_capabilities = nullptr;
    shadex_release_capabilities_fn release_capabilities = nullptr;
    // Null for an interface 1.1 library that does not export them.
    shadex_get_core_specific_capabilities_fn get_core_specific_capabilities = nullptr;
    shadex_release_core_specific_capabilities_fn release_core_specific_capabilities = nullptr;
    shadex_get_api_version_fn get_api_version = nullptr;

    std::string path;
    void* handle = nullptr;
    std::string driver_name;
    DriverName driver_id;
    uint32_t api_major = 0;
    uint32_t api_minor = 0;
    uint32_t flexible_major = 0;
    uint32_t flexible_minor = 0;
    uint32_t flexible_patch = 0;

private:
    void init_library();
    void init_metadata();
    void init_driver_name();
    void close();
};
