#include "owned_records.h"

namespace reference {

OwnedList::OwnedList(const KeyValues& pairs) {
    slots.reserve(1 + 2 * pairs.size());
    slots.push_back(reinterpret_cast<const char*>(this));
    for (const auto& [key, value] : pairs) {
        strings.push_back(key);
        slots.push_back(strings.back().c_str());
        strings.push_back(value);
        slots.push_back(strings.back().c_str());
    }
}

shadex_flexible_list OwnedList::view() const {
    shadex_flexible_list list{};
    list.count = static_cast<shadex_u32>(slots.size() - 1);
    list.entries = slots.data() + 1;
    return list;
}

OwnedList* OwnedList::owner_of(const shadex_flexible_list& list) {
    if (!list.entries) return nullptr;
    return reinterpret_cast<OwnedList*>(const_cast<char*>(list.entries[-1]));
}

OwnedOutputs::OwnedOutputs(const std::vector<KeyValues>& variant_pairs, const std::vector<std::string>& error_lines,
                           const std::vector<std::string>& warning_lines) {
    for (const KeyValues& pairs : variant_pairs) {
        variant_lists.push_back(std::make_unique<OwnedList>(pairs));
        variants.push_back(variant_lists.back()->view());
    }
    for (const std::string& line : error_lines) {
        messages.push_back(line);
        errors.push_back(messages.back().c_str());
    }
    for (const std::string& line : warning_lines) {
        messages.push_back(line);
        warnings.push_back(messages.back().c_str());
    }
}

void OwnedOutputs::fill(shadex_outputs& outputs) {
    outputs.variant_count = static_cast<shadex_u32>(variants.size());
    outputs.variants = variants.empty() ? nullptr : variants.data();
    outputs.error_count = static_cast<shadex_u32>(errors.size());
    outputs.errors = errors.empty() ? nullptr : errors.data();
    outputs.warning_count = static_cast<shadex_u32>(warnings.size());
    outputs.warnings = warnings.empty() ? nullptr : warnings.data();
    outputs.reserved_[0] = this;
}

OwnedOutputs* OwnedOutputs::owner_of(const shadex_outputs& outputs) {
    return static_cast<OwnedOutputs*>(const_cast<void*>(outputs.reserved_[0]));
}

OwnedCapabilities::OwnedCapabilities(const std::vector<std::pair<std::string, std::string>>& core_revisions,
                                     const KeyValues& metadata_pairs)
    : metadata(metadata_pairs) {
    for (const auto& [core, revision] : core_revisions) {
        names.push_back(core);
        const char* core_name = names.back().c_str();
        names.push_back(revision);
        cores.push_back({core_name, names.back().c_str()});
    }
}

void OwnedCapabilities::fill(shadex_capabilities& capabilities) {
    capabilities.core_count = static_cast<shadex_u32>(cores.size());
    capabilities.cores = cores.empty() ? nullptr : cores.data();
    capabilities.metadata = metadata.view();
    capabilities.reserved_ = this;
}

OwnedCapabilities* OwnedCapabilities::owner_of(const shadex_capabilities& capabilities) {
    return static_cast<OwnedCapabilities*>(const_cast<void*>(capabilities.reserved_));
}

}  // namespace reference
