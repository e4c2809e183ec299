#include <gtest/gtest.h>

#include "input/glslang_validator.h"

namespace {

using Texts = std::vector<std::string>;

const std::string SOURCE = "/tmp/shadex-Ab12Cd/.frag";

TEST(GlslangTranslation, SourceAndLinkErrorsUpToTheSummary) {
    std::string output =
        "@\nWARNING: @:2: 'x' : unused\nERROR: @:4: 'undefined_thing' : undeclared identifier \n"
        "ERROR: @:4: '' : compilation terminated \n"
        "ERROR: Linking fragment stage: Missing entry point: Each stage requires one entry point\n"
        "ERROR: Linking stages\nERROR: 2 compilation errors.  No code generated.\nERROR: @:9: never reached\n";
    for (size_t at; (at = output.find('@')) != std::string::npos;) output.replace(at, 1, SOURCE);
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

}  // namespace
