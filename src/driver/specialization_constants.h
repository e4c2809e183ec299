// Parsing of --sconst LOC=VALUE texts into per-location default overrides.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct SpecializationConstants {
    std::map<uint32_t, bool> bools;
    std::map<uint32_t, int64_t> ints;
};

// Throws TCLAP::ArgParseException naming the offending text.
SpecializationConstants parse_specialization_constants(const std::vector<std::string>& values);
