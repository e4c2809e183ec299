#include <gtest/gtest.h>

#include "common/text.h"
#include "common/vocabulary.h"

TEST(Vocabulary, ValuesOutsideTheEnumsHaveNoText) {
    for (int32_t unknown : {-1, 8, 5313, 5320}) {
        EXPECT_EQ(to_string(static_cast<SourceType>(unknown)), "") << unknown;
        EXPECT_EQ(to_api_literal(static_cast<SourceType>(unknown)), "") << unknown;
        EXPECT_EQ(get_extension(static_cast<SourceType>(unknown), false), "") << unknown;
    }
    for (int32_t unknown : {-1, 3, 5}) {
        EXPECT_EQ(to_string(static_cast<CompilerType>(unknown)), "") << unknown;
        EXPECT_EQ(to_api_literal(static_cast<CompilerType>(unknown)), "") << unknown;
    }
    EXPECT_EQ(to_string(static_cast<ArchitectureType>(5)), "");
    EXPECT_EQ(to_api_literal(SourceType::None), "");
    EXPECT_EQ(to_api_literal(CompilerType::Vulkan), "openglessl");
}

// Every binary suffix is a source suffix plus ".spv" for the same stage, so a
// file name matches exactly one row.
TEST(Vocabulary, ExtensionTableRowsAreUnambiguous) {
    for (const auto& row : FILE_EXT_TYPES) {
        EXPECT_EQ(get_extension(row.type, row.binary), row.extension);
        if (row.binary) {
            EXPECT_EQ(get_extension(row.type, false) + ".spv", row.extension);
        }
        int matches = 0;
        for (const auto& other : FILE_EXT_TYPES)
            if (ends_with("shader" + row.extension, other.extension)) ++matches;
        EXPECT_EQ(matches, 1) << row.extension;
    }
}
