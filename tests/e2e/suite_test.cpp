// shadex-suite as a CI job runs it: records that equal shadex's own reports,
// list files and their rules, a crash or a hang that ends only its entry, and
// shards that merge back into the whole run.
#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

using nlohmann::json;

namespace {

const std::string EXAMPLES = SHADEX_SOURCE_DIR "/examples";

json parse_results(const RunResult& result) {
    EXPECT_EQ(result.status, 0) << result.err;
    json document = json::parse(result.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out;
    EXPECT_EQ(document["schema"], json({{"name", "suite"}, {"version", 1}}));
    return document;
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> result;
    size_t start = 0;
    for (size_t space; (space = text.find(' ', start)) != std::string::npos; start = space + 1)
        result.push_back(text.substr(start, space - start));
    result.push_back(text.substr(start));
    return result;
}

const json* find_record(const json& document, const std::string& id_end, const std::string& core) {
    for (const json& record : document["records"]) {
        const std::string id = record["id"];
        if (record["core"] == core && id.size() >= id_end.size() &&
            id.compare(id.size() - id_end.size(), id_end.size(), id_end) == 0)
            return &record;
    }
    return nullptr;
}

TEST(Suite, RecordsAreWhatShadexPrintsForTheSameRun) {
    json document = parse_results(run_shadex_suite({"run", "-q", "-j", "2", "-c", "Koro-N68", "-c", "Koro-L380", EXAMPLES}));
    ASSERT_EQ(document["records"].size(), 14u);  // 7 examples, saxpy.cl has one kernel
    std::vector<std::pair<std::string, std::string>> order;
    for (const json& record : document["records"]) {
        order.emplace_back(record["id"], record["core"]);
        std::vector<std::string> args = {"-c", record["core"], "--format", "json"};
        for (const std::string& word : words(record["id"])) args.push_back(word);
        RunResult alone = run_shadex(args);
        EXPECT_EQ(record["status"], alone.status) << record["id"];
        EXPECT_EQ(record["report"].dump(-1, ' ', false, json::error_handler_t::replace) + "\n", alone.out)
            << record["id"] << " on " << record["core"];
    }
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(Suite, ListLinesRunFromTheListsDirectoryUnderShadexsRules) {
    TempDir files;
    files.write("set/a.frag", "void main() { gl_FragColor = vec4(1.0); }\n");
    files.write("set/shaders.txt",
                                         "# one shadex run a line\n"
                                         "\n"
                                         "a.frag\n"
                                         "-v -f a.frag\n"
                                         "-c Koro-N68 a.frag\n"
                                         "-o out.json a.frag\n"
                                         "-dl\n"
                                         "\"a.frag\n"
                                         "missing.frag\n");
    RunOptions elsewhere;
    elsewhere.working_dir = files.path();
    json document = parse_results(run_shadex_suite({"run", "-q", "-c", "Koro-N68", "@set/shaders.txt"}, elsewhere));
    const std::string prefix = "set/shaders.txt: ";
    const std::tuple<std::string, int, std::string> expected[] = {
        {"a.frag", 0, ""},
        {"-v -f a.frag", 2, "-f (--fragment) are mutually exclusive."},
        {"-c Koro-N68 a.frag", 2, "set/shaders.txt:5: -c is not allowed in a list"},
        {"-o out.json a.frag", 2, "set/shaders.txt:6: -o is not allowed in a list"},
        {"-dl", 2, "set/shaders.txt:7: -dl is not allowed in a list"},
        {"\"a.frag", 2, "set/shaders.txt:8: unterminated quote"},
        {"missing.frag", 2, "missing.frag"},
    };
    ASSERT_EQ(document["records"].size(), std::size(expected)) << document.dump(1);
    for (const auto& [line, status, message] : expected) {
        const json* record = find_record(document, prefix + line, "Koro-N68");
        ASSERT_NE(record, nullptr) << line;
        EXPECT_EQ((*record)["status"], status) << line;
        if (status == 0) {
            EXPECT_EQ((*record)["report"]["shaders"][0]["filename"], "a.frag");
        } else {
            EXPECT_TRUE(contains((*record)["message"], message)) << (*record)["message"];
        }
    }
    EXPECT_FALSE(std::filesystem::exists(files.file("set/out.json")));
}

TEST(Suite, ACrashOrAHangEndsOnlyItsOwnRun) {
    Install install;
    add_backend(install, "graphics", "libKoro-Nxx_r20p0-01rel0.so",
                "meta compiler_type | openglessl\n"
                "meta flexible_version | 4.0.0\n"
                "core Koro-N68 | r0p0\n"
                "core_cap Koro-N68 | openglessl_version | 320\n"
                "compile\nwhen source | CRASH\ncrash\nend\n"
                "compile\nwhen source | HANG\nhang\nend\n");
    TempDir files;
    for (const char* name : {"a.frag", "b.frag", "c.frag", "d.frag"}) files.write(name, "void main() {}\n");
    files.write("crash.frag", "// CRASH\nvoid main() {}\n");
    files.write("hang.frag", "// HANG\nvoid main() {}\n");
    RunOptions options;
    options.working_dir = files.path();
    json document = parse_results(install.run_suite({"run", "-q", "-j", "2", "--timeout", "2", "-c", "Koro-N68", "."}, options));
    ASSERT_EQ(document["records"].size(), 6u);
    for (const json& record : document["records"]) {
        const std::string id = record["id"];
        if (id == "./crash.frag")
            EXPECT_TRUE(contains(record["failure"], "signal 11")) << record;
        else if (id == "./hang.frag")
            EXPECT_EQ(record["failure"], "timed out after 2 s");
        else
            EXPECT_EQ(record["status"], 0) << record;
    }
}

TEST(Suite, ShardsMergeIntoTheWholeRun) {
    TempDir files;
    const std::vector<std::string> run = {"run", "-q", "-c", "Koro-N68", "-c", "Koro N1", EXAMPLES};
    auto with = [&run](std::vector<std::string> extra) {
        extra.insert(extra.begin(), run.begin(), run.end());
        return extra;
    };
    RunResult whole = run_shadex_suite(run);
    ASSERT_EQ(whole.status, 0) << whole.err;
    std::vector<std::string> merge = {"merge", "-o", files.file("merged.json")};
    size_t records = 0;
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        const std::string part = files.file(std::string("part") + shard[0] + ".json");
        ASSERT_EQ(run_shadex_suite(with({"--shard", shard, "-o", part})).status, 0);
        records += json::parse(read_file(part))["records"].size();
        merge.push_back(part);
    }
    EXPECT_EQ(records, 14u);
    ASSERT_EQ(run_shadex_suite(merge).status, 0);
    EXPECT_EQ(read_file(files.file("merged.json")), whole.out);

    // The same entry in two inputs is refused, as is a document of another kind.
    files.write("report.json", run_shadex({"--format", "json", EXAMPLES + "/lighting.frag"}).out);
    const std::pair<std::vector<std::string>, std::string> refused[] = {
        {{"merge", "-o", files.file("m.json"), merge[3], merge[3]}, "is in more than one of the results"},
        {{"merge", "-o", files.file("m.json"), files.file("report.json")}, "is not a shadex-suite results document"},
        {with({"--shard", "4/3"}), "Invalid shard 4/3"},
        {{"run", "-c", "Koro-N99", EXAMPLES}, "Koro-N99 is an invalid target core."},
    };
    for (const auto& [args, message] : refused) {
        RunResult result = run_shadex_suite(args);
        EXPECT_EQ(result.status, 2) << message;
        EXPECT_TRUE(contains(result.err, message)) << result.err;
    }
}

}  // namespace
