// A back-end is a separately built library: whatever it hands over must end
// in a clear KoroException_, never in a crash or an overrun.
#include <gtest/gtest.h>

#include "backend_record.h"

namespace {

const Target OSTREM;

std::string failure_of_statistic(const std::string& key, const std::string& value,
                                 const Target& target = OSTREM) {
    return failure_of([&] { compile(target, {with_pipes({key, value})}); });
}

TEST(MalformedOutput, BadStatisticsNameTheKey) {
    EXPECT_EQ(failure_of_statistic("work_registers_used", "abc"),
              "Invalid value for work_registers_used: abc");
    EXPECT_EQ(failure_of_statistic("spill_size", "99999999999"),
              "Invalid value for spill_size: 99999999999");
    EXPECT_EQ(failure_of_statistic("shortest", "1/x"), "Invalid value for shortest: 1/x");
    EXPECT_EQ(failure_of_statistic("part_float16", "1e30"), "Invalid value for part_float16: 1e30");
    EXPECT_EQ(failure_of_statistic("varying_attribute_symbols", "uv:?"),
              "Invalid value for varying_attribute_symbols: uv:?");
    EXPECT_NE(failure_of_statistic("work_registers_used", "8",
                                   {static_cast<ArchitectureType>(9), "Koro-N68"}), "");
    EXPECT_NE(failure_of_statistic("tls_size", "8", {ArchitectureType::Ostrem, "Koro-X"}), "");
}

TEST(MalformedOutput, LoneLastKeyIsIgnored) {
    const auto output = compile(OSTREM, {{"pipe_names", "A", "cycles", "1", "spill_size"}});
    EXPECT_EQ(output.variants.at(0).spill_size, -1);
}

TEST(MalformedOutput, NullTextsAndArraysFail) {
    const char* null_value[] = {"tls_size", nullptr};
    const char* null_key[] = {nullptr, "8"};
    const shadex_flexible_list bad_lists[] = {{2, 0, null_value}, {2, 0, null_key}, {2, 0, nullptr}};
    for (const auto& list : bad_lists) {
        shadex_outputs record{};
        record.variant_count = 1;
        record.variants = &list;
        EXPECT_NE(failure_of([&] { compile_record(OSTREM, record); }), "");
    }
    const char* null_line[] = {"fine", nullptr};
    shadex_outputs records[4] = {};
    records[0].variant_count = 3;
    records[1].error_count = 2;
    records[1].errors = null_line;
    records[2].error_count = 1;
    records[3].warning_count = 1;
    for (const auto& record : records) {
        EXPECT_NE(failure_of([&] { compile_record(OSTREM, record); }), "");
    }
    // Counts of zero make null arrays valid.
    EXPECT_EQ(failure_of([] { compile_record(OSTREM, shadex_outputs{}); }), "");
}

}  // namespace
