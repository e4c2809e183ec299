// Attribute decoding on arbitrary "symbol:stream" texts: the decoded list
// holds each symbol once, sorts into the report order, and every symbol has
// a readable Vulkan form. A malformed stream number is the one expected throw.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/attribute_streams.h"

namespace {

bool has_duplicate_symbols(std::vector<ShaderAttribute> attributes) {
    std::sort(attributes.begin(), attributes.end(),
              [](const ShaderAttribute& a, const ShaderAttribute& b) { return a.symbol < b.symbol; });
    return std::adjacent_find(attributes.begin(), attributes.end(),
                              [](const ShaderAttribute& a, const ShaderAttribute& b) {
                                  return a.symbol == b.symbol;
                              }) != attributes.end();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A NUL ends the text, as it ends the C string the back-end hands over.
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::string text = bytes.substr(0, bytes.find('\0'));

    std::vector<ShaderAttribute> attributes;
    try {
        decode_attributes(text, attributes);
        // A second report of the same symbols adds nothing.
        const size_t first_count = attributes.size();
        decode_attributes(text, attributes);
        if (attributes.size() != first_count) std::abort();
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {}
    if (has_duplicate_symbols(attributes)) std::abort();

    std::sort(attributes.begin(), attributes.end(), attribute_compare);
    if (!std::is_sorted(attributes.begin(), attributes.end(), attribute_compare)) std::abort();
    for (const ShaderAttribute& attribute : attributes) {
        if (attribute.stream == 65535) std::abort();
        decode_vulkan_attribute_symbol(attribute.symbol);
    }
    return 0;
}
