// Loading rules that show through the binary (interface and flexible
// versions, missing entry points, driver-name patterns) are covered end to
// end; these are the parts only reachable here.
#include "compiler/compiler_library.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"
#include "unit/thrown.h"

namespace {

std::string load_error(const std::string& path) {
    return thrown<KoroException_>([&] { CompilerLibrary library(path); });
}

}  // namespace

TEST(DriverName, ParsesBothReleasePatternsFully) {
    DriverName current("Koro-Nxx_r20p0-01rel0");
    DriverName older("Koro-L100_r23p1-11rel2-extra");
    EXPECT_EQ((std::vector<uint32_t>{current.scheme, current.r, current.p, current.o, current.rel}),
              (std::vector<uint32_t>{1, 20, 0, 1, 0}));
    EXPECT_EQ((std::vector<uint32_t>{older.scheme, older.r, older.p, older.o, older.rel}),
              (std::vector<uint32_t>{0, 23, 1, 9, 2}));  // "11" is octal
    for (const std::string name : {"Koro-Nxx_r20p0-08rel0", "Koro-Nxx_r20p0", "Koro-N68_r1p0-00rel0"})
        EXPECT_EQ(thrown<KoroException_>([&] { DriverName parsed(name); }), "Library load error : " + name);
}

TEST(DriverName, OrdersNewestFirstAndEqualNamesBothWays) {
    DriverName r20("Koro-Nxx_r20p0-01rel0"), r20_rel1("Koro-Nxx_r20p0-01rel1"), same("Koro-Nxx_r20p0-01rel0");
    EXPECT_TRUE(r20_rel1.before(r20));
    EXPECT_FALSE(r20.before(r20_rel1));
    EXPECT_TRUE(r20.before(same));
    EXPECT_TRUE(same.before(r20));
}

TEST(CompilerLibrary, MalformedMetadataIsReleasedAndNamedAndTheDriverNameIsCut) {
    BackendDir dir;
    const std::string flexible = "meta flexible_version | 4.0.0\n";
    const std::string scenarios[] = {flexible + "break metadata\n", "meta flexible_version | <null>\n",
                                     "meta <null> | x\n" + flexible};
    for (size_t i = 0; i < 3; ++i) {
        std::string path = dir.add(std::to_string(i), "libKoro-Nxx_r20p0-01rel0.so", scenarios[i]);
        std::string error = load_error(path);
        EXPECT_EQ(error.rfind("Library load error : " + path + " : malformed metadata (", 0), 0u) << error;
        EXPECT_EQ(release_problems(read_scripted_log(path)), "");
    }
    EXPECT_EQ(load_error(dir.path() + "/missing.so"), "Library load error : " + dir.path() + "/missing.so");

    // The driver name comes from the file name: the last of '.', 's', 'o' ends
    // it two characters early; "lib" is looked for anywhere.
    std::string path = dir.add("graphics", "xlibKoro-Nxx_r3p1-02rel5.so", "meta flexible_version | 4.0.0\n");
    EXPECT_EQ(CompilerLibrary(path).driver_name, "Koro-Nxx_r3p1-02rel5");
}
