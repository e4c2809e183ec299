// The seven entry points the program looks up. Nothing thrown inside the
// back-end crosses them: problems with the program become error lines, and
// failures of the back-end itself a non-zero status.
#pragma GCC visibility push(default)
#include "shadex_abi.h"
#pragma GCC visibility pop

#include <exception>
#include <memory>
#include <new>

#include "compile_pipeline.h"
#include "library_capabilities.h"
#include "owned_records.h"

#ifndef REFERENCE_COMPILER_TYPE
#error "REFERENCE_COMPILER_TYPE names the compiler type of the library being built"
#endif

namespace {

using namespace reference;

constexpr shadex_u32 STATUS_OK = 0;
constexpr shadex_u32 STATUS_BAD_ARGUMENTS = 1;
constexpr shadex_u32 STATUS_UNKNOWN_CORE = 2;
constexpr shadex_u32 STATUS_INTERNAL_FAILURE = 3;

const std::string LIBRARY_TYPE = REFERENCE_COMPILER_TYPE;

OptionPairs read_options(const shadex_flexible_list& list) {
    if (list.count % 2 != 0 || (list.count != 0 && !list.entries)) throw RequestError("Malformed option list");
    OptionPairs pairs;
    for (shadex_u32 i = 0; i + 1 < list.count; i += 2) {
        if (!list.entries[i] || !list.entries[i + 1]) throw RequestError("Malformed option list");
        pairs.emplace_back(list.entries[i], list.entries[i + 1]);
    }
    return pairs;
}

// The exact revision when it is known, else the core's newest.
const CoreInfo* requested_core(const shadex_hardware_core& hardware) {
    if (!hardware.core) return nullptr;
    const std::string name = hardware.core;
    if (hardware.revision) {
        if (const CoreInfo* core = find_core(name, hardware.revision)) return core;
    }
    const CoreInfo* newest = nullptr;
    for (const CoreInfo& core : reference_cores()) {
        if (core.name == name) newest = &core;
    }
    return newest;
}

CompileResult compile_request(const shadex_inputs& inputs) {
    CompileResult result;
    try {
        const CoreInfo* core = requested_core(inputs.hardware);
        if (!core) {
            const std::string name = inputs.hardware.core ? inputs.hardware.core : "";
            result.errors.push_back("Unknown core '" + name + "'");
            return result;
        }
        const CompileOptions options = parse_compile_options(read_options(inputs.options));
        if (!inputs.source) throw RequestError("No source given");
        return compile_program(LIBRARY_TYPE, *core, options, static_cast<const char*>(inputs.source));
    } catch (const RequestError& error) {
        result.errors.push_back(error.what());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        result.errors.push_back(std::string("Internal compiler error: ") + error.what());
    }
    return result;
}

}  // namespace

extern "C" {

shadex_u32 shadex_get_api_version(shadex_api_version* version) {
    if (!version) return STATUS_BAD_ARGUMENTS;
    version->major = 1;
    version->minor = 1;
    return STATUS_OK;
}

shadex_u32 shadex_get_capabilities(shadex_capabilities* capabilities) {
    if (!capabilities) return STATUS_BAD_ARGUMENTS;
    try {
        auto owned = std::make_unique<OwnedCapabilities>(core_records(), library_metadata(LIBRARY_TYPE));
        owned.release()->fill(*capabilities);
        return STATUS_OK;
    } catch (...) {
        return STATUS_INTERNAL_FAILURE;
    }
}

void shadex_release_capabilities(shadex_capabilities* capabilities) {
    if (!capabilities) return;
    delete OwnedCapabilities::owner_of(*capabilities);
    *capabilities = shadex_capabilities{};
}

shadex_u32 shadex_get_core_specific_capabilities(const shadex_hardware_core* hardware,
                                                 shadex_core_specific_capabilities* capabilities) {
    if (!hardware || !capabilities) return STATUS_BAD_ARGUMENTS;
    try {
        const CoreInfo* core = requested_core(*hardware);
        if (!core) return STATUS_UNKNOWN_CORE;
        auto owned = std::make_unique<OwnedList>(core_capabilities(LIBRARY_TYPE, *core));
        capabilities->capabilities = owned.release()->view();
        return STATUS_OK;
    } catch (...) {
        return STATUS_INTERNAL_FAILURE;
    }
}

void shadex_release_core_specific_capabilities(shadex_core_specific_capabilities* capabilities) {
    if (!capabilities) return;
    delete OwnedList::owner_of(capabilities->capabilities);
    *capabilities = shadex_core_specific_capabilities{};
}

shadex_u32 shadex_compile(const shadex_inputs* inputs, shadex_outputs* outputs) {
    if (!inputs || !outputs) return STATUS_BAD_ARGUMENTS;
    try {
        const CompileResult result = compile_request(*inputs);
        auto owned = std::make_unique<OwnedOutputs>(result.variants, result.errors, result.warnings);
        owned.release()->fill(*outputs);
        return STATUS_OK;
    } catch (...) {
        return STATUS_INTERNAL_FAILURE;
    }
}

void shadex_release_outputs(shadex_outputs* outputs) {
    if (!outputs) return;
    delete OwnedOutputs::owner_of(*outputs);
    *outputs = shadex_outputs{};
}

}  // extern "C"
