// The catalogue reports as a user reads them: --list over several scripted
// libraries, and --info for cores with and without each API.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

namespace {

using nlohmann::json;

TEST(CatalogueReport, ListGroupsCoresByArchitecture) {
    ScriptedShadex shadex;
    // The OpenCL library's driver text sorts first, so its cores are met
    // first (newest first within it), whatever order it lists them in.
    shadex.add("opencl", "libKoro-Nxx_r20p0-00rel0.so",
               "meta flexible_version | 3.0.0\nmeta compiler_type | opencl\n"
               "core Koro-N22 | r1p0\ncore Koro-N68 | r0p1\n");
    shadex.add("graphics", "libKoro-Nxx_r30p0-00rel0.so",
               "meta flexible_version | 3.0.0\nmeta compiler_type | openglessl\n"
               "meta openglessl_version | 100 300 310 320\nmeta spirv | true\n"
               "core Koro-N503 | r0p0\ncore Koro-N68 | r0p1\ncore Koro-N1-Ultra | r0p0\n");

    EXPECT_EQ(text_output(shadex.run({"--list"})), R"(Pelion architecture
===================

Koro-N68 (OpenGL ES, Vulkan, OpenCL)

Ostrem architecture
===================

Koro-N22 (OpenCL)

Ovyn 5th Generation architecture
================================

Koro N1 (OpenGL ES, Vulkan)

Pelion architecture
===================

Koro-N503 (OpenGL ES, Vulkan)

Use "shadex --info --core <name>" to get details about a specific GPU.
)");

    // The document's frame is CoreList.EmptyCatalogue's; here, its entries.
    EXPECT_EQ(json_output(shadex.run({"--list", "--format", "json"}))["cores"], json::parse(R"([
        {"apis": ["OpenGL ES", "Vulkan", "OpenCL"], "core": "Koro-N68"},
        {"apis": ["OpenCL"], "core": "Koro-N22"},
        {"apis": ["OpenGL ES", "Vulkan"], "core": "Koro N1"},
        {"apis": ["OpenGL ES", "Vulkan"], "core": "Koro-N503"}])"));
}

class CoreInfo : public ::testing::Test {
protected:
    ScriptedShadex shadex;

    // Graphics and OpenCL libraries of one driver release. The graphics one
    // describes each core itself; its probe of GL_OES_texture_3D fails, and
    // on the Tarsel core the OpenCL probe of cl_ovyn_printf fails.
    CoreInfo() {
        shadex.add("graphics", "libKoro-Nxx_r40p0-00rel0.so", R"(meta flexible_version | 4.0.0
meta compiler_type | openglessl
core Koro-N68 | r0p1
core Koro-N22 | r1p0
core Koro-L220 | r0p0
core_cap Koro-N68 | openglessl_version | 100 300 310 320
core_cap Koro-N68 | openglessl_extensions | GL_OES_texture_3D GL_EXT_shader_io_blocks GL_EXT_geometry_shader
core_cap Koro-N68 | spirv_version | 1.0 1.3
core_cap Koro-N68 | spirv_extensions | SPV_KHR_multiview SPV_KHR_16bit_storage
core_cap Koro-N22 | openglessl_version | 100 300 310
core_cap Koro-N22 | openglessl_extensions | GL_OES_texture_3D
core_cap Koro-N22 | spirv_version | 1.5
core_cap Koro-L220 | openglessl_version | 100 300 310 320
core_cap Koro-L220 | openglessl_extensions | GL_EXT_geometry_shader GL_OES_texture_3D
compile
when source | #extension GL_OES_texture_3D : require
status 3
end
)");
        shadex.add("opencl", "libKoro-Nxx_r40p0-00rel0.so",
                   "meta flexible_version | 3.0.0\nmeta compiler_type | opencl\n"
                   "meta opencl_version | 120 200 300\n"
                   "meta opencl_extensions | cl_ovyn_printf cl_khr_fp16\n"
                   "core Koro-N68 | r0p1\ncore Koro-L220 | r0p0\n"
                   "compile\nwhen source | #error cl_ovyn_printf\nstatus 1\nend\n");
    }

    std::string info(const std::string& core) { return text_output(shadex.run({"--info", "-c", core})); }
    json info_json(const std::string& core) {
        return json_output(shadex.run({"--info", "-c", core, "--format", "json"}));
    }
};

TEST_F(CoreInfo, CoreWithEveryApi) {
    EXPECT_EQ(info("Koro-N68"), R"(Configuration
=============

Hardware: Koro-N68 r0p1
Architecture: Pelion
Driver: r40p0-00rel0

Language Support
================

OpenGL ES: Version 320
Vulkan: SPIR-V 1.3
OpenCL: Version 300

OpenGL ES ESSL Extensions
=========================

GL_EXT_geometry_shader
GL_EXT_shader_io_blocks

Vulkan SPIR-V Extensions
========================

SPV_KHR_16bit_storage
SPV_KHR_multiview

OpenCL C Extensions
===================

cl_khr_fp16
cl_ovyn_printf

)");

    // The SPIR-V version keeps its single-precision expansion.
    json document = info_json("Koro-N68");
    EXPECT_TRUE(contains(document.dump(), R"("max_version":1.2999999523162842)"));
    EXPECT_EQ(document, json::parse(R"({
        "apis": {
          "opencl": {"extensions": ["cl_khr_fp16", "cl_ovyn_printf"], "max_version": 300},
          "opengles": {"extensions": ["GL_EXT_geometry_shader", "GL_EXT_shader_io_blocks"],
                       "max_version": 320},
          "vulkan": {"extensions": ["SPV_KHR_16bit_storage", "SPV_KHR_multiview"],
                     "max_version": 1.2999999523162842}},
        "driver": "r40p0-00rel0",
        "hardware": {"architecture": "Pelion", "core": "Koro-N68", "revision": "r0p1"},
        "producer": )" + document["producer"].dump() +
                                    R"(,
        "schema": {"name": "info", "version": 0}})"));
}

TEST_F(CoreInfo, CoresWithoutSomeApis) {
    // Koro-L220 gets no Vulkan compiler and its OpenGL ES version is capped.
    // Koro-N22 has no OpenCL; its only OpenGL ES extension fails its probe
    // and its Vulkan compiler names none.
    const struct {
        const char* core;
        std::string languages, extensions, apis;  // apis: JSON of those shown
    } cases[] = {{"Koro-L220",
                  "Architecture: Tarsel\nDriver: r40p0-00rel0\n\nLanguage Support\n"
                  "================\n\nOpenGL ES: Version 310\nVulkan: Not supported\n"
                  "OpenCL: Version 300\n\n",
                  "=\n\nGL_EXT_geometry_shader\n\nVulkan SPIR-V Extensions\n========================\n\n"
                  "Not supported\n\nOpenCL C Extensions\n===================\n\ncl_khr_fp16\n\n",
                  R"({"vulkan": {"extensions": [], "max_version": null},
             "opencl": {"extensions": ["cl_khr_fp16"], "max_version": 300}})"},
                 {"Koro-N22", "OpenGL ES: Version 310\nVulkan: SPIR-V 1.5\nOpenCL: Not supported\n\n",
                  "=\n\nNo supported extensions\n\nVulkan SPIR-V Extensions\n========================\n\n"
                  "Extension support unknown\n\nOpenCL C Extensions\n===================\n\nNot supported\n\n",
                  R"({"opencl": {"extensions": [], "max_version": null},
             "opengles": {"extensions": [], "max_version": 310},
             "vulkan": {"extensions": [], "max_version": 1.5}})"}};
    for (const auto& c : cases) {
        std::string text = info(c.core);
        EXPECT_TRUE(contains(text, c.languages)) << text;
        EXPECT_TRUE(contains(text, c.extensions)) << text;
        json apis = info_json(c.core)["apis"], expected = json::parse(c.apis);
        for (const auto& [api, value] : expected.items()) EXPECT_EQ(apis[api], value) << c.core << " " << api;
    }
}

}  // namespace
