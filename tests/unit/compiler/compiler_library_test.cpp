#include "compiler/compiler_library.h"

#include <gtest/gtest.h>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"

namespace {

const std::string NXX = "libKoro-Nxx_r20p0-01rel0.so";

std::string load_error(const std::string& path) {
    try {
        CompilerLibrary library(path);
    } catch (const KoroException_& error) {
        return error.what();
    }
    return "loaded";
}

std::string with_flexible(const std::string& version) {
    return lines({"meta compiler_type | openglessl", "meta flexible_version | " + version});
}

}  // namespace

TEST(DriverName, ParsesBothReleasePatterns) {
    DriverName current("Koro-Nxx_r20p0-01rel0");
    EXPECT_EQ(current.scheme, 1u);
    EXPECT_EQ(current.r, 20u);
    EXPECT_EQ(current.p, 0u);
    EXPECT_EQ(current.o, 1u);
    EXPECT_EQ(current.rel, 0u);

    DriverName older("Koro-L100_r23p1-11rel2-extra");
    EXPECT_EQ(older.scheme, 0u);
    EXPECT_EQ(older.r, 23u);
    EXPECT_EQ(older.p, 1u);
    EXPECT_EQ(older.o, 9u);  // octal 11
    EXPECT_EQ(older.rel, 2u);

    DriverName unset;
    EXPECT_EQ(unset.scheme, 0xFFFFFFFFu);
    EXPECT_EQ(unset.rel, 0xFFFFFFFFu);
}

TEST(DriverName, RejectsNamesThatDoNotScanFully) {
    for (const std::string name : {"Koro-Nxx_r20p0-08rel0", "Koro-Nxx_r20p0", "Koro-N68_r1p0-00rel0",
                                   "something"}) {
        try {
            DriverName parsed(name);
            ADD_FAILURE() << name << " parsed";
        } catch (const KoroException_& error) {
            EXPECT_EQ(std::string(error.what()), "Library load error : " + name);
        }
    }
}

TEST(DriverName, OrdersNewestFirstAndEqualNamesBothWays) {
    DriverName r20("Koro-Nxx_r20p0-01rel0");
    DriverName r21("Koro-Nxx_r21p0-00rel0");
    DriverName r20_rel1("Koro-Nxx_r20p0-01rel1");
    DriverName legacy("Koro-L100_r99p9-07rel9");
    EXPECT_TRUE(r21.before(r20));
    EXPECT_FALSE(r20.before(r21));
    EXPECT_TRUE(r20_rel1.before(r20));
    EXPECT_FALSE(r20.before(r20_rel1));
    EXPECT_TRUE(r20.before(legacy));
    EXPECT_FALSE(legacy.before(r20));
    DriverName same("Koro-Nxx_r20p0-01rel0");
    EXPECT_TRUE(r20.before(same));
    EXPECT_TRUE(same.before(r20));
}

TEST(CompilerLibrary, LoadsAndReleasesTheMetadataRecord) {
    BackendDir dir;
    std::string path = dir.add("graphics", NXX, with_flexible("4.6.9"));
    {
        CompilerLibrary library(path);
        EXPECT_EQ(library.path, path);
        EXPECT_EQ(library.driver_name, "Koro-Nxx_r20p0-01rel0");
        EXPECT_EQ(library.driver_id.scheme, 1u);
        EXPECT_EQ(library.driver_id.r, 20u);
        EXPECT_EQ(library.driver_id.o, 1u);
        EXPECT_EQ(library.api_major, 1u);
        EXPECT_EQ(library.api_minor, 1u);
        EXPECT_EQ(library.flexible_major, 4u);
        EXPECT_EQ(library.flexible_minor, 6u);
        EXPECT_EQ(library.flexible_patch, 9u);
        EXPECT_NE(library.get_core_specific_capabilities, nullptr);
    }
    std::vector<std::string> log = read_scripted_log(path);
    EXPECT_EQ(log, (std::vector<std::string>{"get_api_version", "get_capabilities",
                                             "release_capabilities"}));

    std::string legacy = dir.add("", "libKoro-L100_r23p0-01rel0.so", with_flexible("3.99.0"));
    CompilerLibrary older(legacy);
    EXPECT_EQ(older.driver_name, "Koro-L100_r23p0-01rel0");
    EXPECT_EQ(older.driver_id.scheme, 0u);
    EXPECT_EQ(older.driver_id.r, 23u);
}

TEST(CompilerLibrary, RejectsUnusableLibraries) {
    BackendDir dir;
    std::string missing = dir.path() + "/graphics/" + NXX;
    EXPECT_EQ(load_error(missing), "Library load error : " + missing);

    std::string no_compile =
        dir.add("a", NXX, with_flexible("4.0.0"), ScriptedVariant::NoCompile);
    EXPECT_EQ(load_error(no_compile), "Library load error : " + no_compile);
    EXPECT_TRUE(read_scripted_log(no_compile).empty());

    for (const std::string api : {"1 2", "2 0", "0 1"}) {
        std::string path = dir.add("api" + api.substr(0, 1) + api.substr(2), NXX,
                                   "api " + api + "\n" + with_flexible("4.0.0"));
        EXPECT_EQ(load_error(path), "Library load error : " + path) << api;
    }

    std::string failing = dir.add("fail", NXX, with_flexible("4.0.0") + "fail get_capabilities | 3\n");
    EXPECT_EQ(load_error(failing), "Library load error : " + failing);
    expect_all_released(read_scripted_log(failing));
}

TEST(CompilerLibrary, ChecksTheFlexibleVersion) {
    BackendDir dir;
    auto path_for = [&](const std::string& name, const std::string& scenario) {
        return dir.add(name, NXX, scenario);
    };
    std::string v47 = path_for("v47", with_flexible("4.7.0"));
    EXPECT_EQ(load_error(v47),
              "Flexible_version is expected to be 3.x or 4.0/6 but its 4.7.0 : " + v47);
    std::string v5 = path_for("v5", with_flexible("5.0.0"));
    EXPECT_EQ(load_error(v5),
              "Flexible_version is expected to be 3.x or 4.0/6 but its 5.0.0 : " + v5);
    std::string absent = path_for("absent", "meta compiler_type | opencl\n");
    EXPECT_EQ(load_error(absent),
              "Flexible_version is expected to be 3.x or 4.0/6 but its 0.0.0 : " + absent);
    std::string two_numbers = path_for("two", with_flexible("4.6"));
    EXPECT_EQ(load_error(two_numbers), "Library load error : " + two_numbers);
    EXPECT_EQ(load_error(path_for("ok", with_flexible("4.6.9"))), "loaded");
    EXPECT_EQ(load_error(path_for("ok3", with_flexible("3.99.0"))), "loaded");

    for (const std::string& path : {v47, v5, absent, two_numbers})
        expect_all_released(read_scripted_log(path));
}

TEST(CompilerLibrary, ReportsMalformedMetadataWithoutFollowingNullPointers) {
    BackendDir dir;
    std::string null_entries = dir.add("a", NXX, with_flexible("4.0.0") + "break metadata\n");
    std::string null_value = dir.add("b", NXX, "meta flexible_version | <null>\n");
    std::string null_key = dir.add("c", NXX, "meta <null> | x\n" + with_flexible("4.0.0"));
    std::string odd = dir.add("d", NXX, with_flexible("4.0.0") + "break metadata_odd\n");
    for (const std::string& path : {null_entries, null_value, null_key, odd}) {
        std::string error = load_error(path);
        EXPECT_EQ(error.rfind("Library load error : " + path + " : malformed metadata (", 0), 0u)
            << error;
        expect_all_released(read_scripted_log(path));
    }
}

TEST(CompilerLibrary, RejectsABadDriverNameAfterReleasingTheMetadata) {
    BackendDir dir;
    std::string path = dir.add("graphics", "libKoro-Nxx_r20p0-08rel0.so", with_flexible("4.0.0"));
    EXPECT_EQ(load_error(path), "Library load error : Koro-Nxx_r20p0-08rel0");
    expect_all_released(read_scripted_log(path));
}

TEST(CompilerLibrary, OldInterfaceGetsBuiltInCoreSpecificFallbacks) {
    BackendDir dir;
    std::string path = dir.add("graphics", NXX, "api 1 0\n" + with_flexible("3.0.0"),
                               ScriptedVariant::NoCoreSpecific);
    CompilerLibrary library(path);
    ASSERT_NE(library.get_core_specific_capabilities, nullptr);
    shadex_hardware_core core{"Koro-N68", "r0p0"};
    shadex_core_specific_capabilities capabilities{};
    EXPECT_EQ(library.get_core_specific_capabilities(&core, &capabilities), 2u);
    EXPECT_EQ(capabilities.capabilities.count, 0u);
    library.release_core_specific_capabilities(&capabilities);

    // Interface 1.1 without the symbols still loads; the pointers stay null.
    std::string newer = dir.add("newer", NXX, with_flexible("3.0.0"), ScriptedVariant::NoCoreSpecific);
    CompilerLibrary unchecked(newer);
    EXPECT_EQ(unchecked.get_core_specific_capabilities, nullptr);
    EXPECT_EQ(unchecked.release_core_specific_capabilities, nullptr);
}

TEST(CompilerLibrary, DriverNameIsCutFromTheFileName) {
    BackendDir dir;
    // The last of '.', 's', 'o' ends the name two characters early; "lib" is
    // looked for anywhere.
    std::string path = dir.add("graphics", "xlibKoro-Nxx_r3p1-02rel5.so", with_flexible("4.0.0"));
    CompilerLibrary library(path);
    EXPECT_EQ(library.driver_name, "Koro-Nxx_r3p1-02rel5");
    std::vector<std::shared_ptr<CompilerLibrary>> both{
        std::make_shared<CompilerLibrary>(path), std::make_shared<CompilerLibrary>(path)};
    EXPECT_TRUE(CompilerLibrary::before(both[0], both[1]));
    EXPECT_TRUE(CompilerLibrary::before(both[1], both[0]));
}
