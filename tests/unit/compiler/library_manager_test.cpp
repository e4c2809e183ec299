// Newest-driver-first ordering is covered end to end; these are the
// discovery rules.
#include "compiler/library_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "common/koro_exception.h"
#include "unit/compiler/backend_fixture.h"
#include "unit/thrown.h"

namespace fs = std::filesystem;

TEST(LibraryManager, TakesEveryEntryEndingInSoGraphicsFirst) {
    BackendDir dir;
    const std::string scenario = "meta flexible_version | 4.0.0\n";
    std::string opencl = dir.add("opencl", "libKoro-Nxx_r30p0-00rel0.so", scenario);
    std::string graphics = dir.path() + "/graphics";
    fs::create_directories(graphics);
    for (const char* name : {"README", "libbar.so.1", "so", "a.SO"}) std::ofstream(graphics + "/" + name) << "x";
    std::string first = dir.add("graphics", "libKoro-Nxx_r10p0-00rel0.so", scenario);
    EXPECT_EQ(LibraryManager::get_library_paths(dir.path() + "/"), (std::vector<std::string>{first, opencl}));

    std::vector<std::string> none;
    LibraryManager::get_lib_paths_from_dir(dir.path() + "/missing", none);
    LibraryManager::get_lib_paths_from_dir(first, none);
    EXPECT_TRUE(none.empty());

    // A directory is taken too, and then fails to load.
    fs::create_directories(graphics + "/x.so");
    EXPECT_EQ(thrown<KoroException_>([&] { LibraryManager manager(dir.path()); }),
              "Library load error : " + graphics + "/x.so");
}
