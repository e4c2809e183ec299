#include "core_catalogue.h"

namespace reference {

const std::vector<CoreInfo>& reference_cores() {
    static const std::vector<CoreInfo> cores = [] {
        std::vector<CoreInfo> rows;
        for (const CoreRow& row : core_table())
            for (const std::string& revision : row.revisions) rows.push_back({row.name, revision, row.architecture});
        return rows;
    }();
    return cores;
}

const CoreInfo* find_core(const std::string& name, const std::string& revision) {
    for (const CoreInfo& core : reference_cores()) {
        if (core.name == name && core.revision == revision) return &core;
    }
    return nullptr;
}

}  // namespace reference
