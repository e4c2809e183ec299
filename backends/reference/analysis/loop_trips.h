// How many times a loop runs, when a plain counter decides it: an integer
// that starts at a constant, steps by a constant and is compared with a
// constant at the top of the loop (as `for (int i = 0; i < N; ++i)` compiles).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "analysis/module_ir.h"

namespace reference {

struct LoopTrips {
    uint64_t count = 0;     // times the body runs
    size_t test_block = 0;  // the block whose branch leaves the loop once the count is reached
    size_t exit_block = 0;  // where that branch goes
};

// The trips of the loop whose header is block `header` of `function`, or
// nullopt when no counter decides them (or the loop would never end).
// `leaves_loop` tells whether a block is outside the loop. The exit test must
// sit in the header or in the block the header branches to.
std::optional<LoopTrips> loop_trips(const Module& module, const Function& function, size_t header,
                                    const std::function<bool(size_t)>& leaves_loop);

// The iterations of `for (v = start; stays(v); v += step)` in 32-bit integer
// arithmetic, where stays(v) is `v <op> bound` (or `bound <op> v` when the
// counter is on the right) and the loop stays while that holds (or while it
// fails); nullopt when it never ends.
std::optional<uint64_t> counted_iterations(uint16_t comparison, bool counter_on_left, bool stay_when_true,
                                           int64_t start, int64_t step, int64_t bound);

}  // namespace reference
