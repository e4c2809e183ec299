#include "output/backend_records.h"

#include "common/koro_exception.h"

namespace {

[[noreturn]] void throw_malformed(const std::string& what) {
    throw KoroException_("Compile error", "malformed statistics from the back-end (" + what + ")");
}

std::string copy_text(const char* const* texts, uint32_t index) {
    if (texts[index] == nullptr) throw_malformed("null text");
    return texts[index];
}

}  // namespace

std::vector<std::string> copy_texts(const char* const* texts, uint32_t count) {
    if (count == 0) return {};
    if (texts == nullptr) throw_malformed("null list of " + std::to_string(count) + " texts");
    std::vector<std::string> copies;
    copies.reserve(count);
    for (uint32_t i = 0; i < count; ++i) copies.push_back(copy_text(texts, i));
    return copies;
}

std::vector<StatisticPair> copy_pairs(const shadex_flexible_list& list) {
    if (list.count == 0) return {};
    if (list.entries == nullptr) {
        throw_malformed("null list of " + std::to_string(list.count) + " texts");
    }
    std::vector<StatisticPair> pairs;
    pairs.reserve(list.count / 2);
    // Written as i + 1 < count so that an odd count never reads past the array.
    for (uint32_t i = 0; i + 1 < list.count; i += 2) {
        pairs.emplace_back(copy_text(list.entries, i), copy_text(list.entries, i + 1));
    }
    return pairs;
}

std::vector<shadex_flexible_list> variant_lists(const shadex_outputs& outputs) {
    if (outputs.variant_count == 0) return {};
    if (outputs.variants == nullptr) {
        throw_malformed("null list of " + std::to_string(outputs.variant_count) + " variants");
    }
    return std::vector<shadex_flexible_list>(outputs.variants, outputs.variants + outputs.variant_count);
}
