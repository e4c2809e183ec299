#include "compiler/capability_values.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "unit/thrown.h"

TEST(CapabilityValues, VersionListsInHundredthsOrPointForm) {
    using Versions = std::vector<uint32_t>;
    EXPECT_EQ(parse_version_list("k", "100 300,310, 320"), (Versions{100, 300, 310, 320}));
    EXPECT_EQ(parse_version_list("k", " 1.0 1.6 "), (Versions{100, 160}));
    EXPECT_EQ(parse_version_list("k", "4294967295"), Versions{4294967295u});
    // A two-digit minor would collide with the next major (1.10 vs 2.0).
    for (const std::string value :
         {"", " , ", "310 abc", "1.3.1", "1.10", "1.", ".3", "-1", "+3", "4294967296", "3,2x"})
        EXPECT_EQ(thrown<KoroException_>([&] { parse_version_list("spirv_version", value); }),
                  "Compiler load error : malformed version list spirv_version = \"" + value + "\"");
    EXPECT_EQ(parse_name_list("GL_a  GL_b "), (std::vector<std::string>{"GL_a", "GL_b"}));
}
