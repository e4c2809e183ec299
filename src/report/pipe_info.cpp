#include "report/pipe_info.h"

namespace {

const PipelineInfo ARITHMETIC{"arithmetic", "Arithmetic", "Arithmetic pipeline."};
const PipelineInfo LOAD_STORE{"load_store", "Load/Store", "Load/Store pipeline."};
const PipelineInfo VARYING{"varying", "Varying", "Varying pipeline."};
const PipelineInfo TEXTURE{"texture", "Texture", "Texture pipeline."};

// From Pelion on, "A" is the aggregate of the three arithmetic sub-pipelines;
// it keeps the plain "Arithmetic" display name on purpose.
PipeInfoMap split_arithmetic_pipes() {
    return {
        {"A", {"arith_total", "Arithmetic", "Arithmetic total (aggregate)."}},
        {"FMA", {"arith_fma", "Arith FMA", "Arithmetic Fused Multiply-Add pipeline."}},
        {"CVT", {"arith_cvt", "Arith CVT", "Arithmetic Convert pipeline."}},
        {"SFU", {"arith_sfu", "Arith SFU", "Arithmetic Special Function Unit pipeline."}},
        {"LS", LOAD_STORE},
        {"V", VARYING},
        {"T", TEXTURE},
    };
}

}  // namespace

const std::map<ArchitectureType, PipeInfoMap> PIPE_INFO = {
    {ArchitectureType::Tarsel, {{"A", ARITHMETIC}, {"LS", LOAD_STORE}, {"T", TEXTURE}}},
    {ArchitectureType::Ostrem, {{"A", ARITHMETIC}, {"LS", LOAD_STORE}, {"V", VARYING}, {"T", TEXTURE}}},
    {ArchitectureType::Pelion, split_arithmetic_pipes()},
    {ArchitectureType::FifthGen, split_arithmetic_pipes()},
};
