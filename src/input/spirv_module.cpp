#include "input/spirv_module.h"

#include <glslang/SPIRV/spirv.hpp>

#include <algorithm>
#include <optional>

namespace {

constexpr size_t WORD_BYTES = 4;
constexpr size_t HEADER_BYTES = 5 * WORD_BYTES;

const std::vector<std::string> SPIRV_STRIPPED_EXTENSIONS = {
    "SPV_GOOGLE_user_type",
    "SPV_GOOGLE_decorate_string",
};

// Callers guarantee offset + 4 <= module.size().
uint32_t read_word(const Bytes& module, size_t offset) {
    return uint32_t(module[offset]) | uint32_t(module[offset + 1]) << 8 | uint32_t(module[offset + 2]) << 16 |
           uint32_t(module[offset + 3]) << 24;
}

void write_word(Bytes& module, size_t offset, uint32_t word) {
    for (size_t i = 0; i < WORD_BYTES; ++i) module[offset + i] = uint8_t(word >> (8 * i));
}

// One instruction of a module, seen through bounds-checked accessors: an
// operand that lies past the end of the buffer simply does not exist.
class Instruction {
public:
    Instruction(const Bytes& module_in, size_t offset_in) : module(module_in), offset(offset_in) {}

    uint16_t opcode() const { return uint16_t(read_word(module, offset) & 0xFFFF); }
    uint32_t word_count() const { return read_word(module, offset) >> 16; }
    size_t start() const { return offset; }
    size_t word_offset(size_t index) const { return offset + index * WORD_BYTES; }

    bool has_word(size_t index) const { return word_offset(index) + WORD_BYTES <= module.size(); }

    std::optional<uint32_t> word(size_t index) const {
        if (!has_word(index)) return std::nullopt;
        return read_word(module, word_offset(index));
    }

    // A literal string without a terminator inside the module counts as empty.
    std::string string_at(size_t index) const {
        size_t begin = word_offset(index);
        for (size_t end = begin; end < module.size(); ++end)
            if (module[end] == 0) return std::string(module.begin() + begin, module.begin() + end);
        return "";
    }

private:
    const Bytes& module;
    size_t offset;
};

enum class Step { Next, Stop, Again };

// Visits every instruction after the header. A zero word count ends the walk,
// as does the end of the buffer. Step::Again revisits the same offset, for a
// visitor that has just removed the instruction from the module.
template <typename Visitor>
void walk_instructions(const Bytes& module, Visitor visit) {
    size_t offset = HEADER_BYTES;
    while (offset + WORD_BYTES <= module.size()) {
        Instruction instruction(module, offset);
        uint32_t count = instruction.word_count();
        if (count == 0) return;
        Step step = visit(instruction);
        if (step == Step::Stop) return;
        if (step == Step::Next) offset += count * WORD_BYTES;
    }
}

// The stage code is the execution model plus one; this maps the graphics
// models onto 1..7 and the ray-tracing models onto 5314..5319. A missing
// operand reads as model 0.
SpirvEntryPoint read_entry_point(const Instruction& instruction) {
    uint32_t model = instruction.word(1).value_or(0);
    return {static_cast<SourceType>(static_cast<int32_t>(model + 1)), instruction.string_at(3)};
}

bool is_user_type_decoration(const Instruction& instruction) {
    switch (instruction.opcode()) {
        case spv::OpDecorate:
        case spv::OpDecorateId:
        case spv::OpDecorateString: return instruction.word(2) == spv::DecorationUserTypeGOOGLE;
        case spv::OpMemberDecorate:
        case spv::OpMemberDecorateString: return instruction.word(3) == spv::DecorationUserTypeGOOGLE;
        default: return false;
    }
}

bool is_stripped_extension(const std::string& name) {
    for (const auto& stripped : SPIRV_STRIPPED_EXTENSIONS)
        if (name == stripped) return true;
    return false;
}

void remove_instruction(Bytes& module, const Instruction& instruction) {
    size_t begin = instruction.start();
    size_t end = std::min(module.size(), instruction.word_offset(instruction.word_count()));
    module.erase(module.begin() + begin, module.begin() + end);
}

bool is_spec_id_for(const Instruction& instruction, uint32_t location) {
    return instruction.opcode() == spv::OpDecorate && instruction.word(2) == spv::DecorationSpecId &&
           instruction.word(3) == location;
}

struct IntType {
    uint32_t id;
    uint32_t width;
    bool is_signed;
};

// Widths other than 8, 16, 32 and 64 are not integer types we can encode.
std::optional<IntType> read_int_type(const Instruction& instruction) {
    auto id = instruction.word(1);
    auto width = instruction.word(2);
    auto signedness = instruction.word(3);
    if (!id || !width || !signedness) return std::nullopt;
    if (*width != 8 && *width != 16 && *width != 32 && *width != 64) return std::nullopt;
    return IntType{*id, *width, *signedness != 0};
}

// Signed types take [-2^(w-1), 2^(w-1)-1]; unsigned ones [0, 2^w-1], which for
// 64 bits is every non-negative value the caller can pass.
bool fits(const IntType& type, int64_t value) {
    if (type.is_signed) {
        if (type.width == 64) return true;
        int64_t limit = int64_t(1) << (type.width - 1);
        return value >= -limit && value < limit;
    }
    if (value < 0) return false;
    return type.width == 64 || value < (int64_t(1) << type.width);
}

// Literals up to 32 bits take one word, sign-extended for signed types (the
// low 32 bits of an in-range int64 already are); 64-bit literals take two,
// low word first.
void write_int_literal(Bytes& module, const Instruction& constant, const IntType& type, int64_t value) {
    uint64_t bits = static_cast<uint64_t>(value);
    write_word(module, constant.word_offset(3), uint32_t(bits));
    if (type.width == 64) write_word(module, constant.word_offset(4), uint32_t(bits >> 32));
}

}  // namespace

bool has_spirv_magic(const Bytes& module) {
    return module.size() >= WORD_BYTES && read_word(module, 0) == spv::MagicNumber;
}

bool identify_spirv(const Bytes& module, SourceType& stage, std::string& entry) {
    stage = SourceType::None;
    entry.clear();
    if (!has_spirv_magic(module)) return false;
    std::vector<SpirvEntryPoint> entry_points = enumerate_spirv_entrypoints(module);
    if (entry_points.size() == 1) {
        stage = entry_points.front().first;
        entry = entry_points.front().second;
    }
    return true;
}

uint32_t get_spirv_version(const Bytes& module) {
    if (module.size() < 2 * WORD_BYTES) return 0;
    uint32_t version = read_word(module, WORD_BYTES);
    uint32_t major = (version >> 16) & 0xFF;
    uint32_t minor = (version >> 8) & 0xFF;
    return major * 100 + minor * 10;
}

std::vector<SpirvEntryPoint> enumerate_spirv_entrypoints(const Bytes& module) {
    std::vector<SpirvEntryPoint> entry_points;
    if (!has_spirv_magic(module)) return entry_points;
    walk_instructions(module, [&](const Instruction& instruction) {
        if (instruction.opcode() == spv::OpEntryPoint) entry_points.push_back(read_entry_point(instruction));
        return Step::Next;
    });
    return entry_points;
}

std::vector<std::string> preprocess_spirv(Bytes& module) {
    std::vector<std::string> warnings;
    if (!has_spirv_magic(module)) return warnings;
    walk_instructions(module, [&](const Instruction& instruction) {
        if (instruction.opcode() == spv::OpExtension) {
            std::string name = instruction.string_at(1);
            if (!is_stripped_extension(name)) return Step::Next;
            warnings.push_back("0:1: X0004: " + name + " semantic extension is not supported");
        } else if (!is_user_type_decoration(instruction)) {
            return Step::Next;
        }
        remove_instruction(module, instruction);
        return Step::Again;
    });
    return warnings;
}

std::string rewrite_spirv_spec_const_bool(Bytes& module, uint32_t location, bool value) {
    if (!has_spirv_magic(module)) return "Program is not SPIR-V";
    std::optional<uint32_t> wanted_id;
    bool found = false;
    walk_instructions(module, [&](const Instruction& instruction) {
        uint16_t opcode = instruction.opcode();
        if (is_spec_id_for(instruction, location)) {
            wanted_id = instruction.word(1);
        } else if ((opcode == spv::OpSpecConstantTrue || opcode == spv::OpSpecConstantFalse) && wanted_id &&
                   instruction.word(2) == wanted_id) {
            found = true;
            uint16_t wanted_opcode = value ? spv::OpSpecConstantTrue : spv::OpSpecConstantFalse;
            if (opcode != wanted_opcode)
                write_word(module, instruction.start(), instruction.word_count() << 16 | wanted_opcode);
            return Step::Stop;
        }
        return Step::Next;
    });
    if (found) return "";
    return "No boolean specialization constant at location " + std::to_string(location);
}

// A constant whose type is not a declared 8/16/32/64-bit spv::OpTypeInt, or whose
// word count is too short for its type's literal, is not an integer constant.
std::string rewrite_spirv_spec_const_int(Bytes& module, uint32_t location, int64_t value) {
    if (!has_spirv_magic(module)) return "Program is not SPIR-V";
    const std::string where = " specialization constant at location " + std::to_string(location);
    std::optional<uint32_t> wanted_id;
    std::vector<IntType> int_types;
    std::string result = "No integer" + where;
    walk_instructions(module, [&](const Instruction& instruction) {
        uint16_t opcode = instruction.opcode();
        if (is_spec_id_for(instruction, location)) {
            wanted_id = instruction.word(1);
        } else if (opcode == spv::OpTypeInt) {
            if (auto type = read_int_type(instruction)) int_types.push_back(*type);
        } else if (opcode == spv::OpSpecConstant && wanted_id && instruction.word(2) == wanted_id) {
            auto type_id = instruction.word(1);
            for (const auto& type : int_types) {
                if (type.id != type_id) continue;
                size_t literal_words = type.width == 64 ? 2 : 1;
                size_t last_literal = 2 + literal_words;
                if (instruction.word_count() <= last_literal || !instruction.has_word(last_literal)) break;
                if (!fits(type, value)) {
                    result = "Value out of range for int" + where;
                } else {
                    write_int_literal(module, instruction, type, value);
                    result.clear();
                }
                break;
            }
            return Step::Stop;
        }
        return Step::Next;
    });
    return result;
}

void rename_spirv_string(Bytes& module, const std::string& from, const std::string& to) {
    if (!has_spirv_magic(module) || from == to) return;
    // The literal is NUL-terminated and padded with NULs to whole words.
    Bytes renamed(WORD_BYTES * 2 + (to.size() / WORD_BYTES + 1) * WORD_BYTES, 0);
    std::copy(to.begin(), to.end(), renamed.begin() + 2 * WORD_BYTES);
    walk_instructions(module, [&](const Instruction& instruction) {
        if (instruction.opcode() != spv::OpString || instruction.string_at(2) != from) return Step::Next;
        const uint32_t words = static_cast<uint32_t>(renamed.size() / WORD_BYTES);
        write_word(renamed, 0, words << 16 | spv::OpString);
        write_word(renamed, WORD_BYTES, instruction.word(1).value_or(0));
        const size_t start = instruction.start();
        remove_instruction(module, instruction);
        module.insert(module.begin() + static_cast<std::ptrdiff_t>(start), renamed.begin(), renamed.end());
        return Step::Again;  // now the renamed one, to step over it by its own size
    });
}
