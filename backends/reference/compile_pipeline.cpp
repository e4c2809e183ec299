#include "compile_pipeline.h"

#include <cstring>

#include "analysis/analyse.h"
#include "api.h"
#include "core_features.h"
#include "debug_lines.h"
#include "feature_checks.h"
#include "glsl_es_front_end.h"
#include "opencl_front_end.h"
#include "opengles_rules.h"
#include "spirv_module_info.h"
#include "spirv_optimiser.h"
#include "spirv_validation.h"
#include "tile_features.h"

namespace reference {

namespace {

constexpr int DEFAULT_OPENCL_VERSION = 120;
// Deeper nesting than any real program needs; the validator's structured
// control-flow checks grow with the cube of the depth (1000 levels take
// most of a minute), so deeper modules are refused before it runs.
constexpr size_t MAX_CONTROL_FLOW_NESTING = 256;

void append(std::vector<std::string>& to, const std::vector<std::string>& lines) {
    to.insert(to.end(), lines.begin(), lines.end());
}

FrontEndResult read_module(const char* source, size_t length) {
    FrontEndResult result;
    if (length % 4 != 0 || length < 20) {
        result.errors.push_back("Invalid SPIR-V module: its size, " + std::to_string(length) +
                                " bytes, is not a whole number of words of at least a header");
        return result;
    }
    result.module.resize(length / 4);
    std::memcpy(result.module.data(), source, length);
    if (result.module[0] != spv::MagicNumber) {
        result.errors.push_back("Invalid SPIR-V module: wrong magic number");
        result.module.clear();
    }
    return result;
}

// "capability operand: 6022" from "Invalid SPIR-V module: Invalid capability operand: 6022".
std::string unknown_part(const std::string& error) {
    const std::string invalid = "Invalid ";
    const size_t at = error.rfind(invalid);
    return at == std::string::npos ? error : error.substr(at + invalid.size());
}

spv_target_env environment_for(Api api, const std::vector<uint32_t>& module) {
    switch (api) {
        case Api::OpenGLES: return opengles_environment();
        case Api::Vulkan: return vulkan_environment(module_version(module));
        case Api::OpenCLSource:
        case Api::OpenCLSpirv: return opencl_environment(module_version(module));
    }
    return SPV_ENV_UNIVERSAL_1_0;
}

// The entry point to analyse: the one named, or else the first of the
// stage's execution model. Sets an error line when there is none.
std::string choose_entry_point(const std::vector<uint32_t>& module, Api api, Stage stage, const CompileOptions& options,
                               std::vector<std::string>& errors) {
    std::string wanted = options.entry_point;
    if (is_opencl(api)) wanted = options.kernel_name;
    if (api == Api::OpenGLES) wanted = "main";

    const uint32_t model = execution_model(stage);
    std::vector<std::string> candidates;
    for (const EntryPoint& entry : entry_points(module)) {
        if (entry.execution_model != model) continue;
        if (entry.name == wanted) return wanted;
        candidates.push_back(entry.name);
    }
    const std::string kind = is_opencl(api) ? "kernel" : stage_description(stage) + " entry point";
    if (!wanted.empty())
        errors.push_back("The module has no " + kind + " named '" + wanted + "'");
    else if (candidates.empty())
        errors.push_back("The module has no " + kind);
    else
        return candidates.front();
    return "";
}

FrontEndResult run_front_end(Api api, const CoreInfo& core, const CoreFeatures& features, const CompileOptions& options,
                             const char* source) {
    switch (api) {
        case Api::OpenGLES: {
            const std::string text(source);
            TileRewrite tile = rewrite_tile_features(text, options.stage, core, features);
            if (!tile.errors.empty()) return {{}, tile.errors, tile.warnings, {}};
            FrontEndResult result = compile_glsl_es_source(tile.source, options.stage, options.defines,
                                                           options.include_paths, options.request_source_costs);
            result.warnings.insert(result.warnings.begin(), tile.warnings.begin(), tile.warnings.end());
            result.tile_variables = std::move(tile.variables);
            if (!result.errors.empty() || result.module.empty()) return result;
            RuleFindings findings = check_opengles_rules(text, result.module, core, features);
            append(result.errors, findings.errors);
            append(result.warnings, findings.warnings);
            return result;
        }
        case Api::OpenCLSource:
            return compile_opencl_source(source, options.kernel_name, opencl_std_text(options.opencl_version),
                                         options.defines, options.include_paths, options.request_source_costs);
        case Api::Vulkan:
        case Api::OpenCLSpirv: return read_module(source, options.spirv_length);
    }
    return {};
}

// What glslang makes of OpenGL ES is trusted as it is: it breaks rules that
// only matter to other APIs (loose boolean uniforms, blocks without offsets)
// and never reaches a driver that would check them. Other modules are
// validated, Vulkan ones under the Vulkan rules of what the core runs (or of
// the module's version, when that is newer and refused later); the answer is
// whether the optimiser can read the module.
bool validate(Api api, const std::vector<uint32_t>& module, const CoreFeatures& features, CompileResult& result) {
    if (api == Api::OpenGLES) return true;
    const uint32_t vulkan_version =
        std::max<uint32_t>(module_version(module), static_cast<uint32_t>(highest_version(features.spirv_versions)));
    const spv_target_env environment =
        api == Api::Vulkan ? vulkan_environment(vulkan_version) : environment_for(api, module);
    Validation validation = validate_module(module, environment, layout_relaxations(module));
    if (validation.rule_relaxed_since_validator) {
        result.warnings.push_back(
            "The module uses 16-bit derivatives, which this compiler's validator "
            "does not know yet; it was analysed without validation");
        return true;
    }
    if (!validation.newer_than_validator) {
        append(result.errors, validation.errors);
        return true;
    }
    // Neither the validator nor the optimiser can read the module; the
    // estimate is still worth having, from the module as it is.
    result.warnings.push_back("The module uses SPIR-V this compiler does not know (" +
                              unknown_part(validation.errors.front()) +
                              "); it was analysed without validation or optimisation");
    return false;
}

}  // namespace

CompileResult compile_program(const std::string& library_type, const CoreInfo& core,
                              const CompileOptions& given_options, const char* source) {
    CompileResult result;
    CompileOptions options = given_options;
    if (!options.compiler_type.empty() && options.compiler_type != library_type) {
        result.errors.push_back("This compiler compiles for '" + library_type + "', not for '" + options.compiler_type +
                                "'");
        return result;
    }
    const Api api = request_api(library_type, options.spirv);
    if (is_opencl(api) && options.opencl_version == 0) options.opencl_version = DEFAULT_OPENCL_VERSION;

    const CoreFeatures& features = core_features(core);
    const std::string refusal = unsupported_request(api, options.stage, options.opencl_version, core, features);
    if (!refusal.empty()) {
        result.errors.push_back(refusal);
        return result;
    }

    FrontEndResult front = run_front_end(api, core, features, options, source);
    result.warnings = front.warnings;
    result.errors = front.errors;
    if (!result.errors.empty() || front.module.empty()) return result;

    lines_from_shader_debug_info(front.module);
    const std::vector<uint32_t>& module = front.module;
    const spv_target_env environment = environment_for(api, module);
    const size_t nesting = control_flow_nesting_depth(module);
    if (nesting > MAX_CONTROL_FLOW_NESTING) {
        result.errors.push_back("Control flow is nested " + std::to_string(nesting) + " levels deep; at most " +
                                std::to_string(MAX_CONTROL_FLOW_NESTING) + " levels are supported");
        return result;
    }
    append(result.errors, unsupported_constructs(module, core));
    if (!result.errors.empty()) return result;
    const bool optimise = validate(api, module, features, result);
    if (!result.errors.empty()) return result;
    append(result.errors, unsupported_module_features(api, module, core, features));
    const std::string entry_point = choose_entry_point(module, api, options.stage, options, result.errors);
    if (!result.errors.empty()) return result;

    AnalysisRequest request;
    request.module = optimise && !has_only_empty_functions(module) ? optimise_module(module, environment) : module;
    request.entry_point = entry_point;
    request.stage = options.stage;
    request.core = core.name;
    request.request_pilot = options.request_pilot;
    request.request_idvs = options.request_idvs;
    request.vulkan = api == Api::Vulkan;
    request.source_costs = options.request_source_costs;
    request.tile_variables = front.tile_variables;
    AnalysisResult analysis = analyse_module(request);

    result.variants = std::move(analysis.variants);
    append(result.warnings, analysis.warnings);
    append(result.errors, analysis.errors);
    return result;
}

}  // namespace reference
