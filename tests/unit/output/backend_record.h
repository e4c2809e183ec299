// Runs CompileOutput on shadex_outputs records laid out the way a back-end
// hands them over, built from owned strings. Shared with the report tests.
#pragma once

#include <string>
#include <vector>

#include "common/koro_exception.h"
#include "output/compile_output.h"
#include "unit/thrown.h"

using Texts = std::vector<std::string>;

struct Target {
    ArchitectureType architecture = ArchitectureType::Ostrem;
    std::string core = "Koro-N68";
    CompilerType compiler = CompilerType::OpenGLES;
    SourceType source = SourceType::Fragment;
    bool source_lines = false;  // source-line costs asked for
};

inline CompileOutput compile_record(const Target& target, const shadex_outputs& record) {
    return CompileOutput(target.architecture, target.core, "r0p0", "r1p0-00rel0", target.compiler, target.source,
                         record, target.source_lines);
}

// Each variant's texts are laid out key, value, key, value, ...
inline CompileOutput compile(const Target& target, const std::vector<Texts>& variants, const Texts& errors = {},
                             const Texts& warnings = {}) {
    auto pointers = [](const Texts& texts) {
        std::vector<const char*> result;
        for (const auto& text : texts) result.push_back(text.c_str());
        return result;
    };
    std::vector<std::vector<const char*>> variant_texts;
    std::vector<shadex_flexible_list> lists;
    for (const auto& texts : variants) variant_texts.push_back(pointers(texts));
    for (const auto& texts : variant_texts) lists.push_back({shadex_u32(texts.size()), 0, texts.data()});
    const auto error_texts = pointers(errors);
    const auto warning_texts = pointers(warnings);
    shadex_outputs record{};
    record.variant_count = shadex_u32(lists.size());
    record.variants = lists.data();
    record.error_count = shadex_u32(error_texts.size());
    record.errors = error_texts.data();
    record.warning_count = shadex_u32(warning_texts.size());
    record.warnings = warning_texts.data();
    return compile_record(target, record);
}

// Statistics that keep a variant alive past the removal of empty programs
// and fill every row of its performance table.
inline Texts with_pipes(Texts texts) {
    texts.insert(texts.end(), {"pipe_names", "A/LS/T", "cycles", "2/1/1", "shortest", "2/1/1", "longest", "2/1/1"});
    return texts;
}
