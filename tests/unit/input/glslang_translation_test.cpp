#include <gtest/gtest.h>

#include "input/glslang_validator.h"

namespace {

using Texts = std::vector<std::string>;

const std::string SOURCE = "/tmp/shadex-Ab12Cd/.frag";

TEST(GlslangTranslation, ReportsSourceErrorsUpToTheSummary) {
    std::string output = SOURCE + "\n"
        "WARNING: " + SOURCE + ":2: 'x' : unused\n"
        "ERROR: " + SOURCE + ":4: 'undefined_thing' : undeclared identifier \n"
        "ERROR: " + SOURCE + ":4: '' : compilation terminated \n"
        "ERROR: " + SOURCE + ":7: ';' : syntax error\n"
        "ERROR: 2 compilation errors.  No code generated.\n"
        "ERROR: " + SOURCE + ":9: never reached\n"
        "\n\nSPIR-V is not generated for failed compile or link\n";
    EXPECT_EQ(translate_glslang_errors(output, SOURCE),
              (Texts{"0:4: X0000: 'undefined_thing' : undeclared identifier ",
                     "0:7: X0000: ';' : syntax error"}));
}

TEST(GlslangTranslation, LinkErrorsLoseTheirStageName) {
    std::string output =
        "ERROR: Linking fragment stage: Missing entry point: Each stage requires one entry point\n"
        "ERROR: Linking stages\n";
    EXPECT_EQ(translate_glslang_errors(output, SOURCE),
              (Texts{"X0000: Missing entry point: Each stage requires one entry point",
                     "X0000: Linking stages"}));
}

TEST(GlslangTranslation, NothingUsableGivesNoMessages) {
    EXPECT_TRUE(translate_glslang_errors("", SOURCE).empty());
    EXPECT_TRUE(translate_glslang_errors("Source file  is empty.", SOURCE).empty());
    EXPECT_TRUE(translate_glslang_errors("ERROR: 0:1: '' : compilation terminated\n", SOURCE).empty());
    // A diagnostic without any ": " still gets its code, in front.
    EXPECT_EQ(translate_glslang_errors("ERROR: " + SOURCE + "\n", SOURCE), Texts{"X0000: 0"});
}

TEST(GlslangArguments, PlainEntryPointAddsNoRenaming) {
    Texts expected = {"/opt/x/external/glslang", "-V", "/t/.frag", "-o", "/t/temp-binary.spv",
                      "--target-env", "spirv1.3"};
    for (const std::string entry : {"", "main"}) {
        EXPECT_FALSE(needs_entrypoint_rename(entry));
        EXPECT_EQ(glslang_arguments("/opt/x/external/glslang", "/t/.frag", "/t/temp-binary.spv",
                                    {}, "1.3", entry),
                  expected);
    }
}

TEST(GlslangArguments, RenamedEntryPointThenDefinesInOrder) {
    EXPECT_TRUE(needs_entrypoint_rename("shade it"));
    EXPECT_EQ(glslang_arguments("glslang", "/t dir/.comp", "/t dir/temp-binary.spv",
                                {"B=2", "A=1", "MSG=two words"}, "1.1", "shade it"),
              (Texts{"glslang", "-V", "/t dir/.comp", "-o", "/t dir/temp-binary.spv",
                     "--target-env", "spirv1.1", "--source-entrypoint", "shade it", "-e", "main",
                     "-s", "-DB=2", "-DA=1", "-DMSG=two words"}));
}

}  // namespace
