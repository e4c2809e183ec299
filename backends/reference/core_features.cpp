#include "core_features.h"

#include <algorithm>
#include <map>
#include <set>

namespace reference {

namespace {

std::vector<std::string> joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// OpenGL ES extensions every core has. Only names the GLSL front end
// compiles are listed: the program probes each with
// "#extension NAME : require" and drops the ones that fail.
const std::vector<std::string>& opengles_es31_extensions() {
    static const std::vector<std::string> names = {
        "GL_OES_standard_derivatives",
        "GL_EXT_shader_texture_lod",
        "GL_EXT_shadow_samplers",
        "GL_EXT_frag_depth",
        "GL_OES_EGL_image_external",
        "GL_OES_EGL_image_external_essl3",
        "GL_OES_texture_3D",
        "GL_OVR_multiview",
        "GL_OVR_multiview2",
        "GL_EXT_multiview",
        "GL_OES_sample_variables",
        "GL_OES_shader_image_atomic",
        "GL_OES_shader_multisample_interpolation",
        "GL_OES_texture_storage_multisample_2d_array",
        "GL_EXT_shader_non_constant_global_initializers",
        "GL_EXT_shader_integer_mix",
        "GL_EXT_YUV_target",
        "GL_EXT_blend_func_extended",
        "GL_EXT_texture_shadow_lod",
        "GL_EXT_shader_explicit_arithmetic_types_float16",
        "GL_EXT_shader_explicit_arithmetic_types_int16",
        // Reading the tile buffer; the front end spells these for glslang.
        "GL_EXT_shader_framebuffer_fetch",
        "GL_EXT_shader_framebuffer_fetch_non_coherent",
        "GL_OVYN_shader_framebuffer_fetch",
        "GL_OVYN_shader_framebuffer_fetch_depth_stencil",
    };
    return names;
}

// What ES 3.2 folded in, offered as extensions to 3.1 shaders too.
const std::vector<std::string>& opengles_es32_extensions() {
    static const std::vector<std::string> names = {
        "GL_ANDROID_extension_pack_es31a",
        "GL_KHR_blend_equation_advanced",
        "GL_EXT_geometry_shader",
        "GL_OES_geometry_shader",
        "GL_EXT_gpu_shader5",
        "GL_OES_gpu_shader5",
        "GL_EXT_primitive_bounding_box",
        "GL_OES_primitive_bounding_box",
        "GL_EXT_shader_io_blocks",
        "GL_OES_shader_io_blocks",
        "GL_EXT_tessellation_shader",
        "GL_OES_tessellation_shader",
        "GL_EXT_texture_buffer",
        "GL_OES_texture_buffer",
        "GL_EXT_texture_cube_map_array",
        "GL_OES_texture_cube_map_array",
    };
    return names;
}

// SPIR-V and OpenCL extensions by generation; each generation keeps its
// predecessor's.
const std::vector<std::string>& spirv_base_extensions() {
    static const std::vector<std::string> names = {
        "SPV_KHR_storage_buffer_storage_class",
        "SPV_KHR_variable_pointers",
        "SPV_KHR_shader_draw_parameters",
        "SPV_KHR_multiview",
    };
    return names;
}

const std::vector<std::string>& spirv_ostrem_extensions() {
    static const std::vector<std::string> names = {
        "SPV_KHR_16bit_storage",     "SPV_KHR_8bit_storage",  "SPV_KHR_float_controls", "SPV_EXT_descriptor_indexing",
        "SPV_KHR_non_semantic_info", "SPV_KHR_shader_ballot", "SPV_KHR_subgroup_vote",
    };
    return names;
}

const std::vector<std::string>& spirv_pelion_extensions() {
    static const std::vector<std::string> names = {
        "SPV_KHR_vulkan_memory_model",  "SPV_KHR_physical_storage_buffer", "SPV_EXT_demote_to_helper_invocation",
        "SPV_KHR_terminate_invocation", "SPV_KHR_integer_dot_product",     "SPV_EXT_fragment_shader_interlock",
    };
    return names;
}

const std::vector<std::string>& spirv_fifth_generation_extensions() {
    static const std::vector<std::string> names = {"SPV_KHR_ray_tracing", "SPV_KHR_ray_query"};
    return names;
}

// The OpenCL names are macros the OpenCL C front end defines, so a probe
// finds them.
const std::vector<std::string>& opencl_base_extensions() {
    static const std::vector<std::string> names = {
        "cl_khr_global_int32_base_atomics",
        "cl_khr_global_int32_extended_atomics",
        "cl_khr_local_int32_base_atomics",
        "cl_khr_local_int32_extended_atomics",
        "cl_khr_byte_addressable_store",
        "cl_khr_3d_image_writes",
        "cl_khr_fp16",
        "cl_khr_int64_base_atomics",
        "cl_khr_int64_extended_atomics",
    };
    return names;
}

const std::vector<std::string>& opencl_ostrem_extensions() {
    static const std::vector<std::string> names = {"cl_khr_depth_images", "cl_khr_subgroups"};
    return names;
}

const std::vector<std::string>& opencl_pelion_extensions() {
    static const std::vector<std::string> names = {
        "cl_khr_integer_dot_product",
        "cl_khr_extended_bit_ops",
        "cl_khr_subgroup_ballot",
        "cl_khr_subgroup_shuffle",
        "cl_khr_subgroup_shuffle_relative",
        "cl_khr_subgroup_non_uniform_vote",
        "cl_khr_subgroup_non_uniform_arithmetic",
        "cl_khr_subgroup_clustered_reduce",
        "cl_khr_subgroup_extended_types",
    };
    return names;
}

// The versions up to the highest a core offers.
std::vector<int> versions_up_to(const std::vector<int>& all, int highest) {
    std::vector<int> offered;
    for (int version : all)
        if (version <= highest) offered.push_back(version);
    return offered;
}

const std::vector<int> OPENGLES_VERSIONS = {100, 300, 310, 320};
const std::vector<int> SPIRV_VERSIONS = {100, 110, 120, 130, 140, 150, 160};

CoreFeatures tarsel_features(const CoreRow& core) {
    CoreFeatures features;
    // A Tarsel core older than ES 3.2 has no Vulkan either: no geometry or
    // tessellation stages, no SPIR-V.
    const bool first_core = core.highest_opengles < 320;
    features.opengles_versions = versions_up_to(OPENGLES_VERSIONS, core.highest_opengles);
    features.spirv_versions = versions_up_to(SPIRV_VERSIONS, core.highest_spirv);
    // OpenCL 3.0 is 1.2 with everything newer optional, which these cores
    // can offer; 2.0 requires what they lack.
    features.opencl_versions = {110, 120, 300};
    features.geometry_shaders = !first_core;
    features.tessellation_shaders = !first_core;
    features.opengles_extensions =
        first_core ? opengles_es31_extensions() : joined(opengles_es31_extensions(), opengles_es32_extensions());
    if (!first_core) features.spirv_extensions = spirv_base_extensions();
    features.opencl_extensions = joined(opencl_base_extensions(), {"cl_khr_fp64"});
    return features;
}

CoreFeatures ostrem_features(const CoreRow& core) {
    CoreFeatures features;
    features.opengles_versions = versions_up_to(OPENGLES_VERSIONS, core.highest_opengles);
    features.spirv_versions = versions_up_to(SPIRV_VERSIONS, core.highest_spirv);
    features.opencl_versions = {110, 120, 200, 300};
    features.geometry_shaders = true;
    features.tessellation_shaders = true;
    // Pixel local storage came with the second unified architecture.
    features.opengles_extensions =
        joined(joined(opengles_es31_extensions(), opengles_es32_extensions()), {"GL_EXT_shader_pixel_local_storage"});
    features.spirv_extensions = joined(spirv_base_extensions(), spirv_ostrem_extensions());
    features.opencl_extensions = joined(opencl_base_extensions(), opencl_ostrem_extensions());
    return features;
}

CoreFeatures pelion_features(const CoreRow& core) {
    CoreFeatures features = ostrem_features(core);
    features.opencl_versions = {110, 120, 200, 300};
    features.spirv_extensions = joined(features.spirv_extensions, spirv_pelion_extensions());
    features.opencl_extensions = joined(features.opencl_extensions, opencl_pelion_extensions());
    return features;
}

CoreFeatures fifth_generation_features(const CoreRow& core) {
    CoreFeatures features = pelion_features(core);
    features.ray_tracing = true;
    features.spirv_extensions = joined(features.spirv_extensions, spirv_fifth_generation_extensions());
    return features;
}

template <typename T>
std::vector<T> merged(const std::vector<T>& so_far, const std::vector<T>& more) {
    std::vector<T> result = so_far;
    for (const T& item : more) {
        if (std::find(result.begin(), result.end(), item) == result.end()) result.push_back(item);
    }
    return result;
}

CoreFeatures features_of(const CoreRow& core) {
    switch (core.architecture) {
        case Architecture::Tarsel: return tarsel_features(core);
        case Architecture::Ostrem: return ostrem_features(core);
        case Architecture::Pelion: return pelion_features(core);
        case Architecture::FifthGen: return fifth_generation_features(core);
    }
    return CoreFeatures{};
}

}  // namespace

const CoreFeatures& core_features(const CoreInfo& core) {
    static const std::map<std::string, CoreFeatures> by_core = [] {
        std::map<std::string, CoreFeatures> table;
        for (const CoreRow& known : core_table()) table.emplace(known.name, features_of(known));
        return table;
    }();
    auto found = by_core.find(core.name);
    if (found != by_core.end()) return found->second;
    // A core outside the catalogue offers nothing.
    static const CoreFeatures nothing;
    return nothing;
}

int highest_version(const std::vector<int>& versions) {
    return versions.empty() ? 0 : *std::max_element(versions.begin(), versions.end());
}

std::string version_list_text(const std::vector<int>& versions) {
    std::string text;
    for (int version : versions) text += (text.empty() ? "" : " ") + std::to_string(version);
    return text;
}

std::string name_list_text(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
}

namespace {

// What any core offers, in the order the cores first offer it.
template <typename T>
std::vector<T> offered_by_any_core(std::vector<T> CoreFeatures::*member) {
    std::vector<T> all;
    for (const CoreInfo& core : reference_cores()) all = merged(all, core_features(core).*member);
    return all;
}

std::vector<int> ascending(std::vector<int> versions) {
    std::sort(versions.begin(), versions.end());
    return versions;
}

}  // namespace

// The tables below are the same for the life of the process; the program
// asks for them once per probe compile, so they are built once.
const std::vector<int>& all_opengles_versions() {
    static const std::vector<int> versions = ascending(offered_by_any_core(&CoreFeatures::opengles_versions));
    return versions;
}

const std::vector<int>& all_opencl_versions() {
    static const std::vector<int> versions = ascending(offered_by_any_core(&CoreFeatures::opencl_versions));
    return versions;
}

const std::vector<std::string>& all_opengles_extensions() {
    static const std::vector<std::string> names = offered_by_any_core(&CoreFeatures::opengles_extensions);
    return names;
}

const std::vector<std::string>& all_opencl_extensions() {
    static const std::vector<std::string> names = offered_by_any_core(&CoreFeatures::opencl_extensions);
    return names;
}

}  // namespace reference
