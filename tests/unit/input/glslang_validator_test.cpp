// The conversion through the packaged validator is VulkanGlsl's; these pin
// the validator checks' own texts and the conversion's failure paths.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "common/platform.h"
#include "input/glslang_validator.h"
#include "unit/thrown.h"

namespace {

namespace fs = std::filesystem;

// A private directory for the scripts and files a test writes.
class GlslangProcessTest : public testing::Test {
protected:
    ~GlslangProcessTest() override {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
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

    const std::string dir = get_temp_dir();
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

}  // namespace
