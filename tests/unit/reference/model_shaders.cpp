#include "model_shaders.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>
#include <spirv-tools/optimizer.hpp>

#include <cstring>
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

    spvtools::Optimizer optimizer(SPV_ENV_VULKAN_1_1);
    optimizer.RegisterPerformancePasses();
    std::vector<uint32_t> optimised;
    if (!optimizer.Run(module.data(), module.size(), &optimised)) throw std::runtime_error("optimiser failed");
    return optimised;
}

std::vector<uint32_t> compile_es(const std::string& source, const std::string& stage) {
    static const bool initialised = glslang::InitializeProcess();
    (void)initialised;
    const EShLanguage language = language_of(stage);
    glslang::TShader shader(language);
    const char* text = source.c_str();
    shader.setStrings(&text, 1);
    shader.setEnvInput(glslang::EShSourceGlsl, language, glslang::EShClientNone, 0);
    shader.setEnvClient(glslang::EShClientNone, glslang::EShTargetClientVersion(0));
    shader.setEnvTarget(glslang::EShTargetNone, glslang::EShTargetLanguageVersion(0));
    if (!shader.parse(GetDefaultResources(), 100, EEsProfile, false, false, EShMsgDefault)) {
        throw std::runtime_error(shader.getInfoLog());
    }
    glslang::TProgram program;
    program.addShader(&shader);
    if (!program.link(EShMsgDefault)) throw std::runtime_error(program.getInfoLog());
    std::vector<uint32_t> module;
    glslang::GlslangToSpv(*program.getIntermediate(language), module);
    module[1] = 0x00010000;
    spvtools::Optimizer optimizer(SPV_ENV_UNIVERSAL_1_0);
    optimizer.RegisterPerformancePasses();
    std::vector<uint32_t> optimised;
    spvtools::OptimizerOptions options;
    options.set_run_validator(false);
    if (!optimizer.Run(module.data(), module.size(), &optimised, options)) throw std::runtime_error("optimiser failed");
    return optimised;
}

reference::AnalysisResult analyse(const std::string& source, const std::string& stage, const Options& options) {
    reference::AnalysisRequest request;
    request.module = compile(source, stage, options.optimise);
    request.entry_point = "main";
    request.stage = reference::parse_stage(stage);
    request.core = options.core;
    request.request_pilot = options.pilot;
    request.request_idvs = options.idvs;
    request.vulkan = true;
    return reference::analyse_module(request);
}

uint32_t variable_id(const std::vector<uint32_t>& module, const std::string& name) {
    constexpr uint32_t OP_NAME = 5;
    for (size_t at = 5; at < module.size();) {
        const uint32_t count = module[at] >> 16;
        if (count == 0 || at + count > module.size()) break;
        if ((module[at] & 0xFFFF) == OP_NAME && count >= 3) {
            const char* text = reinterpret_cast<const char*>(&module[at + 2]);
            if (std::string(text, strnlen(text, (count - 2) * 4)) == name) return module[at + 1];
        }
        at += count;
    }
    return 0;
}

std::string value(const Statistics& statistics, const std::string& key) {
    for (const auto& [k, v] : statistics) {
        if (k == key) return v;
    }
    return "<missing>";
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

}  // namespace model_test
