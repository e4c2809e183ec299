// Copies texts out of a back-end's output record. The record comes from a
// separately built library and is not trusted: null arrays or texts end in
// KoroException_ instead of being followed.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "common/koro_exception.h"
#include "compiler/shadex_abi.h"

using StatisticPair = std::pair<std::string, std::string>;

// `count` texts of `texts`, in order.
std::vector<std::string> copy_texts(const char* const* texts, uint32_t count);

// Key/value pairs in order; a lone key at the end of an odd list is ignored.
std::vector<StatisticPair> copy_pairs(const shadex_flexible_list& list);

// The per-variant lists of the record.
std::vector<shadex_flexible_list> variant_lists(const shadex_outputs& outputs);

// Runs read() on one statistic; a value the standard conversions refuse is
// the error "Invalid value for KEY: VALUE".
template <typename Read>
void read_statistic_value(const std::string& key, const std::string& value, Read&& read) {
    try {
        read();
    } catch (const std::invalid_argument&) {
        throw KoroException_("Invalid value for " + key + ": " + value);
    } catch (const std::out_of_range&) {
        throw KoroException_("Invalid value for " + key + ": " + value);
    }
}
