// Per-core tables that bring cycle counts of every architecture to one unit.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

extern const std::string UNKNOWN_GPU_FOR_NORMALIZATION;

// Tarsel cores: divisor of the arithmetic pipe's cycle count.
extern const std::unordered_map<std::string, float> TARSEL_NORMALIZATION;

// Later cores: divisor per pipe name; pipes not listed keep their counts.
extern const std::unordered_map<std::string, std::map<std::string, int>> FULL_NORMALIZATION;

// Cores grouped by how their arithmetic pipes combine into one cost;
// index 0 is group 1.
extern const std::vector<std::vector<std::string>> AGGREGATE_COST_GROUPS;
