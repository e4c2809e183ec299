#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "common/platform.h"
#include "common/text.h"

namespace {

namespace fs = std::filesystem;

void set_tmp(const std::optional<std::string>& value) {
    if (value)
        setenv("TMP", value->c_str(), 1);
    else
        unsetenv("TMP");
}

// get_temp_dir's result with TMP set to `tmp` (unset for nullopt), or its
// error text; TMP is restored and the new directory removed again.
std::string temp_dir_with(const std::optional<std::string>& tmp) {
    std::optional<std::string> saved;
    if (const char* old = std::getenv("TMP")) saved = old;
    set_tmp(tmp);
    std::string result;
    try {
        result = get_temp_dir();
        EXPECT_TRUE(fs::is_directory(result)) << result;
        remove_dir(result);
        EXPECT_FALSE(fs::exists(result)) << result;
    } catch (const std::runtime_error& error) {
        result = error.what();
    }
    set_tmp(saved);
    return result;
}

class Platform : public testing::Test {
protected:
    Platform() { fs::create_directory(dir); }
    ~Platform() override { fs::remove_all(dir); }
    const std::string dir = fs::temp_directory_path() / ("shadex-unit-" + std::to_string(getpid()));
};

}  // namespace

TEST_F(Platform, TempDirFollowsTmp) {
    std::string made = temp_dir_with(dir);
    EXPECT_TRUE(starts_with(made, dir + "/shadex-")) << made;
    EXPECT_EQ(made.size(), dir.size() + std::string("/shadex-XXXXXX").size());
    EXPECT_TRUE(starts_with(temp_dir_with(std::nullopt), "/tmp/shadex-"));
    EXPECT_EQ(temp_dir_with(dir + "/missing"), "Cannot get valid temp directory.");
    // An empty TMP counts as set: the directory goes to the root, when allowed.
    std::string root = temp_dir_with(std::string(""));
    EXPECT_TRUE(starts_with(root, "/shadex-") || root == "Cannot get valid temp directory.") << root;
}

TEST_F(Platform, ExecuteCommand) {
    // Output longer than a read chunk arrives whole, after what the string held.
    std::string expected = "kept:", counted = "kept:";
    for (int i = 1; i <= 500; ++i) expected += std::to_string(i) + "\n";
    EXPECT_TRUE(execute_command({"seq", "1", "500"}, counted));
    EXPECT_EQ(counted, expected);

    std::string unchanged;
    for (const std::vector<std::string>& argv :
         std::vector<std::vector<std::string>>{{"false"}, {"/nonexistent/program"}, {"no-such-program"}, {}})
        EXPECT_FALSE(execute_command(argv, unchanged)) << argv.size();
    EXPECT_EQ(unchanged, "");
    // What a failing command printed is kept: GlslangProcessTest's failing validator.
}

TEST_F(Platform, FilesAndPaths) {
    std::string full = dir + "/full.txt", link = dir + "/link";
    std::ofstream(full) << "content";
    fs::create_symlink(full, link);
    EXPECT_TRUE(does_file_exist(link));
    for (const std::string& path : {dir, std::string("/dev/null"), std::string(""), dir + "/missing"})
        EXPECT_FALSE(does_file_exist(path)) << path;
    EXPECT_TRUE(does_file_exist(get_executable_dir() + "/unit_common"));
}
