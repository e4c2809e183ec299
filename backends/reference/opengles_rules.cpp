#include "opengles_rules.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <sstream>

#include "spirv_module_info.h"

namespace reference {

namespace {

std::string es_version_text(uint32_t version) { return version == 100 ? "100" : std::to_string(version) + " es"; }

std::string trim_start(const std::string& text) {
    size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first);
}

// The behaviour word after the colon of an #extension line.
std::string extension_behaviour(const std::string& source, int line_number) {
    std::istringstream stream(source);
    std::string line;
    for (int at = 1; std::getline(stream, line); ++at) {
        if (at != line_number) continue;
        size_t colon = line.find(':');
        if (colon == std::string::npos) return "";
        std::istringstream rest(line.substr(colon + 1));
        std::string behaviour;
        rest >> behaviour;
        return behaviour;
    }
    return "";
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

int directive_line(const std::string& source, const std::string& directive, const std::string& word) {
    std::istringstream stream(source);
    std::string line;
    for (int at = 1; std::getline(stream, line); ++at) {
        std::string text = trim_start(line);
        if (text.empty() || text[0] != '#') continue;
        text = trim_start(text.substr(1));
        if (text.compare(0, directive.size(), directive) != 0) continue;
        if (word.empty() || text.find(word) != std::string::npos) return at;
    }
    return 1;
}

RuleFindings check_opengles_rules(const std::string& source, const std::vector<uint32_t>& module, const CoreInfo& core,
                                  const CoreFeatures& features) {
    RuleFindings findings;
    const SourceDeclaration declared = source_declaration(module);
    const std::string version_at = "0:" + std::to_string(directive_line(source, "version", "")) + ": ";
    if (declared.language != spv::SourceLanguageESSL) {
        findings.errors.push_back(version_at +
                                  "'#version' : OpenGL ES shaders declare #version 100, 300 es, "
                                  "310 es or 320 es; " +
                                  std::to_string(declared.version) + " is a desktop OpenGL version");
        return findings;
    }
    const int highest = highest_version(features.opengles_versions);
    if (static_cast<int>(declared.version) > highest) {
        findings.errors.push_back(version_at + "'#version' : " + es_version_text(declared.version) +
                                  " is not supported by " + core.name +
                                  " (highest: " + es_version_text(static_cast<uint32_t>(highest)) + ")");
    }

    // Only extensions that other cores offer are this core's to refuse;
    // anything else is the front end's to judge.
    const std::vector<std::string>& offered_anywhere = all_opengles_extensions();
    for (const std::string& name : declared.extensions) {
        if (!contains(offered_anywhere, name) || contains(features.opengles_extensions, name)) continue;
        const int line = directive_line(source, "extension", name);
        const std::string message =
            "0:" + std::to_string(line) + ": '#extension' : extension not supported by " + core.name + ": " + name;
        if (extension_behaviour(source, line) == "require")
            findings.errors.push_back(message);
        else
            findings.warnings.push_back(message);
    }
    return findings;
}

}  // namespace reference
