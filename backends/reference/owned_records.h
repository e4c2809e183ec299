// Storage behind the records the entry points hand out. Everything a record
// points to lives in one of these objects until the matching release entry
// point takes it back; the record itself carries the way back to its owner.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "shadex_abi.h"

namespace reference {

using KeyValues = std::vector<std::pair<std::string, std::string>>;

// A flexible list whose strings it owns. The pointer array keeps one hidden
// slot in front of the entries that points back to the owner, so a list
// handed out on its own (per-core capabilities have no spare field) can be
// freed from the record alone.
class OwnedList {
public:
    explicit OwnedList(const KeyValues& pairs);
    OwnedList(const OwnedList&) = delete;
    OwnedList& operator=(const OwnedList&) = delete;

    shadex_flexible_list view() const;

    // The owner of a list obtained from view(); null for an empty record.
    static OwnedList* owner_of(const shadex_flexible_list& list);

private:
    std::deque<std::string> strings;
    std::vector<const char*> slots;  // owner, then key 0, value 0, ...
};

// Fills a shadex_outputs; its first reserved word points here.
struct OwnedOutputs {
    std::vector<std::unique_ptr<OwnedList>> variant_lists;
    std::vector<shadex_flexible_list> variants;
    std::deque<std::string> messages;
    std::vector<const char*> errors;
    std::vector<const char*> warnings;

    OwnedOutputs(const std::vector<KeyValues>& variant_pairs, const std::vector<std::string>& error_lines,
                 const std::vector<std::string>& warning_lines);
    void fill(shadex_outputs& outputs);
    static OwnedOutputs* owner_of(const shadex_outputs& outputs);
};

// Fills a shadex_capabilities; its reserved word points here.
struct OwnedCapabilities {
    std::deque<std::string> names;
    std::vector<shadex_hardware_core> cores;
    OwnedList metadata;

    OwnedCapabilities(const std::vector<std::pair<std::string, std::string>>& core_revisions,
                      const KeyValues& metadata_pairs);
    void fill(shadex_capabilities& capabilities);
    static OwnedCapabilities* owner_of(const shadex_capabilities& capabilities);
};

}  // namespace reference
