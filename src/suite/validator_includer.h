// `#include` in an in-process conversion, resolved exactly as the packaged
// validator resolves it for shadex (our patched stand-alone includer), so that
// a source with includes gives the validator's module and messages.
#pragma once

#include <string>
#include <vector>

#include <glslang/Public/ShaderLang.h>

class ValidatorIncluder : public glslang::TShader::Includer {
public:
    // `source_directory` holds the copy of the source the validator would
    // read (a "name" resolves there first); `search_dirs` are shadex's: the
    // input's directory, then each -I in command-line order.
    ValidatorIncluder(std::string source_directory, std::vector<std::string> search_dirs);

    // "name": the directories of the files being included, innermost first,
    // then the source's own, then the search directories in order.
    IncludeResult* includeLocal(const char* header, const char* includer, size_t depth) override;
    // <name>, and "name" found nowhere: the -I directories in order.
    IncludeResult* includeSystem(const char* header, const char* includer, size_t depth) override;
    void releaseInclude(IncludeResult* result) override;

private:
    // Null when nothing of that name is there; a result without a header
    // name (which the preprocessor reports) when it cannot be included.
    IncludeResult* read_candidate(const std::string& directory, const std::string& header);
    IncludeResult* failure(const std::string& reason);
    // Forgets the directories of includes that have ended; false when the
    // nesting is too deep to be anything but a cycle.
    bool enter(size_t depth);

    std::string source_directory_;
    std::vector<std::string> search_dirs_;
    // The directory each open level resolves from: the source's, then that
    // of the file included at each depth.
    std::vector<std::string> open_dirs_;
    // Why the last "name" search failed; reported if <name> finds nothing.
    std::string local_failure_;
};
