// The steps of the text compile report, in the order the report runs them.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "output/compile_output.h"
#include "report/pipe_info.h"
#include "report/source_lines.h"

// Warnings, errors (with source context for OpenGL ES) and notes.
void print_compiler_logs(std::ostream& out, const std::string& source, const CompileOutput& output);

// Quotes the source lines around the line named in an error such as
// "0:3: undeclared identifier"; prints nothing when the message names none.
void print_compiler_context(std::ostream& out, const std::string& message,
                            const std::vector<std::string>& source_lines);

// Per-variant statistics and performance tables, properties, attribute
// streams; with `annotate`, each variant's source line costs too.
void print_shader_stats(std::ostream& out, bool detailed, const CompileOutput& output, const std::string& source = "",
                        const ProgramInputs* annotate = nullptr);

void print_perf_table(std::ostream& out, bool detailed, const CompileOutput& output, const ShaderVariant& variant,
                      const PipeInfoMap& pipes);

// The "Source line costs" subsection of one variant; with `several_files`
// every line names its file.
void print_source_line_costs(std::ostream& out, bool detailed, const CompileOutput& output,
                             const ShaderVariant& variant, const std::vector<AnnotatedLine>& lines, bool several_files);
