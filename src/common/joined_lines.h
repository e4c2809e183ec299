// Several inputs joined end to end make one program text: a line of that text
// maps back to the input it came from and the line number there.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct InputLine {
    size_t input = 0;  // index into the inputs
    unsigned line = 0;
};

// How far an input moves the lines of the inputs after it: its line ends. A
// last line without one shares its line with the next input's first.
unsigned count_line_ends(const std::string& text);

// Where 1-based line `line` of the joined text comes from, given each input's
// line ends; lines past the end belong to the last input.
InputLine locate_joined_line(unsigned line, const std::vector<unsigned>& line_ends);
