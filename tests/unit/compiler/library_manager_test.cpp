#include "compiler/library_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"

namespace fs = std::filesystem;

namespace {

const std::string SCENARIO = "meta flexible_version | 4.0.0\nmeta compiler_type | opencl\n";

std::vector<std::string> sorted(std::vector<std::string> paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

TEST(LibraryManager, TakesEveryEntryEndingInSo) {
    BackendDir dir;
    std::string graphics = dir.path() + "/graphics";
    fs::create_directories(graphics + "/x.so");
    for (const char* name : {"libfoo.so", "README", "libbar.so.1", "so", "a.SO"})
        std::ofstream(graphics + "/" + name) << "x";

    std::vector<std::string> plain;
    LibraryManager::get_lib_paths_from_dir(graphics, plain);
    EXPECT_EQ(sorted(plain),
              (std::vector<std::string>{graphics + "/libfoo.so", graphics + "/x.so"}));

    std::vector<std::string> trailing{"kept"};
    LibraryManager::get_lib_paths_from_dir(graphics + "/", trailing);
    EXPECT_EQ(sorted(trailing),
              (std::vector<std::string>{graphics + "/libfoo.so", graphics + "/x.so", "kept"}));

    std::vector<std::string> none;
    LibraryManager::get_lib_paths_from_dir(dir.path() + "/missing", none);
    LibraryManager::get_lib_paths_from_dir(graphics + "/README", none);
    EXPECT_TRUE(none.empty());

    try {
        LibraryManager manager(dir.path());
        ADD_FAILURE() << "a directory named x.so was opened";
    } catch (const KoroException_& error) {
        std::string what = error.what();
        EXPECT_EQ(what.rfind("Library load error : " + graphics + "/", 0), 0u) << what;
    }
}

TEST(LibraryManager, ListsGraphicsBeforeOpenclAndAddsOneSeparator) {
    BackendDir dir;
    dir.add("opencl", "libKoro-Nxx_r30p0-00rel0.so", SCENARIO);
    dir.add("graphics", "libKoro-Nxx_r10p0-00rel0.so", SCENARIO);
    std::vector<std::string> expected{dir.path() + "/graphics/libKoro-Nxx_r10p0-00rel0.so",
                                      dir.path() + "/opencl/libKoro-Nxx_r30p0-00rel0.so"};
    EXPECT_EQ(LibraryManager::get_library_paths(dir.path()), expected);
    EXPECT_EQ(LibraryManager::get_library_paths(dir.path() + "/"), expected);

    std::string path = "a";
    LibraryManager::add_path_separator(path);
    EXPECT_EQ(path, "a/");
    LibraryManager::add_path_separator(path);
    EXPECT_EQ(path, "a/");

    BackendDir empty;
    EXPECT_TRUE(LibraryManager::get_library_paths(empty.path()).empty());
    EXPECT_TRUE(LibraryManager(empty.path()).libraries.empty());
}

TEST(LibraryManager, SortsNewestDriverFirst) {
    BackendDir dir;
    dir.add("graphics", "libKoro-L100_r99p0-00rel0.so", SCENARIO);
    dir.add("graphics", "libKoro-Nxx_r20p0-01rel0.so", SCENARIO);
    dir.add("opencl", "libKoro-Nxx_r21p0-00rel0.so", SCENARIO);
    dir.add("opencl", "libKoro-Nxx_r20p0-01rel1.so", SCENARIO);
    dir.add("graphics", "libKoro-Nxx_r20p1-00rel0.so", SCENARIO);

    LibraryManager manager(dir.path());
    std::vector<std::string> names;
    for (const auto& library : manager.libraries) names.push_back(library->driver_name);
    EXPECT_EQ(names, (std::vector<std::string>{"Koro-Nxx_r21p0-00rel0", "Koro-Nxx_r20p1-00rel0",
                                               "Koro-Nxx_r20p0-01rel1", "Koro-Nxx_r20p0-01rel0",
                                               "Koro-L100_r99p0-00rel0"}));
}
