// The findings of a suite run in SARIF 2.1.0, for code-scanning services:
// compile errors and warnings at the file and line they name, runs that could
// not finish, and performance findings as notes.
#pragma once

#include <ostream>
#include <vector>

#include "suite/entries.h"
#include "suite/results.h"

// Rule ids, stable across versions (documented in docs/suite.md):
// compile-error, compile-warning, run-failure, stack-spilling, low-occupancy,
// late-zs, stack-use.
void write_sarif(std::ostream& out, const std::vector<SuiteEntry>& entries, const SuiteRecords& records);

struct SourceLocation {
    std::string file;  // as the user knows it; "" when the message names none
    unsigned line = 0;
};

// Where a compile message points: "0:LINE: ..." (GLSL) or "LINE:COL: ..."
// (OpenCL C) in the concatenated inputs, mapped back to the input holding
// that line (line_ends: count_line_ends of each input); "file:LINE: ..." for
// an included file.
SourceLocation locate_message(const std::string& message, bool opencl, const std::vector<std::string>& inputs,
                              const std::vector<unsigned>& line_ends);

// The input files of a shadex argument list (the words that are not options
// or option values).
std::vector<std::string> input_files_of(const std::vector<std::string>& args);
