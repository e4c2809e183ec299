#include "compiler/abi_records.h"

#include "common/koro_exception.h"

namespace {

[[noreturn]] void malformed(const std::string& error, const std::string& where, const std::string& list_name,
                            const std::string& fault) {
    throw KoroException_(error, where + " : malformed " + list_name + " (" + fault + ")");
}

}  // namespace

FlexiblePairs read_flexible_list(const shadex_flexible_list& list, const std::string& error, const std::string& where,
                                 const std::string& list_name) {
    FlexiblePairs pairs;
    if (list.count == 0) return pairs;
    if (!list.entries)
        malformed(error, where, list_name, std::to_string(list.count) + " entries announced but none given");
    if (list.count % 2 != 0)
        malformed(error, where, list_name,
                  "odd entry count " + std::to_string(list.count) + ", the last key has no value");
    for (shadex_u32 i = 0; i < list.count; i += 2) {
        for (shadex_u32 j = i; j <= i + 1; ++j) {
            if (!list.entries[j]) malformed(error, where, list_name, "entry " + std::to_string(j) + " is null");
        }
        pairs.emplace_back(list.entries[i], list.entries[i + 1]);
    }
    return pairs;
}

std::vector<HardwareCore> read_hardware_cores(const shadex_capabilities& capabilities, const std::string& error,
                                              const std::string& where) {
    std::vector<HardwareCore> cores;
    if (capabilities.core_count == 0) return cores;
    if (!capabilities.cores)
        malformed(error, where, "core list",
                  std::to_string(capabilities.core_count) + " cores announced but none given");
    for (shadex_u32 i = 0; i < capabilities.core_count; ++i) {
        const shadex_hardware_core& record = capabilities.cores[i];
        if (!record.core || !record.revision)
            malformed(error, where, "core list", "core " + std::to_string(i) + " has a null name or revision");
        cores.push_back({record.core, record.revision});
    }
    return cores;
}
