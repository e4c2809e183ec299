// The one table of core facts: every core this back-end compiles for, the
// revisions it reports, its architecture generation, what the cost model
// needs of it and what it offers. The catalogue, the capability records, the
// cost model's per-core rows and the feature checks are all read from here;
// no core name appears anywhere else in the back-end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

enum class Architecture { Tarsel = 1, Ostrem = 2, Pelion = 3, FifthGen = 4 };

struct CoreRow {
    std::string name;                    // as reported to the program, e.g. "Koro-N1-Ultra"
    std::vector<std::string> revisions;  // e.g. "r0p0"
    Architecture architecture;
    double arithmetic_rate;            // Tarsel: arithmetic pipes per core (the only rate divided there)
    uint32_t uniform_registers;        // uniform register file per core
    int highest_opengles;              // shading language version: 310 or 320
    int highest_spirv;                 // hundredths; 0 for a core without Vulkan
    std::vector<std::string> aliases;  // other names the program may send for it
};

// Oldest first.
const std::vector<CoreRow>& core_table();

// The row for a core name (or alias); null for an unknown core.
const CoreRow* find_core_row(const std::string& name);

}  // namespace reference
