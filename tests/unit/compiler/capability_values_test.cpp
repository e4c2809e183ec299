#include "compiler/capability_values.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"

TEST(CapabilityValues, ReadsHundredthsAndPointForms) {
    using Versions = std::vector<uint32_t>;
    EXPECT_EQ(parse_version_list("k", "320"), Versions{320});
    EXPECT_EQ(parse_version_list("k", "100 300 310 320"), (Versions{100, 300, 310, 320}));
    EXPECT_EQ(parse_version_list("k", "120,200, 300"), (Versions{120, 200, 300}));
    EXPECT_EQ(parse_version_list("k", "1.3"), Versions{130});
    EXPECT_EQ(parse_version_list("k", " 1.0 1.6 "), (Versions{100, 160}));
    EXPECT_EQ(parse_version_list("k", "4294967295"), Versions{4294967295u});
}

TEST(CapabilityValues, RejectsMalformedVersionLists) {
    for (const std::string value :
         {"", " , ", "abc", "310 abc", "1.3.1", "1.10", "1.", ".3", "-1", "+3", "4294967296",
          "3,2x"}) {
        try {
            parse_version_list("spirv_version", value);
            ADD_FAILURE() << "accepted \"" << value << "\"";
        } catch (const KoroException_& error) {
            EXPECT_EQ(std::string(error.what()),
                      "Compiler load error : malformed version list spirv_version = \"" + value +
                          "\"");
        }
    }
}

TEST(CapabilityValues, SplitsNamesAtSpaces) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(parse_name_list("GL_a  GL_b "), (Names{"GL_a", "GL_b"}));
    EXPECT_TRUE(parse_name_list("").empty());
}
