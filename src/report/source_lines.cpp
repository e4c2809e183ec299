#include "report/source_lines.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "common/joined_lines.h"
#include "common/text.h"

namespace {

bool has_cost(const SourceLineCost& row) {
    return row.stack_bytes > 0 || std::any_of(row.cycles.begin(), row.cycles.end(), [](float c) { return c > 0.0f; });
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines = split(text, '\n');
    for (std::string& line : lines)
        if (!line.empty() && line.back() == '\r') line.pop_back();
    return lines;
}

// Source files are small; a name that a module's debug information makes up
// may point at a device, a pipe or anything else, which is never read.
constexpr std::uintmax_t LARGEST_SOURCE_FILE = 16u << 20;

bool readable_source(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) &&
           std::filesystem::file_size(path, error) <= LARGEST_SOURCE_FILE && !error;
}

// The lines of each file named, read once; none for a file that cannot be read.
class FileLines {
public:
    std::optional<std::string> line(const std::string& path, unsigned number) {
        auto found = files.find(path);
        if (found == files.end()) {
            std::optional<std::vector<std::string>> lines;
            std::ifstream file;
            if (readable_source(path)) file.open(path, std::ios::binary);
            if (file) lines = lines_of(std::string(std::istreambuf_iterator<char>(file), {}));
            found = files.emplace(path, std::move(lines)).first;
        }
        if (!found->second || number == 0 || number > found->second->size()) return std::nullopt;
        return (*found->second)[number - 1];
    }

private:
    std::map<std::string, std::optional<std::vector<std::string>>> files;
};

}  // namespace

std::string input_display_name(const std::string& file) { return file == "-" ? "STDIN" : file; }

bool names_several_files(const ProgramInputs& inputs, const std::vector<AnnotatedLine>& lines) {
    return inputs.files.size() > 1 || std::any_of(lines.begin(), lines.end(), [](const AnnotatedLine& line) {
               return line.line != 0 && line.costs->file != 0;
           });
}

std::vector<AnnotatedLine> annotate_lines(const ShaderVariant& variant, const std::string& source,
                                          const ProgramInputs& inputs) {
    const std::vector<std::string> source_lines = lines_of(source);
    FileLines files;
    std::vector<AnnotatedLine> result;
    for (const SourceLineCost& row : variant.source_lines) {
        if (!has_cost(row)) continue;
        AnnotatedLine line{&row, "", row.line, std::nullopt};
        const std::string named = row.file < variant.source_files.size() ? variant.source_files[row.file] : "";
        if (row.line == 0) {  // costs tied to no line belong to no file either
            result.push_back(std::move(line));
            continue;
        }
        if (row.file == 0 && !inputs.binary) {
            const InputLine where = locate_joined_line(row.line, inputs.line_ends);
            line.file = input_display_name(inputs.files.at(std::min(where.input, inputs.files.size() - 1)));
            line.line = where.line;
            if (row.line <= source_lines.size()) line.text = source_lines[row.line - 1];
        } else if (row.file == 0 && named.empty()) {
            line.file = input_display_name(inputs.files.at(0));  // a module: its own lines cannot be shown
        } else {
            line.file = named;
            line.text = files.line(named, row.line);
        }
        result.push_back(std::move(line));
    }
    return result;
}
