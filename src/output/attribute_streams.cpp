#include "output/attribute_streams.h"

#include <algorithm>

#include "common/text.h"

namespace {

const int32_t RUNTIME_STREAM_CODE = 65535;

bool has_symbol(const std::vector<ShaderAttribute>& attributes, const std::string& symbol) {
    return std::any_of(attributes.begin(), attributes.end(),
                       [&](const ShaderAttribute& attribute) { return attribute.symbol == symbol; });
}

}  // namespace

void decode_attributes(const std::string& text, std::vector<ShaderAttribute>& attributes) {
    for (const auto& entry : split(text, ',')) {
        const auto parts = split(entry, ':');
        if (parts.size() < 2) continue;
        // Every variant reports its streams; the first report wins.
        if (has_symbol(attributes, parts[0])) continue;
        const int32_t stream = std::stoi(parts[1]);
        attributes.push_back({parts[0], stream == RUNTIME_STREAM_CODE ? -1 : stream});
    }
}

bool attribute_compare(const ShaderAttribute& a, const ShaderAttribute& b) {
    if (a.stream != b.stream) {
        if (a.stream == -1) return false;
        if (b.stream == -1) return true;
        return a.stream < b.stream;
    }
    return a.symbol < b.symbol;
}

std::string decode_vulkan_attribute_symbol(const std::string& symbol) {
    const auto parts = split(symbol, '_');
    if (parts.size() < 2) return symbol;
    std::string readable = "OpVariable %" + parts[1];
    if (parts.size() == 2) return readable;
    // The source-level name may itself hold underscores.
    std::string name = parts[2];
    for (size_t i = 3; i < parts.size(); ++i) name += "_" + parts[i];
    return readable + " '" + name + "'";
}

void CompileOutput::sort_attributes() {
    std::sort(position_attributes.begin(), position_attributes.end(), attribute_compare);
    std::sort(varying_attributes.begin(), varying_attributes.end(), attribute_compare);
}
