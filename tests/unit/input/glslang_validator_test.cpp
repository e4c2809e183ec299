#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <fstream>
#include <sstream>

#include "common/koro_exception.h"
#include "common/platform.h"
#include "input/glslang_validator.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// A private directory, also used as TMP while the test runs.
class GlslangProcessTest : public testing::Test {
protected:
    void SetUp() override {
        dir = get_temp_dir();
        const char* previous = std::getenv("TMP");
        saved_tmp = previous ? std::optional<std::string>(previous) : std::nullopt;
        setenv("TMP", dir.c_str(), 1);
    }

    void TearDown() override {
        if (saved_tmp) setenv("TMP", saved_tmp->c_str(), 1);
        else unsetenv("TMP");
        fs::remove_all(dir);
    }

    std::string write_script(const std::string& name, const std::string& body) {
        std::string path = dir + "/" + name;
        std::ofstream(path) << "#!/bin/sh\n" << body;
        chmod(path.c_str(), 0755);
        return path;
    }

    // Everything in the directory except the test's own scripts.
    Texts leftovers() const {
        Texts names;
        for (const auto& entry : fs::directory_iterator(dir))
            if (entry.path().extension() != ".sh") names.push_back(entry.path().filename());
        return names;
    }

    static std::string binary_error(const std::string& path) {
        try {
            GlslangValidator validator(path);
        } catch (const GlslangBinaryError& error) {
            return error.what();
        }
        return "";
    }

    std::string dir;
    std::optional<std::string> saved_tmp;
};

TEST_F(GlslangProcessTest, OnlyTheTrustedBannerAtTheStartIsAccepted) {
    std::string banner = GLSLANG_TRUSTED_BANNER;
    std::string trusted = write_script("trusted.sh", "echo '" + banner + "'\necho more\n");
    std::string other = write_script("other.sh", "echo 'Glslang Version: 11:15.1.0'\n");
    std::string late = write_script("late.sh", "echo x; echo '" + banner + "'\n");
    std::string failing = write_script("failing.sh", "echo '" + banner + "'\nexit 1\n");

    EXPECT_TRUE(GlslangValidator::validate_trusted(trusted));
    EXPECT_EQ(binary_error(trusted), "");
    EXPECT_EQ(binary_error(other), other + " is incorrect version.");
    EXPECT_EQ(binary_error(late), late + " is incorrect version.");
    EXPECT_EQ(binary_error(failing), failing + " is incorrect version.");
    EXPECT_EQ(binary_error(dir + "/missing"), dir + "/missing does not exist.");
    // A bare command name is left to the search path, unchecked.
    EXPECT_EQ(binary_error("no-such-glslang-command"), "");
}

TEST_F(GlslangProcessTest, ArgumentsReachTheValidatorUntouched) {
    std::string record = dir + "/arguments.txt";
    std::string validator = write_script("record.sh", "printf '%s\\n' \"$@\" > '" + record + "'\n");
    std::string source = write_script("shader.sh", "");
    bool relaxed = false;

    std::string output = GlslangValidator::generate_spirv_binary(
        validator, dir, source, {"A=$(touch pwned)", "B=x; y"}, "1.2", "shade", relaxed);

    EXPECT_EQ(output, dir + "/temp-binary.spv");
    EXPECT_TRUE(relaxed);
    std::ifstream file(record);
    Texts received;
    for (std::string line; std::getline(file, line);) received.push_back(line);
    EXPECT_EQ(received, (Texts{"-V", source, "-o", output, "--target-env", "spirv1.2",
                               "--source-entrypoint", "shade", "-e", "main", "-s",
                               "-DA=$(touch pwned)", "-DB=x; y"}));
    EXPECT_FALSE(fs::exists(dir + "/pwned"));
}

TEST_F(GlslangProcessTest, ConversionFailuresCarryTheValidatorOutput) {
    std::string validator = write_script("fail.sh", "echo 'ERROR: bad'\necho 'to stderr' >&2\nexit 2\n");
    std::string source = write_script("shader.sh", "");
    bool relaxed = true;
    auto failure = [&](const std::string& path) -> std::string {
        try {
            GlslangValidator::generate_spirv_binary(validator, dir, path, {}, "1.3", "main", relaxed);
        } catch (const GlslangInputError& error) {
            return error.what();
        }
        return "<no error>";
    };
    EXPECT_EQ(failure(source), "ERROR: bad\n");
    EXPECT_FALSE(relaxed);
    EXPECT_EQ(failure(""), "Source file  is empty.");
    EXPECT_EQ(failure(dir + "/none.frag"), "Source file " + dir + "/none.frag not found.");
}

Bytes text_bytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

// These run the packaged validator, placed under external/ beside the test.
TEST_F(GlslangProcessTest, PackagedValidatorConvertsVulkanGlsl) {
    Texts messages;
    bool relaxed = true;
    Bytes module = compile_to_spirv(
        text_bytes("#version 450\nlayout(location = 0) out vec4 color;\n"
                   "layout(constant_id = 0) const float k = 0.5;\n"
                   "void shade() { color = vec4(SCALE * k); }\n"),
        {"SCALE=2.0"}, "1.3", "shade", SourceType::Fragment, messages, relaxed);

    ASSERT_GE(module.size(), 20u);
    EXPECT_EQ(module[0], 0x03);
    EXPECT_EQ(module[1], 0x02);
    EXPECT_EQ(module[2], 0x23);
    EXPECT_EQ(module[3], 0x07);
    EXPECT_EQ(module[6], 0x01);  // version word 0x00010300: SPIR-V 1.3
    EXPECT_EQ(module[5], 0x03);
    EXPECT_TRUE(relaxed);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(GlslangProcessTest, PackagedValidatorErrorsBecomeMessages) {
    Texts messages = {"earlier"};
    bool relaxed = true;
    Bytes module = compile_to_spirv(
        text_bytes("#version 450\nlayout(location = 0) out vec4 color;\nvoid main() {\n"
                   "    color = vec4(undefined_thing, 1.0);\n}\n"),
        {}, "1.3", "", SourceType::Fragment, messages, relaxed);
    EXPECT_TRUE(module.empty());
    EXPECT_FALSE(relaxed);
    EXPECT_EQ(messages, (Texts{"earlier", "0:4: X0000: 'undefined_thing' : undeclared identifier "}));
    EXPECT_TRUE(leftovers().empty());

    messages.clear();
    module = compile_to_spirv(text_bytes("#version 450\nvoid other() {}\n"), {}, "1.0", "main",
                              SourceType::Fragment, messages, relaxed);
    EXPECT_TRUE(module.empty());
    EXPECT_EQ(messages, Texts{"X0000: Missing entry point: Each stage requires one entry point"});
    EXPECT_TRUE(leftovers().empty());
}

}  // namespace
