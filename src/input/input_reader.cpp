#include "input/input_reader.h"

#include <sys/stat.h>

#include <tclap/ArgException.h>
#include <fstream>
#include <iostream>
#include <iterator>

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

Bytes read_inputs(const std::vector<std::string>& files) {
    if (files.empty()) throw TCLAP::ArgParseException("No input files specified.");

    Bytes bytes;
    bool stdin_used = false;
    for (const auto& name : files) {
        if (name == "-") {
            if (stdin_used) throw TCLAP::ArgParseException("Stdin can only be used once.");
            stdin_used = true;
            append_stream(std::cin, bytes);
            continue;
        }
        std::ifstream file;
        if (!is_directory(name)) file.open(name, std::ios::in | std::ios::binary);
        if (!file.is_open()) throw TCLAP::ArgParseException("Input file " + name + " does not exist.");
        append_stream(file, bytes);
    }

    if (bytes.empty()) throw TCLAP::ArgParseException("Input file is empty.");
    return bytes;
}
