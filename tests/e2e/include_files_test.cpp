// `#include` through the real program and the bundled back-end, for each API
// that takes source: where the files are found, in which order, and how bad
// include graphs end.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "e2e/harness.h"

namespace fs = std::filesystem;

namespace {

const std::string CORE = "Koro-N68";

// One language's main program and header; "@" in each stands for the
// include line and for the value the header gives K.
struct Api {
    const char* name;
    std::vector<std::string> options;
    const char* main_file;
    std::string program_text, header_text;

    static std::string fill(std::string text, const std::string& value) {
        return text.replace(text.find('@'), 1, value);
    }
    std::string program(const std::string& include_line) const { return fill(program_text, include_line); }
    std::string header(const std::string& value) const { return fill(header_text, value); }
};

const Api APIS[] = {
    {"Vulkan",
     {"--vulkan"},
     "src/m.frag",
     "#version 450\n#extension GL_GOOGLE_include_directive : require\n@\n"
     "layout(location = 0) out vec4 color;\nvoid main() { color = vec4(K); }\n",
     "const highp float K = @;\n"},
    {"OpenGL ES",
     {},
     "src/m.frag",
     "#version 310 es\n#extension GL_GOOGLE_include_directive : require\n@\n"
     "layout(location = 0) out mediump vec4 color;\nvoid main() { color = vec4(K); }\n",
     "const highp float K = @;\n"},
    {"OpenCL", {"-n", "k"}, "src/m.cl", "@\nkernel void k(global float* out) { *out = K; }\n", "#define K @f\n"},
};

class IncludeFiles : public ::testing::Test {
protected:
    TempDir files;
    TempDir scratch;  // TMP of each run: must be empty afterwards

    // Runs from `cwd` (inside files) so that nothing depends on the test's own directory.
    RunResult run(const Api& api, std::vector<std::string> args, const std::string& cwd = "elsewhere") {
        fs::create_directories(files.file(cwd));
        args.insert(args.begin(), api.options.begin(), api.options.end());
        args.insert(args.begin(), {"-c", CORE, "--format", "json"});
        RunOptions options;
        options.working_dir = files.file(cwd);
        options.env = {{"TMP", scratch.path()}, {"TMPDIR", scratch.path()}};
        RunResult result = run_shadex(args, options);
        EXPECT_TRUE(fs::is_empty(scratch.path())) << "temporary files left behind";
        return result;
    }

    std::string main_path(const Api& api) const { return files.file(api.main_file); }
};

// Which of the headers the program took: each header gives K its own value,
// and the JSON report of a compile that failed names none.
void expect_compiles(const RunResult& result, const std::string& what) {
    EXPECT_EQ(result.status, 0) << what << "\n" << result.out << result.err;
}

void expect_error(const RunResult& result, const std::string& piece, const std::string& what) {
    EXPECT_EQ(result.status, 1) << what << "\n" << result.out << result.err;
    EXPECT_TRUE(contains(result.out, piece)) << what << ": wanted " << piece << "\n" << result.out;
}

TEST_F(IncludeFiles, FoundBesideTheIncluderThenOnTheIncludePathInOrder) {
    for (const Api& api : APIS) {
        SCOPED_TRACE(api.name);
        files.write(api.main_file, api.program("#include \"h.h\""));
        files.write("src/h.h", api.header("1.0"));
        expect_compiles(run(api, {main_path(api)}), "header beside the source, run elsewhere");
        expect_compiles(run(api, {"m" + std::string(fs::path(api.main_file).extension())}, "src"),
                        "run from the source's own directory");

        // Beside the source wins over -I; the first -I wins over the second.
        files.write("a/h.h", api.header("bad"));
        expect_compiles(run(api, {main_path(api), "-I", files.file("a")}), "beside before -I");
        fs::remove(files.file("src/h.h"));
        files.write("b/h.h", api.header("2.0"));
        expect_compiles(run(api, {main_path(api), "-I", files.file("b"), "-I", files.file("a")}),
                        "first -I before second");
        expect_error(run(api, {main_path(api), "-I", files.file("a"), "-I", files.file("b")}), "bad",
                     "the second -I is not searched first");

        // <x>: the -I directories only, never the source's own directory.
        files.write(api.main_file, api.program("#include <h.h>"));
        files.write("src/h.h", api.header("1.0"));
        expect_compiles(run(api, {main_path(api), "-I", files.file("b")}), "<x> on -I");
        fs::remove(files.file("b/h.h"));
        expect_error(run(api, {main_path(api), "-I", files.file("b")}), "h.h", "<x> beside the source only");

        // A nested include is looked for beside the file that includes it.
        files.write(api.main_file, api.program("#include \"lib/outer.h\""));
        files.write("src/lib/outer.h", "#include \"inner.h\"\n");
        files.write("src/lib/inner.h", api.header("3.0"));
        expect_compiles(run(api, {main_path(api)}), "inner.h beside outer.h");
        for (const char* dir : {"a", "b", "src"}) fs::remove_all(files.file(dir));
    }
}

TEST_F(IncludeFiles, BadIncludesEndWithAMessageThatNamesTheLine) {
    for (const Api& api : APIS) {
        SCOPED_TRACE(api.name);
        files.write("src/cycle.h", "#include \"cycle.h\"\n");
        fs::create_directories(files.file("src/dir.h"));
        files.write("src/bad.h", "this is not a program\n");
        const bool c = std::string(api.name) == "OpenCL";
        // The directive's file and line: the main source's as "0:3:" (C: "1:10:"),
        // a header's by name.
        const std::tuple<std::string, std::string, std::string> cases[] = {
            {"#include \"missing.h\"", "missing.h", c ? "\"1:10:" : "\"0:3:"},
            {"#include \"dir.h\"", "dir.h", c ? "\"1:10:" : "\"0:3:"},
            {"#include \"cycle.h\"", c ? "nested too deeply" : "an include cycle?", "cycle.h:1:"},
        };
        for (const auto& [line, message, location] : cases) {
            files.write(api.main_file, api.program(line));
            RunResult result = run(api, {main_path(api)});
            expect_error(result, message, line);
            EXPECT_TRUE(contains(result.out, location)) << line << "\n" << result.out;
        }
        // An error inside an included file names that file.
        files.write(api.main_file, api.program("#include \"bad.h\""));
        expect_error(run(api, {main_path(api)}), "bad.h:1:", "error in a header");
    }
}

TEST_F(IncludeFiles, ADeepChainCompilesOrEndsPromptly) {
    // 150 levels compile; 250 are taken for a cycle by every front end.
    for (const Api& api : APIS) {
        SCOPED_TRACE(api.name);
        for (int depth : {150, 250}) {
            for (int level = 1; level < depth; ++level)
                files.write("src/d" + std::to_string(level) + ".h",
                            "#include \"d" + std::to_string(level + 1) + ".h\"\n");
            files.write("src/d" + std::to_string(depth) + ".h", api.header("1.0"));
            files.write(api.main_file, api.program("#include \"d1.h\""));
            RunResult result = run(api, {main_path(api)});
            EXPECT_EQ(result.status, depth < 200 ? 0 : 1) << depth << "\n" << result.out << result.err;
        }
    }
}

}  // namespace
