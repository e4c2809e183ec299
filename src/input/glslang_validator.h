// Vulkan GLSL to SPIR-V through the packaged glslang validator, run as a
// child process on a private copy of the source.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "common/vocabulary.h"

class GlslangError : public std::exception {
public:
    explicit GlslangError(const std::string& text) : message(text) {}
    const char* what() const noexcept override { return message.c_str(); }

private:
    std::string message;
};

// The validator is missing or is not the packaged version.
class GlslangBinaryError : public GlslangError {
public:
    using GlslangError::GlslangError;
};

// The source could not be converted; the message is the validator's output
// or a fixed text.
class GlslangInputError : public GlslangError {
public:
    using GlslangError::GlslangError;
};

// What the packaged validator prints first for "-v".
extern const char* const GLSLANG_TRUSTED_BANNER;

class GlslangValidator {
public:
    // A bare command name is accepted unchecked; a path must exist and
    // report the trusted banner, else GlslangBinaryError.
    explicit GlslangValidator(const std::string& path);

    static bool validate_exists(const std::string& path);
    static bool validate_trusted(const std::string& path);

    // Converts `source` into tempdir/temp-binary.spv and returns that path.
    // `relaxed` tells whether the entry point had to be renamed to main.
    static std::string generate_spirv_binary(const std::string& validator, const std::string& tempdir,
                                             const std::string& source, const std::vector<std::string>& defines,
                                             const std::string& version, const std::string& entrypoint, bool& relaxed,
                                             const std::vector<std::string>& include_dirs = {},
                                             bool debug_info = false);

    std::string path;
};

// True when the entry point is not main and must be renamed to it, which
// needs the validator's relaxed checks.
bool needs_entrypoint_rename(const std::string& entrypoint);

// The validator's argument vector, program first; nothing is quoted because
// no shell is involved. Include directories come next to last, one
// "-I<dir>" each; with `debug_info`, "-g" (source lines in the module) last.
std::vector<std::string> glslang_arguments(const std::string& validator, const std::string& source,
                                           const std::string& output, const std::vector<std::string>& defines,
                                           const std::string& version, const std::string& entrypoint,
                                           const std::vector<std::string>& include_dirs = {}, bool debug_info = false);

// Turns the validator's output for a failed conversion into compiler
// messages ("0:LINE: X0000: ..." or "X0000: ..." for link errors). A
// diagnostic about an included file keeps that file's name.
std::vector<std::string> translate_glslang_errors(const std::string& output, const std::string& source_path);

// The file name a module with debug info gives the source it was converted
// from, whichever converter made it: the stage's extension, as the validator
// names a source in its own directory.
std::string debug_info_source_name(SourceType stage);

// A conversion's private directory, holding the source under the name the
// validator infers the stage from; removed, with what the conversion wrote,
// when it goes out of scope. An in-process conversion uses one too, so that
// an include resolved from the source's directory finds what the validator's
// would.
class ConversionScratch {
public:
    ConversionScratch(const Bytes& source, SourceType stage);
    ~ConversionScratch();
    ConversionScratch(const ConversionScratch&) = delete;
    ConversionScratch& operator=(const ConversionScratch&) = delete;

    const std::string directory, source_path, output_path;

private:
    void remove_all() const;
};

// Converts Vulkan GLSL with the validator under the executable's directory.
// On a conversion failure the reasons are appended to `messages` and the
// result is empty. A missing or untrusted validator raises KoroException_.
// With `debug_info` the module carries the source and its lines.
Bytes compile_to_spirv(const Bytes& source, const std::vector<std::string>& defines, const std::string& version,
                       const std::string& entrypoint, SourceType stage, std::vector<std::string>& messages,
                       bool& relaxed, const std::vector<std::string>& include_dirs = {}, bool debug_info = false);
