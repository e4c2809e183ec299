// A variant's per-line costs as the user reads them: each line in the file
// the user gave, with its text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output/compile_output.h"

// The inputs the program text was joined from, to map its lines back to them.
struct ProgramInputs {
    std::vector<std::string> files;   // as given; "-" for standard input
    std::vector<unsigned> line_ends;  // count_line_ends of each input
    bool binary = false;              // a SPIR-V module: no text of its own
};

struct AnnotatedLine {
    const SourceLineCost* costs = nullptr;
    std::string file;  // as the user knows it; "" for the row of no line
    unsigned line = 0;
    std::optional<std::string> text;  // without its line end; none when it cannot be read
};

// The lines that cost cycles or use the stack, in source order, the row of
// no line last. File 0 is `source` (the joined inputs) and maps back to the
// input holding each line; other files are read from where the back-end
// named them.
std::vector<AnnotatedLine> annotate_lines(const ShaderVariant& variant, const std::string& source,
                                          const ProgramInputs& inputs);

// Whether the lines must name their files: several inputs, or an included file.
bool names_several_files(const ProgramInputs& inputs, const std::vector<AnnotatedLine>& lines);

// The name reports give an input: standard input is "STDIN".
std::string input_display_name(const std::string& file);
