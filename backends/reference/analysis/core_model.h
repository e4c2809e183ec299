// What the cost model knows about each core and architecture generation:
// ALU shape, register files, and the issue rates the program divides by.
#pragma once

#include <cstdint>
#include <string>

#include "analysis/core_table.h"

namespace reference {

struct ArchitectureProfile {
    Architecture architecture;
    bool scalar_lanes;             // one 32-bit lane per thread; otherwise a vec4 ALU per thread
    bool packs_fp16;               // two 16-bit operations share one 32-bit lane
    double lanes_per_unit;         // lane operations in one reported arithmetic unit
    uint32_t work_registers;       // register file per thread before spilling
    uint32_t register_components;  // 32-bit components one register holds
};

struct CoreModel {
    std::string name;
    Architecture architecture;
    double arithmetic_rate;      // Tarsel: arithmetic pipes per core (the only rate divided there)
    uint32_t uniform_registers;  // uniform register file per core
};

// The row for a core name as the program sends it; null for an unknown core.
const CoreModel* find_core_model(const std::string& core);

const ArchitectureProfile& architecture_profile(Architecture architecture);

}  // namespace reference
