#include <gtest/gtest.h>

#include "input/glslang_validator.h"

namespace {

using Texts = std::vector<std::string>;

const std::string SOURCE = "/tmp/shadex-Ab12Cd/.frag";

TEST(GlslangTranslation, SourceAndLinkErrorsUpToTheSummary) {
    const std::string output =
        SOURCE +
        "\n"
        "WARNING: " +
        SOURCE +
        ":2: 'x' : unused\n"
        "ERROR: " +
        SOURCE +
        ":4: 'undefined_thing' : undeclared identifier \n"
        "ERROR: " +
        SOURCE +
        ":4: '' : compilation terminated \n"
        "ERROR: Linking fragment stage: Missing entry point: Each stage requires one entry point\n"
        "ERROR: Linking stages\n"
        "ERROR: 2 compilation errors.  No code generated.\n"
        "ERROR: " +
        SOURCE + ":9: never reached\n";
    EXPECT_EQ(translate_glslang_errors(output, SOURCE),
              (Texts{"0:4: X0000: 'undefined_thing' : undeclared identifier ",
                     "X0000: Missing entry point: Each stage requires one entry point", "X0000: Linking stages"}));

    EXPECT_TRUE(translate_glslang_errors("Source file  is empty.", SOURCE).empty());
    // A diagnostic without any ": " still gets its code, in front.
    EXPECT_EQ(translate_glslang_errors("ERROR: " + SOURCE + "\n", SOURCE), Texts{"X0000: 0"});
    // An included file's diagnostics keep its name.
    EXPECT_EQ(translate_glslang_errors("ERROR: inc/light.glsl:3: 'x' : undeclared\n", SOURCE),
              Texts{"inc/light.glsl:3: X0000: 'x' : undeclared"});
}

TEST(GlslangArguments, EntryPointRenamingThenDefinesThenIncludeDirectoriesInOrder) {
    for (const std::string entry : {"", "main"}) {
        EXPECT_FALSE(needs_entrypoint_rename(entry));
        EXPECT_EQ(glslang_arguments("glslang", "/t/.frag", "/t/o.spv", {}, "1.3", entry),
                  (Texts{"glslang", "-V", "/t/.frag", "-o", "/t/o.spv", "--target-env", "spirv1.3"}));
    }
    EXPECT_EQ(
        glslang_arguments("glslang", "/t/.comp", "/t/o.spv", {"B=2", "A=1"}, "1.1", "shade it", {"src", "my inc"}),
        (Texts{"glslang", "-V", "/t/.comp", "-o", "/t/o.spv", "--target-env", "spirv1.1", "--source-entrypoint",
               "shade it", "-e", "main", "-s", "-DB=2", "-DA=1", "-Isrc", "-Imy inc"}));
}

}  // namespace
