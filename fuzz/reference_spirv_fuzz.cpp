// The reference back-end's compile entry on arbitrary bytes sent as a Vulkan
// SPIR-V module, for the stage of the module's first entry point (fragment
// when it has none), as the program would send it.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "input/spirv_module.h"
#include "reference_request.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes module(data, data + size);
    std::string stage = "fragment";
    const std::vector<SpirvEntryPoint> entry_points = enumerate_spirv_entrypoints(module);
    if (!entry_points.empty() && !to_api_literal(entry_points.front().first).empty())
        stage = to_api_literal(entry_points.front().first);

    const std::string core = fuzz::core_for(size);
    fuzz::Options options = fuzz::request_options(stage, core);
    options.emplace_back("spirv", "true");
    options.emplace_back("spirv_binary_length", std::to_string(size));
    fuzz::compile_and_check(module.data(), options, core);
    return 0;
}
