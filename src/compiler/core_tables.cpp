#include "compiler/core_tables.h"

const std::vector<std::pair<std::string, ArchitectureType>> CORE_TO_ARCH = {
    {"Koro-L220", ArchitectureType::Tarsel},       {"Koro-L260", ArchitectureType::Tarsel},
    {"Koro-L320", ArchitectureType::Tarsel},       {"Koro-L330", ArchitectureType::Tarsel},
    {"Koro-L360", ArchitectureType::Tarsel},       {"Koro-L380", ArchitectureType::Tarsel},
    {"Koro-N11", ArchitectureType::Ostrem},        {"Koro-N21", ArchitectureType::Ostrem},
    {"Koro-N22", ArchitectureType::Ostrem},        {"Koro-N31", ArchitectureType::Ostrem},
    {"Koro-N32", ArchitectureType::Ostrem},        {"Koro-N36", ArchitectureType::Ostrem},
    {"Koro-N47", ArchitectureType::Pelion},        {"Koro-N58", ArchitectureType::Pelion},
    {"Koro-N67", ArchitectureType::Pelion},        {"Koro-N68", ArchitectureType::Pelion},
    {"Koro-N68SX", ArchitectureType::Pelion},      {"Koro-N403", ArchitectureType::Pelion},
    {"Koro-N503", ArchitectureType::Pelion},       {"Koro-N603", ArchitectureType::Pelion},
    {"Koro-N605", ArchitectureType::Pelion},       {"Koro-N703", ArchitectureType::Pelion},
    {"Koro-N705", ArchitectureType::Pelion},       {"Solvaris-N705", ArchitectureType::Pelion},
    {"Koro-N607", ArchitectureType::FifthGen},     {"Koro-N609", ArchitectureType::FifthGen},
    {"Koro-N707", ArchitectureType::FifthGen},     {"Koro-N709", ArchitectureType::FifthGen},
    {"Solvaris-N707", ArchitectureType::FifthGen}, {"Solvaris-N909", ArchitectureType::FifthGen},
    {"Koro N1", ArchitectureType::FifthGen},
};

namespace Denylist {
const std::set<std::string> CORES = {"Koro-L100", "Koro-L120"};
const std::set<std::string> CORES_ES32 = {"Koro-L220"};
const std::set<std::string> CORES_VULKAN = {"Koro-L220"};
}  // namespace Denylist

const std::map<std::string, std::string> VARIANT_TO_BASE_MAP = {
    {"Koro N1-Premium", "Koro N1"}, {"Koro N1-Pro", "Koro N1"}, {"Koro N1-Ultra", "Koro N1"},
    {"Koro-N1-Premium", "Koro N1"}, {"Koro-N1-Pro", "Koro N1"}, {"Koro-N1-Ultra", "Koro N1"},
    {"Koro-N1", "Koro N1"},
};

const std::map<std::string, std::string> BASE_TO_COMPILER_MAP = {
    {"Koro N1", "Koro-N1-Ultra"},
};

const std::set<std::string> IGNORED_KEYS = {"architecture", "flexible_version", "prerotate", "undefine"};
