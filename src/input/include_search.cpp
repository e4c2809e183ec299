#include "input/include_search.h"

#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

bool is_identifier_char(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// "#  include" at the start of a line, blanks allowed around the '#'.
bool is_include_line(const std::string& text, size_t start, size_t end) {
    size_t at = start;
    while (at < end && is_blank(text[at])) ++at;
    if (at == end || text[at] != '#') return false;
    ++at;
    while (at < end && is_blank(text[at])) ++at;
    const std::string word = "include";
    if (text.compare(at, word.size(), word) != 0) return false;
    at += word.size();
    return at == end || !is_identifier_char(text[at]);
}

std::string directory_of(const std::string& input) {
    if (input == "-") return ".";
    std::string parent = fs::path(input).parent_path().string();
    return parent.empty() ? "." : parent;
}

}  // namespace

bool has_include_directive(const Bytes& source) {
    std::string text(source.begin(), source.end());
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        if (is_include_line(text, start, end)) return true;
        start = end + 1;
    }
    return false;
}

std::vector<std::string> include_search_dirs(const Bytes& source, const std::string& first_input,
                                             const std::vector<std::string>& include_dirs) {
    for (const std::string& dir : include_dirs) {
        std::error_code error;
        if (!fs::is_directory(dir, error))
            throw std::invalid_argument(fs::exists(dir, error) ? "Include directory " + dir + " is not a directory."
                                                               : "Include directory " + dir + " does not exist.");
    }
    if (include_dirs.empty() && !has_include_directive(source)) return {};
    std::vector<std::string> dirs = {directory_of(first_input)};
    dirs.insert(dirs.end(), include_dirs.begin(), include_dirs.end());
    return dirs;
}
