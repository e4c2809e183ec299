#include "analysis/core_table.h"

namespace reference {

namespace {

using A = Architecture;

}  // namespace

// Uniform register files: 128 everywhere except the newest core; Tarsel
// shares one file of 24 vec4 registers between work and uniform values. The
// first Tarsel core predates OpenGL ES 3.2 and Vulkan; the first Pelion cores
// stop at SPIR-V 1.5.
const std::vector<CoreRow>& core_table() {
    static const std::vector<CoreRow> rows = {
        {"Koro-L220", {"r0p0"}, A::Tarsel, 1, 24, 310, 0, {}},
        {"Koro-L260", {"r0p0"}, A::Tarsel, 2, 24, 320, 130, {}},
        {"Koro-L320", {"r0p0"}, A::Tarsel, 1, 24, 320, 130, {}},
        {"Koro-L330", {"r0p0"}, A::Tarsel, 2, 24, 320, 130, {}},
        {"Koro-L360", {"r0p0"}, A::Tarsel, 2, 24, 320, 130, {}},
        {"Koro-L380", {"r0p0"}, A::Tarsel, 3, 24, 320, 130, {}},
        {"Koro-N11", {"r0p0"}, A::Ostrem, 2, 128, 320, 130, {}},
        {"Koro-N21", {"r0p0"}, A::Ostrem, 3, 128, 320, 130, {}},
        {"Koro-N22", {"r0p0"}, A::Ostrem, 6, 128, 320, 130, {}},
        {"Koro-N31", {"r0p0"}, A::Ostrem, 3, 128, 320, 130, {}},
        {"Koro-N32", {"r0p0"}, A::Ostrem, 3, 128, 320, 130, {}},
        {"Koro-N36", {"r0p0"}, A::Ostrem, 6, 128, 320, 130, {}},
        {"Koro-N47", {"r0p0"}, A::Pelion, 8, 128, 320, 150, {}},
        {"Koro-N58", {"r0p0"}, A::Pelion, 8, 128, 320, 150, {}},
        {"Koro-N67", {"r0p0"}, A::Pelion, 8, 128, 320, 150, {}},
        {"Koro-N68", {"r0p0"}, A::Pelion, 8, 128, 320, 150, {}},
        {"Koro-N68SX", {"r0p0"}, A::Pelion, 8, 128, 320, 150, {}},
        {"Koro-N403", {"r0p0"}, A::Pelion, 8, 128, 320, 160, {}},
        {"Koro-N503", {"r0p0"}, A::Pelion, 12, 128, 320, 160, {}},
        {"Koro-N603", {"r0p0"}, A::Pelion, 16, 128, 320, 160, {}},
        {"Koro-N605", {"r0p0"}, A::Pelion, 32, 128, 320, 160, {}},
        {"Koro-N703", {"r0p0"}, A::Pelion, 16, 128, 320, 160, {}},
        {"Koro-N705", {"r0p0"}, A::Pelion, 32, 128, 320, 160, {}},
        {"Solvaris-N705", {"r0p0"}, A::Pelion, 32, 128, 320, 160, {}},
        {"Koro-N607", {"r0p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Koro-N609", {"r0p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Koro-N707", {"r0p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Koro-N709", {"r0p0", "r1p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Solvaris-N707", {"r0p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Solvaris-N909", {"r0p0"}, A::FifthGen, 32, 128, 320, 160, {}},
        {"Koro-N1-Ultra", {"r0p0", "r1p0"}, A::FifthGen, 32, 256, 320, 160, {"Koro N1"}},
    };
    return rows;
}

const CoreRow* find_core_row(const std::string& name) {
    for (const CoreRow& row : core_table()) {
        if (row.name == name) return &row;
        for (const std::string& alias : row.aliases)
            if (alias == name) return &row;
    }
    return nullptr;
}

}  // namespace reference
