// The SPIR-V walker and rewriters on arbitrary bytes: identification, entry
// points, version, the vendor-extension stripping and the specialisation
// constant rewrites, each on its own copy. Failures are texts, never throws.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "input/spirv_module.h"

namespace {

// SpecId locations worth trying: the first few, which real shaders use,
// and one that no decoration names.
constexpr uint32_t LOCATIONS[] = {0, 1, 2, 0xFFFFFFFFu};

// Values inside and at the edges of every integer width, and one beyond all.
constexpr int64_t VALUES[] = {0, -1, 255, -129, 65536, std::numeric_limits<int64_t>::min()};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes module(data, data + size);

    SourceType stage = SourceType::None;
    std::string entry;
    if (identify_spirv(module, stage, entry)) get_spirv_version(module);
    enumerate_spirv_entrypoints(module);

    Bytes stripped = module;
    preprocess_spirv(stripped);
    // Whatever was stripped, the result must still be walkable.
    enumerate_spirv_entrypoints(stripped);

    for (uint32_t location : LOCATIONS) {
        Bytes with_bool = stripped;
        rewrite_spirv_spec_const_bool(with_bool, location, location % 2 == 0);
        for (int64_t value : VALUES) {
            Bytes with_int = stripped;
            rewrite_spirv_spec_const_int(with_int, location, value);
        }
    }
    return 0;
}
