// The plug-in as the program sees it: the records it hands out, the compile
// options it reads, and the entry points of the built library (its catalogue
// and capabilities show end to end in the core list and core information).
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <vector>

#include "compile_options.h"
#include "owned_records.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer's allocator keeps the heap; the C library's figures stay still.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

using namespace reference;

namespace {

const char* const SOURCE = "#version 300 es\nprecision mediump float;\nout vec4 c;\nvoid main() { c = vec4(1.0); }\n";
const std::vector<const char*> FRAGMENT = {"compiler_type", "openglessl", "shader_type", "fragment"};

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
    // The error lines of one compile.
    std::vector<std::string> compile(const std::vector<const char*>& options, const char* core,
                                     const void* source) const {
        auto compile = entry<shadex_compile_fn>("shadex_compile");
        auto release = entry<shadex_release_outputs_fn>("shadex_release_outputs");
        EXPECT_TRUE(compile && release);
        if (!compile || !release) return {};
        shadex_inputs inputs{};
        inputs.source = source;
        inputs.options = {shadex_u32(options.size()), 0, options.data()};
        inputs.hardware = {core, "r0p0"};
        shadex_outputs outputs{};
        EXPECT_EQ(compile(&inputs, &outputs), 0u);
        std::vector<std::string> errors(outputs.errors, outputs.errors + outputs.error_count);
        release(&outputs);
        return errors;
    }
    void* handle;
};

size_t heap_in_use() {
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
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

// Good requests are every end-to-end run's.
TEST(PluginEntryPoints, NeverLetABadRequestThrough) {
    GraphicsPlugin plugin;
    ASSERT_NE(plugin.handle, nullptr) << dlerror();
    const std::vector<const char*> odd(FRAGMENT.begin(), FRAGMENT.end() - 1);
    EXPECT_EQ(plugin.compile(odd, "Koro-N68", SOURCE), std::vector<std::string>{"Malformed option list"});
    EXPECT_EQ(plugin.compile(FRAGMENT, "Koro-X1", SOURCE), std::vector<std::string>{"Unknown core 'Koro-X1'"});
    EXPECT_EQ(plugin.compile(FRAGMENT, "Koro-N68", nullptr), std::vector<std::string>{"No source given"});
    EXPECT_EQ(plugin.entry<shadex_compile_fn>("shadex_compile")(nullptr, nullptr), 1u);

    auto get_core = plugin.entry<shadex_get_core_specific_capabilities_fn>("shadex_get_core_specific_capabilities");
    shadex_hardware_core unknown{"Koro-X1", "r0p0"};
    shadex_core_specific_capabilities capabilities{};
    EXPECT_NE(get_core(&unknown, &capabilities), 0u);
}

// Closing the plug-in gives back what its OpenGL ES front end keeps between
// compiles: open, compile and close cycles leave the heap where the first left it.
TEST(PluginUnload, ClosingGivesBackTheFrontEndTables) {
    auto cycle = [] {
        GraphicsPlugin plugin;
        ASSERT_NE(plugin.handle, nullptr) << dlerror();
        EXPECT_TRUE(plugin.compile(FRAGMENT, "Koro-N68", SOURCE).empty());
    };
    cycle();
    const size_t after_first = heap_in_use();
    cycle();
    cycle();
    // One stage's built-in symbol tables take megabytes: a cycle that kept
    // them would show at once, while allocator noise stays far below this.
    EXPECT_LT(heap_in_use(), after_first + (size_t{1} << 20));
}
