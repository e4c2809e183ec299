#include "analysis/core_model.h"

#include <vector>

namespace reference {

namespace {

using A = Architecture;

// Uniform register files: 128 everywhere except the newest core; Tarsel
// shares one file of 24 vec4 registers between work and uniform values.
const std::vector<CoreModel> CORE_MODELS = {
    {"Koro-L220", A::Tarsel, 1, 24},        {"Koro-L260", A::Tarsel, 2, 24},
    {"Koro-L320", A::Tarsel, 1, 24},        {"Koro-L330", A::Tarsel, 2, 24},
    {"Koro-L360", A::Tarsel, 2, 24},        {"Koro-L380", A::Tarsel, 3, 24},
    {"Koro-N11", A::Ostrem, 2, 128},        {"Koro-N21", A::Ostrem, 3, 128},
    {"Koro-N22", A::Ostrem, 6, 128},        {"Koro-N31", A::Ostrem, 3, 128},
    {"Koro-N32", A::Ostrem, 3, 128},        {"Koro-N36", A::Ostrem, 6, 128},
    {"Koro-N47", A::Pelion, 8, 128},        {"Koro-N58", A::Pelion, 8, 128},
    {"Koro-N67", A::Pelion, 8, 128},        {"Koro-N68", A::Pelion, 8, 128},
    {"Koro-N68SX", A::Pelion, 8, 128},      {"Koro-N403", A::Pelion, 8, 128},
    {"Koro-N503", A::Pelion, 12, 128},      {"Koro-N603", A::Pelion, 16, 128},
    {"Koro-N703", A::Pelion, 16, 128},      {"Koro-N605", A::Pelion, 32, 128},
    {"Koro-N705", A::Pelion, 32, 128},      {"Solvaris-N705", A::Pelion, 32, 128},
    {"Koro-N607", A::FifthGen, 32, 128},    {"Koro-N707", A::FifthGen, 32, 128},
    {"Solvaris-N707", A::FifthGen, 32, 128}, {"Koro-N609", A::FifthGen, 32, 128},
    {"Koro-N709", A::FifthGen, 32, 128},    {"Solvaris-N909", A::FifthGen, 32, 128},
    {"Koro-N1-Ultra", A::FifthGen, 32, 256}, {"Koro N1", A::FifthGen, 32, 256},
};

const ArchitectureProfile TARSEL = {A::Tarsel, false, false, 1.0, 16, 4};
const ArchitectureProfile OSTREM = {A::Ostrem, false, false, 1.0, 64, 1};
const ArchitectureProfile PELION = {A::Pelion, true, true, 4.0, 64, 1};
const ArchitectureProfile FIFTH_GENERATION = {A::FifthGen, true, true, 4.0, 64, 1};

}  // namespace

const CoreModel* find_core_model(const std::string& core) {
    for (const CoreModel& model : CORE_MODELS) {
        if (model.name == core) return &model;
    }
    return nullptr;
}

const ArchitectureProfile& architecture_profile(Architecture architecture) {
    switch (architecture) {
        case A::Tarsel: return TARSEL;
        case A::Ostrem: return OSTREM;
        case A::Pelion: return PELION;
        case A::FifthGen: return FIFTH_GENERATION;
    }
    return FIFTH_GENERATION;
}

}  // namespace reference
