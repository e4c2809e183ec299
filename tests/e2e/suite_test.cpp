// shadex-suite as a CI job runs it: records that equal shadex's own reports,
// list files and their rules, a crash or a hang that ends only its entry, and
// shards that merge back into the whole run.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include <nlohmann/json.hpp>

#include "common/text.h"
#include "e2e/harness.h"
#include "plugin/scripted_files.h"

using nlohmann::json;

namespace {

const std::string EXAMPLES = SHADEX_SOURCE_DIR "/examples";

json parse_results(const RunResult& result) {
    json document = json_output(result);
    EXPECT_EQ(document["schema"], json({{"name", "suite"}, {"version", 1}}));
    return document;
}

// The record holds what shadex prints for the same run on the same core.
void expect_shadex_run(const json& record, std::vector<std::string> args, const RunOptions& options = {}) {
    args.insert(args.begin(), {"-c", record["core"], "--format", "json"});
    RunResult alone = run_shadex(args, options);
    EXPECT_EQ(record["status"], alone.status) << record["id"];
    EXPECT_EQ(record["report"].dump(-1, ' ', false, json::error_handler_t::replace) + "\n", alone.out)
        << record["id"] << " on " << record["core"];
}

// Vulkan GLSL is converted in the suite's own process: the module, and the
// messages of a source that does not convert, are the validator's.
TEST(Suite, VulkanGlslConvertsAsTheValidatorDoes) {
    TempDir files;
    const std::string head = "#version 450\nlayout(location = 0) out vec4 color;\n";
    files.write("tint.frag", head + "void main() { color = TINT; }\n");
    files.write("shade.frag", head + "void shade() { color = vec4(0.5); }\n");
    files.write("broken.frag", head + "void main() { color = undefined_one; }\n");
    files.write("rays.rgen",
                "#version 460\n#extension GL_EXT_ray_tracing : require\n"
                "layout(location = 0) rayPayloadEXT vec3 hit;\nvoid main() { hit = vec3(gl_LaunchIDEXT); }\n");
    // Includes resolve and fail as the validator's own search makes them.
    const std::string with_includes = "#version 450\n#extension GL_GOOGLE_include_directive : require\n";
    files.write("src/uses.frag", with_includes + "#include \"lib/outer.h\"\n#include <sys.h>\n#include \"../up.h\"\n" +
                                     "layout(location = 0) out vec4 color;\nvoid main() { color = vec4(A + B + C); }\n");
    // The innermost including file's directory first, the input's last.
    files.write("src/lib/outer.h", "#include \"deeper/mid.h\"\nconst float A = INNER;\n");
    files.write("src/lib/deeper/mid.h", "#include \"inner.h\"\n");
    files.write("src/lib/deeper/inner.h", "#define INNER 0.25\n");
    files.write("src/lib/inner.h", "#error not the innermost\n");
    files.write("src/inner.h", "#error not the innermost\n");
    files.write("inc/sys.h", "const float B = 0.5;\n");
    files.write("up.h", "const float C = 0.125;\n");
    files.write("src/cycle.h", "#include \"cycle.h\"\n");
    files.write("src/lib/wrong.h", "const float W = undefined_two;\n");
    std::vector<std::vector<std::string>> lines = {
        {"--vulkan", "-D", "TINT=vec4(0.25, 0.5, 0.75, 1.0)", "tint.frag"},
        {"--vulkan", "-n", "shade", "shade.frag"},
        {"--vulkan", "broken.frag"},
        {"--vulkan", "rays.rgen"},
        {"--vulkan", "--annotate", "-n", "shade", "-D", "X=1", "shade.frag"},  // debug info in the module
        {"--vulkan", "-I", "inc", "src/uses.frag"},
        {"--vulkan", "--annotate", "-I", "inc", "src/uses.frag"},
    };
    for (int level = 1; level < 60; ++level)
        files.write("src/d" + std::to_string(level) + ".h", "#include \"d" + std::to_string(level + 1) + ".h\"\n");
    files.write("src/d60.h", "");
    const char* const include_lines[] = {"\"missing.h\"", "<outer.h>", "<cycle.h>", "\"lib\"",
                                         "\"cycle.h\"",   "\"d1.h\"",   "\"lib/wrong.h\""};
    for (const char* include : include_lines) {
        const std::string name = "src/bad" + std::to_string(lines.size()) + ".frag";
        files.write(name, with_includes + "#include " + include + "\nvoid main() {}\n");
        lines.push_back({"--vulkan", "-I", "src/lib", name});
    }
    std::string list;
    std::map<std::string, std::vector<std::string>> line_of_id;
    for (const auto& line : lines) {
        std::string quoted;
        for (const std::string& word : line) quoted += "'" + word + "' ";
        quoted.pop_back();
        list += quoted + "\n";
        line_of_id["list.txt: " + quoted] = line;
    }
    files.write("list.txt", list);
    RunOptions here;
    here.working_dir = files.path();
    json document =
        parse_results(run_shadex_suite({"run", "-q", "-c", "Koro-N68", "-c", "Koro N1", "@list.txt"}, here));
    ASSERT_EQ(document["records"].size(), 2 * lines.size());
    for (const json& record : document["records"]) expect_shadex_run(record, line_of_id.at(record["id"]), here);
}

TEST(Suite, ListLinesRunFromTheListsDirectoryUnderShadexsRules) {
    TempDir files;
    files.write("set/a.frag", "void main() { gl_FragColor = vec4(1.0); }\n");
    files.write("set/shaders.txt",
                "# one shadex run a line\n"
                "\n"
                "a.frag\n"
                "-v -f a.frag\n"
                "-o out.json a.frag\n"
                "\"a.frag\n");
    RunOptions elsewhere;
    elsewhere.working_dir = files.path();
    json document = parse_results(run_shadex_suite({"run", "-q", "-c", "Koro-N68", "@set/shaders.txt"}, elsewhere));
    const std::string prefix = "set/shaders.txt: ";
    const std::tuple<std::string, int, std::string> expected[] = {
        {"a.frag", 0, ""},
        {"-v -f a.frag", 2, "-f (--fragment) are mutually exclusive."},
        // Which options a list refuses is SuiteEntries' rule; here, how a refusal is reported.
        {"-o out.json a.frag", 2, "set/shaders.txt:5: -o is not allowed in a list"},
        {"\"a.frag", 2, "set/shaders.txt:6: unterminated quote"},
    };
    ASSERT_EQ(document["records"].size(), std::size(expected)) << document.dump(1);
    std::map<std::string, json> by_id;
    for (const json& record : document["records"]) by_id[record["id"]] = record;
    for (const auto& [line, status, message] : expected) {
        const json& record = by_id[prefix + line];
        EXPECT_EQ(record["status"], status) << line;
        if (status == 0)
            EXPECT_EQ(record["report"]["shaders"][0]["filename"], "a.frag");
        else
            EXPECT_TRUE(contains(record["message"], message)) << record;
    }
    EXPECT_FALSE(std::filesystem::exists(files.file("set/out.json")));
}

TEST(Suite, ACrashOrAHangEndsOnlyItsOwnRun) {
    Install install;
    install_scripted_backend(install.dir(), "graphics", "libKoro-Nxx_r20p0-01rel0.so",
                             "meta compiler_type | openglessl\nmeta flexible_version | 4.0.0\ncore Koro-N68 | r0p0\n"
                             "core_cap Koro-N68 | openglessl_version | 320\n"
                             "compile\nwhen source | CRASH\ncrash\nend\ncompile\nwhen source | HANG\nhang\nend\n");
    TempDir files;
    for (const char* name : {"a.frag", "b.frag", "c.frag", "d.frag"}) files.write(name, "void main() {}\n");
    files.write("crash.frag", "// CRASH\nvoid main() {}\n");
    files.write("hang.frag", "// HANG\nvoid main() {}\n");
    TempDir scratch;  // TMP of the run: the workers' own directories go with them
    RunOptions options;
    options.working_dir = files.path();
    options.env = {{"TMP", scratch.path()}, {"TMPDIR", scratch.path()}};
    json document =
        parse_results(install.run_suite({"run", "-q", "-j", "2", "--timeout", "2", "-c", "Koro-N68", "."}, options));
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
    ASSERT_EQ(document["records"].size(), 6u);
    for (const json& record : document["records"]) {
        const std::string id = record["id"];
        if (id == "./crash.frag")  // a sanitizer turns the signal into its own exit status
            EXPECT_TRUE(contains(record["failure"], "signal 11") || contains(record["failure"], "without a result"))
                << record;
        else if (id == "./hang.frag")
            EXPECT_EQ(record["failure"], "timed out after 2 s");
        else
            EXPECT_EQ(record["status"], 0) << record;
    }
}

// The records of a run, in order, hold what shadex prints for the same runs;
// shards of the run merge back into the whole document.
TEST(Suite, RecordsAreShadexsReportsAndShardsMergeIntoTheWholeRun) {
    TempDir files;
    const std::vector<std::string> run = {"run", "-q", "-c", "Koro-N68", "-c", "Koro-L380", EXAMPLES};
    auto with = [&run](std::vector<std::string> extra) {
        extra.insert(extra.begin(), run.begin(), run.end());
        return extra;
    };
    RunResult whole = run_shadex_suite(with({"-j", "2"}));
    json document = parse_results(whole);
    ASSERT_EQ(document["records"].size(), 14u);  // 7 examples, saxpy.cl has one kernel
    std::vector<std::pair<std::string, std::string>> order;
    for (const json& record : document["records"]) {
        order.emplace_back(record["id"], record["core"]);
        expect_shadex_run(record, split(record["id"], ' '));
    }
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));

    // A device named as the output is written to, never replaced.
    ASSERT_EQ(run_shadex_suite(with({"-o", "/dev/null"})).status, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    std::vector<std::string> merge = {"merge", "-o", files.file("merged.json")};
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        const std::string part = files.file(std::string("part") + shard[0] + ".json");
        ASSERT_EQ(run_shadex_suite(with({"--shard", shard, "-o", part})).status, 0);
        merge.push_back(part);
    }
    ASSERT_EQ(run_shadex_suite(merge).status, 0);
    EXPECT_EQ(read_file(files.file("merged.json")), whole.out);

    // The same entry in two inputs is refused, as is a document of another
    // kind. (The whole run, not a shard: ids hold the checkout's path, so
    // which shard is empty depends on where the tree is.)
    files.write("whole.json", whole.out);
    files.write("report.json", run_shadex({"--format", "json", EXAMPLES + "/lighting.frag"}).out);
    const std::pair<std::vector<std::string>, std::string> refused[] = {
        {{"merge", "-o", files.file("m.json"), files.file("whole.json"), files.file("whole.json")},
         "is in more than one of the results"},
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

TEST(Suite, CheckGatesOnWhatGotWorseAgainstTheBaseline) {
    TempDir files;
    const std::string shader =
        "#version 300 es\nprecision mediump float;\nin vec2 v;\nout vec4 c;\n"
        "void main() { c = vec4(v, 0.0, 1.0)WORK; }\n";
    auto write = [&](const std::string& name, const std::string& work) {
        std::string text = shader;
        text.replace(text.find("WORK"), 4, work);
        files.write("set/" + name, text);
    };
    write("a.frag", "");
    write("b.frag", " * 2.0");
    RunOptions here;
    here.working_dir = files.path();
    auto check = [&](std::vector<std::string> extra) {
        std::vector<std::string> args = {"check", "-q", "--baseline", "base.json", "-c", "Koro-N68"};
        args.insert(args.end(), extra.begin(), extra.end());
        args.push_back("set");
        return run_shadex_suite(args, here);
    };
    ASSERT_EQ(check({"--update"}).status, 0);
    RunResult same = check({});
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    EXPECT_TRUE(contains(same.out, "2 runs compared: 0 hurt, 0 helped, 2 unchanged")) << same.out;

    write("a.frag", " * pow(v.x, 3.7) * exp(v.y) * sin(v.x)");
    RunResult hurt = check({});
    EXPECT_EQ(hurt.status, 1) << hurt.out;
    EXPECT_TRUE(contains(hurt.out, "Hurt (worst first):\n  set/a.frag on Koro-N68\n")) << hurt.out;
    EXPECT_TRUE(contains(hurt.out, "total_cycles[arith_sfu]: 0 -> ")) << hurt.out;
    EXPECT_EQ(check({"--threshold", "100000"}).status, 1);  // from zero is more than any threshold
    EXPECT_EQ(check({"--metric", "stack_size"}).status, 0);
    EXPECT_TRUE(contains(check({"--format", "markdown"}).out, "### Hurt (1)\n\n- `set/a.frag` on Koro-N68\n"));

    // The reverse comparison helps; a shader that stops compiling newly fails; one more is added.
    ASSERT_EQ(run_shadex_suite({"run", "-q", "-c", "Koro-N68", "-o", "new.json", "set"}, here).status, 0);
    RunResult helped = run_shadex_suite({"diff", "new.json", "base.json"}, here);
    EXPECT_EQ(helped.status, 0);
    EXPECT_TRUE(contains(helped.out, "0 hurt, 1 helped")) << helped.out;
    write("b.frag", " * undefined_thing");
    write("c.frag", "");
    RunResult failing = check({});
    EXPECT_EQ(failing.status, 1);
    EXPECT_TRUE(contains(failing.out, "1 added, 0 removed, 1 newly failing")) << failing.out;
    EXPECT_TRUE(contains(failing.out, "Newly failing:\n  set/b.frag on Koro-N68: 0:5: 'undefined_thing'"))
        << failing.out;

    files.write("not-results.json", "{}");
    RunResult unusable = run_shadex_suite({"diff", "base.json", "not-results.json"}, here);
    EXPECT_EQ(unusable.status, 2);
    EXPECT_TRUE(contains(unusable.err, "not-results.json is not a shadex-suite results document")) << unusable.err;
}

TEST(Suite, SarifPutsEachFindingAtItsFileAndLine) {
    TempDir files;
    files.write("a.frag", "#version 300 es\nprecision mediump float;\n");
    files.write("b.frag", "out vec4 c;\nvoid main() { c = vec4(missing); }\n");
    files.write("list.txt", "-f a.frag b.frag\n-c Koro-N68 a.frag\n");
    RunOptions here;
    here.working_dir = files.path();
    ASSERT_EQ(
        run_shadex_suite({"run", "-q", "-c", "Koro-N68", "--sarif", "out.sarif", "-o", "r.json", "@list.txt"}, here)
            .status,
        0);
    json sarif = json::parse(read_file(files.file("out.sarif")));
    EXPECT_EQ(sarif["version"], "2.1.0");
    std::vector<std::string> found;
    for (const json& result : sarif["runs"][0]["results"]) {
        std::string where = "-";
        if (result.contains("locations")) {
            const json& physical = result["locations"][0]["physicalLocation"];
            where = physical["artifactLocation"]["uri"].get<std::string>();
            if (physical.contains("region")) where += ":" + std::to_string(physical["region"]["startLine"].get<int>());
        }
        found.push_back(result["ruleId"].get<std::string>() + " " + where);
    }
    EXPECT_EQ(found, (std::vector<std::string>{"run-failure a.frag", "compile-error b.frag:2"})) << sarif.dump(1);
}

}  // namespace
