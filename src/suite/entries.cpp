#include "suite/entries.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "common/text.h"
#include "common/vocabulary.h"
#include "input/spirv_module.h"

namespace fs = std::filesystem;

namespace {

const FileExtensionInfo* extension_row(const std::string& path) {
    for (const FileExtensionInfo& row : FILE_EXT_TYPES)
        if (ends_with(path, row.extension)) return &row;
    return nullptr;
}

std::string read_whole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::invalid_argument("Cannot read " + path + ".");
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// Source text with comments and string literals blanked out.
std::string code_only(const std::string& source) {
    std::string code = source;
    size_t at = 0;
    while (at < code.size()) {
        if (code.compare(at, 2, "//") == 0) {
            while (at < code.size() && code[at] != '\n') code[at++] = ' ';
        } else if (code.compare(at, 2, "/*") == 0) {
            size_t end = code.find("*/", at + 2);
            end = end == std::string::npos ? code.size() : end + 2;
            for (; at < end; ++at)
                if (code[at] != '\n') code[at] = ' ';
        } else if (code[at] == '"' || code[at] == '\'') {
            const char quote = code[at++];
            while (at < code.size() && code[at] != quote && code[at] != '\n') {
                if (code[at] == '\\' && at + 1 < code.size()) code[at++] = ' ';
                code[at++] = ' ';
            }
            ++at;
        } else {
            ++at;
        }
    }
    return code;
}

bool is_word_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

std::vector<std::string> words_and_brackets(const std::string& code) {
    std::vector<std::string> tokens;
    size_t at = 0;
    while (at < code.size()) {
        if (std::isspace(static_cast<unsigned char>(code[at]))) {
            ++at;
        } else if (is_word_char(code[at])) {
            size_t start = at;
            while (at < code.size() && is_word_char(code[at])) ++at;
            tokens.push_back(code.substr(start, at - start));
        } else {
            tokens.push_back(std::string(1, code[at++]));
        }
    }
    return tokens;
}

std::vector<std::string> spirv_kernel_names(const std::string& path) {
    const std::string bytes = read_whole(path);
    std::vector<std::string> names;
    for (const auto& [stage, name] : enumerate_spirv_entrypoints(Bytes(bytes.begin(), bytes.end())))
        if (stage == SourceType::Kernel) names.push_back(name);
    return names;
}

void add_file(const std::string& path, std::vector<SuiteEntry>& entries) {
    const FileExtensionInfo* row = extension_row(path);
    if (!row || row->type != SourceType::Kernel) {
        entries.push_back({path, "", {path}, ""});
        return;
    }
    const std::vector<std::string> kernels =
        row->binary ? spirv_kernel_names(path) : opencl_kernel_names(read_whole(path));
    // Without a kernel the entry still runs, and says what shadex says.
    if (kernels.empty()) entries.push_back({path, "", {path}, ""});
    for (const std::string& kernel : kernels) entries.push_back({path + " -n " + kernel, "", {path, "-n", kernel}, ""});
}

void add_directory(const std::string& dir, std::vector<SuiteEntry>& entries) {
    std::vector<std::string> files;
    for (const auto& item : fs::recursive_directory_iterator(dir, fs::directory_options::skip_permission_denied)) {
        if (!item.is_regular_file()) continue;
        const std::string path = item.path().string();
        if (extension_row(path)) files.push_back(path);
    }
    std::sort(files.begin(), files.end());
    for (const std::string& path : files) add_file(path, entries);
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

void add_list(const std::string& list, std::vector<SuiteEntry>& entries) {
    std::error_code error;
    if (!fs::is_regular_file(list, error)) throw std::invalid_argument("List file " + list + " does not exist.");
    const std::string directory = fs::absolute(fs::path(list)).parent_path().lexically_normal().string();
    const std::vector<std::string> lines = split(read_whole(list), '\n');
    for (size_t index = 0; index < lines.size(); ++index) {
        const std::string line = trimmed(lines[index]);
        if (line.empty() || line[0] == '#') continue;
        SuiteEntry entry{list + ": " + line, directory, {}, ""};
        const std::string where = list + ":" + std::to_string(index + 1) + ": ";
        try {
            entry.args = split_list_line(line);
            entry.refusal = list_line_refusal(entry.args);
        } catch (const std::invalid_argument& problem) {
            entry.refusal = problem.what();
        }
        if (!entry.refusal.empty()) entry.refusal = where + entry.refusal;
        entries.push_back(std::move(entry));
    }
}

}  // namespace

std::vector<std::string> opencl_kernel_names(const std::string& source) {
    const std::vector<std::string> tokens = words_and_brackets(code_only(source));
    std::vector<std::string> names;
    for (size_t at = 0; at < tokens.size(); ++at) {
        if (tokens[at] != "kernel" && tokens[at] != "__kernel") continue;
        size_t next = at + 1;
        // Attributes may stand between the qualifier and the return type.
        while (next < tokens.size() && tokens[next] == "__attribute__") {
            int depth = 0;
            for (++next; next < tokens.size(); ++next) {
                if (tokens[next] == "(") ++depth;
                if (tokens[next] == ")" && --depth == 0) break;
            }
            ++next;
        }
        if (next + 2 < tokens.size() && tokens[next] == "void" && is_word_char(tokens[next + 1][0]) &&
            tokens[next + 2] == "(" && std::find(names.begin(), names.end(), tokens[next + 1]) == names.end())
            names.push_back(tokens[next + 1]);
    }
    return names;
}

std::vector<std::string> split_list_line(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    bool in_word = false;
    for (size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (c == ' ' || c == '\t') {
            if (in_word) words.push_back(word);
            word.clear();
            in_word = false;
        } else if (c == '\'' || c == '"') {
            const size_t end = line.find(c, at + 1);
            if (end == std::string::npos) throw std::invalid_argument("unterminated quote");
            for (size_t inside = at + 1; inside < end; ++inside) {
                if (c == '"' && line[inside] == '\\' && inside + 1 < end) ++inside;
                word += line[inside];
            }
            at = end;
            in_word = true;
        } else if (c == '\\' && at + 1 < line.size()) {
            word += line[++at];
            in_word = true;
        } else {
            word += c;
            in_word = true;
        }
    }
    if (in_word) words.push_back(word);
    return words;
}

std::string list_line_refusal(const std::vector<std::string>& args) {
    const char* const refused[] = {"-l", "--list", "-i", "--info", "-c", "--core", "--format", "-o", "--output"};
    for (const std::string& arg : args) {
        if (arg == "--") break;  // the rest are input files
        for (const char* option : refused)
            if (arg == option)
                return std::string(option) +
                       " is not allowed in a list: shadex-suite chooses the job, the core, the format and the output";
        // Switches combined behind one dash, as in -dl.
        if (arg.size() > 2 && arg[0] == '-' && arg[1] != '-' && arg.find_first_of("li") != std::string::npos &&
            arg.find_first_not_of("vtegfCkldi", 1) == std::string::npos)
            return arg + " is not allowed in a list: it asks for --list or --info";
    }
    return "";
}

std::vector<SuiteEntry> collect_entries(const std::vector<std::string>& inputs) {
    std::vector<SuiteEntry> entries;
    for (const std::string& input : inputs) {
        std::error_code error;
        if (!input.empty() && input[0] == '@')
            add_list(input.substr(1), entries);
        else if (fs::is_directory(input, error))
            add_directory(input, entries);
        else if (fs::exists(input, error))
            add_file(input, entries);
        else
            throw std::invalid_argument("Input " + input + " does not exist.");
    }
    return entries;
}
