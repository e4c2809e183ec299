// Which libraries are found, and the order they are consulted in.
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

// Current scheme before legacy, then R, P, OO (octal) and L, larger first,
// whichever directory the library lies in.
TEST(LibraryManager, OrdersNewestDriverFirst) {
    BackendDir dir;
    for (const auto& [subdir, driver] : {std::pair{"graphics", "Koro-L100_r99p9-07rel9"},
                                         {"graphics", "Koro-Nxx_r20p0-01rel0"},
                                         {"opencl", "Koro-Nxx_r20p0-10rel0"},
                                         {"graphics", "Koro-Nxx_r21p0-00rel0"},
                                         {"opencl", "Koro-Nxx_r20p1-00rel0"}})
        dir.add(subdir, std::string("lib") + driver + ".so", "meta flexible_version | 4.1.0\n");
    std::vector<std::string> order;
    for (const auto& library : LibraryManager(dir.path()).libraries) order.push_back(library->driver_name);
    EXPECT_EQ(order,
              (std::vector<std::string>{"Koro-Nxx_r21p0-00rel0", "Koro-Nxx_r20p1-00rel0", "Koro-Nxx_r20p0-10rel0",
                                        "Koro-Nxx_r20p0-01rel0", "Koro-L100_r99p9-07rel9"}));
}
