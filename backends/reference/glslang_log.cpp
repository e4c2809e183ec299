#include "glslang_log.h"

#include <sstream>

namespace reference {

namespace {

bool starts_with(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool ends_with(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// "N compilation errors.  No code generated." summarises the lines above it,
// and "compilation terminated" only says that parsing stopped at the error
// reported before it.
bool is_summary(const std::string& message) {
    if (ends_with(message, "' : compilation terminated")) return true;
    return message.find("compilation error") != std::string::npos &&
           message.find("No code generated") != std::string::npos;
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

}  // namespace

LogLines split_glslang_log(const std::string& log) {
    const std::string error_prefix = "ERROR: ";
    const std::string warning_prefix = "WARNING: ";
    LogLines lines;
    std::vector<std::string>* last = nullptr;  // where the message being read went
    std::istringstream stream(log);
    std::string line;
    while (std::getline(stream, line)) {
        std::string message;
        std::vector<std::string>* target = nullptr;
        if (starts_with(line, error_prefix)) {
            message = trimmed(line.substr(error_prefix.size()));
            target = &lines.errors;
        } else if (starts_with(line, "INTERNAL ERROR: ") || starts_with(line, "UNIMPLEMENTED: ")) {
            message = trimmed(line);
            target = &lines.errors;
        } else if (starts_with(line, warning_prefix)) {
            message = trimmed(line.substr(warning_prefix.size()));
            target = &lines.warnings;
        } else if (last && !line.empty() && (line[0] == ' ' || line[0] == '\t') && !trimmed(line).empty()) {
            // An indented line finishes the message above it, e.g. the name
            // of a function that has no body.
            last->back() += (ends_with(last->back(), " ") ? "" : " ") + trimmed(line);
            continue;
        } else {
            last = nullptr;  // glslang's own chatter about the stage being linked
            continue;
        }
        if (message.empty() || is_summary(message)) {
            last = nullptr;
            continue;
        }
        target->push_back(message);
        last = target;
    }
    return lines;
}

}  // namespace reference
