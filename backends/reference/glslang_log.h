// glslang's info log turned into the one-message-per-line form the program
// shows beside the source ("0:LINE: 'token' : message").
#pragma once

#include <string>
#include <vector>

namespace reference {

struct LogLines {
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

LogLines split_glslang_log(const std::string& log);

}  // namespace reference
