// Word-level SPIR-V module builder for tests: a header, then instructions
// assembled from an opcode and operand words. Nothing is validated, so
// malformed modules are as easy to build as well-formed ones.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "common/vocabulary.h"

namespace spirv_test {

constexpr uint32_t MAGIC = 0x07230203;

// The text packed little-endian four bytes per word, NUL-terminated and
// zero-padded to a whole word.
inline std::vector<uint32_t> literal(const std::string& text) {
    std::vector<uint32_t> words(text.size() / 4 + 1, 0);
    for (size_t i = 0; i < text.size(); ++i)
        words[i / 4] |= uint32_t(uint8_t(text[i])) << (8 * (i % 4));
    return words;
}

// Concatenates operand pieces, so that ids and strings can be mixed.
inline std::vector<uint32_t> operands(std::initializer_list<std::vector<uint32_t>> pieces) {
    std::vector<uint32_t> words;
    for (const auto& piece : pieces) words.insert(words.end(), piece.begin(), piece.end());
    return words;
}

inline Bytes to_bytes(const std::vector<uint32_t>& words) {
    Bytes bytes;
    for (uint32_t word : words)
        for (int i = 0; i < 4; ++i) bytes.push_back(uint8_t(word >> (8 * i)));
    return bytes;
}

// Word `index` of a module, read little-endian.
inline uint32_t word_at(const Bytes& bytes, size_t index) {
    uint32_t word = 0;
    for (size_t i = 0; i < 4; ++i) word |= uint32_t(bytes.at(index * 4 + i)) << (8 * i);
    return word;
}

class SpirvBuilder {
public:
    explicit SpirvBuilder(uint32_t version = 0x00010300, uint32_t bound = 64)
        : words{MAGIC, version, 0, bound, 0} {}

    // Word count is 1 + the number of operands.
    SpirvBuilder& op(uint16_t opcode, const std::vector<uint32_t>& operand_words) {
        return op_with_count(opcode, uint32_t(operand_words.size() + 1), operand_words);
    }

    // An instruction whose declared word count need not match its operands.
    SpirvBuilder& op_with_count(uint16_t opcode, uint32_t word_count,
                                const std::vector<uint32_t>& operand_words) {
        words.push_back(word_count << 16 | opcode);
        words.insert(words.end(), operand_words.begin(), operand_words.end());
        return *this;
    }

    SpirvBuilder& extension(const std::string& name) { return op(10, literal(name)); }

    SpirvBuilder& entry_point(uint32_t model, uint32_t id, const std::string& name) {
        return op(15, operands({{model, id}, literal(name)}));
    }

    SpirvBuilder& decorate(uint32_t target, uint32_t decoration, std::vector<uint32_t> extra = {}) {
        return op(71, operands({{target, decoration}, extra}));
    }

    SpirvBuilder& spec_id(uint32_t target, uint32_t location) {
        return decorate(target, 1, {location});
    }

    SpirvBuilder& type_bool(uint32_t id) { return op(20, {id}); }

    SpirvBuilder& type_int(uint32_t id, uint32_t width, bool is_signed) {
        return op(21, {id, width, is_signed ? 1u : 0u});
    }

    SpirvBuilder& type_float(uint32_t id, uint32_t width) { return op(22, {id, width}); }

    SpirvBuilder& spec_true(uint32_t type, uint32_t id) { return op(48, {type, id}); }
    SpirvBuilder& spec_false(uint32_t type, uint32_t id) { return op(49, {type, id}); }

    SpirvBuilder& spec_constant(uint32_t type, uint32_t id, std::vector<uint32_t> literal_words) {
        return op(50, operands({{type, id}, literal_words}));
    }

    Bytes bytes() const { return to_bytes(words); }

    std::vector<uint32_t> words;
};

}  // namespace spirv_test
