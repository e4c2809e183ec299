#include <gtest/gtest.h>

#include <cstdint>

#include "common/koro_exception.h"

TEST(KoroException, MessageForms) {
    EXPECT_STREQ(KoroException_("Compile error").what(), "Compile error");
    EXPECT_STREQ(KoroException_("Library load error", "libx.so").what(),
                 "Library load error : libx.so");
    EXPECT_STREQ(KoroException_("Compile error", uint32_t(7)).what(), "Compile error : 7");
    EXPECT_STREQ(KoroException_("Compile error", UINT32_MAX).what(), "Compile error : 4294967295");
    EXPECT_STREQ(KoroException_("Compile error", "").what(), "Compile error : ");
}

TEST(KoroException, CaughtAsStandardException) {
    try {
        throw KoroException_("Compiler load error", uint32_t(3));
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "Compiler load error : 3");
    }
}
