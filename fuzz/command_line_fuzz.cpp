// The command-line parse on arbitrary words. The input is split into argv
// words at newlines and NULs, the first word being the program's name. A run
// ends as the program's would: parsed, or one of TCLAP's exceptions, or the
// failure report's exit exception. Anything else, or leaving the process, is
// a fault.
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <ostream>
#include <string>
#include <vector>

#include <tclap/CmdLine.h>

#include "driver/ombra_output.h"
#include "driver/option_set.h"

namespace {

std::vector<std::string> argv_words(const uint8_t* data, size_t size) {
    std::vector<std::string> words(1);
    for (size_t i = 0; i < size; ++i) {
        const char c = static_cast<char>(data[i]);
        if (c == '\n' || c == '\0') {
            words.emplace_back();
        } else {
            words.back() += c;
        }
    }
    // The usage text shows the bare program name.
    const size_t slash = words[0].find_last_of('/');
    if (slash != std::string::npos) words[0] = words[0].substr(slash + 1);
    return words;
}

// "--" tells TCLAP to ignore the rest of a command line through a private
// process-wide flag that no parse resets: the program parses one command
// line, this harness many. An explicit instantiation may name a private
// member, which hands the harness the flag's accessor.
using FlagAccessor = bool& (*)();

template <FlagAccessor accessor>
struct IgnoreRestAccess {
    friend FlagAccessor ignore_rest_flag() { return accessor; }
};

FlagAccessor ignore_rest_flag();
template struct IgnoreRestAccess<&TCLAP::Arg::ignoreRestRef>;

// Standard error goes nowhere while it lives.
class SilencedErrors {
public:
    SilencedErrors() : saved(std::cerr.rdbuf(nullptr)) {}
    ~SilencedErrors() { std::cerr.rdbuf(saved); }
    SilencedErrors(const SilencedErrors&) = delete;
    SilencedErrors& operator=(const SilencedErrors&) = delete;

private:
    std::streambuf* saved;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string> words = argv_words(data, size);
    ignore_rest_flag()() = false;
    SilencedErrors silenced;
    std::ostream nowhere(nullptr);

    OmbraOutput output;
    output.set_output_stream(nowhere);
    try {
        OptionSet options(output);
        try {
            options.cmd.parse(words);
            output.validate_exclusive_args();
            options.explicit_stage();
        } catch (TCLAP::ArgException& error) {
            output.failure(options.cmd, error);
        }
    } catch (const TCLAP::ExitException&) {}
    return 0;
}
