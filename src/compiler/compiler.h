// One catalogue entry: a back-end library able to compile one API family for
// one core revision. Answers capability questions and runs compiles.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/shadex_abi.h"
#include "input/compile_input.h"
#include "output/compile_output.h"

class CompilerLibrary;

// Extensions assumed when a library names none for a compiler, in order.
extern const std::vector<std::string> DEFAULT_OPENCL_EXTENSIONS;
extern const std::vector<std::string> DEFAULT_OPENGLES_EXTENSIONS;

class Compiler {
public:
    Compiler(const std::string& driver, const std::string& core, const std::string& revision, CompilerType type,
             const std::vector<uint32_t>& versions, const std::vector<std::string>& extensions,
             const std::set<std::string>& variants, std::shared_ptr<CompilerLibrary> library);

    bool matches(const std::optional<std::string>& wanted_driver, const std::optional<std::string>& wanted_core,
                 const std::optional<std::string>& wanted_revision, CompilerType wanted_type,
                 uint32_t min_version) const;

    // Catalogue order: newest core first, then highest revision first.
    static bool before(const Compiler& a, const Compiler& b);
    // rNpM fills [0] and [1]; the numbers after "dr" and "vl" anywhere in the
    // text fill [2] and [3]. Missing numbers are 0.
    static std::array<uint32_t, 4> parse_core_revision(const std::string& revision);

    // Both probe the extensions once per compiler, on first use.
    const std::set<std::string>& get_extensions();
    bool has_extension(const std::string& name);

    bool supports_compute_shaders() const;
    bool supports_geometry_shaders();
    bool supports_tessellation_shaders();

    // With `source_costs` the back-end is asked for per-line costs, last of
    // the options, and the result reads them.
    CompileOutputPtr compile(const Bytes& source, SourceType source_type, const std::string& cl_std,
                             const std::vector<std::string>& defines = {}, const std::string& kernel_name = "",
                             const std::vector<std::string>& include_paths = {}, bool source_costs = false);
    CompileOutputPtr compile_spirv(const Bytes& module, SourceType source_type, const std::string& cl_std,
                                   const std::string& entrypoint = "", bool source_costs = false);

    std::string driver;
    ArchitectureType architecture;
    std::string core;
    std::string revision;
    CompilerType type;
    uint32_t version;  // highest API version, in hundredths

private:
    // Sends the request options, calls the library and copies the result.
    CompileOutputPtr run(CompileInput& input, SourceType source_type, bool source_costs);
    void add_request_options(CompileInput& input, SourceType source_type) const;
    CompileInput start_input(const Bytes& bytes, Bytes& copy, SourceType source_type) const;
    void do_compile(const shadex_inputs* inputs, shadex_outputs* outputs);
    // True when a probe source compiles without an exception or error lines.
    bool probe(const Bytes& source, SourceType source_type, const std::string& cl_std, const std::string& kernel_name);
    void validate_opengles_extensions();
    void validate_opencl_extensions();

    std::set<std::string> extensions;
    std::set<std::string> variants;
    bool extensions_validated = false;
    std::shared_ptr<CompilerLibrary> library;
};
