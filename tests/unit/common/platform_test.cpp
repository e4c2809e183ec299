#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "common/koro_exception.h"
#include "common/platform.h"
#include "common/text.h"

namespace {

bool is_directory(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Sets or unsets TMP for one scope and restores the previous state.
class TmpVariable {
public:
    explicit TmpVariable(const std::optional<std::string>& value) {
        if (const char* old = std::getenv("TMP")) saved = old;
        if (value) setenv("TMP", value->c_str(), 1);
        else unsetenv("TMP");
    }
    ~TmpVariable() {
        if (saved) setenv("TMP", saved->c_str(), 1);
        else unsetenv("TMP");
    }

private:
    std::optional<std::string> saved;
};

// A private directory with files that are removed with it.
class Scratch {
public:
    Scratch() : dir(get_temp_dir()) {}
    ~Scratch() {
        for (const auto& path : files) std::remove(path.c_str());
        remove_dir(dir);
    }
    std::string file(const std::string& name, const std::string& content) {
        std::string path = path_of(name);
        std::ofstream(path) << content;
        return path;
    }
    std::string path_of(const std::string& name) {
        files.push_back(dir + "/" + name);
        return files.back();
    }

    const std::string dir;

private:
    std::vector<std::string> files;
};

}  // namespace

TEST(Platform, TempDirFollowsTmp) {
    Scratch base;
    {
        TmpVariable tmp(base.dir);
        std::string made = get_temp_dir();
        EXPECT_TRUE(starts_with(made, base.dir + "/shadex-")) << made;
        EXPECT_EQ(made.size(), base.dir.size() + std::string("/shadex-XXXXXX").size());
        EXPECT_TRUE(is_directory(made));
        remove_dir(made);
        EXPECT_FALSE(is_directory(made));
    }
    {
        TmpVariable tmp(std::nullopt);
        std::string made = get_temp_dir();
        EXPECT_TRUE(starts_with(made, "/tmp/shadex-")) << made;
        remove_dir(made);
    }
    {
        // An empty TMP counts as set: the directory goes to the root, when allowed.
        TmpVariable tmp(std::string(""));
        try {
            std::string made = get_temp_dir();
            EXPECT_TRUE(starts_with(made, "/shadex-")) << made;
            remove_dir(made);
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Cannot get valid temp directory.");
        }
    }
    {
        TmpVariable tmp(base.dir + "/missing");
        try {
            get_temp_dir();
            FAIL() << "made a directory under a missing base";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Cannot get valid temp directory.");
        }
    }
}

TEST(Platform, ExecuteCommandPassesArgumentsLiterally) {
    Scratch scratch;
    std::string marker = scratch.path_of("marker");
    std::string output = "kept:";
    EXPECT_TRUE(execute_command({"echo", "$(touch " + marker + ")", "a b"}, output));
    EXPECT_EQ(output, "kept:$(touch " + marker + ") a b\n");
    EXPECT_FALSE(does_file_exist(marker));

    // Output longer than one read chunk arrives whole.
    std::string expected;
    for (int i = 1; i <= 500; ++i) expected += std::to_string(i) + "\n";
    std::string counted;
    EXPECT_TRUE(execute_command({"seq", "1", "500"}, counted));
    EXPECT_EQ(counted, expected);
}

TEST(Platform, ExecuteCommandFailures) {
    std::string output = "unchanged";
    EXPECT_FALSE(execute_command({"false"}, output));
    EXPECT_EQ(output, "unchanged");
    EXPECT_FALSE(execute_command({"/nonexistent/program"}, output));
    EXPECT_FALSE(execute_command({"no-such-program-on-path"}, output));
    EXPECT_FALSE(execute_command({}, output));
    EXPECT_EQ(output, "unchanged");

    // A non-zero exit still leaves what was printed.
    std::string partial;
    EXPECT_FALSE(execute_command({"sh", "-c", "echo partial; exit 3"}, partial));
    EXPECT_EQ(partial, "partial\n");
}

TEST(Platform, FilesAndPaths) {
    Scratch scratch;
    std::string full = scratch.file("full.txt", "content");
    std::string empty = scratch.file("empty.txt", "");
    std::string link = scratch.path_of("link");
    ASSERT_EQ(symlink(full.c_str(), link.c_str()), 0);

    EXPECT_TRUE(does_file_exist(full));
    EXPECT_TRUE(does_file_exist(link));
    EXPECT_FALSE(does_file_exist(scratch.dir));
    EXPECT_FALSE(does_file_exist("/dev/null"));
    EXPECT_FALSE(does_file_exist(""));
    EXPECT_FALSE(does_file_exist(scratch.dir + "/missing"));

    std::ifstream empty_stream(empty);
    EXPECT_TRUE(is_file_empty(empty_stream));
    std::ifstream full_stream(full);
    full_stream.seekg(3);
    EXPECT_FALSE(is_file_empty(full_stream));
    EXPECT_EQ(full_stream.tellg(), std::streampos(3));

    std::string real_dir = get_absolute_path(scratch.dir);
    EXPECT_EQ(get_absolute_path(scratch.dir + "/./link"), real_dir + "/full.txt");

    std::string missing = scratch.dir + "/nothing here";
    try {
        get_absolute_path(missing);
        FAIL() << "resolved a missing path";
    } catch (const KoroException_& error) {
        EXPECT_EQ(error.message, "Failed to get absolute path of \"" + missing +
                                     "\":\n    No such file or directory");
    }
}

TEST(Platform, ExecutableDirAndSeparator) {
    EXPECT_EQ(get_path_sep(), "/");
    std::string dir = get_executable_dir();
    EXPECT_TRUE(is_directory(dir)) << dir;
    EXPECT_TRUE(does_file_exist(dir + "/unit_common")) << dir;
}
