// Formatting helpers shared by every report and the usage text.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

extern const std::string NOT_APPLICABLE;  // "N/A"

// Title, an underline of '=' (or '-') as long as the title, then a blank line.
void print_section_title(std::ostream& out, const std::string& title);
void print_section_subtitle(std::ostream& out, const std::string& title);

// Right-aligns text in `width` columns; never truncates.
std::string pad_str(const std::string& text, unsigned width);

// a, b, and c: `last_prefix` follows the separator before the last item.
std::string pretty_print_list(const std::vector<std::string>& items, const std::string& separator,
                              const std::string& last_prefix);

// Hundredths to "major.minor": 320 gives "3.2".
std::string pretty_print_version_string(uint32_t version);
