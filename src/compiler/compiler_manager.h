// The catalogue of compilers built from every back-end library beside the
// executable, plus the fixed tables of known cores.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/compiler.h"

class CompilerManager {
public:
    // Loads every library under dir/graphics and dir/opencl; exceptions propagate.
    explicit CompilerManager(const std::string& dir);

    std::vector<Compiler*> get_compilers(const std::optional<std::string>& driver,
                                         const std::optional<std::string>& core,
                                         const std::optional<std::string>& revision, CompilerType type,
                                         uint32_t min_version = 0);
    std::vector<Compiler*> get_compilers(const std::optional<std::string>& core, CompilerType type);
    Compiler* get_default_compiler(CompilerType type);

    static ArchitectureType get_architecture_for_core(const std::string& core);
    static uint32_t get_sort_index_for_core(const std::string& core);
    static std::string normalize_core_name(const std::string& core);
    static std::string compilerize_core_name(const std::string& core);

    // Replaces `versions` and `extensions` with what the library reports for
    // one core (spelled as the library spells it) and API family.
    static void load_core_capabilities(CompilerLibrary& library, CompilerType type, const std::string& core,
                                       const std::string& revision, std::vector<uint32_t>& versions,
                                       std::vector<std::string>& extensions);

private:
    void load_compilers(const std::string& dir);
    void add_library_compilers(const std::shared_ptr<CompilerLibrary>& library);

    std::vector<Compiler> compilers;
};
