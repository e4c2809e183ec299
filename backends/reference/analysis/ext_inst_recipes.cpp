#include "analysis/ext_inst_recipes.h"

#include <unordered_map>

namespace reference {

namespace {

using S = RecipeShape;

Recipe elementwise(uint8_t fma, uint8_t cvt, uint8_t sfu) {
    return {S::Elementwise, fma, cvt, sfu, false};
}
Recipe geometric(uint8_t passes, uint8_t sfu) {
    return {S::Geometric, passes, 0, sfu, false};
}
Recipe shaped(RecipeShape shape, bool half_data = false) {
    return {shape, 0, 0, 0, half_data};
}

// Transcendentals take one special-function operation plus the fma work of
// range reduction or scaling; pow is exp(log(x) * y); division is a
// reciprocal and a multiply.
const std::unordered_map<uint32_t, Recipe>& glsl_recipes() {
    static const std::unordered_map<uint32_t, Recipe> table = {
        {1, elementwise(0, 1, 0)},  {2, elementwise(0, 1, 0)},  {3, elementwise(0, 1, 0)},
        {4, shaped(S::Free)},       {5, elementwise(1, 0, 0)},  {6, elementwise(1, 0, 0)},
        {7, elementwise(1, 0, 0)},  {8, elementwise(0, 1, 0)},  {9, elementwise(0, 1, 0)},
        {10, elementwise(1, 1, 0)}, {11, elementwise(1, 0, 0)}, {12, elementwise(1, 0, 0)},
        {13, elementwise(1, 0, 1)}, {14, elementwise(1, 0, 1)}, {15, elementwise(2, 0, 3)},
        {16, elementwise(6, 0, 1)}, {17, elementwise(6, 0, 1)}, {18, elementwise(6, 0, 1)},
        {19, elementwise(3, 0, 2)}, {20, elementwise(3, 0, 2)}, {21, elementwise(3, 0, 3)},
        {22, elementwise(3, 0, 2)}, {23, elementwise(3, 0, 2)}, {24, elementwise(3, 0, 2)},
        {25, elementwise(6, 0, 2)}, {26, elementwise(1, 0, 2)}, {27, elementwise(1, 0, 1)},
        {28, elementwise(1, 0, 1)}, {29, elementwise(0, 0, 1)}, {30, elementwise(0, 0, 1)},
        {31, elementwise(0, 0, 1)}, {32, elementwise(0, 0, 1)}, {33, shaped(S::Determinant)},
        {34, shaped(S::Inverse)},   {35, elementwise(1, 1, 0)}, {36, elementwise(1, 1, 0)},
        {43, elementwise(2, 0, 0)}, {44, elementwise(2, 0, 0)}, {45, elementwise(2, 0, 0)},
        {46, elementwise(2, 0, 0)}, {47, elementwise(2, 0, 0)}, {49, elementwise(4, 0, 1)},
        {51, elementwise(1, 1, 0)}, {52, elementwise(1, 1, 0)}, {53, elementwise(1, 1, 0)},
        {54, elementwise(1, 1, 0)}, {55, elementwise(1, 1, 0)}, {56, elementwise(1, 1, 0)},
        {57, elementwise(1, 1, 0)}, {58, elementwise(0, 1, 0)}, {59, shaped(S::Free)},
        {60, elementwise(1, 1, 0)}, {61, elementwise(1, 1, 0)}, {62, elementwise(0, 1, 0)},
        {63, elementwise(1, 1, 0)}, {64, elementwise(1, 1, 0)}, {65, shaped(S::Free)},
        {66, geometric(1, 1)},      {67, geometric(2, 1)},      {68, shaped(S::Cross)},
        {69, geometric(2, 1)},      {70, geometric(2, 0)},      {71, geometric(3, 0)},
        {72, geometric(5, 1)},      {73, elementwise(0, 1, 0)}, {74, elementwise(0, 1, 0)},
        {75, elementwise(0, 1, 0)}, {76, shaped(S::Interpolate)}, {77, shaped(S::Interpolate)},
        {78, shaped(S::Interpolate)}, {81, elementwise(2, 0, 0)},
    };
    return table;
}

const std::unordered_map<uint32_t, Recipe>& opencl_recipes() {
    static const std::unordered_map<uint32_t, Recipe> table = [] {
        std::unordered_map<uint32_t, Recipe> t = {
            {0, elementwise(6, 0, 1)},   {1, elementwise(3, 0, 2)},   {2, elementwise(6, 0, 1)},
            {3, elementwise(6, 0, 1)},   {4, elementwise(3, 0, 2)},   {5, elementwise(6, 0, 1)},
            {6, elementwise(6, 0, 1)},   {7, elementwise(6, 0, 2)},   {8, elementwise(3, 0, 2)},
            {9, elementwise(6, 0, 1)},   {10, elementwise(6, 0, 2)},  {11, elementwise(2, 0, 2)},
            {12, elementwise(0, 1, 0)},  {14, elementwise(1, 0, 1)},  {15, elementwise(3, 0, 2)},
            {16, elementwise(1, 0, 1)},  {17, elementwise(8, 0, 1)},  {18, elementwise(8, 0, 1)},
            {19, elementwise(1, 0, 1)},  {20, elementwise(0, 0, 1)},  {21, elementwise(1, 0, 1)},
            {22, elementwise(2, 0, 1)},  {23, shaped(S::Free)},       {24, elementwise(2, 0, 0)},
            {25, elementwise(0, 1, 0)},  {29, elementwise(2, 1, 1)},  {30, elementwise(1, 1, 0)},
            {31, elementwise(1, 1, 0)},  {32, elementwise(2, 0, 1)},  {33, elementwise(0, 1, 0)},
            {34, elementwise(1, 1, 0)},  {35, elementwise(12, 0, 2)}, {36, elementwise(12, 0, 2)},
            {37, elementwise(1, 0, 1)},  {38, elementwise(0, 0, 1)},  {39, elementwise(1, 0, 1)},
            {40, elementwise(2, 0, 1)},  {41, elementwise(0, 1, 0)},  {43, elementwise(3, 0, 0)},
            {44, elementwise(3, 0, 0)},  {45, elementwise(1, 1, 0)},  {46, shaped(S::Free)},
            {47, elementwise(2, 0, 0)},  {48, elementwise(1, 0, 2)},  {49, elementwise(2, 0, 2)},
            {50, elementwise(1, 0, 2)},  {51, elementwise(2, 1, 1)},  {52, elementwise(2, 1, 1)},
            {53, elementwise(0, 1, 0)},  {54, elementwise(2, 0, 3)},  {55, elementwise(0, 1, 0)},
            {56, elementwise(0, 0, 1)},  {57, elementwise(1, 0, 1)},  {58, elementwise(1, 0, 2)},
            {59, elementwise(3, 0, 2)},  {60, elementwise(1, 0, 1)},  {61, elementwise(0, 0, 1)},
            {62, elementwise(2, 0, 3)},  {63, elementwise(3, 0, 3)},  {64, elementwise(2, 0, 3)},
            {65, elementwise(12, 0, 2)}, {66, elementwise(0, 1, 0)},
            {95, elementwise(2, 0, 0)},  {99, elementwise(2, 0, 0)},  {102, elementwise(4, 0, 1)},
            {104, shaped(S::Cross)},     {105, geometric(2, 1)},      {106, geometric(1, 1)},
            {107, geometric(2, 1)},      {108, geometric(2, 1)},      {109, geometric(1, 1)},
            {110, geometric(2, 1)},
            {142, elementwise(2, 0, 0)}, {143, elementwise(2, 0, 0)}, {144, elementwise(2, 0, 0)},
            {145, elementwise(2, 0, 0)}, {146, elementwise(2, 0, 0)}, {147, elementwise(2, 0, 0)},
            {148, elementwise(2, 0, 0)}, {149, elementwise(2, 0, 0)}, {150, elementwise(2, 0, 0)},
            {151, elementwise(0, 1, 0)}, {152, elementwise(0, 1, 0)}, {153, elementwise(2, 0, 0)},
            {154, elementwise(2, 0, 0)}, {155, elementwise(2, 0, 0)}, {160, elementwise(2, 0, 0)},
            {161, elementwise(0, 1, 0)}, {162, elementwise(2, 0, 0)}, {163, elementwise(2, 0, 0)},
            {164, elementwise(0, 1, 0)}, {165, elementwise(0, 1, 0)}, {166, elementwise(0, 1, 0)},
            {171, shaped(S::Load)},      {172, shaped(S::Store)},     {173, shaped(S::Load, true)},
            {174, shaped(S::Load, true)}, {175, shaped(S::Store, true)}, {176, shaped(S::Store, true)},
            {177, shaped(S::Store, true)}, {178, shaped(S::Store, true)}, {179, shaped(S::Load, true)},
            {180, shaped(S::Store, true)}, {181, shaped(S::Store, true)}, {182, elementwise(0, 1, 0)},
            {183, elementwise(0, 1, 0)}, {184, shaped(S::Message)},   {185, shaped(S::Free)},
            {186, elementwise(3, 0, 0)}, {202, elementwise(2, 0, 0)}, {203, elementwise(2, 0, 0)},
            {204, elementwise(2, 0, 0)},
        };
        // half_ and native_ variants: one special-function operation, with a
        // multiply for division and power, and a second operation for tangent.
        for (uint32_t number = 67; number <= 94; ++number) t[number] = elementwise(0, 0, 1);
        for (uint32_t number : {68u, 82u}) t[number] = elementwise(1, 0, 1);
        for (uint32_t number : {75u, 89u}) t[number] = elementwise(1, 0, 2);
        for (uint32_t number : {80u, 94u}) t[number] = elementwise(1, 0, 2);
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
