#include <gtest/gtest.h>

#include "suite/entries.h"
#include "suite/sarif.h"

namespace {

using Texts = std::vector<std::string>;

TEST(SuiteEntries, KernelsAreFoundByReadingTheSource) {
    EXPECT_EQ(
        opencl_kernel_names("// kernel void commented(int a) {}\n"
                            "/* __kernel void also_not() */\n"
                            "const char* s = \"kernel void quoted(\";\n"
                            "__kernel __attribute__((reqd_work_group_size(8, 1, 1))) void first(global int* a) {}\n"
                            "void helper(void) {}\n"
                            "kernel\nvoid\nsecond (global int* a) {}\n"
                            "kernel void first(global int* a);\n"),
        (Texts{"first", "second"}));
}

TEST(SuiteEntries, ListLinesSplitLikeAShellAndKeepTheirRules) {
    EXPECT_EQ(split_list_line("--vulkan -D 'A=a b' \"dir/x y.frag\" c\\ d.frag"),
              (Texts{"--vulkan", "-D", "A=a b", "dir/x y.frag", "c d.frag"}));
    for (const Texts& refused : {Texts{"-c", "Koro-N68", "a.frag"}, Texts{"--format", "text", "a.frag"},
                                 Texts{"a.frag", "-o", "x"}, Texts{"-fi"}, Texts{"--list"}})
        EXPECT_NE(list_line_refusal(refused), "") << refused[0];
    // After "--" every word is an input file, whatever it looks like.
    EXPECT_EQ(list_line_refusal({"-f", "-D", "X", "--", "-c"}), "");
    EXPECT_EQ(input_files_of({"-f", "-D", "X", "a.frag", "-I", "inc", "b.frag", "--", "-c"}),
              (Texts{"a.frag", "b.frag", "-c"}));
}

TEST(SuiteSarif, MessagesPointBackIntoTheInputThatHoldsTheLine) {
    const Texts inputs = {"a.frag", "b.frag"};
    const std::vector<unsigned> lines = {4, 10};
    const std::pair<std::string, SourceLocation> glsl[] = {
        {"0:3: 'x' : undeclared", {"a.frag", 3}},
        {"inc/light.glsl:7: X0000: 'x'", {"inc/light.glsl", 7}},
        {"X0000: Missing entry point", {"a.frag", 0}},
    };
    for (const auto& [message, where] : glsl) {
        SourceLocation found = locate_message(message, false, inputs, lines);
        EXPECT_EQ(found.file, where.file) << message;
        EXPECT_EQ(found.line, where.line) << message;
    }
    SourceLocation c = locate_message("12:5: use of undeclared identifier", true, {"k.cl"}, {20});
    EXPECT_EQ(c.file, "k.cl");
    EXPECT_EQ(c.line, 12u);
}

}  // namespace
