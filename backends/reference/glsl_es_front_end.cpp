#include "glsl_es_front_end.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <sstream>

#include "glslang_log.h"
#include "include_files.h"

namespace reference {

namespace {

// What the module's debug information calls the source the program sent.
const char* const MAIN_SOURCE_NAME = "<source>";

// glslang builds its built-in symbol tables once per version, profile and
// stage; they are kept from the first compile until the library is unloaded
// (a compile per probed extension must stay cheap). Unloading gives them
// back: the program closes its plug-ins, and their memory must not outlive them.
class GlslangProcess {
public:
    GlslangProcess() { glslang::InitializeProcess(); }
    ~GlslangProcess() { glslang::FinalizeProcess(); }
    GlslangProcess(const GlslangProcess&) = delete;
    GlslangProcess& operator=(const GlslangProcess&) = delete;
};

void ensure_glslang_initialised() { static const GlslangProcess process; }

EShLanguage glslang_stage(Stage stage) {
    switch (stage) {
        case Stage::Vertex: return EShLangVertex;
        case Stage::TessellationControl: return EShLangTessControl;
        case Stage::TessellationEvaluation: return EShLangTessEvaluation;
        case Stage::Geometry: return EShLangGeometry;
        case Stage::Fragment: return EShLangFragment;
        case Stage::Compute: return EShLangCompute;
        case Stage::RayGeneration: return EShLangRayGen;
        case Stage::RayIntersection: return EShLangIntersect;
        case Stage::RayAnyHit: return EShLangAnyHit;
        case Stage::RayClosestHit: return EShLangClosestHit;
        case Stage::RayMiss: return EShLangMiss;
        case Stage::Callable: return EShLangCallable;
        case Stage::Kernel: break;
    }
    return EShLangCompute;
}

// The SPIR-V builder reports problems as free text; lines that say "error"
// stop the compile, the rest are warnings.
void add_builder_messages(const std::string& messages, FrontEndResult& result) {
    std::istringstream stream(messages);
    std::string line;
    while (std::getline(stream, line)) {
        if (line.empty()) continue;
        if (line.find("error") != std::string::npos)
            result.errors.push_back(line);
        else
            result.warnings.push_back(line);
    }
}

// A named source string puts its name where glslang otherwise writes the
// string's number, 0; messages read the same either way.
std::string numbered_locations(std::string log) {
    const std::string named = std::string(MAIN_SOURCE_NAME) + ":";
    for (const char* prefix : {"ERROR: ", "WARNING: "}) {
        const std::string from = prefix + named, to = std::string(prefix) + "0:";
        for (size_t at = log.find(from); at != std::string::npos; at = log.find(from, at + to.size()))
            if (at == 0 || log[at - 1] == '\n') log.replace(at, from.size(), to);
    }
    return log;
}

void take_log(const char* log, FrontEndResult& result) {
    LogLines lines = split_glslang_log(numbered_locations(log ? log : ""));
    result.errors.insert(result.errors.end(), lines.errors.begin(), lines.errors.end());
    result.warnings.insert(result.warnings.end(), lines.warnings.begin(), lines.warnings.end());
}

// glslang asks for each `#include` (once the source enabled an include
// extension); the search follows include_files.h.
class SearchPathIncluder : public glslang::TShader::Includer {
public:
    explicit SearchPathIncluder(const std::vector<std::string>& search_dirs) : search_dirs_(search_dirs) {}

    IncludeResult* includeLocal(const char* name, const char* includer, size_t depth) override {
        failure_.clear();
        return include(name, false, includer, depth);
    }

    // Also asked after a "local" search found nothing: the reason that
    // search gave up, if any, is the one to report.
    IncludeResult* includeSystem(const char* name, const char* includer, size_t depth) override {
        std::string earlier;
        earlier.swap(failure_);
        IncludeResult* result = include(name, true, includer, depth);
        if (!result && !earlier.empty()) return refusal(earlier);
        return result;
    }

    void releaseInclude(IncludeResult* result) override {
        if (!result) return;
        delete static_cast<std::string*>(result->userData);
        delete result;
    }

private:
    IncludeResult* include(const char* name, bool system, const char* includer, size_t depth) {
        if (depth > static_cast<size_t>(MAX_INCLUDE_DEPTH))
            return refusal("nested more than " + std::to_string(MAX_INCLUDE_DEPTH) + " deep: an include cycle?");
        const std::string includer_dir = depth > 1 && includer ? directory_of(includer) : "";
        IncludeLookup lookup = find_include(name, system, includer_dir, search_dirs_);
        if (!lookup.failure.empty()) return refusal(lookup.failure);
        if (!lookup.found()) return nullptr;
        auto* content = new std::string(std::move(lookup.content));
        return new IncludeResult(lookup.path, content->data(), content->size(), content);
    }

    // A result without a header name: glslang reports its text.
    IncludeResult* refusal(const std::string& reason) {
        failure_ = reason;
        auto* text = new std::string("Could not process include directive (" + reason + ")");
        return new IncludeResult("", text->data(), text->size(), text);
    }

    const std::vector<std::string>& search_dirs_;
    std::string failure_;
};

}  // namespace

std::string define_preamble(const std::vector<std::string>& defines) {
    std::string preamble;
    for (const std::string& define : defines) {
        size_t equals = define.find('=');
        if (equals == std::string::npos)
            preamble += "#define " + define + "\n";
        else
            preamble += "#define " + define.substr(0, equals) + " " + define.substr(equals + 1) + "\n";
    }
    return preamble;
}

FrontEndResult compile_glsl_es_source(const std::string& source, Stage stage, const std::vector<std::string>& defines,
                                      const std::vector<std::string>& include_dirs, bool debug_lines) {
    ensure_glslang_initialised();
    FrontEndResult result;
    const EShLanguage language = glslang_stage(stage);
    const EShMessages messages = EShMsgDefault;

    // No client and no target: glslang then applies the OpenGL ES rules of
    // the version the source declares (loose uniforms, precision qualifiers),
    // which a Vulkan or OpenGL target would reject below 310.
    glslang::TShader shader(language);
    const char* text = source.c_str();
    // glslang leaves lines of the main source without a file once an included
    // file has been named, unless the main source has a name too.
    const char* name = MAIN_SOURCE_NAME;
    if (debug_lines)
        shader.setStringsWithLengthsAndNames(&text, nullptr, &name, 1);
    else
        shader.setStrings(&text, 1);
    const std::string preamble = define_preamble(defines);
    shader.setPreamble(preamble.c_str());
    shader.setEnvInput(glslang::EShSourceGlsl, language, glslang::EShClientNone, 0);
    shader.setEnvClient(glslang::EShClientNone, glslang::EShTargetClientVersion(0));
    shader.setEnvTarget(glslang::EShTargetNone, glslang::EShTargetLanguageVersion(0));
    if (debug_lines) {
        shader.setDebugInfo(true);
        shader.setSourceFile(MAIN_SOURCE_NAME);
    }

    SearchPathIncluder includer(include_dirs);
    const bool parsed = shader.parse(GetDefaultResources(), 100, EEsProfile, false, false, messages, includer);
    take_log(shader.getInfoLog(), result);
    if (!parsed) {
        if (result.errors.empty()) result.errors.push_back("0:0: '' : compilation failed");
        return result;
    }

    glslang::TProgram program;  // destroyed before the shader it links
    program.addShader(&shader);
    const bool linked = program.link(messages);
    FrontEndResult link_messages;
    take_log(program.getInfoLog(), link_messages);
    if (!linked || !link_messages.errors.empty()) {
        // The shader compiles but cannot be linked on its own (no main, a
        // function declared and never defined, outputs a program would need
        // to place): there is no code to analyse, which is not an error of
        // the shader. What linking said stays visible as warnings.
        result.warnings.insert(result.warnings.end(), link_messages.errors.begin(), link_messages.errors.end());
        result.warnings.insert(result.warnings.end(), link_messages.warnings.begin(), link_messages.warnings.end());
        return result;
    }
    result.warnings.insert(result.warnings.end(), link_messages.warnings.begin(), link_messages.warnings.end());

    std::vector<unsigned int> spirv;
    spv::SpvBuildLogger logger;
    glslang::SpvOptions options;
    options.disableOptimizer = true;
    options.generateDebugInfo = debug_lines;
    glslang::GlslangToSpv(*program.getIntermediate(language), spirv, &logger, &options);
    add_builder_messages(logger.getAllMessages(), result);
    if (!result.errors.empty()) return result;

    // Without a target the module carries version 0. Its contents are SPIR-V
    // 1.0 except for subgroup operations, which need 1.3; the optimiser needs
    // to be told a version that covers them.
    if (spirv.size() > 1 && spirv[1] == 0) spirv[1] = OPENGLES_MODULE_VERSION;
    result.module.assign(spirv.begin(), spirv.end());
    return result;
}

}  // namespace reference
