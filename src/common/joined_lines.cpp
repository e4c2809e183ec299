#include "common/joined_lines.h"

#include <algorithm>

unsigned count_line_ends(const std::string& text) {
    return static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
}

InputLine locate_joined_line(unsigned line, const std::vector<unsigned>& line_ends) {
    for (size_t input = 0; input + 1 < line_ends.size(); ++input) {
        if (line <= line_ends[input]) return {input, line};
        line -= line_ends[input];
    }
    return {line_ends.empty() ? 0 : line_ends.size() - 1, line};
}
