// The cores this back-end compiles for, with the revision it reports and the
// architecture generation whose cost model applies.
#pragma once

#include <string>
#include <vector>

#include "analysis/core_table.h"

namespace reference {

struct CoreInfo {
    std::string name;      // as reported to the program, e.g. "Koro-N68", "Koro-N1-Ultra"
    std::string revision;  // e.g. "r0p0"
    Architecture architecture;
};

// Oldest first, one row per core and revision.
const std::vector<CoreInfo>& reference_cores();

// The row for a core name and revision, or null.
const CoreInfo* find_core(const std::string& name, const std::string& revision);

}  // namespace reference
