#include "input/glslang_validator.h"

#include <cstdio>
#include <fstream>

#include "common/koro_exception.h"
#include "common/platform.h"
#include "common/text.h"
#include "input/input_reader.h"
#include "input/spirv_module.h"

// Set by the build from the step that packages the validator.
#ifndef SHADEX_GLSLANG_BANNER
#error "SHADEX_GLSLANG_BANNER must hold the packaged validator's version banner"
#endif

const char* const GLSLANG_TRUSTED_BANNER = SHADEX_GLSLANG_BANNER;

namespace {

const std::string ERROR_PREFIX = "ERROR: ";
const std::string LINK_ERROR_PREFIX = "ERROR: Linking ";
const std::string MESSAGE_CODE = "X0000: ";
// What the validator is asked to write, in the conversion's own directory.
const char* const MODULE_FILE_NAME = "temp-binary.spv";

// "Linking fragment stage: Missing entry point" -> "X0000: Missing entry point".
std::string translate_link_error(const std::string& text) {
    size_t separator = text.find(": ");
    if (separator == std::string::npos) return MESSAGE_CODE + text;
    return MESSAGE_CODE + text.substr(separator + 2);
}

// "<source path>:12: text" -> "0:12: X0000: text", the form the back-end
// compilers use for their own diagnostics; "inc/a.glsl:3: text" keeps the
// included file's name, which the user knows.
std::string translate_source_error(std::string text, const std::string& source_path) {
    if (starts_with(text, source_path)) text.replace(0, source_path.size(), "0");
    size_t separator = text.find(": ");
    text.insert(separator == std::string::npos ? 0 : separator + 2, MESSAGE_CODE);
    return text;
}

}  // namespace

GlslangValidator::GlslangValidator(const std::string& path_in) : path(path_in) {
    if (path.find(get_path_sep()) == std::string::npos) return;
    if (!validate_exists(path)) throw GlslangBinaryError(path + " does not exist.");
    if (!validate_trusted(path)) throw GlslangBinaryError(path + " is incorrect version.");
}

bool GlslangValidator::validate_exists(const std::string& path) {
    std::ifstream file(path);
    return file.is_open();
}

bool GlslangValidator::validate_trusted(const std::string& path) {
    std::string output;
    if (!execute_command({path, "-v"}, output)) return false;
    return starts_with(output, GLSLANG_TRUSTED_BANNER);
}

std::string GlslangValidator::generate_spirv_binary(const std::string& validator, const std::string& tempdir,
                                                    const std::string& source, const std::vector<std::string>& defines,
                                                    const std::string& version, const std::string& entrypoint,
                                                    bool& relaxed, const std::vector<std::string>& include_dirs,
                                                    bool debug_info) {
    relaxed = false;
    // The two blanks in the message for an empty path are long-standing output.
    if (source.empty()) throw GlslangInputError("Source file " + source + " is empty.");
    if (!does_file_exist(source)) throw GlslangInputError("Source file " + source + " not found.");

    std::string output_path = tempdir + get_path_sep() + MODULE_FILE_NAME;
    std::vector<std::string> arguments =
        glslang_arguments(validator, source, output_path, defines, version, entrypoint, include_dirs, debug_info);
    relaxed = needs_entrypoint_rename(entrypoint);

    std::string captured;
    if (!execute_command(arguments, captured)) throw GlslangInputError(captured);
    return output_path;
}

bool needs_entrypoint_rename(const std::string& entrypoint) { return !entrypoint.empty() && entrypoint != "main"; }

std::vector<std::string> glslang_arguments(const std::string& validator, const std::string& source,
                                           const std::string& output, const std::vector<std::string>& defines,
                                           const std::string& version, const std::string& entrypoint,
                                           const std::vector<std::string>& include_dirs, bool debug_info) {
    std::vector<std::string> arguments = {validator, "-V", source, "-o", output, "--target-env", "spirv" + version};
    // Another entry point is compiled under the name main; the validator
    // only accepts that with its relaxed checks.
    if (needs_entrypoint_rename(entrypoint))
        arguments.insert(arguments.end(), {"--source-entrypoint", entrypoint, "-e", "main", "-s"});
    for (const auto& define : defines) arguments.push_back("-D" + define);
    for (const auto& dir : include_dirs) arguments.push_back("-I" + dir);
    if (debug_info) arguments.push_back("-g");
    return arguments;
}

std::vector<std::string> translate_glslang_errors(const std::string& output, const std::string& source_path) {
    std::vector<std::string> messages;
    for (const auto& line : split(output, '\n')) {
        if (!starts_with(line, ERROR_PREFIX)) continue;
        // Follows the real error and adds nothing to it.
        if (line.find("compilation terminated") != std::string::npos) continue;
        // The closing summary; whatever follows is not a diagnostic.
        if (line.find("No code generated") != std::string::npos) break;

        std::string text = line.substr(ERROR_PREFIX.size());
        if (starts_with(line, LINK_ERROR_PREFIX))
            messages.push_back(translate_link_error(text));
        else
            messages.push_back(translate_source_error(text, source_path));
    }
    return messages;
}

std::string debug_info_source_name(SourceType stage) { return get_extension(stage, false); }

ConversionScratch::ConversionScratch(const Bytes& source, SourceType stage)
    : directory(get_temp_dir()),
      source_path(directory + get_path_sep() + get_extension(stage, false)),
      output_path(directory + get_path_sep() + MODULE_FILE_NAME) {
    std::ofstream file(source_path, std::ios::binary | std::ios::trunc);
    if (!file.is_open()) {
        remove_all();
        throw KoroException_("Failed to create temp file.");
    }
    file.write(reinterpret_cast<const char*>(source.data()), static_cast<std::streamsize>(source.size()));
}

ConversionScratch::~ConversionScratch() { remove_all(); }

void ConversionScratch::remove_all() const {
    std::remove(output_path.c_str());
    std::remove(source_path.c_str());
    remove_dir(directory);
}

Bytes compile_to_spirv(const Bytes& source, const std::vector<std::string>& defines, const std::string& version,
                       const std::string& entrypoint, SourceType stage, std::vector<std::string>& messages,
                       bool& relaxed, const std::vector<std::string>& include_dirs, bool debug_info) {
    relaxed = false;
    const std::string validator_path = get_executable_dir() + get_path_sep() + "external/glslang";
    // The validator infers the stage from the extension, so the extension
    // alone makes the file name. Nothing is left behind, whatever happens.
    const ConversionScratch scratch(source, stage);

    std::string binary_path;
    try {
        GlslangValidator validator(validator_path);
        binary_path = GlslangValidator::generate_spirv_binary(validator.path, scratch.directory, scratch.source_path,
                                                              defines, version, entrypoint, relaxed, include_dirs,
                                                              debug_info);
    } catch (const GlslangBinaryError&) {
        throw KoroException_("Packaged glslang binary not found");
    } catch (const GlslangInputError& error) {
        for (auto& message : translate_glslang_errors(error.what(), scratch.source_path))
            messages.push_back(std::move(message));
        return {};
    }
    Bytes module = read_inputs({binary_path});
    // The private directory is in the name; a module must not differ from run to run.
    if (debug_info) rename_spirv_string(module, scratch.source_path, debug_info_source_name(stage));
    return module;
}
