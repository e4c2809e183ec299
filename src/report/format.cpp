#include "report/format.h"

#include <iomanip>
#include <sstream>

const std::string NOT_APPLICABLE = "N/A";

namespace {

void print_heading(std::ostream& out, const std::string& title, char underline) {
    out << title << std::endl;
    out << std::string(title.size(), underline) << std::endl;
    out << std::endl;
}

}  // namespace

void print_section_title(std::ostream& out, const std::string& title) { print_heading(out, title, '='); }

void print_section_subtitle(std::ostream& out, const std::string& title) { print_heading(out, title, '-'); }

std::string pad_str(const std::string& text, unsigned width) {
    if (text.size() >= width) return text;
    return std::string(width - text.size(), ' ') + text;
}

std::string pretty_print_list(const std::vector<std::string>& items, const std::string& separator,
                              const std::string& last_prefix) {
    std::string result;
    for (size_t i = 0; i < items.size(); ++i) {
        result += items[i];
        if (i + 1 < items.size()) result += separator;
        if (i + 2 == items.size()) result += last_prefix;
    }
    return result;
}

std::string pretty_print_version_string(uint32_t version) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << static_cast<float>(version) / 100.0;
    return text.str();
}
