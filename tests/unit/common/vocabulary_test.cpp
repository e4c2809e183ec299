#include <gtest/gtest.h>

#include "common/text.h"
#include "common/vocabulary.h"

TEST(Vocabulary, SourceTypeTextsKeepTheirIrregularities) {
    EXPECT_EQ(to_string(SourceType::TessControl), "Tessellation Control");
    EXPECT_EQ(to_string(SourceType::RayAnyHit), "Ray Any Hit");
    EXPECT_EQ(to_string(SourceType::None), "None");
    EXPECT_EQ(to_api_literal(SourceType::None), "");
    EXPECT_EQ(to_api_literal(SourceType::TessEvaluation), "tessellation_evaluation");
    EXPECT_EQ(to_api_literal(SourceType::RayAnyHit), "ray_anyhit");
    EXPECT_EQ(to_api_literal(SourceType::RayClosestHit), "ray_closest_hit");
    EXPECT_EQ(to_api_literal(SourceType::RayCallable), "callable");
    EXPECT_EQ(to_string(SourceType::RayCallable), "Ray Callable");

    for (int32_t unknown : {-1, 8, 5313, 5320}) {
        EXPECT_EQ(to_string(static_cast<SourceType>(unknown)), "") << unknown;
        EXPECT_EQ(to_api_literal(static_cast<SourceType>(unknown)), "") << unknown;
    }
}

TEST(Vocabulary, CompilerAndArchitectureTexts) {
    EXPECT_EQ(to_string(CompilerType::OpenGLES), "OpenGL ES");
    EXPECT_EQ(to_api_literal(CompilerType::OpenGLES), "openglessl");
    EXPECT_EQ(to_api_literal(CompilerType::Vulkan), "openglessl");
    EXPECT_EQ(to_api_literal(CompilerType::OpenCL), "opencl");
    EXPECT_EQ(to_string(CompilerType::Any), "Any");
    EXPECT_EQ(to_api_literal(CompilerType::Any), "");
    for (int32_t unknown : {-1, 3, 5}) {
        EXPECT_EQ(to_string(static_cast<CompilerType>(unknown)), "") << unknown;
        EXPECT_EQ(to_api_literal(static_cast<CompilerType>(unknown)), "") << unknown;
    }

    EXPECT_EQ(to_string(ArchitectureType::FifthGen), "Ovyn 5th Generation");
    EXPECT_EQ(to_string(ArchitectureType::None), "None");
    EXPECT_EQ(to_string(static_cast<ArchitectureType>(5)), "");
    EXPECT_EQ(to_string(static_cast<ArchitectureType>(-1)), "");
}

TEST(Vocabulary, ExtensionLookup) {
    EXPECT_EQ(get_extension(SourceType::Vertex, true), ".vert.spv");
    EXPECT_EQ(get_extension(SourceType::Fragment, false), ".frag");
    EXPECT_EQ(get_extension(SourceType::Kernel, false), ".cl");
    EXPECT_EQ(get_extension(SourceType::Kernel, true), ".cl.spv");
    EXPECT_EQ(get_extension(SourceType::RayAnyHit, false), ".rahit");
    EXPECT_EQ(get_extension(SourceType::None, false), "");
    EXPECT_EQ(get_extension(static_cast<SourceType>(9), true), "");
}

// Every binary suffix is a source suffix plus ".spv" for the same stage, so a
// file name matches at most one row.
TEST(Vocabulary, ExtensionTableRowsAreUnambiguous) {
    ASSERT_EQ(FILE_EXT_TYPES.size(), 26u);
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
    EXPECT_EQ(FILE_EXT_TYPES.front().extension, ".vert");
    EXPECT_EQ(FILE_EXT_TYPES.back().description, "OpenCL SPIR-V binary compute kernel");
}
