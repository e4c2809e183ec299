#include "output/normalization_tables.h"

const std::string UNKNOWN_GPU_FOR_NORMALIZATION = "Unknown GPU for normalization";

const std::unordered_map<std::string, float> TARSEL_NORMALIZATION = {
    {"Koro-L220", 1.0f}, {"Koro-L260", 2.0f}, {"Koro-L320", 1.0f},
    {"Koro-L330", 2.0f}, {"Koro-L360", 2.0f}, {"Koro-L380", 3.0f},
};

namespace {

using PipeDivisors = std::map<std::string, int>;

const PipeDivisors N4_CLASS = {{"A1", 8}, {"A2", 8}, {"A3", 8}, {"V", 8}, {"T", 4}};
const PipeDivisors N503_CLASS = {{"A1", 12}, {"A2", 12}, {"A3", 12}, {"V", 16}, {"T", 8}};
const PipeDivisors N6_CLASS = {{"A1", 16}, {"A2", 16}, {"A3", 16}, {"V", 16}, {"T", 8}};
const PipeDivisors N7_CLASS = {{"A1", 32}, {"A2", 16}, {"A3", 16}, {"V", 32}, {"T", 8}};
const PipeDivisors N9_CLASS = {{"A1", 32}, {"A2", 32}, {"A3", 16}, {"V", 32}, {"T", 8}};

}  // namespace

const std::unordered_map<std::string, PipeDivisors> FULL_NORMALIZATION = {
    {"Koro-N11", {{"A", 2}, {"V", 8}, {"T", 2}}},
    {"Koro-N21", {{"A", 3}, {"V", 8}, {"T", 2}}},
    {"Koro-N22", {{"A", 6}, {"V", 8}, {"T", 2}}},
    {"Koro-N31", {{"A", 3}, {"V", 4}}},
    {"Koro-N32", {{"A", 3}, {"V", 4}}},
    {"Koro-N36", {{"A", 6}, {"V", 8}, {"T", 2}}},
    {"Koro-N47", N4_CLASS},
    {"Koro-N58", N4_CLASS},
    {"Koro-N67", N4_CLASS},
    {"Koro-N68", N4_CLASS},
    {"Koro-N68SX", N4_CLASS},
    {"Koro-N403", N4_CLASS},
    {"Koro-N503", N503_CLASS},
    {"Koro-N603", N6_CLASS},
    {"Koro-N703", N6_CLASS},
    {"Koro-N605", N7_CLASS},
    {"Koro-N705", N7_CLASS},
    {"Solvaris-N705", N7_CLASS},
    {"Koro-N607", N7_CLASS},
    {"Koro-N707", N7_CLASS},
    {"Solvaris-N707", N7_CLASS},
    {"Koro-N609", N9_CLASS},
    {"Koro-N709", N9_CLASS},
    {"Solvaris-N909", N9_CLASS},
    {"Koro N1", N9_CLASS},
};

const std::vector<std::vector<std::string>> AGGREGATE_COST_GROUPS = {
    {"Koro-N68SX", "Koro-N68", "Koro-N67", "Koro-N58", "Koro-N47"},
    {"Koro-N703", "Koro-N603", "Koro-N503", "Koro-N403"},
    {"Solvaris-N705", "Koro-N705", "Koro-N605", "Solvaris-N707", "Koro-N707", "Koro-N607"},
    // Seven slots, three of them unused: an empty core name lands here.
    {"Solvaris-N909", "Koro-N709", "Koro-N609", "Koro N1", "", "", ""},
};
