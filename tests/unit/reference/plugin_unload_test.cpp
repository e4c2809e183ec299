// Closing the graphics plug-in gives back what its OpenGL ES front end keeps
// between compiles: open, compile and close cycles leave the heap where the
// first cycle left it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>

#include "shadex_abi.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer's allocator keeps the heap; the C library's figures stay still.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

size_t heap_in_use() {
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    return mallinfo2().uordblks;
#endif
}

void open_compile_close() {
    void* handle = dlopen(REFERENCE_GRAPHICS_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto compile = reinterpret_cast<shadex_compile_fn>(dlsym(handle, "shadex_compile"));
    auto release = reinterpret_cast<shadex_release_outputs_fn>(dlsym(handle, "shadex_release_outputs"));
    ASSERT_TRUE(compile && release);

    const char* options[] = {"compiler_type", "openglessl", "shader_type", "fragment"};
    const char* source = "#version 300 es\nprecision mediump float;\nout vec4 c;\nvoid main() { c = vec4(1.0); }\n";
    shadex_inputs inputs{};
    inputs.source = source;
    inputs.options = {4, 0, options};
    inputs.hardware = {"Koro-N68", "r0p0"};
    shadex_outputs outputs{};
    EXPECT_EQ(compile(&inputs, &outputs), 0u);
    EXPECT_EQ(outputs.error_count, 0u);
    release(&outputs);
    dlclose(handle);
}

}  // namespace

TEST(PluginUnload, ClosingGivesBackTheFrontEndTables) {
    open_compile_close();
    const size_t after_first = heap_in_use();
    open_compile_close();
    open_compile_close();
    // One stage's built-in symbol tables take megabytes: a cycle that kept
    // them would show at once, while allocator noise stays far below this.
    EXPECT_LT(heap_in_use(), after_first + (size_t{1} << 20));
}
