#include "suite/vulkan_glsl_in_process.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include "common/koro_exception.h"
#include "common/platform.h"
#include "input/glslang_validator.h"
#include "suite/validator_includer.h"

namespace {

// Set up once, kept until the process ends: the built-in symbol tables are
// what a validator process pays for on every source.
class GlslangProcess {
public:
    GlslangProcess() { glslang::InitializeProcess(); }
    ~GlslangProcess() { glslang::FinalizeProcess(); }
    GlslangProcess(const GlslangProcess&) = delete;
    GlslangProcess& operator=(const GlslangProcess&) = delete;
};

EShLanguage language_of(SourceType stage) {
    switch (stage) {
        case SourceType::Vertex: return EShLangVertex;
        case SourceType::TessControl: return EShLangTessControl;
        case SourceType::TessEvaluation: return EShLangTessEvaluation;
        case SourceType::Geometry: return EShLangGeometry;
        case SourceType::Fragment: return EShLangFragment;
        case SourceType::Compute: return EShLangCompute;
        case SourceType::RayGeneration: return EShLangRayGen;
        case SourceType::RayIntersection: return EShLangIntersect;
        case SourceType::RayAnyHit: return EShLangAnyHit;
        case SourceType::RayClosestHit: return EShLangClosestHit;
        case SourceType::RayMiss: return EShLangMiss;
        case SourceType::RayCallable: return EShLangCallable;
        default: return EShLangCount;
    }
}

glslang::EShTargetLanguageVersion spirv_version(const std::string& version) {
    if (version == "1.0") return glslang::EShTargetSpv_1_0;
    if (version == "1.1") return glslang::EShTargetSpv_1_1;
    if (version == "1.2") return glslang::EShTargetSpv_1_2;
    if (version == "1.3") return glslang::EShTargetSpv_1_3;
    if (version == "1.4") return glslang::EShTargetSpv_1_4;
    if (version == "1.5") return glslang::EShTargetSpv_1_5;
    return glslang::EShTargetSpv_1_6;
}

// "#define NAME VALUE" lines, as the validator turns its -D arguments into a preamble.
std::string define_preamble(const std::vector<std::string>& defines) {
    std::string preamble;
    for (std::string define : defines) {
        define = define.substr(0, define.find('\n'));
        const size_t equals = define.find('=');
        if (equals != std::string::npos) define[equals] = ' ';
        preamble += "#define " + define + "\n";
    }
    return preamble;
}

// What the validator records in a module with debug info for its -D
// arguments: each as given, up to a line end.
std::vector<std::string> define_processes(const std::vector<std::string>& defines) {
    std::vector<std::string> processes;
    for (const std::string& define : defines)
        processes.push_back("define-macro " + define.substr(0, define.find('\n')));
    return processes;
}

void append_log(std::string& log, const char* text) {
    if (text && text[0]) (log += text) += '\n';
}

}  // namespace

Bytes convert_vulkan_glsl_in_process(const Bytes& source, const std::vector<std::string>& defines,
                                     const std::string& version, const std::string& entrypoint, SourceType stage,
                                     std::vector<std::string>& messages, bool& relaxed,
                                     const std::vector<std::string>& include_dirs, bool debug_info) {
    const EShLanguage language = language_of(stage);
    if (language == EShLangCount)
        return compile_to_spirv(source, defines, version, entrypoint, stage, messages, relaxed, include_dirs,
                                debug_info);

    // The validator's own copy of the source: an include may resolve from its
    // directory, and messages name it as the validator's do.
    const ConversionScratch scratch(source, stage);
    // The validator must be there and trusted, as for a conversion it runs.
    static const bool trusted =
        GlslangValidator::validate_trusted(get_executable_dir() + get_path_sep() + "external/glslang");
    if (!trusted) throw KoroException_("Packaged glslang binary not found");
    static const GlslangProcess process;

    relaxed = needs_entrypoint_rename(entrypoint);
    // With debug info the name is in the module, as the validator's module
    // names it once shadex has renamed it.
    const std::string name = debug_info ? debug_info_source_name(stage) : scratch.source_path;
    const char* text = reinterpret_cast<const char*>(source.data());
    const int length = static_cast<int>(source.size());
    const char* names[] = {name.c_str()};

    glslang::TShader shader(language);
    shader.setStringsWithLengthsAndNames(&text, &length, names, 1);
    if (relaxed) {
        shader.setEntryPoint("main");
        shader.setSourceEntryPoint(entrypoint.c_str());
    }
    // After the entry point: the validator's module lists them in this order.
    if (debug_info) shader.addProcesses(define_processes(defines));
    const std::string preamble = define_preamble(defines);
    shader.setPreamble(preamble.c_str());
    shader.setEnvInput(glslang::EShSourceGlsl, language, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_0);
    shader.setEnvTarget(glslang::EShTargetSpv, spirv_version(version));
    // -V, and the legalisation a validator built without the optimizer asks
    // for; -g adds the source text and its lines.
    const EShMessages rules = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules | EShMsgHlslLegalization |
                                                       (debug_info ? EShMsgDebugInfo : EShMsgDefault));

    ValidatorIncluder includer(scratch.directory, include_dirs);
    const bool compiled = shader.parse(GetDefaultResources(), 100, false, rules, includer);
    glslang::TProgram program;  // destroyed before the shader it links
    program.addShader(&shader);
    // The validator maps the interface even after a failed link.
    bool linked = program.link(rules);
    linked = program.mapIO() && linked;
    if (!compiled || !linked) {
        // What the validator prints, unless -s (a renamed entry point) silences it.
        std::string log;
        if (!relaxed) {
            append_log(log, name.c_str());
            append_log(log, shader.getInfoLog());
            append_log(log, shader.getInfoDebugLog());
            append_log(log, program.getInfoLog());
            append_log(log, program.getInfoDebugLog());
        }
        for (auto& message : translate_glslang_errors(log, name)) messages.push_back(std::move(message));
        return {};
    }

    std::vector<unsigned int> words;
    spv::SpvBuildLogger logger;
    glslang::SpvOptions options;
    options.generateDebugInfo = debug_info;
    glslang::GlslangToSpv(*program.getIntermediate(language), words, &logger, &options);
    Bytes module(words.size() * 4);
    for (size_t index = 0; index < words.size(); ++index)
        for (size_t byte = 0; byte < 4; ++byte)
            module[index * 4 + byte] = static_cast<uint8_t>(words[index] >> (8 * byte));
    return module;
}
