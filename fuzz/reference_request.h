// One compile request to the reference back-end through its entry points,
// laid out as the program lays it out, and the checks every answer must
// pass: status 0, a well-formed record, and no error line that stands for an
// exception the back-end did not expect.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "common/koro_exception.h"
#include "common/text.h"
#include "compiler/shadex_abi.h"
#include "output/backend_records.h"

namespace fuzz {

using Options = std::vector<std::pair<std::string, std::string>>;

// One core of each architecture generation, picked by the input's size so
// that every input is compiled for one of them.
inline std::string core_for(size_t size) {
    static const char* const CORES[] = {"Koro-L380", "Koro-N36", "Koro-N68", "Koro-N709"};
    return CORES[size % (sizeof(CORES) / sizeof(CORES[0]))];
}

// The options every compile carries; pilot and IDVS variants are requested
// from every core but the oldest generation's, costs per source line from
// the two newest (half the inputs).
inline Options request_options(const std::string& stage, const std::string& core) {
    Options options = {{"compiler_type", "openglessl"}, {"shader_type", stage}};
    if (!starts_with(core, "Koro-L")) {
        options.emplace_back("request-pilot", "true");
        if (stage == "vertex") options.emplace_back("request-idvs", "true");
    }
    if (core == "Koro-N68" || core == "Koro-N709") options.emplace_back("request-source-costs", "true");
    return options;
}

inline void check_answer(const shadex_outputs& outputs) {
    try {
        for (const auto& line : copy_texts(outputs.errors, outputs.error_count)) {
            if (starts_with(line, "Internal compiler error")) std::abort();
        }
        copy_texts(outputs.warnings, outputs.warning_count);
        for (const auto& list : variant_lists(outputs)) {
            if (list.count % 2 != 0) std::abort();
            copy_pairs(list);
        }
    } catch (const KoroException_&) {
        std::abort();
    }
}

inline void compile_and_check(const void* source, const Options& options, const std::string& core) {
    std::vector<const char*> entries;
    for (const auto& [key, value] : options) {
        entries.push_back(key.c_str());
        entries.push_back(value.c_str());
    }
    shadex_inputs inputs{};
    inputs.source = source;
    inputs.options = {static_cast<shadex_u32>(entries.size()), 0, entries.data()};
    inputs.hardware = {core.c_str(), "r0p0"};

    shadex_outputs outputs{};
    if (shadex_compile(&inputs, &outputs) != 0) std::abort();
    check_answer(outputs);
    shadex_release_outputs(&outputs);
}

}  // namespace fuzz
