// Vulkan GLSL source as a user compiles it: the packaged validator beside
// shadex turns it into SPIR-V, which then reaches the back-end like a module
// given on the command line.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "common/text.h"
#include "e2e/scripted_install.h"

namespace fs = std::filesystem;

namespace {

const std::string LIBRARY = "libKoro-Nxx_r20p0-01rel0.so";
const std::string VULKAN_LIBRARY =
    "meta compiler_type | openglessl\nmeta flexible_version | 4.0.0\ncore Koro-N68 | r0p0\n"
    "core_cap Koro-N68 | spirv_version | 130\ncore_cap Koro-N68 | openglessl_version | 320\n";
const std::string PACKAGED_VALIDATOR = SHADEX_BIN_DIR "/external/glslang";
const std::string RELAXED_WARNING =
    "WARNING: X0003: GLSL to SPIR-V conversion required relaxed syntax and semantic checks";

std::string fragment_shader(const std::string& function, const std::string& body) {
    return "#version 450\nlayout(location = 0) out vec4 color;\nvoid " + function + "() {\n" + body + "\n}\n";
}

std::vector<std::string> lines_starting(const std::string& text, const std::string& prefix) {
    std::vector<std::string> found;
    for (const std::string& line : split(text, '\n'))
        if (starts_with(line, prefix)) found.push_back(line);
    return found;
}

class VulkanGlsl : public ::testing::Test {
protected:
    ScriptedShadex shadex;
    TempDir temp;  // TMP of every run

    std::string validator() const { return shadex.dir() + "/external/glslang"; }

    void SetUp() override {
        shadex.add("graphics", LIBRARY, VULKAN_LIBRARY);
        shadex.env["TMP"] = temp.path();
        fs::create_directories(shadex.dir() + "/external");
        fs::create_symlink(PACKAGED_VALIDATOR, validator());
    }

    // The conversion cleans up after itself on every path.
    void TearDown() override {
        for (const auto& entry : fs::directory_iterator(temp.path())) ADD_FAILURE() << "left behind: " << entry.path();
    }

    // Removes the link first: writing through it would overwrite the build's copy.
    void replace_validator(const std::optional<std::string>& script) {
        fs::remove(validator());
        if (!script) return;
        fs::copy_file(shadex.write("validator", "#!/bin/sh\n" + *script), validator());
        fs::permissions(validator(), fs::perms::owner_all);
    }
};

// Another entry point is renamed to main, which needs relaxed checks and
// says so; main itself needs none.
TEST_F(VulkanGlsl, ARenamedEntryPointNeedsRelaxedChecks) {
    shadex.write("shader.frag", fragment_shader("main", "    color = vec4(1.0);"));
    shadex.write("shade.frag", fragment_shader("shade", "    color = vec4(0.5);"));
    for (const bool renamed : {false, true}) {
        RunResult result = shadex.run(renamed ? std::vector<std::string>{"--vulkan", "-f", "shade.frag", "-n", "shade"}
                                              : std::vector<std::string>{"--vulkan", "-f", "shader.frag"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(contains(result.out, "Shader type: Vulkan Fragment\n")) << result.out;
        EXPECT_EQ(contains(result.out, RELAXED_WARNING + "\n"), renamed) << result.out;
    }
}

// Which validators are refused (a missing one, an untrusted one) is
// GlslangProcessTest's; here, how a refusal ends the run.
TEST_F(VulkanGlsl, ARefusedValidatorEndsTheRun) {
    shadex.write("shader.frag", fragment_shader("main", "    color = vec4(1.0);"));
    replace_validator(std::nullopt);
    RunResult result = shadex.run({"--vulkan", "-f", "shader.frag"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("\nERROR: Packaged glslang binary not found\n"), std::string::npos) << result.err;
    EXPECT_TRUE(shadex.compiles().empty());
}

TEST_F(VulkanGlsl, ArgumentsReachTheValidatorVerbatim) {
    // A pass-through that logs each call's arguments, tab-separated, one call a line.
    const std::string args_log = shadex.file("validator-args.log");
    replace_validator("for arg in \"$@\"; do printf '%s\\t' \"$arg\"; done >> '" + args_log + "'\necho >> '" +
                      args_log + "'\nexec '" + PACKAGED_VALIDATOR + "' \"$@\"\n");
    shadex.write("tint.frag", fragment_shader("main", "    color = TINT;"));
    const std::vector<std::string> defines = {"X=$(touch PWNED)", "Y=1; touch PWNED", "Q=\"it's\" `touch PWNED`",
                                              "TINT=vec4(0.25, 0.5, 0.75, 1.0)"};
    std::vector<std::string> args = {"--vulkan", "-f", "tint.frag"};
    for (const auto& define : defines) args.insert(args.end(), {"-D", define});

    RunResult defined = shadex.run(args);
    EXPECT_EQ(defined.status, 0) << defined.out << defined.err;  // only -D defines TINT
    std::vector<std::string> calls = lines_starting(read_file(args_log), "-V\t");
    ASSERT_EQ(calls.size(), 1u) << read_file(args_log);
    EXPECT_EQ(calls[0].rfind("-V\t" + temp.path() + "/shadex-", 0), 0u) << calls[0];
    EXPECT_NE(calls[0].find("/.frag\t-o\t"), std::string::npos) << calls[0];
    size_t at = calls[0].find("/temp-binary.spv\t--target-env\tspirv1.3\t");
    EXPECT_NE(at, std::string::npos) << calls[0];
    for (const auto& define : defines) {  // in order, each one argument
        at = calls[0].find("\t-D" + define + "\t", at);
        EXPECT_NE(at, std::string::npos) << define << "\n" << calls[0];
    }
    // Nothing is included and no -I given: the command line ends there.
    EXPECT_EQ(calls[0].size(), at + defines.back().size() + 4) << calls[0];

    // No such function exists, so the silenced validator yields no module.
    const std::string name = "shade$(touch PWNED); \"x y\"";
    shadex.write("shade.frag", fragment_shader("shade", "    color = vec4(0.5);"));
    RunResult named = shadex.run({"--vulkan", "-f", "shade.frag", "-n", name});
    EXPECT_EQ(named.status, 2);
    EXPECT_NE(named.err.find("Specified shader stage does not match SPIR-V binary."), std::string::npos) << named.err;
    calls = lines_starting(read_file(args_log), "-V\t");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_NE(calls[1].find("\t--source-entrypoint\t" + name + "\t-e\tmain\t-s\t"), std::string::npos) << calls[1];

    // Which include directories are searched, in which order, is
    // IncludeFiles' for every API. Per-line costs need the source lines in
    // the module: -g comes last. The module names the source by its
    // extension, not by the private directory.
    EXPECT_EQ(shadex.run({"--vulkan", "--annotate", "tint.frag", "-D", "TINT=vec4(1.0)"}).status, 0);
    calls = lines_starting(read_file(args_log), "-V\t");
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[2].substr(calls[2].find("\t-DTINT=")), "\t-DTINT=vec4(1.0)\t-g\t") << calls[2];
    const std::vector<std::string> compiles = shadex.compiles();
    ASSERT_EQ(compiles.size(), 1u);
    EXPECT_TRUE(contains(compiles[0], "\\x00.frag\\x00") && !contains(compiles[0], temp.path())) << compiles[0];

    EXPECT_FALSE(fs::exists(shadex.file("PWNED")));
    EXPECT_FALSE(fs::exists(shadex.dir() + "/PWNED"));
}

}  // namespace
