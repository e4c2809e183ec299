// Which functions the optimiser may inline: every call, unless copying
// callees into all their call sites would multiply the program.
#pragma once

#include <cstdint>
#include <vector>

namespace reference {

struct InliningBudget {
    double growth_limit = 3.0;   // inlined function words per original word
    double always_words = 4096;  // programs this small inline everything
};

// The module with DontInline set on the functions that stay calls: those
// whose copies cost most go first, until inlining the rest keeps the
// program's function words within the budget. A driver's inliner makes the
// same trade; the analysis costs a call's callee where it is called.
std::vector<uint32_t> limit_inlining(std::vector<uint32_t> module, const InliningBudget& budget = {});

}  // namespace reference
