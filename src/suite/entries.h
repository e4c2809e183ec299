// What a suite run analyses: one entry per shadex run, gathered from shader
// files, directories and list files.
#pragma once

#include <string>
#include <vector>

struct SuiteEntry {
    std::string id;                 // stable name: the path (and kernel), or the list and its line
    std::string directory;          // where the run happens: absolute, "" for the current directory
    std::vector<std::string> args;  // shadex arguments, inputs included, program name excluded
    std::string refusal;            // a list-line rule this entry breaks; it is then not run
};

// INPUTs in order: a file is one entry (an OpenCL C file one per kernel it
// defines, a SPIR-V kernel module one per kernel entry point); a directory
// gives every file under it whose name has a shader extension, in path
// order; "@LIST" gives one entry per non-blank, non-comment line. Throws
// std::invalid_argument for an input that does not exist or a list that
// cannot be read.
std::vector<SuiteEntry> collect_entries(const std::vector<std::string>& inputs);

// The kernels an OpenCL C source defines, in order of definition, found by
// reading the text (comments skipped; a kernel a macro spells is not seen).
std::vector<std::string> opencl_kernel_names(const std::string& source);

// A list line split like a shell word list ('single', "double" quotes and
// backslash escapes); throws std::invalid_argument for an unterminated quote.
std::vector<std::string> split_list_line(const std::string& line);

// Why a list line may not carry one of its arguments ("" when it may): the
// suite chooses the job, the core, the format and the output itself.
std::string list_line_refusal(const std::vector<std::string>& args);
