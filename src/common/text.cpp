#include "common/text.h"

bool starts_with(const std::string& text, const std::string& prefix) {
    return prefix.size() <= text.size() && text.compare(0, prefix.size(), prefix) == 0;
}

bool ends_with(const std::string& text, const std::string& suffix) {
    return suffix.size() <= text.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::vector<std::string> split(const std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(delimiter, start);
        if (end == std::string::npos) {
            pieces.push_back(text.substr(start));
            break;
        }
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::vector<float> split_float(const std::string& text, char delimiter) {
    std::vector<float> values;
    for (const auto& piece : split(text, delimiter)) values.push_back(std::stof(piece));
    return values;
}

std::string quote(const std::string& text) {
    if (text.find(' ') == std::string::npos) return text;
    return "\"" + text + "\"";
}
