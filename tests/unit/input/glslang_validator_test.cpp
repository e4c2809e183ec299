// The conversion through the binary is covered end to end; these pin the
// validator checks' own texts and the conversion's failure paths.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "common/platform.h"
#include "input/glslang_validator.h"
#include "unit/thrown.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// A private directory, also used as TMP while the test runs.
class GlslangProcessTest : public testing::Test {
protected:
    void SetUp() override {
        dir = get_temp_dir();
        if (const char* previous = std::getenv("TMP")) saved_tmp = previous;
        setenv("TMP", dir.c_str(), 1);
    }

    void TearDown() override {
        if (saved_tmp)
            setenv("TMP", saved_tmp->c_str(), 1);
        else
            unsetenv("TMP");
        fs::remove_all(dir);
    }

    std::string write_script(const std::string& name, const std::string& body) {
        std::string path = dir + "/" + name;
        std::ofstream(path) << "#!/bin/sh\n" << body;
        chmod(path.c_str(), 0755);
        return path;
    }

    static std::string binary_error(const std::string& path) {
        return thrown<GlslangBinaryError>([&] { GlslangValidator validator(path); });
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

    EXPECT_EQ(binary_error(trusted), "");
    for (const std::string& untrusted : {other, late, failing})
        EXPECT_EQ(binary_error(untrusted), untrusted + " is incorrect version.");
    EXPECT_EQ(binary_error(dir + "/missing"), dir + "/missing does not exist.");
    // A bare command name is left to the search path, unchecked.
    EXPECT_EQ(binary_error("no-such-glslang-command"), "");
}

TEST_F(GlslangProcessTest, ConversionFailuresCarryTheValidatorOutput) {
    std::string validator = write_script("fail.sh", "echo 'ERROR: bad'\necho 'to stderr' >&2\nexit 2\n");
    std::string source = write_script("shader.sh", "");
    bool relaxed = true;
    auto failure = [&](const std::string& path) {
        return thrown<GlslangInputError>(
            [&] { GlslangValidator::generate_spirv_binary(validator, dir, path, {}, "1.3", "main", relaxed); });
    };
    EXPECT_EQ(failure(source), "ERROR: bad\n");
    EXPECT_FALSE(relaxed);
    EXPECT_EQ(failure(""), "Source file  is empty.");
    EXPECT_EQ(failure(dir + "/none.frag"), "Source file " + dir + "/none.frag not found.");
}

// Runs the packaged validator, placed under external/ beside the test.
TEST_F(GlslangProcessTest, PackagedValidatorErrorsAreAppendedAndNothingIsLeft) {
    const std::string text =
        "#version 450\nlayout(location = 0) out vec4 color;\nvoid main() {\n    color = vec4(undefined_thing, "
        "1.0);\n}\n";
    Texts messages = {"earlier"};
    bool relaxed = true;
    EXPECT_TRUE(
        compile_to_spirv(Bytes(text.begin(), text.end()), {}, "1.3", "", SourceType::Fragment, messages, relaxed)
            .empty());
    EXPECT_TRUE(fs::is_empty(dir));
    EXPECT_FALSE(relaxed);
    EXPECT_EQ(messages, (Texts{"earlier", "0:4: X0000: 'undefined_thing' : undeclared identifier "}));
}

}  // namespace
