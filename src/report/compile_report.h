// The compile report, as text for people or JSON for tools.
#pragma once

#include <ostream>
#include <string>

#include "common/vocabulary.h"
#include "output/compile_output.h"

void print_compile_report(std::ostream& out, bool detailed, const std::string& source, const CompileOutput& output,
                          const std::string& filename, ReportFormat format);
