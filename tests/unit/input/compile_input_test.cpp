#include <gtest/gtest.h>

#include <string>

#include "input/compile_input.h"

TEST(CompileInput, RecordHoldsSourceCoreAndOptionPairsAfterEveryGet) {
    Bytes source{'v', 'o', 'i', 'd', 0};
    CompileInput input(source, "Koro-X1", "r1p0");
    EXPECT_EQ(input.get()->options.count, 0u);
    input.add_flexible_input("define", "A=1");
    input.get();  // a second get rebuilds the list instead of appending to it
    input.add_flexible_input("entrypoint", "main");

    const shadex_inputs* record = input.get();
    EXPECT_EQ(record->source, source.data());
    EXPECT_STREQ(record->hardware.core, "Koro-X1");
    EXPECT_STREQ(record->hardware.revision, "r1p0");
    const std::vector<std::string> expected{"define", "A=1", "entrypoint", "main"};
    ASSERT_EQ(record->options.count, expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(record->options.entries[i], expected[i]);
}
