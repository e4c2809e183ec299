// The compile report, as text for people or JSON for tools.
#pragma once

#include <ostream>
#include <string>

#include "common/vocabulary.h"
#include "output/compile_output.h"
#include "report/source_lines.h"

// With `annotate`, the costs of each source line too: `source` is the joined
// text of those inputs (empty for a module).
void print_compile_report(std::ostream& out, bool detailed, const std::string& source, const CompileOutput& output,
                          const std::string& filename, ReportFormat format, const ProgramInputs* annotate = nullptr);
