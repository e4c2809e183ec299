#include "analysis/spirv_words.h"

namespace reference {

std::string literal_string(const std::vector<uint32_t>& words, size_t first, size_t end) {
    std::string text;
    for (size_t at = first; at < end && at < words.size(); ++at) {
        for (int byte = 0; byte < 4; ++byte) {
            const char c = static_cast<char>((words[at] >> (8 * byte)) & 0xFF);
            if (c == '\0') return text;
            text += c;
        }
    }
    return text;
}

}  // namespace reference
