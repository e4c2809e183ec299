// Compile results for the report tests, made the way a back-end hands them
// over: key/value texts run through the real CompileOutput constructor.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "compiler/shadex_abi.h"
#include "output/compile_output.h"

using Statistics = std::vector<std::pair<std::string, std::string>>;

struct SyntheticTarget {
    ArchitectureType architecture;
    std::string core;
    CompilerType compiler;
    SourceType source;
};

class SyntheticOutput {
public:
    SyntheticOutput& variant(const Statistics& statistics) {
        std::vector<std::string> texts;
        for (const auto& pair : statistics) {
            texts.push_back(pair.first);
            texts.push_back(pair.second);
        }
        variants_.push_back(std::move(texts));
        return *this;
    }
    SyntheticOutput& error(const std::string& line) {
        errors_.push_back(line);
        return *this;
    }
    SyntheticOutput& warning(const std::string& line) {
        warnings_.push_back(line);
        return *this;
    }

    CompileOutput build(const SyntheticTarget& target) const {
        std::vector<std::vector<const char*>> variant_texts;
        for (const auto& texts : variants_) variant_texts.push_back(c_strings(texts));
        std::vector<shadex_flexible_list> lists;
        for (const auto& texts : variant_texts) {
            lists.push_back({static_cast<shadex_u32>(texts.size()), 0, texts.data()});
        }
        std::vector<const char*> errors = c_strings(errors_);
        std::vector<const char*> warnings = c_strings(warnings_);

        shadex_outputs record{};
        record.variant_count = static_cast<shadex_u32>(lists.size());
        record.variants = lists.data();
        record.error_count = static_cast<shadex_u32>(errors.size());
        record.errors = errors.data();
        record.warning_count = static_cast<shadex_u32>(warnings.size());
        record.warnings = warnings.data();
        return CompileOutput(target.architecture, target.core, "r1p0", "r40p0-00rel0",
                             target.compiler, target.source, record);
    }

private:
    static std::vector<const char*> c_strings(const std::vector<std::string>& texts) {
        std::vector<const char*> pointers;
        for (const auto& text : texts) pointers.push_back(text.c_str());
        return pointers;
    }

    std::vector<std::vector<std::string>> variants_;
    std::vector<std::string> errors_;
    std::vector<std::string> warnings_;
};

// Raw counts are the normalised ones times the Koro-N22 divisors (A 6, V 8, T 2).
inline Statistics worked_example_statistics() {
    return {
        {"work_registers_used", "24"},
        {"uniform_registers_used", "10"},
        {"tls_size", "0"},
        {"alloca_size", "0"},
        {"spill_size", "0"},
        {"part_float16", "0.25"},
        {"part_v2float16_underused", "0"},
        {"pipe_names", "A/LS/V/T"},
        {"cycles", "9/0/2/2"},
        {"shortest", "7.5/0/2/2.5"},
        {"longest", "9/0/2/2"},
    };
}

const SyntheticTarget KORO_N22_FRAGMENT{ArchitectureType::Ostrem, "Koro-N22",
                                        CompilerType::OpenGLES, SourceType::Fragment};

inline CompileOutput worked_example_output() {
    return SyntheticOutput().variant(worked_example_statistics()).build(KORO_N22_FRAGMENT);
}
