// The manual pages name every option the programs take, so that the pages
// and --help cannot drift apart.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "e2e/harness.h"

namespace {

std::set<std::string> long_options(const std::string& help) {
    std::set<std::string> options;
    const std::regex option("--([a-z_]+)");
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) options.insert((*at)[1]);
    options.erase("ignore_rest");  // TCLAP's own "--", not an option of ours
    return options;
}

void expect_page_names(const std::string& page, const std::string& help, const std::string& what) {
    const std::set<std::string> options = long_options(help);
    EXPECT_GE(options.size(), 3u) << help;
    for (const std::string& option : options) {
        std::string escaped;
        for (char c : option) escaped += c == '-' ? "\\-" : std::string(1, c);
        EXPECT_TRUE(contains(page, "\\-\\-" + escaped)) << what << ": --" << option;
    }
}

TEST(ManPages, NameEveryOptionOfHelp) {
    const std::string page = read_file(SHADEX_BUILD_DIR "/man/shadex.1");
    ASSERT_FALSE(page.empty());
    expect_page_names(page, run_shadex({"--help"}).out, "shadex(1)");

    const std::string suite_page = read_file(SHADEX_SOURCE_DIR "/docs/man/shadex-suite.1");
    for (const char* command : {"run", "diff", "check", "merge"})
        expect_page_names(suite_page, run_shadex_suite({command, "--help"}).out, command);
}

}  // namespace
