// The limiting ("bound") pipelines and the rows of the performance table.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

struct PipeLimitList {
    std::vector<std::string> labels;

    // Strings in list order; an empty list gives [null], which readers of the
    // JSON report take as "no bound can be given".
    nlohmann::json to_json() const;
};

// The labels whose cycle count equals the maximum, in input order; empty when
// any count is negative (not available). cycles[i] belongs to names[i].
PipeLimitList get_limiting_pipes(const std::vector<std::string>& names, const std::vector<float>& cycles);

// Header row: each label right-aligned in 7 columns, then "Bound" in 8.
std::string get_perf_table_row(const std::vector<std::string>& names);
// Data row: counts with two decimals ("N/A" when negative), then the bound.
std::string get_perf_table_row(const std::vector<std::string>& names, const std::vector<float>& cycles);
