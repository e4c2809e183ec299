#include "output/output_tables.h"

#include "common/koro_exception.h"

const std::set<std::string> IGNORED_STATISTICS_KEYS = {
    "architecture",
    "compiler_type",
    "result_type",
    "work_registers_allocated",
};

const std::unordered_map<uint32_t, std::string> VARIANT_NAMES = {
    {0, "Main"},
    {1, "Varying"},
    {256, "Position"},
};

const std::vector<std::string> VARIANT_ORDER = {
    "Main", "Position", "Varying", "Render target 0", "Render target 1", "Render target 2", "Render target 3",
};

const std::unordered_map<std::string, ShaderProps> SHADER_FLAG_PROPS = {
    {"HAS_SIDE_EFFECTS", HAS_SIDE_EFFECTS},
    {"HAS_EARLY_FRAGMENT_TESTS", HAS_EARLY_FRAGMENT_TESTS},
    {"COLOR_BUFFER_READ", COLOR_BUFFER_READ},
    {"DEPTH_BUFFER_READ", DEPTH_BUFFER_READ},
    {"STENCIL_BUFFER_READ", STENCIL_BUFFER_READ},
    {"LOCAL_STORAGE_READ", LOCAL_STORAGE_READ},
    {"DEPTH_BUFFER_WRITTEN", DEPTH_BUFFER_WRITTEN},
    {"STENCIL_BUFFER_WRITTEN", STENCIL_BUFFER_WRITTEN},
    {"LOCAL_STORAGE_WRITE", LOCAL_STORAGE_WRITE},
    {"MODIFIES_COVERAGE", MODIFIES_COVERAGE},
    {"HAS_SLOW_RQ", HAS_SLOW_RQ},
};

const std::vector<OccupancyRow> TARSEL_OCCUPANCY = {{4, 100}, {8, 50}, {16, 25}};

const std::vector<OccupancyRow> OSTREM_OCCUPANCY = {{32, 100}, {64, 50}};

const std::vector<OccupancyRow>& occupancy_table(ArchitectureType architecture) {
    switch (architecture) {
        case ArchitectureType::None:
        case ArchitectureType::Tarsel: return TARSEL_OCCUPANCY;
        case ArchitectureType::Ostrem:
        case ArchitectureType::Pelion:
        case ArchitectureType::FifthGen: return OSTREM_OCCUPANCY;
    }
    throw KoroException_("Unsupported architecture for occupancy", static_cast<uint32_t>(architecture));
}

int32_t work_register_capacity(ArchitectureType architecture) { return occupancy_table(architecture).back().registers; }

const std::unordered_map<std::string, int32_t> UNIFORM_REGISTERS = {
    {"Koro-N11", 128},   {"Koro-N21", 128},  {"Koro-N22", 128},      {"Koro-N31", 128},      {"Koro-N32", 128},
    {"Koro-N36", 128},   {"Koro-N47", 128},  {"Koro-N58", 128},      {"Koro-N67", 128},      {"Koro-N68", 128},
    {"Koro-N68SX", 128}, {"Koro-N403", 128}, {"Koro-N503", 128},     {"Koro-N603", 128},     {"Koro-N703", 128},
    {"Koro-N605", 128},  {"Koro-N705", 128}, {"Solvaris-N705", 128}, {"Koro-N607", 128},     {"Koro-N609", 128},
    {"Koro-N707", 128},  {"Koro-N709", 128}, {"Solvaris-N707", 128}, {"Solvaris-N909", 128}, {"Koro N1", 256},
};
