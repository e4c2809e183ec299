// Runs a fuzz target's entry once per input, for builds without libFuzzer.
// Each argument is an input file or a directory whose files are all run (one
// level deep, in name order); arguments starting with '-' are libFuzzer
// options and are skipped, so both kinds of build take the same command line.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputs_named_by(const fs::path& argument) {
    if (!fs::is_directory(argument)) return {argument};
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(argument)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool read_file(const fs::path& path, std::vector<uint8_t>& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

}  // namespace

int main(int argc, char** argv) {
    size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.size() > 1 && argument[0] == '-') continue;
        if (!fs::exists(argument)) {
            std::cerr << argv[0] << ": no such input: " << argument << std::endl;
            return 2;
        }
        for (const fs::path& path : inputs_named_by(argument)) {
            std::vector<uint8_t> bytes;
            if (!read_file(path, bytes)) {
                std::cerr << argv[0] << ": cannot read " << path.string() << std::endl;
                return 2;
            }
            // A copy of exactly the input's size, so that a read one byte
            // past the end is caught just as libFuzzer's own buffer catches it.
            const std::vector<uint8_t> exact(bytes);
            // Named first, so that a crash report says which input it was.
            std::cerr << "Running: " << path.string() << std::endl;
            LLVMFuzzerTestOneInput(exact.data(), exact.size());
            ++replayed;
        }
    }
    std::cerr << argv[0] << ": replayed " << replayed << " inputs" << std::endl;
    return 0;
}
