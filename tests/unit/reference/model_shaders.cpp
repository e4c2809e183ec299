#include "model_shaders.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>
#include <glslang/SPIRV/spirv.hpp>

#include "glsl_es_front_end.h"
#include "spirv_optimiser.h"
#include "spirv_validation.h"

#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace model_test {

namespace {

EShLanguage language_of(const std::string& stage) {
    if (stage == "vertex") return EShLangVertex;
    if (stage == "fragment") return EShLangFragment;
    if (stage == "compute") return EShLangCompute;
    throw std::invalid_argument("no test stage " + stage);
}

}  // namespace

std::vector<uint32_t> compile(const std::string& source, const std::string& stage, bool optimise) {
    static const bool initialised = glslang::InitializeProcess();
    (void)initialised;
    const EShLanguage language = language_of(stage);
    glslang::TShader shader(language);
    const char* text = source.c_str();
    shader.setStrings(&text, 1);
    shader.setEnvInput(glslang::EShSourceGlsl, language, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_1);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_3);
    const auto messages = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules);
    if (!shader.parse(GetDefaultResources(), 450, false, messages)) {
        throw std::runtime_error(shader.getInfoLog());
    }
    glslang::TProgram program;
    program.addShader(&shader);
    if (!program.link(messages)) throw std::runtime_error(program.getInfoLog());
    std::vector<uint32_t> module;
    glslang::GlslangToSpv(*program.getIntermediate(language), module);
    if (!optimise) return module;

    // The back-end's own optimiser, as a compile runs it.
    return reference::optimise_module(module, reference::vulkan_environment(130));
}

std::vector<uint32_t> compile_es(const std::string& source, const std::string& stage) {
    // The back-end's own front end and optimiser, as an OpenGL ES compile runs them.
    const std::optional<reference::Stage> parsed = reference::parse_stage(stage);
    if (!parsed) throw std::invalid_argument("no test stage " + stage);
    reference::FrontEndResult front = reference::compile_glsl_es_source(source, *parsed, {});
    if (!front.errors.empty() || front.module.empty())
        throw std::runtime_error(front.errors.empty() ? "no module" : front.errors.front());
    return reference::optimise_module(front.module, reference::opengles_environment());
}

reference::AnalysisRequest request(std::vector<uint32_t> module, const std::string& stage, const Options& options) {
    reference::AnalysisRequest request;
    request.module = std::move(module);
    request.entry_point = "main";
    if (!stage.empty()) request.stage = reference::parse_stage(stage);
    request.core = options.core;
    request.request_pilot = options.pilot;
    request.request_idvs = options.idvs;
    request.vulkan = options.vulkan;
    return request;
}

reference::AnalysisResult analyse(const std::string& source, const std::string& stage, const Options& options) {
    return reference::analyse_module(request(compile(source, stage, options.optimise), stage, options));
}

std::string glsl(const std::vector<std::string>& declarations, const std::string& body) {
    std::string source = "#version 450\n";
    for (const std::string& declaration : declarations) source += declaration + "\n";
    return source + "void main() { " + body + " }\n";
}

uint32_t variable_id(const std::vector<uint32_t>& module, const std::string& name) {
    for (size_t at = 5; at < module.size();) {
        const uint32_t count = module[at] >> 16;
        if (count == 0 || at + count > module.size()) break;
        if ((module[at] & 0xFFFF) == spv::OpName && count >= 3) {
            const char* text = reinterpret_cast<const char*>(&module[at + 2]);
            if (std::string(text, strnlen(text, (count - 2) * 4)) == name) return module[at + 1];
        }
        at += count;
    }
    return 0;
}

std::string value(const Statistics& statistics, const std::string& key) {
    const std::vector<std::string> found = values(statistics, key);
    return found.empty() ? "<missing>" : found.front();
}

std::vector<std::string> values(const Statistics& statistics, const std::string& key) {
    std::vector<std::string> found;
    for (const auto& [k, v] : statistics) {
        if (k == key) found.push_back(v);
    }
    return found;
}

const Statistics* find_variant(const reference::AnalysisResult& result, const std::string& number) {
    for (const Statistics& variant : result.variants) {
        if (value(variant, "variant") == number && value(variant, "is_pilot") != "true") return &variant;
    }
    return nullptr;
}

const Statistics* find_pilot(const reference::AnalysisResult& result) {
    for (const Statistics& variant : result.variants) {
        if (value(variant, "is_pilot") == "true") return &variant;
    }
    return nullptr;
}

Figures figures(const Statistics& statistics, const std::string& key) {
    Figures numbers;
    std::stringstream list(value(statistics, key));
    for (std::string piece; std::getline(list, piece, '/');) numbers.push_back(std::stod(piece));
    return numbers;
}

}  // namespace model_test
