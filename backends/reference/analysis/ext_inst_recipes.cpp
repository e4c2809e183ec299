#include "analysis/ext_inst_recipes.h"

#include <unordered_map>

#include <spirv/unified1/GLSL.std.450.h>
#include <spirv/unified1/OpenCL.std.h>

namespace reference {

namespace {

using S = RecipeShape;

Recipe elementwise(uint8_t fma, uint8_t cvt, uint8_t sfu) { return {S::Elementwise, fma, cvt, sfu, false}; }
Recipe geometric(uint8_t passes, uint8_t sfu) { return {S::Geometric, passes, 0, sfu, false}; }
Recipe shaped(RecipeShape shape, bool half_data = false) { return {shape, 0, 0, 0, half_data}; }

// Transcendentals take one special-function operation plus the fma work of
// range reduction or scaling; pow is exp(log(x) * y); division is a
// reciprocal and a multiply.
const std::unordered_map<uint32_t, Recipe>& glsl_recipes() {
    static const std::unordered_map<uint32_t, Recipe> table = {
        {GLSLstd450Round, elementwise(0, 1, 0)},
        {GLSLstd450RoundEven, elementwise(0, 1, 0)},
        {GLSLstd450Trunc, elementwise(0, 1, 0)},
        {GLSLstd450FAbs, shaped(S::Free)},
        {GLSLstd450SAbs, elementwise(1, 0, 0)},
        {GLSLstd450FSign, elementwise(1, 0, 0)},
        {GLSLstd450SSign, elementwise(1, 0, 0)},
        {GLSLstd450Floor, elementwise(0, 1, 0)},
        {GLSLstd450Ceil, elementwise(0, 1, 0)},
        {GLSLstd450Fract, elementwise(1, 1, 0)},
        {GLSLstd450Radians, elementwise(1, 0, 0)},
        {GLSLstd450Degrees, elementwise(1, 0, 0)},
        {GLSLstd450Sin, elementwise(1, 0, 1)},
        {GLSLstd450Cos, elementwise(1, 0, 1)},
        {GLSLstd450Tan, elementwise(2, 0, 3)},
        {GLSLstd450Asin, elementwise(6, 0, 1)},
        {GLSLstd450Acos, elementwise(6, 0, 1)},
        {GLSLstd450Atan, elementwise(6, 0, 1)},
        {GLSLstd450Sinh, elementwise(3, 0, 2)},
        {GLSLstd450Cosh, elementwise(3, 0, 2)},
        {GLSLstd450Tanh, elementwise(3, 0, 3)},
        {GLSLstd450Asinh, elementwise(3, 0, 2)},
        {GLSLstd450Acosh, elementwise(3, 0, 2)},
        {GLSLstd450Atanh, elementwise(3, 0, 2)},
        {GLSLstd450Atan2, elementwise(6, 0, 2)},
        {GLSLstd450Pow, elementwise(1, 0, 2)},
        {GLSLstd450Exp, elementwise(1, 0, 1)},
        {GLSLstd450Log, elementwise(1, 0, 1)},
        {GLSLstd450Exp2, elementwise(0, 0, 1)},
        {GLSLstd450Log2, elementwise(0, 0, 1)},
        {GLSLstd450Sqrt, elementwise(0, 0, 1)},
        {GLSLstd450InverseSqrt, elementwise(0, 0, 1)},
        {GLSLstd450Determinant, shaped(S::Determinant)},
        {GLSLstd450MatrixInverse, shaped(S::Inverse)},
        {GLSLstd450Modf, elementwise(1, 1, 0)},
        {GLSLstd450ModfStruct, elementwise(1, 1, 0)},
        {GLSLstd450FClamp, elementwise(2, 0, 0)},
        {GLSLstd450UClamp, elementwise(2, 0, 0)},
        {GLSLstd450SClamp, elementwise(2, 0, 0)},
        {GLSLstd450FMix, elementwise(2, 0, 0)},
        {GLSLstd450IMix, elementwise(2, 0, 0)},
        {GLSLstd450SmoothStep, elementwise(4, 0, 1)},
        {GLSLstd450Frexp, elementwise(1, 1, 0)},
        {GLSLstd450FrexpStruct, elementwise(1, 1, 0)},
        {GLSLstd450Ldexp, elementwise(1, 1, 0)},
        {GLSLstd450PackSnorm4x8, elementwise(1, 1, 0)},
        {GLSLstd450PackUnorm4x8, elementwise(1, 1, 0)},
        {GLSLstd450PackSnorm2x16, elementwise(1, 1, 0)},
        {GLSLstd450PackUnorm2x16, elementwise(1, 1, 0)},
        {GLSLstd450PackHalf2x16, elementwise(0, 1, 0)},
        {GLSLstd450PackDouble2x32, shaped(S::Free)},
        {GLSLstd450UnpackSnorm2x16, elementwise(1, 1, 0)},
        {GLSLstd450UnpackUnorm2x16, elementwise(1, 1, 0)},
        {GLSLstd450UnpackHalf2x16, elementwise(0, 1, 0)},
        {GLSLstd450UnpackSnorm4x8, elementwise(1, 1, 0)},
        {GLSLstd450UnpackUnorm4x8, elementwise(1, 1, 0)},
        {GLSLstd450UnpackDouble2x32, shaped(S::Free)},
        {GLSLstd450Length, geometric(1, 1)},
        {GLSLstd450Distance, geometric(2, 1)},
        {GLSLstd450Cross, shaped(S::Cross)},
        {GLSLstd450Normalize, geometric(2, 1)},
        {GLSLstd450FaceForward, geometric(2, 0)},
        {GLSLstd450Reflect, geometric(3, 0)},
        {GLSLstd450Refract, geometric(5, 1)},
        {GLSLstd450FindILsb, elementwise(0, 1, 0)},
        {GLSLstd450FindSMsb, elementwise(0, 1, 0)},
        {GLSLstd450FindUMsb, elementwise(0, 1, 0)},
        {GLSLstd450InterpolateAtCentroid, shaped(S::Interpolate)},
        {GLSLstd450InterpolateAtSample, shaped(S::Interpolate)},
        {GLSLstd450InterpolateAtOffset, shaped(S::Interpolate)},
        {GLSLstd450NClamp, elementwise(2, 0, 0)},
        // One fma-pipe operation, like a plain add or multiply.
        {GLSLstd450Fma, elementwise(1, 0, 0)},
        {GLSLstd450FMin, elementwise(1, 0, 0)},
        {GLSLstd450FMax, elementwise(1, 0, 0)},
        {GLSLstd450UMin, elementwise(1, 0, 0)},
        {GLSLstd450UMax, elementwise(1, 0, 0)},
        {GLSLstd450SMin, elementwise(1, 0, 0)},
        {GLSLstd450SMax, elementwise(1, 0, 0)},
        {GLSLstd450NMin, elementwise(1, 0, 0)},
        {GLSLstd450NMax, elementwise(1, 0, 0)},
        {GLSLstd450Step, elementwise(1, 0, 0)},
    };
    return table;
}

const std::unordered_map<uint32_t, Recipe>& opencl_recipes() {
    static const std::unordered_map<uint32_t, Recipe> table = [] {
        std::unordered_map<uint32_t, Recipe> t = {
            {OpenCLLIB::Acos, elementwise(6, 0, 1)},
            {OpenCLLIB::Acosh, elementwise(3, 0, 2)},
            {OpenCLLIB::Acospi, elementwise(6, 0, 1)},
            {OpenCLLIB::Asin, elementwise(6, 0, 1)},
            {OpenCLLIB::Asinh, elementwise(3, 0, 2)},
            {OpenCLLIB::Asinpi, elementwise(6, 0, 1)},
            {OpenCLLIB::Atan, elementwise(6, 0, 1)},
            {OpenCLLIB::Atan2, elementwise(6, 0, 2)},
            {OpenCLLIB::Atanh, elementwise(3, 0, 2)},
            {OpenCLLIB::Atanpi, elementwise(6, 0, 1)},
            {OpenCLLIB::Atan2pi, elementwise(6, 0, 2)},
            {OpenCLLIB::Cbrt, elementwise(2, 0, 2)},
            {OpenCLLIB::Ceil, elementwise(0, 1, 0)},
            {OpenCLLIB::Cos, elementwise(1, 0, 1)},
            {OpenCLLIB::Cosh, elementwise(3, 0, 2)},
            {OpenCLLIB::Cospi, elementwise(1, 0, 1)},
            {OpenCLLIB::Erfc, elementwise(8, 0, 1)},
            {OpenCLLIB::Erf, elementwise(8, 0, 1)},
            {OpenCLLIB::Exp, elementwise(1, 0, 1)},
            {OpenCLLIB::Exp2, elementwise(0, 0, 1)},
            {OpenCLLIB::Exp10, elementwise(1, 0, 1)},
            {OpenCLLIB::Expm1, elementwise(2, 0, 1)},
            {OpenCLLIB::Fabs, shaped(S::Free)},
            {OpenCLLIB::Fdim, elementwise(2, 0, 0)},
            {OpenCLLIB::Floor, elementwise(0, 1, 0)},
            {OpenCLLIB::Fmod, elementwise(2, 1, 1)},
            {OpenCLLIB::Fract, elementwise(1, 1, 0)},
            {OpenCLLIB::Frexp, elementwise(1, 1, 0)},
            {OpenCLLIB::Hypot, elementwise(2, 0, 1)},
            {OpenCLLIB::Ilogb, elementwise(0, 1, 0)},
            {OpenCLLIB::Ldexp, elementwise(1, 1, 0)},
            {OpenCLLIB::Lgamma, elementwise(12, 0, 2)},
            {OpenCLLIB::Lgamma_r, elementwise(12, 0, 2)},
            {OpenCLLIB::Log, elementwise(1, 0, 1)},
            {OpenCLLIB::Log2, elementwise(0, 0, 1)},
            {OpenCLLIB::Log10, elementwise(1, 0, 1)},
            {OpenCLLIB::Log1p, elementwise(2, 0, 1)},
            {OpenCLLIB::Logb, elementwise(0, 1, 0)},
            {OpenCLLIB::Maxmag, elementwise(3, 0, 0)},
            {OpenCLLIB::Minmag, elementwise(3, 0, 0)},
            {OpenCLLIB::Modf, elementwise(1, 1, 0)},
            {OpenCLLIB::Nan, shaped(S::Free)},
            {OpenCLLIB::Nextafter, elementwise(2, 0, 0)},
            {OpenCLLIB::Pow, elementwise(1, 0, 2)},
            {OpenCLLIB::Pown, elementwise(2, 0, 2)},
            {OpenCLLIB::Powr, elementwise(1, 0, 2)},
            {OpenCLLIB::Remainder, elementwise(2, 1, 1)},
            {OpenCLLIB::Remquo, elementwise(2, 1, 1)},
            {OpenCLLIB::Rint, elementwise(0, 1, 0)},
            {OpenCLLIB::Rootn, elementwise(2, 0, 3)},
            {OpenCLLIB::Round, elementwise(0, 1, 0)},
            {OpenCLLIB::Rsqrt, elementwise(0, 0, 1)},
            {OpenCLLIB::Sin, elementwise(1, 0, 1)},
            {OpenCLLIB::Sincos, elementwise(1, 0, 2)},
            {OpenCLLIB::Sinh, elementwise(3, 0, 2)},
            {OpenCLLIB::Sinpi, elementwise(1, 0, 1)},
            {OpenCLLIB::Sqrt, elementwise(0, 0, 1)},
            {OpenCLLIB::Tan, elementwise(2, 0, 3)},
            {OpenCLLIB::Tanh, elementwise(3, 0, 3)},
            {OpenCLLIB::Tanpi, elementwise(2, 0, 3)},
            {OpenCLLIB::Tgamma, elementwise(12, 0, 2)},
            {OpenCLLIB::Trunc, elementwise(0, 1, 0)},
            {OpenCLLIB::FClamp, elementwise(2, 0, 0)},
            {OpenCLLIB::Mix, elementwise(2, 0, 0)},
            {OpenCLLIB::Smoothstep, elementwise(4, 0, 1)},
            {OpenCLLIB::Cross, shaped(S::Cross)},
            {OpenCLLIB::Distance, geometric(2, 1)},
            {OpenCLLIB::Length, geometric(1, 1)},
            {OpenCLLIB::Normalize, geometric(2, 1)},
            {OpenCLLIB::Fast_distance, geometric(2, 1)},
            {OpenCLLIB::Fast_length, geometric(1, 1)},
            {OpenCLLIB::Fast_normalize, geometric(2, 1)},
            {OpenCLLIB::SAbs_diff, elementwise(2, 0, 0)},
            {OpenCLLIB::SAdd_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::UAdd_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::SHadd, elementwise(2, 0, 0)},
            {OpenCLLIB::UHadd, elementwise(2, 0, 0)},
            {OpenCLLIB::SRhadd, elementwise(2, 0, 0)},
            {OpenCLLIB::URhadd, elementwise(2, 0, 0)},
            {OpenCLLIB::SClamp, elementwise(2, 0, 0)},
            {OpenCLLIB::UClamp, elementwise(2, 0, 0)},
            {OpenCLLIB::Clz, elementwise(0, 1, 0)},
            {OpenCLLIB::Ctz, elementwise(0, 1, 0)},
            {OpenCLLIB::SMad_hi, elementwise(2, 0, 0)},
            {OpenCLLIB::Fma, elementwise(1, 0, 0)},
            {OpenCLLIB::Mad, elementwise(1, 0, 0)},
            {OpenCLLIB::Fmin, elementwise(1, 0, 0)},
            {OpenCLLIB::Fmax, elementwise(1, 0, 0)},
            {OpenCLLIB::UMad_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::SMad_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::SMul_hi, elementwise(2, 0, 0)},
            {OpenCLLIB::Rotate, elementwise(0, 1, 0)},
            {OpenCLLIB::SSub_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::USub_sat, elementwise(2, 0, 0)},
            {OpenCLLIB::U_Upsample, elementwise(0, 1, 0)},
            {OpenCLLIB::S_Upsample, elementwise(0, 1, 0)},
            {OpenCLLIB::Popcount, elementwise(0, 1, 0)},
            {OpenCLLIB::Vloadn, shaped(S::Load)},
            {OpenCLLIB::Vstoren, shaped(S::Store)},
            {OpenCLLIB::Vload_half, shaped(S::Load, true)},
            {OpenCLLIB::Vload_halfn, shaped(S::Load, true)},
            {OpenCLLIB::Vstore_half, shaped(S::Store, true)},
            {OpenCLLIB::Vstore_half_r, shaped(S::Store, true)},
            {OpenCLLIB::Vstore_halfn, shaped(S::Store, true)},
            {OpenCLLIB::Vstore_halfn_r, shaped(S::Store, true)},
            {OpenCLLIB::Vloada_halfn, shaped(S::Load, true)},
            {OpenCLLIB::Vstorea_halfn, shaped(S::Store, true)},
            {OpenCLLIB::Vstorea_halfn_r, shaped(S::Store, true)},
            {OpenCLLIB::Shuffle, elementwise(0, 1, 0)},
            {OpenCLLIB::Shuffle2, elementwise(0, 1, 0)},
            {OpenCLLIB::Printf, shaped(S::Message)},
            {OpenCLLIB::Prefetch, shaped(S::Free)},
            {OpenCLLIB::Bitselect, elementwise(3, 0, 0)},
            {OpenCLLIB::UAbs_diff, elementwise(2, 0, 0)},
            {OpenCLLIB::UMul_hi, elementwise(2, 0, 0)},
            {OpenCLLIB::UMad_hi, elementwise(2, 0, 0)},
        };
        // half_ and native_ variants: one special-function operation, with a
        // multiply for division and power, and a second operation for tangent.
        for (uint32_t number = OpenCLLIB::Half_cos; number <= OpenCLLIB::Native_tan; ++number)
            t[number] = elementwise(0, 0, 1);
        for (uint32_t number : {OpenCLLIB::Half_divide, OpenCLLIB::Native_divide}) t[number] = elementwise(1, 0, 1);
        for (uint32_t number : {OpenCLLIB::Half_powr, OpenCLLIB::Native_powr}) t[number] = elementwise(1, 0, 2);
        for (uint32_t number : {OpenCLLIB::Half_tan, OpenCLLIB::Native_tan}) t[number] = elementwise(1, 0, 2);
        return t;
    }();
    return table;
}

}  // namespace

Recipe extended_recipe(const std::string& set, uint32_t number) {
    const std::unordered_map<uint32_t, Recipe>* table = nullptr;
    if (set == "GLSL.std.450") {
        table = &glsl_recipes();
    } else if (set == "OpenCL.std") {
        table = &opencl_recipes();
    } else {
        return shaped(S::Free);
    }
    auto found = table->find(number);
    return found == table->end() ? Recipe{} : found->second;
}

}  // namespace reference
