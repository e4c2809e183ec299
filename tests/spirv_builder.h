// Word-level SPIR-V module builder for tests: a header, then instructions
// assembled from an opcode and operand words. Nothing is validated, so
// malformed modules are as easy to build as well-formed ones.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <spirv/unified1/spirv.hpp>

namespace spirv_test {

using Words = std::vector<uint32_t>;
using Bytes = std::vector<uint8_t>;

// The text packed little-endian, NUL-terminated and zero-padded to a whole word.
inline Words literal(const std::string& text) {
    Words words(text.size() / 4 + 1, 0);
    for (size_t i = 0; i < text.size(); ++i) words[i / 4] |= uint32_t(uint8_t(text[i])) << (8 * (i % 4));
    return words;
}

// Concatenates operand pieces, so that ids and strings can be mixed.
inline Words operands(std::initializer_list<Words> pieces) {
    Words words;
    for (const auto& piece : pieces) words.insert(words.end(), piece.begin(), piece.end());
    return words;
}

inline Bytes to_bytes(const Words& words) {
    Bytes bytes;
    for (uint32_t word : words)
        for (int i = 0; i < 4; ++i) bytes.push_back(uint8_t(word >> (8 * i)));
    return bytes;
}

inline uint32_t word_at(const Bytes& bytes, size_t index) {
    uint32_t word = 0;
    for (size_t i = 0; i < 4; ++i) word |= uint32_t(bytes.at(index * 4 + i)) << (8 * i);
    return word;
}

struct SpirvBuilder {
    explicit SpirvBuilder(uint32_t version = 0x00010300) : words{spv::MagicNumber, version, 0, 64, 0} {}

    SpirvBuilder& op(uint16_t opcode, const Words& operand_words = {}) {
        return op_with_count(opcode, uint32_t(operand_words.size() + 1), operand_words);
    }
    // An instruction whose declared word count need not match its operands.
    SpirvBuilder& op_with_count(uint16_t opcode, uint32_t word_count, const Words& operand_words) {
        words.push_back(word_count << 16 | opcode);
        words.insert(words.end(), operand_words.begin(), operand_words.end());
        return *this;
    }
    SpirvBuilder& extension(const std::string& name) { return op(spv::OpExtension, literal(name)); }
    SpirvBuilder& entry_point(uint32_t model, uint32_t id, const std::string& name) {
        return op(spv::OpEntryPoint, operands({{model, id}, literal(name)}));
    }
    SpirvBuilder& decorate(uint32_t target, uint32_t decoration, const Words& extra = {}) {
        return op(spv::OpDecorate, operands({{target, decoration}, extra}));
    }
    SpirvBuilder& spec_id(uint32_t target, uint32_t location) {
        return decorate(target, spv::DecorationSpecId, {location});
    }
    SpirvBuilder& type_bool(uint32_t id) { return op(spv::OpTypeBool, {id}); }
    SpirvBuilder& type_int(uint32_t id, uint32_t width, bool is_signed) {
        return op(spv::OpTypeInt, {id, width, is_signed ? 1u : 0u});
    }
    SpirvBuilder& spec_bool(uint32_t type, uint32_t id, bool value) {
        return op(value ? spv::OpSpecConstantTrue : spv::OpSpecConstantFalse, {type, id});
    }
    SpirvBuilder& spec_constant(uint32_t type, uint32_t id, const Words& literal_words) {
        return op(spv::OpSpecConstant, operands({{type, id}, literal_words}));
    }
    Bytes bytes() const { return to_bytes(words); }
    std::string text() const {
        const Bytes b = bytes();
        return std::string(b.begin(), b.end());
    }

    Words words;
};

}  // namespace spirv_test
