#include "core_catalogue.h"

namespace reference {

const std::vector<CoreInfo>& reference_cores() {
    static const std::vector<CoreInfo> cores = {
        {"Koro-L220", "r0p0", Architecture::Tarsel},
        {"Koro-L260", "r0p0", Architecture::Tarsel},
        {"Koro-L320", "r0p0", Architecture::Tarsel},
        {"Koro-L330", "r0p0", Architecture::Tarsel},
        {"Koro-L360", "r0p0", Architecture::Tarsel},
        {"Koro-L380", "r0p0", Architecture::Tarsel},
        {"Koro-N11", "r0p0", Architecture::Ostrem},
        {"Koro-N21", "r0p0", Architecture::Ostrem},
        {"Koro-N22", "r0p0", Architecture::Ostrem},
        {"Koro-N31", "r0p0", Architecture::Ostrem},
        {"Koro-N32", "r0p0", Architecture::Ostrem},
        {"Koro-N36", "r0p0", Architecture::Ostrem},
        {"Koro-N47", "r0p0", Architecture::Pelion},
        {"Koro-N58", "r0p0", Architecture::Pelion},
        {"Koro-N67", "r0p0", Architecture::Pelion},
        {"Koro-N68", "r0p0", Architecture::Pelion},
        {"Koro-N68SX", "r0p0", Architecture::Pelion},
        {"Koro-N403", "r0p0", Architecture::Pelion},
        {"Koro-N503", "r0p0", Architecture::Pelion},
        {"Koro-N603", "r0p0", Architecture::Pelion},
        {"Koro-N605", "r0p0", Architecture::Pelion},
        {"Koro-N703", "r0p0", Architecture::Pelion},
        {"Koro-N705", "r0p0", Architecture::Pelion},
        {"Solvaris-N705", "r0p0", Architecture::Pelion},
        {"Koro-N607", "r0p0", Architecture::FifthGen},
        {"Koro-N609", "r0p0", Architecture::FifthGen},
        {"Koro-N707", "r0p0", Architecture::FifthGen},
        {"Koro-N709", "r0p0", Architecture::FifthGen},
        {"Koro-N709", "r1p0", Architecture::FifthGen},
        {"Solvaris-N707", "r0p0", Architecture::FifthGen},
        {"Solvaris-N909", "r0p0", Architecture::FifthGen},
        {"Koro-N1-Ultra", "r0p0", Architecture::FifthGen},
        {"Koro-N1-Ultra", "r1p0", Architecture::FifthGen},
    };
    return cores;
}

const CoreInfo* find_core(const std::string& name, const std::string& revision) {
    for (const CoreInfo& core : reference_cores()) {
        if (core.name == name && core.revision == revision) return &core;
    }
    return nullptr;
}

}  // namespace reference
