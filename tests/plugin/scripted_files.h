// Installing copies of the scripted back-end under driver-pattern names and
// reading back what they logged. The build passes SCRIPTED_BACKEND, the path
// of the full build; the variants lie beside it.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

enum class ScriptedVariant {
    Full,
    NoCoreSpecific,  // exports no core-specific entry points
    NoCompile,       // exports no shadex_compile
};

// Copies the back-end to root/subdir/file_name (subdir may be empty; missing
// directories are created), writes its scenario beside it and returns the
// copy's path.
std::string install_scripted_backend(const std::string& root, const std::string& subdir, const std::string& file_name,
                                     const std::string& scenario, ScriptedVariant variant = ScriptedVariant::Full);

// The copy's call log, one entry per line; empty when it was never called.
std::vector<std::string> read_scripted_log(const std::string& library_path);

// The log lines of one entry point, in order: the line is the name or starts
// with name + tab.
std::vector<std::string> calls_of(const std::vector<std::string>& log, const std::string& entry);

// What is wrong with the copy's record handling: records handed back that it
// never handed out (or twice), scenario mistakes, and get/release counts that
// do not pair up. Empty when every record came back exactly once.
std::string release_problems(const std::vector<std::string>& log);

// Bytes as the log shows a compile's source: \n, \t, \\ and \xHH escapes.
inline std::string scripted_log_escape(const std::string& bytes) {
    std::string text;
    for (unsigned char c : bytes) {
        char hex[8];
        std::snprintf(hex, sizeof(hex), c >= 0x20 && c < 0x7f ? "%c" : "\\x%02x", c);
        text += c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\\' ? "\\\\" : hex;
    }
    return text;
}
