// Byte-wise text helpers.
#pragma once

#include <string>
#include <vector>

bool starts_with(const std::string& text, const std::string& prefix);
bool ends_with(const std::string& text, const std::string& suffix);

// Pieces between delimiters; empty pieces are kept, a trailing delimiter adds
// no final empty piece, and an empty text gives no pieces.
std::vector<std::string> split(const std::string& text, char delimiter);

// split, then std::stof on each piece (its exceptions propagate).
std::vector<float> split_float(const std::string& text, char delimiter);

// Wraps the text in double quotes when it holds a space; nothing is escaped.
std::string quote(const std::string& text);
