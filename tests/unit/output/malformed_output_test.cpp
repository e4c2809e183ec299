// A back-end is a separately built library: whatever it hands over must end
// in a clear KoroException_, never in a crash or an overrun.
#include <gtest/gtest.h>

#include "backend_record.h"

namespace {

const Target OSTREM;

TEST(MalformedOutput, BadStatisticsNameTheKey) {
    const std::pair<std::string, std::string> bad[] = {
        {"work_registers_used", "abc"}, {"spill_size", "99999999999"},         {"shortest", "1/x"},
        {"part_float16", "1e30"},       {"varying_attribute_symbols", "uv:?"},
    };
    for (const auto& [key, value] : bad) {
        const std::string error = thrown<KoroException_>([&] { compile(OSTREM, {with_pipes({key, value})}); });
        EXPECT_EQ(error, "Invalid value for " + key + ": " + value);
    }
    for (const Target& unknown : {Target{static_cast<ArchitectureType>(9)}, Target{ArchitectureType::Ostrem, "Koro-X"}})
        EXPECT_NE(thrown<KoroException_>([&] { compile(unknown, {with_pipes({"work_registers_used", "8"})}); }), "");
    // A lone last key is ignored.
    const auto lone = compile(OSTREM, {{"pipe_names", "A", "cycles", "1", "spill_size"}});
    EXPECT_EQ(lone.variants.at(0).spill_size, -1);
}

TEST(MalformedOutput, BadSourceLineStatisticsNameTheKeyOnlyWhenAskedFor) {
    const Target asked{ArchitectureType::Ostrem, "Koro-N68", CompilerType::OpenGLES, SourceType::Fragment, true};
    const std::pair<std::string, std::string> bad[] = {
        {"source_line_costs", "0:1:1/2"},  // the variant has three pipes
        {"source_line_costs", "0:1:1/1/1;;0:2:1/1/1"},
        {"source_line_costs", "1:4:1/1/1"},  // no file 1 named
        {"source_line_registers", "0:x:4"},
        {"source_line_stack", "0:3"},
        {"source_line_loops", "0:3:-1"},
        {"source_line_loops", "0:+3:2"},
    };
    for (const auto& [key, value] : bad) {
        const std::string error = thrown<KoroException_>([&] { compile(asked, {with_pipes({key, value})}); });
        EXPECT_EQ(error, "Invalid value for " + key + ": " + value);
        EXPECT_EQ(thrown<KoroException_>([&] { compile(OSTREM, {with_pipes({key, value})}); }), "");
    }
    // Counts past what the report holds are the largest it holds, not errors.
    const auto counts = compile(asked, {with_pipes({"source_line_loops", "0:3:2000000000;0:4:99999999999",
                                                    "source_line_stack", "0:4:2147483000;0:4:9000"})});
    const auto& lines = counts.variants.at(0).source_lines;
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].loop_trip_count, 2000000000);
    EXPECT_EQ(lines[1].loop_trip_count, INT32_MAX);
    EXPECT_EQ(lines[1].stack_bytes, INT32_MAX);
}

TEST(MalformedOutput, NullTextsAndArraysFail) {
    const char* null_value[] = {"tls_size", nullptr};
    const char* null_key[] = {nullptr, "8"};
    const char* null_line[] = {"fine", nullptr};
    const shadex_flexible_list bad_lists[] = {{2, 0, null_value}, {2, 0, null_key}, {2, 0, nullptr}};
    std::vector<shadex_outputs> records(7);
    for (size_t i = 0; i < 3; ++i) {
        records[i].variant_count = 1;
        records[i].variants = &bad_lists[i];
    }
    records[3].variant_count = 3;
    records[4].error_count = 2;
    records[4].errors = null_line;
    records[5].error_count = 1;
    records[6].warning_count = 1;
    for (const auto& record : records) EXPECT_NE(thrown<KoroException_>([&] { compile_record(OSTREM, record); }), "");
    // Counts of zero make null arrays valid.
    EXPECT_EQ(thrown<KoroException_>([] { compile_record(OSTREM, shadex_outputs{}); }), "");
}

}  // namespace
