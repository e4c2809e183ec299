// Which block every path from the entry passes through before another.
#pragma once

#include <cstddef>
#include <vector>

namespace reference {

struct ControlFlow;

constexpr size_t NO_DOMINATOR = static_cast<size_t>(-1);

// The immediate dominator of every block of the graph (the entry block, 0, is
// its own); NO_DOMINATOR for blocks the entry does not reach.
std::vector<size_t> immediate_dominators(const ControlFlow& flow);

// True when every path from the entry to `block` passes through `dominator`.
bool dominates(const std::vector<size_t>& idom, size_t dominator, size_t block);

}  // namespace reference
