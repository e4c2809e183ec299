// The one word-level walk over a SPIR-V module, shared by the analysis's
// parser, the back-end's quick facts and the translation fix-ups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace reference {

constexpr size_t SPIRV_HEADER_WORDS = 5;

// Calls visit(opcode, first word, end word) for each whole instruction after
// the header, in order. Returns where the walk ended: the module's size, or
// the first word of an instruction whose word count is zero or runs past the
// end (nothing after it is visited).
template <typename Visit>
size_t walk_instructions(const std::vector<uint32_t>& words, Visit&& visit) {
    size_t at = SPIRV_HEADER_WORDS;
    while (at < words.size()) {
        const size_t count = words[at] >> 16;
        if (count == 0 || count > words.size() - at) return at;
        visit(static_cast<uint16_t>(words[at] & 0xFFFF), at, at + count);
        at += count;
    }
    return words.size();
}

// The NUL-terminated literal string in words [first, end).
std::string literal_string(const std::vector<uint32_t>& words, size_t first, size_t end);

}  // namespace reference
