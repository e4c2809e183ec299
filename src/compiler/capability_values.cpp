#include "compiler/capability_values.h"

#include <limits>
#include <optional>

#include "common/koro_exception.h"

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Decimal digits only, within 32 bits.
std::optional<uint32_t> parse_decimal(const std::string& text) {
    if (text.empty()) return std::nullopt;
    uint64_t value = 0;
    for (char c : text) {
        if (!is_digit(c)) return std::nullopt;
        value = value * 10 + static_cast<uint64_t>(c - '0');
        if (value > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    }
    return static_cast<uint32_t>(value);
}

std::optional<uint32_t> parse_version(const std::string& entry) {
    size_t point = entry.find('.');
    if (point == std::string::npos) return parse_decimal(entry);
    // major.minor with a single minor digit: 1.3 is 130. A longer minor would
    // collide with the next major (1.10 vs 2.0), so it is refused.
    std::optional<uint32_t> major = parse_decimal(entry.substr(0, point));
    std::string minor_text = entry.substr(point + 1);
    if (!major || minor_text.size() != 1 || !is_digit(minor_text[0])) return std::nullopt;
    uint64_t value = uint64_t{*major} * 100 + uint64_t(minor_text[0] - '0') * 10;
    if (value > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    return static_cast<uint32_t>(value);
}

std::vector<std::string> split_entries(const std::string& value, const std::string& separators) {
    std::vector<std::string> entries;
    std::string current;
    for (char c : value) {
        if (separators.find(c) != std::string::npos) {
            if (!current.empty()) entries.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty()) entries.push_back(current);
    return entries;
}

}  // namespace

std::vector<uint32_t> parse_version_list(const std::string& key, const std::string& value) {
    std::vector<std::string> entries = split_entries(value, " ,");
    std::vector<uint32_t> versions;
    for (const std::string& entry : entries) {
        std::optional<uint32_t> version = parse_version(entry);
        if (!version) break;
        versions.push_back(*version);
    }
    if (versions.empty() || versions.size() != entries.size())
        throw KoroException_("Compiler load error", "malformed version list " + key + " = \"" + value + "\"");
    return versions;
}

std::vector<std::string> parse_name_list(const std::string& value) { return split_entries(value, " "); }
