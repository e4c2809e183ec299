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

    EXPECT_EQ(text_output(shadex.run({"--list"})), golden("catalogue_list.txt"));

    // The document's frame is CoreList.EmptyCatalogue's; here, its entries.
    EXPECT_EQ(json_output(shadex.run({"--list", "--format", "json"}))["cores"],
              json::parse(golden("catalogue_list.json")));
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

    // The text and JSON reports of --info against their golden files.
    void expect_info(const std::string& core, const std::string& golden_stem) {
        SCOPED_TRACE(core);
        EXPECT_EQ(text_output(shadex.run({"--info", "-c", core})), golden(golden_stem + ".txt"));
        json document = json_output(shadex.run({"--info", "-c", core, "--format", "json"}));
        json expected = json::parse(golden(golden_stem + ".json"));
        expected["producer"]["documentation"] = document["producer"]["documentation"];
        EXPECT_EQ(document, expected);
    }
};

TEST_F(CoreInfo, CoresWithAndWithoutEachApi) {
    // The SPIR-V version keeps its single-precision expansion in JSON.
    expect_info("Koro-N68", "pelion_info");
    // Koro-L220 gets no Vulkan compiler and its OpenGL ES version is capped.
    // Koro-N22 has no OpenCL; its only OpenGL ES extension fails its probe
    // and its Vulkan compiler names none.
    expect_info("Koro-L220", "tarsel_info");
    expect_info("Koro-N22", "ostrem_info");
}

}  // namespace
