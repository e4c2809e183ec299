#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <glslang/SPIRV/spirv.hpp>
#include <optional>
#include <string>
#include <vector>

#include "opencl_front_end.h"
#include "spirv_module_info.h"
#include "spirv_validation.h"
#include "temporary_directory.h"

using reference::compile_opencl_source;
using reference::OPENCL_FRONT_END_FAILED;

namespace {

const std::string TWO_KERNELS =
    "kernel void saxpy(global float* y, global const float* x, float a) {\n"
    "    size_t i = get_global_id(0);\n"
    "    y[i] = a * x[i] + y[i];\n"
    "}\n"
    "kernel void fill(global int* out) { out[get_global_id(0)] = 7; }\n";

// Sets TMP for the life of the object, then puts the old value back.
struct ScopedTmp {
    std::optional<std::string> old;
    explicit ScopedTmp(const std::string& value) {
        if (const char* set = std::getenv("TMP")) old = set;
        setenv("TMP", value.c_str(), 1);
    }
    ~ScopedTmp() { old ? setenv("TMP", old->c_str(), 1) : unsetenv("TMP"); }
};

std::vector<std::string> kernel_names(const std::vector<uint32_t>& module) {
    std::vector<std::string> names;
    for (const reference::EntryPoint& entry : reference::entry_points(module))
        if (entry.execution_model == spv::ExecutionModelKernel) names.push_back(entry.name);
    return names;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(OpenCLFrontEnd, VersionsAreCheckedAndAValidKernelGivesItsModule) {
    for (const char* version : {"CL1.2", "1.2", "CL2.0", "3.0", ""}) {
        SCOPED_TRACE(version);
        auto result = compile_opencl_source(TWO_KERNELS + std::string(1, '\0'), "saxpy", version, {});
        ASSERT_TRUE(result.errors.empty()) << result.errors.front();
        ASSERT_GT(result.module.size(), 5u);
        EXPECT_EQ(result.module[0], spv::MagicNumber);
        EXPECT_EQ(kernel_names(result.module), (std::vector<std::string>{"saxpy", "fill"}));
    }
    EXPECT_EQ(reference::opencl_c_standard("1.1"), "CL1.1");
    EXPECT_EQ(reference::opencl_c_standard("CL3.0"), "CL3.0");

    for (const char* version : {"2.1", "CL2.2", "cl1.2", "1"}) {
        auto result = compile_opencl_source(TWO_KERNELS, "saxpy", version, {});
        ASSERT_EQ(result.errors.size(), 2u) << version;
        EXPECT_TRUE(contains(result.errors[0], std::string("'") + version + "'")) << result.errors[0];
        EXPECT_EQ(result.errors[1], OPENCL_FRONT_END_FAILED);
        EXPECT_TRUE(result.module.empty());
    }
}

TEST(OpenCLFrontEnd, ErrorsNameTheSourceBufferAndEndWithTheFailureLine) {
    const std::string source =
        "kernel void broken(global int* out) {\n"
        "#warning check this\n"
        "    out[0] = missing_name;\n"
        "    out[1] = undefined_too + \"a: error: b\";\n"
        "}\n";
    auto result = compile_opencl_source(source, "broken", "CL1.2", {});
    EXPECT_TRUE(result.module.empty());
    ASSERT_EQ(result.errors.size(), 3u);
    EXPECT_EQ(result.errors[0].rfind("<source>:3:14: error: ", 0), 0u) << result.errors[0];
    EXPECT_TRUE(contains(result.errors[0], "missing_name"));
    EXPECT_EQ(result.errors[1].rfind("<source>:4:", 0), 0u) << result.errors[1];
    EXPECT_EQ(result.errors[2], OPENCL_FRONT_END_FAILED);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].rfind("2:2: check this", 0), 0u) << result.warnings[0];
    // A missing include's fatal error, at the directive, is IncludeFiles' OpenCL row.
}

TEST(OpenCLFrontEnd, MissingKernelIsAClearError) {
    auto result = compile_opencl_source(TWO_KERNELS, "scale", "CL1.2", {});
    EXPECT_TRUE(result.module.empty());
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_TRUE(contains(result.errors[0], "'scale'")) << result.errors[0];
    EXPECT_TRUE(contains(result.errors[0], "'saxpy', 'fill'")) << result.errors[0];
    EXPECT_EQ(result.errors[1], OPENCL_FRONT_END_FAILED);

    result = compile_opencl_source("void helper(void) {}\n", "", "CL1.2", {});
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_TRUE(contains(result.errors[0], "no kernel")) << result.errors[0];

    // A call of a function defined nowhere cannot be linked into a program.
    result = compile_opencl_source(
        "int combine(int a, int b);\n"
        "kernel void k(global int* p) { p[0] = combine(p[1], p[2]); }\n",
        "k", "CL1.2", {});
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_TRUE(contains(result.errors[0], "'combine'")) << result.errors[0];
    EXPECT_TRUE(result.module.empty());

    // Without a name any kernel will do.
    EXPECT_TRUE(compile_opencl_source(TWO_KERNELS, "", "CL1.2", {}).errors.empty());
}

TEST(OpenCLFrontEnd, DefinesArePassedVerbatim) {
    // A shell would expand, split or reinterpret this value; the size check
    // only compiles when the string literal arrives byte for byte.
    const std::string text = "a;b|c&&d $(touch pwned) `touch pwned2` 'q' * ~ > out";
    const std::string define = "TEXT=\"" + text + "\"";
    const std::string source = "typedef char size_check[sizeof(TEXT) == " + std::to_string(text.size() + 1) +
                               " ? 1 : -1];\n"
                               "kernel void k(global char* out) { out[0] = TEXT[EXTRA]; }\n";
    reference::TemporaryDirectory tmp("defines-test");
    ScopedTmp scoped(tmp.path());
    auto result = compile_opencl_source(source, "k", "CL1.2", {define, "EXTRA=2"});
    EXPECT_TRUE(result.errors.empty()) << result.errors.front();
    EXPECT_FALSE(std::filesystem::exists("pwned"));
    EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));

    // A define that is not a macro name is the compiler's error, not a crash.
    result = compile_opencl_source(source, "k", "CL1.2", {"TEXT=\"x\"", "EXTRA=2", "-o /tmp/x"});
    ASSERT_FALSE(result.errors.empty());
    EXPECT_EQ(result.errors.back(), OPENCL_FRONT_END_FAILED);
}

// Files left behind are DefinesArePassedVerbatim's, and HostileInput's for
// compiles that fail. A temporary directory that cannot be made is an error
// line, not an exception (a source not translated before: it is not reused).
TEST(OpenCLFrontEnd, AMissingTemporaryDirectoryIsAnErrorLine) {
    reference::TemporaryDirectory tmp("leftover-test");
    ScopedTmp missing(tmp.file("does-not-exist"));
    auto result = compile_opencl_source(TWO_KERNELS + "// again\n", "fill", "CL1.2", {});
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_TRUE(contains(result.errors[0], "temporary directory")) << result.errors[0];
}

TEST(OpenCLFrontEnd, OptimisedCodeTranslatesToValidSpirv) {
    // Optimised, the loop's exit block lands before its dominator and the
    // division with remainder is frozen: both need repairs after translation.
    const std::string source =
        "float3 pull(float3 from, float3 to, float mass) {\n"
        "    float3 d = to - from;\n"
        "    float r = sqrt(dot(d, d) + 1.0f);\n"
        "    return mass * d / (r * r * r);\n"
        "}\n"
        "kernel void gravity(global const float4* bodies, global float4* velocity, uint count, float dt) {\n"
        "    size_t i = get_global_id(0);\n"
        "    float3 here = bodies[i].xyz;\n"
        "    float3 acc = (float3)0.0f;\n"
        "    for (uint j = 0; j < count; ++j)\n"
        "        acc += pull(here, bodies[j].xyz, bodies[j].w);\n"
        "    velocity[i] = (float4)(velocity[i].xyz + acc * dt, 0.0f);\n"
        "}\n"
        "kernel void split(global int* out, int n, int d) {\n"
        "    int i = get_global_id(0);\n"
        "    out[i] = (n + i) / d + (n + i) % d;\n"
        "}\n";
    auto result = compile_opencl_source(source, "gravity", "CL1.2", {});
    ASSERT_TRUE(result.errors.empty()) << result.errors.front();
    const auto environment = reference::universal_environment(reference::module_version(result.module));
    EXPECT_EQ(reference::validate_module(result.module, environment).errors, std::vector<std::string>{});
}
