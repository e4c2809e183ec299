// The plug-in as the program sees it: the records it hands out, the compile
// options it reads, and the entry points of the built library (its catalogue
// and capabilities show end to end in the core list and core information).
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>

#include "compile_options.h"
#include "owned_records.h"

using namespace reference;

namespace {

// The built graphics plug-in, opened for one test.
class GraphicsPlugin {
public:
    GraphicsPlugin() : handle(dlopen(REFERENCE_GRAPHICS_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {}
    ~GraphicsPlugin() {
        if (handle) dlclose(handle);
    }
    template <typename Function>
    Function entry(const char* name) const {
        return reinterpret_cast<Function>(dlsym(handle, name));
    }
    void* handle;
};

std::vector<std::string> error_lines(const shadex_outputs& outputs) {
    return std::vector<std::string>(outputs.errors, outputs.errors + outputs.error_count);
}

}  // namespace

TEST(OwnedRecords, ListsFindTheirOwnerFromTheRecordAlone) {
    auto owned = std::make_unique<OwnedList>(KeyValues{{"a", "1"}, {"b", "2"}});
    shadex_flexible_list list = owned->view();
    ASSERT_EQ(list.count, 4u);
    EXPECT_STREQ(list.entries[2], "b");
    EXPECT_EQ(OwnedList::owner_of(list), owned.get());

    OwnedList empty(KeyValues{});
    EXPECT_EQ(empty.view().count, 0u);
    EXPECT_EQ(OwnedList::owner_of(empty.view()), &empty);
}

TEST(CompileOptions, ReadsEveryOptionAndRefusesMalformedOnes) {
    CompileOptions options = parse_compile_options({{"compiler_type", "opencl"},
                                                    {"shader_type", "kernel"},
                                                    {"define", "A=1"},
                                                    {"define", "B=2"},
                                                    {"kernel_name", "k"},
                                                    {"cl_std", "CL2.0"},
                                                    {"request-pilot", "true"},
                                                    {"future", "x"}});
    EXPECT_EQ(options.stage, Stage::Kernel);
    EXPECT_EQ(options.defines, (std::vector<std::string>{"A=1", "B=2"}));
    EXPECT_EQ(options.opencl_version, 200);
    EXPECT_TRUE(options.request_pilot);
    EXPECT_FALSE(options.request_idvs);

    EXPECT_EQ(parse_opencl_version("1.2"), 120);
    EXPECT_EQ(opencl_std_text(300), "CL3.0");
    EXPECT_THROW(parse_opencl_version("CL12"), RequestError);
    EXPECT_THROW(parse_compile_options({{"shader_type", "pixel"}}), RequestError);
    EXPECT_THROW(parse_compile_options({{"compiler_type", "openglessl"}}), RequestError);
    EXPECT_THROW(parse_compile_options({{"shader_type", "vertex"}, {"spirv", "true"}}), RequestError);
    EXPECT_THROW(parse_compile_options({{"shader_type", "vertex"}, {"spirv", "yes"}}), RequestError);
}

TEST(PluginEntryPoints, NeverLetABadRequestThrough) {
    GraphicsPlugin plugin;
    ASSERT_NE(plugin.handle, nullptr) << dlerror();
    auto compile = plugin.entry<shadex_compile_fn>("shadex_compile");
    auto release = plugin.entry<shadex_release_outputs_fn>("shadex_release_outputs");
    ASSERT_TRUE(compile && release);

    const char* source = "#version 300 es\nprecision mediump float;\nout vec4 c;\nvoid main() { c = vec4(1.0); }\n";
    const char* good_options[] = {"compiler_type", "openglessl", "shader_type", "fragment"};
    const char* odd_options[] = {"compiler_type", "openglessl", "shader_type"};
    auto run = [&](const char* const* options, shadex_u32 count, const char* core, const void* text) {
        shadex_inputs inputs{};
        inputs.source = text;
        inputs.options = {count, 0, options};
        inputs.hardware = {core, "r0p0"};
        shadex_outputs outputs{};
        EXPECT_EQ(compile(&inputs, &outputs), 0u);
        std::vector<std::string> errors = error_lines(outputs);
        const shadex_u32 variants = outputs.variant_count;
        release(&outputs);
        return std::make_pair(errors, variants);
    };

    auto good = run(good_options, 4, "Koro-N68", source);
    EXPECT_TRUE(good.first.empty());
    EXPECT_GT(good.second, 0u);
    EXPECT_EQ(run(odd_options, 3, "Koro-N68", source).first, std::vector<std::string>{"Malformed option list"});
    EXPECT_EQ(run(good_options, 4, "Koro-X1", source).first, std::vector<std::string>{"Unknown core 'Koro-X1'"});
    EXPECT_EQ(run(good_options, 4, "Koro-N68", nullptr).first, std::vector<std::string>{"No source given"});
    EXPECT_EQ(compile(nullptr, nullptr), 1u);

    auto get_core = plugin.entry<shadex_get_core_specific_capabilities_fn>("shadex_get_core_specific_capabilities");
    auto release_core =
        plugin.entry<shadex_release_core_specific_capabilities_fn>("shadex_release_core_specific_capabilities");
    shadex_hardware_core unknown{"Koro-X1", "r0p0"};
    shadex_core_specific_capabilities capabilities{};
    EXPECT_NE(get_core(&unknown, &capabilities), 0u);
    shadex_hardware_core known{"Koro-N1-Ultra", "r1p0"};
    ASSERT_EQ(get_core(&known, &capabilities), 0u);
    EXPECT_GT(capabilities.capabilities.count, 0u);
    release_core(&capabilities);
}
