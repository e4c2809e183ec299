#include "driver/compile_job.h"

#include <algorithm>
#include <stdexcept>

#include <tclap/ArgException.h>

#include "common/text.h"
#include "driver/specialization_constants.h"
#include "input/glslang_validator.h"
#include "input/include_search.h"
#include "input/input_reader.h"
#include "input/spirv_module.h"
#include "report/compile_report.h"
#include "report/core_info.h"
#include "report/core_list.h"
#include "report/format.h"

namespace {

[[noreturn]] void usage_error(const std::string& message) { throw TCLAP::ArgParseException(message); }

std::string api_name_for_message(CompilerType type) {
    switch (type) {
        case CompilerType::OpenCL: return "OpenCL";
        case CompilerType::OpenGLES: return "OpenGL ES";
        case CompilerType::Vulkan: return "Vulkan";
        default: return "Unknown Compiler";
    }
}

// What the input files and stage switches say about the program to compile.
struct InputShape {
    Bytes bytes;
    SourceType stage = SourceType::None;  // the selected row's stage
    bool binary_row = false;
    bool is_spirv = false;
    bool bytes_are_spirv = false;
    std::string spirv_entry;
    std::vector<unsigned> line_ends;  // of each input, when annotating
};

InputShape examine_inputs(const OptionSet& options) {
    const std::vector<std::string>& files = options.input_files.getValue();
    InputShape shape;
    shape.bytes = read_inputs(files, options.annotate.getValue() ? &shape.line_ends : nullptr);

    SourceType identified_stage = SourceType::None;
    shape.bytes_are_spirv = identify_spirv(shape.bytes, identified_stage, shape.spirv_entry);

    SourceType explicit_stage = options.explicit_stage();
    if (explicit_stage == SourceType::None && shape.bytes_are_spirv) explicit_stage = identified_stage;

    if (files.empty()) usage_error("No input files specified.");

    bool any_spv = false;
    const FileExtensionInfo* kept = nullptr;
    for (const std::string& file : files) {
        if (ends_with(file, ".spv")) any_spv = true;
        for (const FileExtensionInfo& row : FILE_EXT_TYPES) {
            if (!ends_with(file, row.extension)) continue;
            if (!kept)
                kept = &row;
            else if (row.type != kept->type && explicit_stage == SourceType::None)
                usage_error("Only one input source type is allowed.");
            break;
        }
    }

    const FileExtensionInfo* selected = kept;
    if (explicit_stage != SourceType::None) {
        selected = nullptr;
        for (const FileExtensionInfo& row : FILE_EXT_TYPES) {
            if (row.type == explicit_stage && row.binary == any_spv) {
                selected = &row;
                break;
            }
        }
    }
    if (!selected) usage_error("No implicit or explicit shader type specified.");

    shape.stage = selected->type;
    shape.binary_row = selected->binary;
    shape.is_spirv = options.spirv.getValue() || shape.bytes_are_spirv || selected->binary;
    return shape;
}

CompilerType choose_api(const OptionSet& options, const InputShape& shape) {
    bool kernel = shape.stage == SourceType::Kernel;
    if (options.vulkan.getValue()) {
        if (kernel) usage_error("For Vulkan, only graphics shaders are allowed.");
        return CompilerType::Vulkan;
    }
    if (options.opengles.getValue()) {
        if (kernel) usage_error("For OpenGL ES, only graphics shaders are allowed.");
        if (shape.binary_row) usage_error("For OpenGL ES, only source shaders are allowed.");
        return CompilerType::OpenGLES;
    }
    // --opencl always holds a value; only an explicit one selects the API.
    if (options.opencl.isSet()) {
        if (!kernel) usage_error("For OpenCL, only compute kernels are allowed.");
        return CompilerType::OpenCL;
    }
    if (kernel) return CompilerType::OpenCL;
    return shape.binary_row ? CompilerType::Vulkan : CompilerType::OpenGLES;
}

bool is_valid_cl_version(const std::string& version) {
    for (const std::string& valid : VALID_CL_VERSIONS)
        if (valid == version) return true;
    return false;
}

void check_api_rules(const OptionSet& options, CompilerType api, const InputShape& shape,
                     const std::string& entrypoint) {
    bool has_sconsts = !options.sconsts.getValue().empty();
    bool has_defines = !options.defines.getValue().empty();
    switch (api) {
        case CompilerType::OpenGLES:
            if (shape.is_spirv) usage_error("For OpenGL ES, using SPIR-V input is not allowed.");
            if (!entrypoint.empty()) usage_error("For OpenGL ES, setting an entrypoint name is not allowed.");
            if (has_sconsts) usage_error("For OpenGL ES, specialization constant overrides are not allowed.");
            break;
        case CompilerType::Vulkan:
            if (!has_defines && shape.is_spirv && options.input_files.getValue().size() >= 2)
                usage_error("For Vulkan, only one SPIR-V binary input is allowed.");
            if (has_defines && shape.is_spirv)
                usage_error("For Vulkan, SPIR-V binary input with preprocessor defines are not allowed.");
            break;
        case CompilerType::OpenCL:
            if (entrypoint.empty()) usage_error("For OpenCL, a kernel entrypoint name must be specified.");
            if (!is_valid_cl_version(options.opencl.getValue()))
                usage_error("For OpenCL, the API version must be one of " + valid_cl_versions_text());
            if (has_sconsts) usage_error("For OpenCL, specialization constant overrides are not allowed.");
            break;
        default: break;
    }
}

void check_opencl_version(const std::string& version, const InputShape& shape, const Compiler& compiler) {
    uint32_t number = static_cast<uint32_t>(version[0] - '0') * 100 + static_cast<uint32_t>(version[2] - '0') * 10;
    if (number < 300 && shape.is_spirv) usage_error("OpenCL " + version + " does not support SPIR-V binary input.");
    if (compiler.version < number) usage_error("OpenCL " + version + " is not supported by " + compiler.core + ".");
}

// Back-ends and the validator read source text up to its first NUL: a NUL
// with text after it (in a comment, say) would hide the rest of the program.
void check_no_hidden_text(const Bytes& source) {
    auto nul = std::find(source.begin(), source.end(), 0);
    if (std::all_of(nul, source.end(), [](auto byte) { return byte == 0; })) return;
    size_t line = 1 + static_cast<size_t>(std::count(source.begin(), nul, '\n'));
    usage_error("Input source contains a NUL byte on line " + std::to_string(line) + ".");
}

std::vector<std::string> search_dirs(const OptionSet& options, const Bytes& source) {
    try {
        return include_search_dirs(source, options.input_files.getValue().front(), options.include_dirs.getValue());
    } catch (const std::invalid_argument& error) {
        usage_error(error.what());
    }
}

std::vector<std::string> complete_defines(const std::vector<std::string>& defines) {
    std::vector<std::string> result;
    for (const std::string& define : defines)
        result.push_back(define.find('=') == std::string::npos ? define + "=1" : define);
    return result;
}

void apply_specialization_constants(Bytes& module, const SpecializationConstants& constants) {
    for (const auto& [location, value] : constants.bools) {
        std::string problem = rewrite_spirv_spec_const_bool(module, location, value);
        if (!problem.empty()) usage_error(problem);
    }
    for (const auto& [location, value] : constants.ints) {
        std::string problem = rewrite_spirv_spec_const_int(module, location, value);
        if (!problem.empty()) usage_error(problem);
    }
}

std::string resolve_entrypoint(const Bytes& module, SourceType stage, std::string entrypoint) {
    std::vector<SpirvEntryPoint> entries = enumerate_spirv_entrypoints(module);
    size_t with_stage = 0;
    std::string only_name;
    for (const auto& [entry_stage, entry_name] : entries) {
        if (entry_stage != stage) continue;
        ++with_stage;
        only_name = entry_name;
    }
    if (with_stage == 0) usage_error("Specified shader stage does not match SPIR-V binary.");
    if (entrypoint.empty()) {
        if (with_stage > 1) usage_error("Specified shader stage is ambiguous and needs an explicit entrypoint name.");
        entrypoint = only_name;
    }
    for (const auto& [entry_stage, entry_name] : entries)
        if (entry_stage == stage && entry_name == entrypoint) return entrypoint;
    usage_error("Specified shader entrypoint does not match SPIR-V binary.");
}

CompileOutputPtr compile_vulkan(Compiler& compiler, InputShape& shape, std::string entrypoint,
                                const std::vector<std::string>& defines, const SpecializationConstants& constants,
                                const std::vector<std::string>& include_dirs, bool annotate, VulkanConverter convert) {
    bool relaxed = false;
    if (!shape.is_spirv) {
        std::vector<std::string> messages;
        shape.bytes = convert(shape.bytes, defines, pretty_print_version_string(compiler.version), entrypoint,
                              shape.stage, messages, relaxed, include_dirs, annotate);
        entrypoint = "main";
        if (!messages.empty()) {
            shadex_outputs nothing{};
            auto output = std::make_unique<CompileOutput>(compiler.architecture, compiler.core, compiler.revision,
                                                          compiler.driver, compiler.type, shape.stage, nothing);
            output->errors.insert(output->errors.end(), messages.begin(), messages.end());
            return output;
        }
    } else if (compiler.architecture == ArchitectureType::Tarsel) {
        uint32_t version = get_spirv_version(shape.bytes);
        if (version > compiler.version)
            usage_error("SPIR-V " + pretty_print_version_string(version) + " is not supported by " + compiler.core +
                        ".");
    }

    std::vector<std::string> warnings = preprocess_spirv(shape.bytes);
    apply_specialization_constants(shape.bytes, constants);
    entrypoint = resolve_entrypoint(shape.bytes, shape.stage, entrypoint);
    CompileOutputPtr output = compiler.compile_spirv(shape.bytes, shape.stage, "", entrypoint, annotate);
    // Module edits come first: they happened before the back-end saw it.
    output->warnings.insert(output->warnings.begin(), warnings.begin(), warnings.end());
    if (relaxed)
        output->warnings.push_back("X0003: GLSL to SPIR-V conversion required relaxed syntax and semantic checks");
    return output;
}

}  // namespace

Compiler* determine_compiler(CompilerManager& manager, const std::string& core, CompilerType type, SourceType stage) {
    if (core == "default") return manager.get_default_compiler(type);
    if (manager.get_compilers(core, CompilerType::Any).empty()) usage_error(core + " is an invalid target core.");
    std::vector<Compiler*> compilers = manager.get_compilers(core, type);
    if (compilers.empty()) usage_error(core + " does not support " + to_string(type) + ".");
    Compiler* compiler = compilers.front();
    if (stage == SourceType::Geometry && !compiler->supports_geometry_shaders())
        usage_error(core + " does not support geometry shaders.");
    if ((stage == SourceType::TessControl || stage == SourceType::TessEvaluation) &&
        !compiler->supports_tessellation_shaders())
        usage_error(core + " does not support tessellation shaders.");
    return compiler;
}

int run_list_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output) {
    ReportFormat format = options.format.getValue();
    print_available_cores(output.report(format), manager, format);
    return 0;
}

int run_info_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output) {
    std::string core = CompilerManager::normalize_core_name(options.core.getValue());
    Compiler* compiler = determine_compiler(manager, core, CompilerType::Any, SourceType::None);
    if (!compiler) throw std::runtime_error("No compiler found matching target GPU");
    ReportFormat format = options.format.getValue();
    print_core_api_info(output.report(format), manager, compiler->driver, compiler->core, compiler->revision, format);
    return 0;
}

int run_compile_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output,
                    VulkanConverter convert_vulkan_glsl) {
    InputShape shape = examine_inputs(options);
    std::string source_text;
    if (!shape.is_spirv) source_text.assign(shape.bytes.begin(), shape.bytes.end());

    CompilerType api = choose_api(options, shape);
    std::string entrypoint = options.name.getValue();
    if (entrypoint.empty() && shape.bytes_are_spirv) entrypoint = shape.spirv_entry;
    check_api_rules(options, api, shape, entrypoint);

    std::string core = CompilerManager::normalize_core_name(options.core.getValue());
    Compiler* compiler = determine_compiler(manager, core, api, shape.stage);
    if (!compiler)
        usage_error("Unable to find the " + api_name_for_message(api) +
                    " compiler library. Run shadex --info to see supported API capabilities.");

    std::string cl_version = options.opencl.getValue();
    if (api == CompilerType::OpenCL) check_opencl_version(cl_version, shape, *compiler);
    if (!shape.is_spirv) check_no_hidden_text(shape.bytes);

    std::vector<std::string> defines = complete_defines(options.defines.getValue());
    SpecializationConstants constants = parse_specialization_constants(options.sconsts.getValue());
    std::vector<std::string> include_dirs;
    if (!shape.is_spirv) include_dirs = search_dirs(options, shape.bytes);

    // The back-end takes the OpenCL C standard in its -cl-std form.
    std::string cl_std = "CL" + cl_version;
    CompileOutputPtr result;
    const bool annotate = options.annotate.getValue();
    if (api == CompilerType::Vulkan)
        result = compile_vulkan(*compiler, shape, entrypoint, defines, constants, include_dirs, annotate,
                                convert_vulkan_glsl);
    else if (api == CompilerType::OpenCL && shape.is_spirv)
        result = compiler->compile_spirv(shape.bytes, shape.stage, cl_std, entrypoint, annotate);
    else
        result = compiler->compile(shape.bytes, shape.stage, cl_std, defines, entrypoint, include_dirs, annotate);

    const ProgramInputs inputs{options.input_files.getValue(), shape.line_ends, shape.is_spirv};
    ReportFormat format = options.format.getValue();
    print_compile_report(output.report(format), options.detailed.getValue(), source_text, *result,
                         options.input_files.getValue().front(), format, annotate ? &inputs : nullptr);
    return result->errors.empty() ? 0 : 1;
}
