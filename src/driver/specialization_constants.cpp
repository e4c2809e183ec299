#include "driver/specialization_constants.h"

#include <stdexcept>

#include <tclap/ArgException.h>

#include "common/text.h"

namespace {

bool all_digits(const std::string& text) {
    for (char c : text)
        if (c < '0' || c > '9') return false;
    return true;
}

[[noreturn]] void invalid(const std::string& what, const std::string& text) {
    throw TCLAP::ArgParseException("Specialization constant " + what + " " + text + " is invalid.");
}

// The pairing of messages with causes is deliberate: a malformed number is a
// "parameter" error, an oversized one a "value" error, for both halves.
uint32_t parse_location(const std::string& piece, const std::string& text) {
    if (piece.empty() || !all_digits(piece)) invalid("location", text);
    try {
        return static_cast<uint32_t>(std::stoull(piece));  // higher bits are dropped
    } catch (const std::out_of_range&) {
        invalid("value", text);
    }
}

int64_t parse_integer(const std::string& piece, const std::string& text) {
    bool negative = starts_with(piece, "-");
    std::string digits = negative ? piece.substr(1) : piece;
    if (digits.empty() || !all_digits(digits)) invalid("parameter", text);
    try {
        int64_t magnitude = std::stoll(digits);
        return negative ? -magnitude : magnitude;
    } catch (const std::out_of_range&) {
        invalid("value", text);
    }
}

}  // namespace

SpecializationConstants parse_specialization_constants(const std::vector<std::string>& values) {
    SpecializationConstants constants;
    for (const std::string& text : values) {
        std::vector<std::string> pieces = split(text, '=');
        if (pieces.size() != 2) invalid("parameter", text);
        uint32_t location = parse_location(pieces[0], text);
        const std::string& value = pieces[1];
        if (value == "true" || value == "false")
            constants.bools[location] = value == "true";
        else
            constants.ints[location] = parse_integer(value, text);
    }
    return constants;
}
