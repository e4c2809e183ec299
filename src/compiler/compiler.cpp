#include "compiler/compiler.h"

#include <algorithm>

#include "common/koro_exception.h"
#include "common/promise.h"
#include "compiler/compiler_library.h"
#include "compiler/compiler_manager.h"
#include "compiler/core_tables.h"
#include "input/compile_input.h"

const std::vector<std::string> DEFAULT_OPENCL_EXTENSIONS = {
    "cl_khr_global_int32_base_atomics",
    "cl_khr_global_int32_extended_atomics",
    "cl_khr_local_int32_base_atomics",
    "cl_khr_local_int32_extended_atomics",
    "cl_khr_byte_addressable_store",
    "cl_khr_3d_image_writes",
    "cl_khr_fp64",
    "cl_khr_int64_base_atomics",
    "cl_khr_int64_extended_atomics",
    "cl_khr_fp16",
    "cl_khr_gl_sharing",
    "cl_khr_icd",
    "cl_khr_egl_event",
    "cl_khr_egl_image",
    "cl_ovyn_core_id",
    "cl_ovyn_printf",
    "cl_ovyn_thread_limit_hint",
    "cl_ovyn_non_uniform_work_group_size",
    "cl_ovyn_import_memory",
};

const std::vector<std::string> DEFAULT_OPENGLES_EXTENSIONS = {
    "GL_OVYN_shader_framebuffer_fetch",
    "GL_OVYN_shader_framebuffer_fetch_depth_stencil",
    "GL_EXT_shader_pixel_local_storage",
    "GL_EXT_shader_texture_lod",
    "GL_EXT_shadow_samplers",
    "GL_OES_EGL_image_external",
    "GL_OES_gpu_shader5",
    "GL_OES_standard_derivatives",
    "GL_OES_texture_3D",
    "GL_OES_texture_buffer",
    "GL_OES_texture_cube_map_array",
    "GL_ANDROID_extension_pack_es31a",
    "GL_KHR_blend_equation_advanced",
    "GL_OES_sample_variables",
    "GL_OES_shader_image_atomic",
    "GL_OES_shader_multisample_interpolation",
    "GL_OES_texture_storage_multisample_2d_array",
    "GL_EXT_geometry_shader",
    "GL_EXT_gpu_shader5",
    "GL_EXT_primitive_bounding_box",
    "GL_EXT_shader_io_blocks",
    "GL_EXT_tessellation_shader",
    "GL_EXT_texture_buffer",
    "GL_EXT_texture_cube_map_array",
};

namespace {

uint32_t highest_version(const std::vector<uint32_t>& versions, CompilerType type, const std::string& core) {
    uint32_t highest = versions.empty() ? 0 : *std::max_element(versions.begin(), versions.end());
    if (type == CompilerType::OpenGLES && Denylist::CORES_ES32.count(core) && highest >= 311) highest = 310;
    return highest;
}

std::set<std::string> offered_extensions(const std::vector<std::string>& extensions, CompilerType type) {
    if (!extensions.empty()) return {extensions.begin(), extensions.end()};
    if (type == CompilerType::OpenGLES) return {DEFAULT_OPENGLES_EXTENSIONS.begin(), DEFAULT_OPENGLES_EXTENSIONS.end()};
    if (type == CompilerType::OpenCL) return {DEFAULT_OPENCL_EXTENSIONS.begin(), DEFAULT_OPENCL_EXTENSIONS.end()};
    return {};
}

// Digits from `position` on, saturating at the 32-bit maximum; 0 when none.
uint32_t read_number(const std::string& text, size_t position) {
    uint64_t value = 0;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
        value = std::min<uint64_t>(value * 10 + uint64_t(text[position] - '0'), UINT32_MAX);
        ++position;
    }
    return static_cast<uint32_t>(value);
}

uint32_t number_after(const std::string& text, const std::string& marker) {
    size_t at = text.find(marker);
    return at == std::string::npos ? 0 : read_number(text, at + marker.size());
}

Bytes as_bytes(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

// Back-ends read source text up to its NUL; the caller's bytes need not end in one.
const Bytes& nul_terminated(const Bytes& source, Bytes& copy) {
    if (!source.empty() && source.back() == 0) return source;
    copy = source;
    copy.push_back(0);
    return copy;
}

// The OpenCL C standard in the form the compile job sends it ("CL1.2").
std::string as_cl_std(uint32_t version) {
    return "CL" + std::to_string(version / 100) + "." + std::to_string(version / 10 % 10);
}

}  // namespace

Compiler::Compiler(const std::string& driver_in, const std::string& core_in, const std::string& revision_in,
                   CompilerType type_in, const std::vector<uint32_t>& versions,
                   const std::vector<std::string>& extensions_in, const std::set<std::string>& variants_in,
                   std::shared_ptr<CompilerLibrary> library_in)
    : driver(driver_in), architecture(CompilerManager::get_architecture_for_core(core_in)), core(core_in),
      revision(revision_in), type(type_in), version(highest_version(versions, type_in, core_in)),
      extensions(offered_extensions(extensions_in, type_in)), variants(variants_in), library(std::move(library_in)) {}

bool Compiler::matches(const std::optional<std::string>& wanted_driver, const std::optional<std::string>& wanted_core,
                       const std::optional<std::string>& wanted_revision, CompilerType wanted_type,
                       uint32_t min_version) const {
    if (wanted_driver && *wanted_driver != driver) return false;
    if (wanted_core && *wanted_core != core) return false;
    if (wanted_revision && *wanted_revision != revision) return false;
    if (version < min_version) return false;
    return wanted_type == CompilerType::Any || wanted_type == type;
}

bool Compiler::before(const Compiler& a, const Compiler& b) {
    uint32_t a_index = CompilerManager::get_sort_index_for_core(a.core);
    uint32_t b_index = CompilerManager::get_sort_index_for_core(b.core);
    if (a_index != b_index) return a_index > b_index;
    std::array<uint32_t, 4> a_revision = parse_core_revision(a.revision);
    std::array<uint32_t, 4> b_revision = parse_core_revision(b.revision);
    for (size_t i = 0; i < a_revision.size(); ++i) {
        if (a_revision[i] != b_revision[i]) return a_revision[i] > b_revision[i];
    }
    return false;
}

std::array<uint32_t, 4> Compiler::parse_core_revision(const std::string& revision) {
    std::array<uint32_t, 4> numbers{0, 0, 0, 0};
    if (!revision.empty() && revision[0] == 'r') {
        numbers[0] = read_number(revision, 1);
        size_t p = revision.find_first_not_of("0123456789", 1);
        if (p != std::string::npos && revision[p] == 'p') numbers[1] = read_number(revision, p + 1);
    }
    numbers[2] = number_after(revision, "dr");
    numbers[3] = number_after(revision, "vl");
    return numbers;
}

const std::set<std::string>& Compiler::get_extensions() {
    if (!extensions_validated) {
        extensions_validated = true;
        if (type == CompilerType::OpenGLES) validate_opengles_extensions();
        if (type == CompilerType::OpenCL) validate_opencl_extensions();
    }
    return extensions;
}

bool Compiler::has_extension(const std::string& name) { return get_extensions().count(name) > 0; }

bool Compiler::supports_compute_shaders() const {
    if (type == CompilerType::OpenCL) return false;
    if (type != CompilerType::OpenGLES) return true;
    return version > 309;
}

bool Compiler::supports_geometry_shaders() {
    if (type == CompilerType::OpenCL) return false;
    if (type != CompilerType::OpenGLES) return true;
    return version > 319 || has_extension("GL_EXT_geometry_shader");
}

bool Compiler::supports_tessellation_shaders() {
    if (type == CompilerType::OpenCL) return false;
    if (type != CompilerType::OpenGLES) return true;
    return version > 319 || has_extension("GL_EXT_tessellation_shader");
}

void Compiler::validate_opengles_extensions() {
    const std::string version_line = "#version " + std::to_string(version) + (version == 100 ? "" : " es");
    for (const std::string& name : std::set<std::string>(extensions)) {
        Bytes source = as_bytes(version_line + "\n#extension " + name + " : require\nvoid main() {}");
        if (!probe(source, SourceType::Fragment, "", "")) extensions.erase(name);
    }
}

void Compiler::validate_opencl_extensions() {
    if (architecture != ArchitectureType::Tarsel) return;
    // A supported extension defines a macro of its own name: the kernel then
    // compiles, and without the macro the #error branch fails the probe.
    for (const std::string& name : std::set<std::string>(extensions)) {
        Bytes source = as_bytes("\n#ifdef " + name + "\nkernel void k() {}\n#else\n#error " + name + "\n#endif\n");
        if (!probe(source, SourceType::Kernel, as_cl_std(version), "k")) extensions.erase(name);
    }
}

bool Compiler::probe(const Bytes& source, SourceType source_type, const std::string& cl_std,
                     const std::string& kernel_name) {
    try {
        return compile(source, source_type, cl_std, {}, kernel_name)->errors.empty();
    } catch (const std::exception&) {
        return false;
    }
}

// The target and the two options every compile starts with; `copy` holds the
// NUL-terminated bytes when the input needed one, and must outlive the input.
CompileInput Compiler::start_input(const Bytes& bytes, Bytes& copy, SourceType source_type) const {
    CompileInput input(nul_terminated(bytes, copy), CompilerManager::compilerize_core_name(core), revision);
    input.add_flexible_input("compiler_type", to_api_literal(type));
    input.add_flexible_input("shader_type", to_api_literal(source_type));
    return input;
}

CompileOutputPtr Compiler::compile(const Bytes& source, SourceType source_type, const std::string& cl_std,
                                   const std::vector<std::string>& defines, const std::string& kernel_name,
                                   const std::vector<std::string>& include_paths, bool source_costs) {
    Bytes copy;
    CompileInput input = start_input(source, copy, source_type);
    for (const std::string& define : defines) input.add_flexible_input("define", define);
    if (source_type == SourceType::Kernel) {
        if (!kernel_name.empty()) input.add_flexible_input("kernel_name", kernel_name);
        input.add_flexible_input("cl_std", cl_std);
    }
    add_request_options(input, source_type);
    if (source_type == SourceType::Fragment && variants.count("per_fragment_shader"))
        input.add_flexible_input("variants", "per_fragment_shader");
    for (const std::string& path : include_paths) input.add_flexible_input("include_path", path);
    return run(input, source_type, source_costs);
}

CompileOutputPtr Compiler::compile_spirv(const Bytes& module, SourceType source_type, const std::string& cl_std,
                                         const std::string& entrypoint, bool source_costs) {
    Bytes copy;
    CompileInput input = start_input(module, copy, source_type);
    input.add_flexible_input("spirv", "true");
    input.add_flexible_input("spirv_binary_length", std::to_string(static_cast<unsigned long>(module.size())));
    if (source_type != SourceType::Kernel) {
        if (!entrypoint.empty()) input.add_flexible_input("spirv_entrypoint_name", entrypoint);
    } else {
        if (!entrypoint.empty()) input.add_flexible_input("kernel_name", entrypoint);
        input.add_flexible_input("cl_std", cl_std);
    }
    add_request_options(input, source_type);
    return run(input, source_type, source_costs);
}

void Compiler::add_request_options(CompileInput& input, SourceType source_type) const {
    if (architecture == ArchitectureType::Tarsel) return;
    input.add_flexible_input("request-pilot", "true");
    if (source_type == SourceType::Vertex) input.add_flexible_input("request-idvs", "true");
}

CompileOutputPtr Compiler::run(CompileInput& input, SourceType source_type, bool source_costs) {
    if (source_costs) input.add_flexible_input("request-source-costs", "true");
    shadex_outputs outputs{};
    do_compile(input.get(), &outputs);
    // Released once whether or not the copy below succeeds.
    Promise release([this, &outputs] { library->release_outputs(&outputs); });
    return std::make_unique<CompileOutput>(architecture, core, revision, driver, type, source_type, outputs,
                                           source_costs);
}

void Compiler::do_compile(const shadex_inputs* inputs, shadex_outputs* outputs) {
    shadex_u32 status = library->compile(inputs, outputs);
    if (status != 0) {
        library->release_outputs(outputs);
        throw KoroException_("Compile error", status);
    }
}
