#include <gtest/gtest.h>

#include <string>

#include "input/compile_input.h"

TEST(CompileInput, RecordPointsAtSourceSettingsAndOptionPairs) {
    Bytes source{'v', 'o', 'i', 'd', 0};
    CompileInput input(source, "Koro-X1", "r1p0");
    input.add_flexible_input("define", "A=1");
    input.add_flexible_input("define", "B=2");
    input.add_flexible_input("entrypoint", "main");

    const shadex_inputs* record = input.get();
    EXPECT_EQ(record->source, source.data());
    EXPECT_STREQ(record->hardware.core, "Koro-X1");
    EXPECT_STREQ(record->hardware.revision, "r1p0");
    EXPECT_EQ(record->reserved_, 0u);

    const std::vector<std::string> expected{"define", "A=1", "define", "B=2", "entrypoint", "main"};
    ASSERT_EQ(record->options.count, expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(record->options.entries[i], expected[i]) << "entry " << i;
}

TEST(CompileInput, GetRebuildsTheListInsteadOfAppending) {
    Bytes source{'x'};
    CompileInput input(source, "core", "r0p0");
    EXPECT_EQ(input.get()->options.count, 0u);

    input.add_flexible_input("k", "v");
    EXPECT_EQ(input.get()->options.count, 2u);
    EXPECT_EQ(input.get()->options.count, 2u);

    input.add_flexible_input("k2", "v2");
    const shadex_inputs* record = input.get();
    ASSERT_EQ(record->options.count, 4u);
    EXPECT_STREQ(record->options.entries[2], "k2");
    EXPECT_STREQ(record->options.entries[3], "v2");
}
