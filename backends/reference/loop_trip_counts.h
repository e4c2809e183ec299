// How many times each loop of a module in SSA form runs, when that is plain
// from the code (the cost model's own counting, analysis/loop_trips.h), and
// how large each loop is: what the unroller needs to know before it tries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace reference {

struct LoopShape {
    // The number of iterations, or nullopt when it is not a constant the
    // counting can see. Counts above the limit asked for report limit + 1.
    std::optional<uint32_t> trips;
    // Words from the loop header to its merge block: about what each
    // unrolled iteration adds.
    size_t body_words = 0;
};

// One entry per OpLoopMerge, in module order.
std::vector<LoopShape> loop_shapes(const std::vector<uint32_t>& module, uint32_t trip_limit);

}  // namespace reference
