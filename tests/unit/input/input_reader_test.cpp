#include <gtest/gtest.h>
#include <tclap/ArgException.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "common/platform.h"
#include "input/input_reader.h"

namespace {

class ReadInputs : public testing::Test {
protected:
    ~ReadInputs() override {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    std::string write_file(const std::string& name, const std::string& content) const {
        std::ofstream(dir + "/" + name, std::ios::binary) << content;
        return dir + "/" + name;
    }
    // The read bytes as text, or the parse error's message.
    static std::string read(const std::vector<std::string>& files, const std::string& stdin_text = "") {
        std::stringbuf buffer(stdin_text);
        std::streambuf* saved = std::cin.rdbuf(&buffer);
        std::string result;
        try {
            Bytes bytes = read_inputs(files);
            result.assign(bytes.begin(), bytes.end());
        } catch (const TCLAP::ArgParseException& error) {
            result = "error: " + error.error();
        }
        std::cin.rdbuf(saved);
        return result;
    }

    const std::string dir = get_temp_dir();
};

}  // namespace

// Missing, empty and doubled inputs are also checked through the binary;
// these are the joining rules.
TEST_F(ReadInputs, JoinsFilesAndStdinByteForByteInOrder) {
    std::string a = write_file("a.frag", "x");
    std::string empty = write_file("empty.frag", "");
    std::string binary = write_file("m.spv", std::string("\x03\x02\0\r\n", 5));

    EXPECT_EQ(read({a, empty, binary, a}), std::string("x\x03\x02\0\r\nx", 7));
    EXPECT_EQ(read({a, "-", a}, std::string("in\0put", 6)), std::string("xin\0putx", 8));
    // Emptiness is of the whole input, not of each file.
    EXPECT_EQ(read({empty, empty}), "error: Input file is empty.");
    EXPECT_EQ(read({"-"}), "error: Input file is empty.");
}
