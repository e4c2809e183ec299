// Fixed tables the compile output reads back-end statistics with.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "output/compile_output.h"

// Statistic keys that carry nothing the output keeps.
extern const std::set<std::string> IGNORED_STATISTICS_KEYS;

// "variant" values (bits 0 and 8 only) to variant names.
extern const std::unordered_map<uint32_t, std::string> VARIANT_NAMES;

// Report order of the known variant names; other names follow them.
extern const std::vector<std::string> VARIANT_ORDER;

// "shader_flag" texts to the property they set.
extern const std::unordered_map<std::string, ShaderProps> SHADER_FLAG_PROPS;

struct OccupancyRow {
    int32_t registers;
    int32_t percent;
};

// Register allocation steps, smallest first: the first row holding the
// used count gives the allocation and the thread occupancy.
extern const std::vector<OccupancyRow> TARSEL_OCCUPANCY;
extern const std::vector<OccupancyRow> OSTREM_OCCUPANCY;

// The occupancy table of an architecture (unknown architectures use the
// Tarsel one); throws KoroException_ for a value outside the enumeration.
const std::vector<OccupancyRow>& occupancy_table(ArchitectureType architecture);

// Work registers a thread can have at all: the last step of the table.
int32_t work_register_capacity(ArchitectureType architecture);

// Uniform registers per core; Tarsel cores share their register file and
// are not listed.
extern const std::unordered_map<std::string, int32_t> UNIFORM_REGISTERS;
