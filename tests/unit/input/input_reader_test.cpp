#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tclap/ArgException.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "common/platform.h"
#include "input/input_reader.h"

namespace {

class ReadInputsTest : public testing::Test {
protected:
    void SetUp() override { dir = get_temp_dir(); }

    void TearDown() override {
        for (const auto& path : created) std::remove(path.c_str());
        remove_dir(dir);
    }

    std::string write_file(const std::string& name, const std::string& content) {
        std::string path = dir + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        created.push_back(path);
        return path;
    }

    // The message of the parse error raised for `files`, or "" when none is.
    static std::string failure(const std::vector<std::string>& files) {
        try {
            read_inputs(files);
        } catch (const TCLAP::ArgParseException& error) {
            EXPECT_EQ(error.argId(), " ");  // the "undefined" argument id
            return error.error();
        }
        return "";
    }

    std::string dir;
    std::vector<std::string> created;
};

// Serves standard input from a string while in scope.
class StdinFrom {
public:
    explicit StdinFrom(const std::string& text) : buffer(text), saved(std::cin.rdbuf(&buffer)) {}
    ~StdinFrom() { std::cin.rdbuf(saved); }

private:
    std::stringbuf buffer;
    std::streambuf* saved;
};

Bytes bytes_of(const std::string& text) { return Bytes(text.begin(), text.end()); }

}  // namespace

TEST_F(ReadInputsTest, JoinsFilesByteForByte) {
    std::string a = write_file("a.frag", "x");
    std::string b = write_file("b.frag", "y");
    std::string empty = write_file("empty.frag", "");
    std::string binary = write_file("m.spv", std::string("\x03\x02\x23\x07\0\r\n", 7));

    EXPECT_EQ(read_inputs({a, b}), bytes_of("xy"));
    EXPECT_EQ(read_inputs({b, empty, a, a}), bytes_of("yxx"));
    EXPECT_EQ(read_inputs({binary, a}), bytes_of(std::string("\x03\x02\x23\x07\0\r\nx", 8)));
}

TEST_F(ReadInputsTest, ReadsStandardInputOnceInPlace) {
    std::string a = write_file("a.frag", "x");
    {
        StdinFrom input(std::string("in\0put", 6));
        EXPECT_EQ(read_inputs({a, "-", a}), bytes_of(std::string("xin\0putx", 8)));
    }
    {
        StdinFrom input("once");
        EXPECT_EQ(failure({"-", a, "-"}), "Stdin can only be used once.");
    }
    {
        StdinFrom input("");
        EXPECT_EQ(failure({"-"}), "Input file is empty.");
    }
}

TEST_F(ReadInputsTest, ReportsUnusableInput) {
    std::string empty = write_file("empty.frag", "");
    std::string missing = dir + "/m.frag";

    EXPECT_EQ(failure({}), "No input files specified.");
    EXPECT_EQ(failure({missing}), "Input file " + missing + " does not exist.");
    EXPECT_EQ(failure({empty}), "Input file is empty.");
    EXPECT_EQ(failure({empty, empty}), "Input file is empty.");
    EXPECT_EQ(failure({dir}), "Input file " + dir + " does not exist.");
    EXPECT_EQ(failure({""}), "Input file  does not exist.");
}
