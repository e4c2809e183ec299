#include "analysis/core_model.h"

#include <vector>

namespace reference {

namespace {

using A = Architecture;

const ArchitectureProfile TARSEL = {A::Tarsel, false, false, 1.0, 16, 4};
const ArchitectureProfile OSTREM = {A::Ostrem, false, false, 1.0, 64, 1};
const ArchitectureProfile PELION = {A::Pelion, true, true, 4.0, 64, 1};
const ArchitectureProfile FIFTH_GENERATION = {A::FifthGen, true, true, 4.0, 64, 1};

}  // namespace

const CoreModel* find_core_model(const std::string& core) {
    static const std::vector<CoreModel> models = [] {
        std::vector<CoreModel> rows;
        for (const CoreRow& row : core_table()) {
            rows.push_back({row.name, row.architecture, row.arithmetic_rate, row.uniform_registers});
            for (const std::string& alias : row.aliases)
                rows.push_back({alias, row.architecture, row.arithmetic_rate, row.uniform_registers});
        }
        return rows;
    }();
    for (const CoreModel& model : models) {
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
