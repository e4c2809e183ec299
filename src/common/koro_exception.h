// The program's own error: a message, optionally followed by " : " and a
// detail text or a decimal status code.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

class KoroException_ : public std::exception {
public:
    explicit KoroException_(const std::string& text) : message(text) {}
    KoroException_(const std::string& text, const std::string& detail) : message(text + " : " + detail) {}
    KoroException_(const std::string& text, uint32_t code) : message(text + " : " + std::to_string(code)) {}

    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};
