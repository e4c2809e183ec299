// Hostile inputs through the real program and its bundled back-end: broken
// and cut-short SPIR-V, huge and deeply nested sources, NUL bytes and invalid
// UTF-8, reports that cannot be written. Every run
// ends promptly with status 0, 1 or 2 and a message, never a crash, and
// leaves nothing behind in the temporary directory.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <random>

#include <spirv/unified1/spirv.hpp>

#include "e2e/harness.h"

namespace fs = std::filesystem;

namespace {

const std::string VALIDATOR = SHADEX_BIN_DIR "/external/glslang";
const std::string CORE = "Koro-N68";  // runs every API, OpenCL up to 3.0
constexpr double SECONDS_ALLOWED = 20;
constexpr int ANY_FAILURE = -1;  // status 1 or 2: which layer notices first is not the point

struct Case {
    std::string what;
    std::vector<std::string> args;
    int status;
    std::string message;  // a piece of the error text; "" for any
    std::string stdin_data = "";
};

std::string repeat(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

// One body in three languages: GLSL ES, Vulkan GLSL and OpenCL C share the
// statements used here.
std::string glsl_es(const std::string& body) {
    return "#version 310 es\nprecision highp float;\nin float v;\nlayout(location = 0) out vec4 color;\n"
           "void main() {\n    float x = v;\n" +
           body + "    color = vec4(x);\n}\n";
}

std::string glsl_vulkan(const std::string& body) {
    return "#version 450\nlayout(location = 0) in float v;\nlayout(location = 0) out vec4 color;\n"
           "void main() {\n    float x = v;\n" +
           body + "    color = vec4(x);\n}\n";
}

std::string opencl_c(const std::string& body) {
    return "__kernel void k(__global float* out, float v) {\n    float x = v;\n" + body + "    out[0] = x;\n}\n";
}

std::string nested_ifs(int depth) {
    return repeat("if (x > v) {\n    x = x * 1.5f;\n", depth) + repeat("} else {\n    x = x - v;\n}\n", depth);
}

std::string loop_heavy() {
    return repeat("for (int i = 0; i < 3; ++i) {\n", 30) + "x = x * 1.5f + v;\n" + repeat("}\n", 30) +
           repeat("for (int i = 0; i < 4; ++i) { x = x * 0.5f + v; }\n", 200);
}

std::string words(const std::vector<uint32_t>& values) {
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * 4);
}

std::string random_bytes(size_t count) {
    std::mt19937 generator(20240611);
    std::string bytes;
    for (size_t i = 0; i < count; ++i) bytes += static_cast<char>(generator() & 0xFF);
    return bytes;
}

// The text after the first "ERROR:" up to the blank line that ends it, from
// the report or, for usage and run-time errors, from standard error.
std::string error_text(const RunResult& result) {
    for (const std::string* stream : {&result.out, &result.err}) {
        size_t at = stream->find("ERROR:");
        if (at == std::string::npos) continue;
        std::string text = stream->substr(at + 6, stream->find("\n\n", at) - at - 6);
        size_t first = text.find_first_not_of(" \n");
        return first == std::string::npos ? "" : text.substr(first);
    }
    return "";
}

class HostileInput : public ::testing::Test {
protected:
    TempDir files;
    TempDir scratch;  // TMP and TMPDIR of each run: must be empty afterwards

    void check(const Case& c) {
        SCOPED_TRACE(c.what);
        RunOptions options;
        options.working_dir = files.path();
        options.env = {{"TMP", scratch.path()}, {"TMPDIR", scratch.path()}};
        options.stdin_data = c.stdin_data;
        const auto start = std::chrono::steady_clock::now();
        RunResult result = run_shadex(c.args, options);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;

        EXPECT_LT(took.count(), SECONDS_ALLOWED);
        EXPECT_TRUE(fs::is_empty(scratch.path())) << "temporary files left behind";
        const std::string all = result.out + result.err;
        if (c.status == ANY_FAILURE) {
            EXPECT_TRUE(result.status == 1 || result.status == 2) << result.status << "\n" << all;
        } else {
            EXPECT_EQ(result.status, c.status) << all;
        }
        if (result.status == 0) {
            EXPECT_TRUE(contains(result.out, "Total instruction cycles:")) << all;
            return;
        }
        const std::string message = error_text(result);
        EXPECT_FALSE(message.empty()) << all;
        EXPECT_TRUE(contains(message, c.message)) << message;
    }

    void check_all(const std::vector<Case>& cases) {
        for (const Case& c : cases) check(c);
    }

    std::vector<std::string> compile(std::vector<std::string> args) {
        args.insert(args.begin(), {"-c", CORE});
        return args;
    }

    // Cases running `body` as GLSL ES, Vulkan GLSL and OpenCL C; `expected`
    // maps an API ("es", "vk", "cl") to its status and message, else success.
    void add_in_every_language(std::vector<Case>& cases, const std::string& what, const std::string& body,
                               const std::map<std::string, std::pair<int, std::string>>& expected) {
        const std::string stem = "s" + std::to_string(cases.size());
        files.write(stem + ".frag", glsl_es(body));
        files.write(stem + ".vk.frag", glsl_vulkan(body));
        files.write(stem + ".cl", opencl_c(body));
        const std::pair<std::string, std::vector<std::string>> runs[] = {
            {"es", {stem + ".frag"}}, {"vk", {"--vulkan", stem + ".vk.frag"}}, {"cl", {"-n", "k", stem + ".cl"}}};
        for (const auto& [api, args] : runs) {
            const auto found = expected.find(api);
            const auto [status, message] = found == expected.end() ? std::pair<int, std::string>{0, ""} : found->second;
            cases.push_back({what + " " + api, compile(args), status, message});
        }
    }
};

TEST_F(HostileInput, BrokenSpirvModulesAreRefused) {
    files.write("shade.frag", glsl_vulkan("    x = x * 1.5f;\n"));
    ASSERT_EQ(run_program(VALIDATOR, {"-V", "-o", files.file("shade.spv"), files.file("shade.frag")}).status, 0);
    const std::string module = read_file(files.file("shade.spv"));
    ASSERT_GT(module.size(), 100u);

    const std::string magic = module.substr(0, 4);
    const std::string header = module.substr(0, 20);
    const uint32_t entry = (5u << 16) | spv::OpEntryPoint;  // Fragment %4 "main"
    std::vector<Case> cases = {
        {"garbage behind the magic", {"g.frag.spv"}, ANY_FAILURE, ""},
        {"garbage behind a header", {"h.frag.spv"}, ANY_FAILURE, ""},
        {"garbage behind the magic, as a kernel", {"--opencl", "3.0", "-n", "main", "g.cl.spv"}, 1, "SPIR-V"},
        {"zero word count", {"zero.frag.spv"}, ANY_FAILURE, ""},
        {"word count past the end", {"long.frag.spv"}, 1, "Invalid SPIR-V module"},
        {"unterminated entry point name", {"name.frag.spv"}, 1, "Invalid SPIR-V module"},
        {"id bound beyond any module", {"bound.frag.spv"}, 1, "Invalid SPIR-V module"},
    };
    files.write("g.frag.spv", magic + random_bytes(400));
    files.write("g.cl.spv", magic + random_bytes(400));
    files.write("h.frag.spv", header + random_bytes(400));
    files.write("zero.frag.spv", header + words({0, 0, 0, entry, 4, 1, 0x6e69616d, 0}));
    files.write("long.frag.spv", header + words({(100u << 16) | spv::OpEntryPoint, 4, 1, 0x6e69616d, 0}));
    files.write("name.frag.spv", header + words({entry, 4, 1, 0x6e69616d, 0x41414141}));
    files.write("bound.frag.spv", words({spv::MagicNumber, 0x00010300, 0, 0xFFFFFFFF, 0, entry, 4, 1, 0x6e69616d, 0}));

    // Cut inside the header, right after it, mid-word and at word ends
    // through the module (rewriting a cut module is SpirvHostileInput's).
    const size_t size = module.size();
    for (size_t cut : {size_t{4}, size_t{5}, size_t{20}, size_t{21}, size_t{44}, size / 2 / 4 * 4, size / 2 + 1,
                       size - 4, size - 1}) {
        const std::string name = "cut" + std::to_string(cut);
        files.write(name + ".frag.spv", module.substr(0, cut));
        files.write(name + ".cl.spv", module.substr(0, cut));
        cases.push_back({name, {name + ".frag.spv"}, ANY_FAILURE, ""});
        cases.push_back({name + " as a kernel", {"--opencl", "3.0", "-n", "main", name + ".cl.spv"}, ANY_FAILURE, ""});
    }
    for (Case& c : cases) c.args = compile(c.args);
    check_all(cases);
}

TEST_F(HostileInput, LargeAndDeeplyNestedSourcesFinishPromptly) {
    // OpenCL C allows 256 nested brackets; GLSL has no such limit, but the
    // back-end refuses control flow nested more than 256 levels deep.
    const std::pair<int, std::string> brackets = {1, "bracket nesting level exceeded"},
                                      nesting = {1, "nested 1000 levels deep"};
    std::vector<Case> cases;
    add_in_every_language(cases, "10000 lines", repeat("    x = x * 1.0001f + v;\n", 10000), {});
    add_in_every_language(cases, "5000 nested parentheses",
                          "    x = " + repeat("(", 5000) + "x + v" + repeat(")", 5000) + ";\n", {{"cl", brackets}});
    add_in_every_language(cases, "200 nested if/else", nested_ifs(200), {});
    add_in_every_language(cases, "1000 nested if/else", nested_ifs(1000),
                          {{"cl", brackets}, {"es", nesting}, {"vk", nesting}});
    add_in_every_language(cases, "many nested and sequential loops", loop_heavy(), {});
    check_all(cases);
}

TEST_F(HostileInput, NulBytesAndInvalidUtf8InSource) {
    using namespace std::string_literals;
    const std::pair<int, std::string> nul = {2, "NUL byte on line"}, invalid = {1, ""};
    std::vector<Case> cases;
    add_in_every_language(cases, "NUL in code", "    x = x\0 * 1.5f;\n"s, {{"es", nul}, {"vk", nul}, {"cl", nul}});
    add_in_every_language(cases, "invalid UTF-8 in code", "    float y\xff\xfe = x;\n    x = y\xff\xfe;\n",
                          {{"es", invalid}, {"vk", invalid}, {"cl", invalid}});
    add_in_every_language(cases, "invalid UTF-8 in comments",
                          "    // caf\xc3\xa9 \xff\xfe\xc0\x80\n    /* \xed\xa0\x80 */\n", {});
    // A NUL that ends the text hides nothing, from a file or standard input.
    files.write("ends.frag", glsl_es("") + "\0\0"s);
    cases.push_back({"trailing NULs", compile({"ends.frag"}), 0, ""});
    cases.push_back(
        {"NUL from standard input", compile({"-f", "-"}), 2, "NUL byte on line 7.", glsl_es("    x = x\0 * 1.5f;\n"s)});
    check_all(cases);
}

TEST_F(HostileInput, SourceNamesInAModuleAreNeverReadUnlessPlainFiles) {
    // Per-line costs show the text of the files a module's debug information
    // names; a device or a pipe there must not be read.
    const std::string assembly =
        "OpCapability Shader\nOpMemoryModel Logical GLSL450\nOpEntryPoint Fragment %main \"main\" %c %v\n"
        "OpExecutionMode %main OriginUpperLeft\n%zero = OpString \"/dev/zero\"\n%pipe = OpString \"pipe\"\n"
        "OpDecorate %c Location 0\nOpDecorate %v Location 0\n%void = OpTypeVoid\n%fn = OpTypeFunction %void\n"
        "%float = OpTypeFloat 32\n%v4 = OpTypeVector %float 4\n%out = OpTypePointer Output %v4\n"
        "%in = OpTypePointer Input %v4\n%c = OpVariable %out Output\n%v = OpVariable %in Input\n"
        "%main = OpFunction %void None %fn\n%entry = OpLabel\nOpLine %zero 3 1\n%l = OpLoad %v4 %v\n"
        "OpLine %pipe 2 1\n%x = OpFMul %v4 %l %l\nOpStore %c %x\nOpReturn\nOpFunctionEnd\n";
    files.write("named.spvasm", assembly);
    ASSERT_EQ(run_program("/usr/bin/spirv-as",
                          {"--target-env", "spv1.3", files.file("named.spvasm"), "-o", files.file("named.frag.spv")})
                  .status,
              0);
    ASSERT_EQ(mkfifo(files.file("pipe").c_str(), 0600), 0);
    check({"named files", compile({"--annotate", "named.frag.spv"}), 0, ""});
}

// A report that cannot be written ends the run with a message (one that cannot
// be opened is CommandLine.UsageErrors'); a failed run removes only a regular file.
TEST_F(HostileInput, OutputsThatFailAndTheReportsOfFailedRuns) {
    files.write("shade.frag", glsl_es("    x = x * 1.5f;\n"));
    files.write("empty.frag", "");
    files.write("old-report.txt", "stale");
    const std::string pipe = files.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // A reader keeps the pipe open for the program's writer without blocking it.
    int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    check_all({
        {"full device", compile({"-o", "/dev/full", "shade.frag"}), 2, "Could not write output file: /dev/full"},
        {"usage error into a pipe", compile({"-o", "pipe", "empty.frag"}), 2, "Input file is empty."},
        {"usage error into a file", compile({"-o", "old-report.txt", "empty.frag"}), 2, "Input file is empty."},
    });
    close(reader);
    EXPECT_TRUE(fs::is_fifo(pipe)) << "a named pipe given as the output was deleted";
    EXPECT_FALSE(fs::exists(files.file("old-report.txt")));
}

}  // namespace
