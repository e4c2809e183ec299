#include "compiler/compiler_library.h"

#include <dlfcn.h>

#include <cstdio>

#include "common/koro_exception.h"
#include "common/platform.h"
#include "common/promise.h"
#include "compiler/abi_records.h"

namespace {

const char* const LOAD_ERROR = "Library load error";

// Stand-ins for the two entry points an interface 1.0 library lacks.
shadex_u32 no_core_specific_capabilities(const shadex_hardware_core*, shadex_core_specific_capabilities*) { return 2; }
void no_release_core_specific_capabilities(shadex_core_specific_capabilities*) {}

template <typename Function>
Function resolve(void* handle, const char* symbol) {
    return reinterpret_cast<Function>(dlsym(handle, symbol));
}

bool scan_driver_name(const std::string& name, const char* pattern, DriverName& id) {
    unsigned r = 0, p = 0, o = 0, rel = 0;
    if (std::sscanf(name.c_str(), pattern, &r, &p, &o, &rel) != 4) return false;
    id.r = r;
    id.p = p;
    id.o = o;
    id.rel = rel;
    return true;
}

}  // namespace

DriverName::DriverName(const std::string& name) {
    if (scan_driver_name(name, "Koro-L100_r%up%u-%orel%u", *this)) {
        scheme = 0;
    } else if (scan_driver_name(name, "Koro-Nxx_r%up%u-%orel%u", *this)) {
        scheme = 1;
    } else {
        throw KoroException_(LOAD_ERROR, name);
    }
}

bool DriverName::before(const DriverName& other) const {
    const uint32_t mine[] = {scheme, r, p, o};
    const uint32_t theirs[] = {other.scheme, other.r, other.p, other.o};
    for (int i = 0; i < 4; ++i) {
        if (mine[i] != theirs[i]) return mine[i] > theirs[i];
    }
    return rel >= other.rel;
}

CompilerLibrary::CompilerLibrary(const std::string& path_in) : path(path_in) {
    try {
        init_library();
        init_metadata();
        init_driver_name();
    } catch (const KoroException_& error) {
        close();
        throw KoroException_(error.message);
    } catch (...) {
        close();
        throw;
    }
}

CompilerLibrary::~CompilerLibrary() { close(); }

bool CompilerLibrary::before(const std::shared_ptr<CompilerLibrary>& a, const std::shared_ptr<CompilerLibrary>& b) {
    return a->driver_id.before(b->driver_id);
}

void CompilerLibrary::close() {
    if (handle) dlclose(handle);
    handle = nullptr;
}

void CompilerLibrary::init_library() {
    handle = dlopen(path.c_str(), RTLD_NOW);
    if (!handle) throw KoroException_(LOAD_ERROR, path);

    get_api_version = resolve<shadex_get_api_version_fn>(handle, "shadex_get_api_version");
    compile = resolve<shadex_compile_fn>(handle, "shadex_compile");
    release_outputs = resolve<shadex_release_outputs_fn>(handle, "shadex_release_outputs");
    get_capabilities = resolve<shadex_get_capabilities_fn>(handle, "shadex_get_capabilities");
    release_capabilities = resolve<shadex_release_capabilities_fn>(handle, "shadex_release_capabilities");
    if (!get_api_version || !compile || !release_outputs || !get_capabilities || !release_capabilities)
        throw KoroException_(LOAD_ERROR, path);

    shadex_api_version version{};
    get_api_version(&version);
    api_major = version.major;
    api_minor = version.minor;
    if (api_major != 1 || api_minor > 1) throw KoroException_(LOAD_ERROR, path);

    if (api_minor == 1) {
        // Taken as they come; the catalogue checks them before calling.
        get_core_specific_capabilities =
            resolve<shadex_get_core_specific_capabilities_fn>(handle, "shadex_get_core_specific_capabilities");
        release_core_specific_capabilities =
            resolve<shadex_release_core_specific_capabilities_fn>(handle, "shadex_release_core_specific_capabilities");
    } else {
        get_core_specific_capabilities = no_core_specific_capabilities;
        release_core_specific_capabilities = no_release_core_specific_capabilities;
    }
}

void CompilerLibrary::init_metadata() {
    shadex_capabilities capabilities{};
    if (get_capabilities(&capabilities) != 0) throw KoroException_(LOAD_ERROR, path);
    Promise release([this, &capabilities] { release_capabilities(&capabilities); });

    for (const auto& [key, value] : read_flexible_list(capabilities.metadata, LOAD_ERROR, path, "metadata")) {
        if (key != "flexible_version") continue;
        unsigned major = 0, minor = 0, patch = 0;
        if (std::sscanf(value.c_str(), "%u.%u.%u", &major, &minor, &patch) != 3) throw KoroException_(LOAD_ERROR, path);
        flexible_major = major;
        flexible_minor = minor;
        flexible_patch = patch;
        break;
    }

    bool accepted = flexible_major == 3 || (flexible_major == 4 && flexible_minor <= 6);
    if (!accepted)
        throw KoroException_("Flexible_version is expected to be 3.x or 4.0/6 but its " +
                                 std::to_string(flexible_major) + "." + std::to_string(flexible_minor) + "." +
                                 std::to_string(flexible_patch),
                             path);
}

void CompilerLibrary::init_driver_name() {
    std::string name = path;

    const std::string separator = get_path_sep();
    size_t last_separator = name.rfind(separator);
    if (last_separator != std::string::npos && last_separator + separator.size() < name.size())
        name = name.substr(last_separator + separator.size());

    // Any of the characters '.', 's', 'o' -- not the sequence ".so". For the
    // names discovery accepts this cuts exactly the suffix.
    size_t suffix = name.find_last_of(".so");
    if (suffix != std::string::npos && suffix >= 2 && suffix - 2 <= name.size()) name = name.substr(0, suffix - 2);

    size_t prefix = name.find("lib");
    if (prefix != std::string::npos) name = name.substr(prefix + 3);

    driver_name = name;
    driver_id = DriverName(driver_name);
}
