// The reference back-end's compile pipeline on arbitrary bytes sent as a
// SPIR-V module, for the stage of the module's first entry point (fragment
// when it has none), as the program would send it: Vulkan through the
// graphics library, kernels through the OpenCL library. Problems with the
// module must come back as error lines; any other throw is a fault.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "compile_options.h"
#include "compile_pipeline.h"
#include "core_catalogue.h"
#include "input/spirv_module.h"
#include "reference_request.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes module(data, data + size);
    SourceType stage = SourceType::Fragment;
    const std::vector<SpirvEntryPoint> entry_points = enumerate_spirv_entrypoints(module);
    if (!entry_points.empty() && !to_api_literal(entry_points.front().first).empty())
        stage = entry_points.front().first;
    const bool kernel = stage == SourceType::Kernel;

    const std::string core = fuzz::core_for(size);
    fuzz::Options options = fuzz::request_options(to_api_literal(stage), core);
    options.front().second = kernel ? "opencl" : "openglessl";
    options.emplace_back("spirv", "true");
    options.emplace_back("spirv_binary_length", std::to_string(size));
    if (kernel) options.emplace_back("cl_std", "CL1.2");

    const reference::CoreInfo* target = reference::find_core(core, "r0p0");
    if (!target) std::abort();
    try {
        const reference::CompileResult result =
            reference::compile_program(options.front().second, *target, reference::parse_compile_options(options),
                                       reinterpret_cast<const char*>(module.data()));
        for (const auto& variant : result.variants) {
            for (const auto& [key, value] : variant) {
                if (key.empty()) std::abort();
            }
        }
    } catch (const reference::RequestError&) {}
    return 0;
}
