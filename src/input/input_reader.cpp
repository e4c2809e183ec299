#include "input/input_reader.h"

#include <sys/stat.h>

#include <tclap/ArgException.h>
#include <fstream>
#include <iostream>
#include <iterator>

#include "common/joined_lines.h"

namespace {

void append_stream(std::istream& stream, Bytes& bytes) {
    bytes.insert(bytes.end(), std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// An ifstream may open a directory and then read nothing; reject it up front.
bool is_directory(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

Bytes read_inputs(const std::vector<std::string>& files, std::vector<unsigned>* line_ends) {
    if (files.empty()) throw TCLAP::ArgParseException("No input files specified.");

    Bytes bytes;
    bool stdin_used = false;
    for (const auto& name : files) {
        const size_t start = bytes.size();
        if (name == "-") {
            if (stdin_used) throw TCLAP::ArgParseException("Stdin can only be used once.");
            stdin_used = true;
            append_stream(std::cin, bytes);
        } else {
            std::ifstream file;
            if (!is_directory(name)) file.open(name, std::ios::in | std::ios::binary);
            if (!file.is_open()) throw TCLAP::ArgParseException("Input file " + name + " does not exist.");
            append_stream(file, bytes);
        }
        if (line_ends) line_ends->push_back(count_line_ends(std::string(bytes.begin() + start, bytes.end())));
    }

    if (bytes.empty()) throw TCLAP::ArgParseException("Input file is empty.");
    return bytes;
}
