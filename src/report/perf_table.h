// The limiting ("bound") pipelines and the rows of the performance table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "common/vocabulary.h"

struct PipeLimitList {
    std::vector<std::string> labels;

    // Strings in list order; an empty list gives [null], which readers of the
    // JSON report take as "no bound can be given".
    nlohmann::json to_json() const;
};

// The labels whose cycle count equals the maximum, in input order; empty when
// any count is negative (not available). cycles[i] belongs to names[i].
PipeLimitList get_limiting_pipes(const std::vector<std::string>& names, const std::vector<float>& cycles);

// A cycle count with two decimals; "N/A" when negative (not available).
std::string format_cycles(float value);

// Whether the text tables leave out the arithmetic sub-pipelines, positions
// 1 to 3 of a variant's pipes: on Pelion and later, unless detailed.
bool hides_sub_pipelines(ArchitectureType architecture, bool detailed);

template <typename T>
void erase_sub_pipelines(std::vector<T>& list) {
    const auto first = static_cast<std::ptrdiff_t>(std::min<size_t>(1, list.size()));
    const auto last = static_cast<std::ptrdiff_t>(std::min<size_t>(4, list.size()));
    list.erase(list.begin() + first, list.begin() + last);
}

// Header row: each label right-aligned in 7 columns, then "Bound" in 8.
std::string get_perf_table_row(const std::vector<std::string>& names);
// Data row: counts with two decimals ("N/A" when negative), then the bound.
std::string get_perf_table_row(const std::vector<std::string>& names, const std::vector<float>& cycles);
