// Builds the shadex_inputs record handed to a back-end: the input bytes, the
// target core and revision, and the key/value compile options in order.
#pragma once

#include <string>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/shadex_abi.h"

class CompileInput {
public:
    // `source` must outlive this object.
    CompileInput(const Bytes& source, const std::string& core, const std::string& revision);

    void add_flexible_input(const std::string& key, const std::string& value);

    // Pointers refer into this object and `source`: call after the last
    // add_flexible_input and keep the object alive for the back-end call.
    shadex_inputs* get();

private:
    const Bytes& source;
    std::string core;
    std::string revision;
    std::vector<std::string> flexible_inputs;
    std::vector<const char*> pointers;
    shadex_inputs record{};
};
