// How many times each loop of a module in SSA form runs, when that is plain
// from the code: an integer counter that starts at a constant, steps by a
// constant and is compared with a constant to leave the loop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace reference {

struct LoopShape {
    // The number of iterations, or nullopt when it is not a constant the
    // counting can see. Counting stops just above the limit asked for, so a
    // huge or endless loop reports limit + 1.
    std::optional<uint32_t> trips;
    // Words from the loop header to its merge block: about what each
    // unrolled iteration adds.
    size_t body_words = 0;
};

// One entry per OpLoopMerge, in module order.
std::vector<LoopShape> loop_shapes(const std::vector<uint32_t>& module, uint32_t trip_limit);

}  // namespace reference
