// Value forms of the version and name lists that back-ends report, in their
// library metadata and per-core capabilities alike.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Entries separated by spaces and/or commas. Each entry is a decimal number
// in hundredths ("320", "130") or a major.minor pair ("1.3" -> 130,
// "3.2" -> 320). Anything else, or no entry at all, throws
// KoroException_("Compiler load error", <key and value>).
std::vector<uint32_t> parse_version_list(const std::string& key, const std::string& value);

// Names separated by spaces; empty pieces are dropped.
std::vector<std::string> parse_name_list(const std::string& value);
