#include "output/source_line_statistics.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>

#include "common/koro_exception.h"
#include "common/text.h"
#include "output/backend_records.h"

namespace {

const std::string FILE_NAMES = "source_file_names";
const std::string COSTS = "source_line_costs";
const std::string REGISTERS = "source_line_registers";
const std::string STACK = "source_line_stack";
const std::string LOOPS = "source_line_loops";

// The per-pipe keys' pipes, in the order their figures come in.
const std::vector<std::string> OLDER_FORM_PIPES = {"A", "LS", "T"};

// Digits only: a sign, a blank or a trailing word is malformed. Counts past
// what the report holds (a loop's two billion trips) read as the largest.
int32_t whole_number(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) throw std::invalid_argument(text);
    const size_t digits = text.size() - std::min(text.find_first_not_of('0'), text.size());
    if (digits > 10) return INT32_MAX;
    return static_cast<int32_t>(std::min<uint64_t>(std::stoull(text), INT32_MAX));
}

class LineTable {
public:
    LineTable(const ShaderVariant& variant_in, bool pipes_named_in)
        : variant(variant_in), pipes_named(pipes_named_in) {}

    // "FILE:LINE:REST" entries separated by ';', each handed to `read` with
    // its row and REST.
    template <typename Read>
    void read_entries(const std::string& value, Read read) {
        for (const std::string& entry : split(value, ';')) {
            const size_t first = entry.find(':');
            const size_t second = first == std::string::npos ? first : entry.find(':', first + 1);
            if (second == std::string::npos) throw std::invalid_argument(entry);
            const auto file = static_cast<uint32_t>(whole_number(entry.substr(0, first)));
            const auto line = static_cast<uint32_t>(whole_number(entry.substr(first + 1, second - first - 1)));
            if (file > 0 && file >= variant.source_files.size()) throw std::invalid_argument(entry);
            read(row(file, line), entry.substr(second + 1));
        }
    }

    // The back-end's figures in the variant's pipe order.
    std::vector<float> costs(const std::string& text) const {
        const std::vector<float> figures = split_float(text, '/');
        if (pipes_named) {
            if (figures.size() != variant.pipe_names.size()) throw std::invalid_argument(text);
            return figures;
        }
        if (figures.size() != OLDER_FORM_PIPES.size()) throw std::invalid_argument(text);
        std::vector<float> ordered;
        for (const std::string& pipe : variant.pipe_names) {
            const auto at = std::find(OLDER_FORM_PIPES.begin(), OLDER_FORM_PIPES.end(), pipe);
            ordered.push_back(figures.at(static_cast<size_t>(at - OLDER_FORM_PIPES.begin())));
        }
        return ordered;
    }

    // By file and line, the line-0 row last. A line without costs costs nothing.
    std::vector<SourceLineCost> rows_in_order() {
        std::vector<SourceLineCost> result;
        for (auto& [where, row] : rows) {
            if (row.cycles.empty()) row.cycles.assign(variant.pipe_names.size(), 0.0f);
            if (row.line != 0) result.push_back(std::move(row));
        }
        const auto no_line = rows.find({0, 0});
        if (no_line != rows.end()) result.push_back(std::move(no_line->second));
        return result;
    }

private:
    SourceLineCost& row(uint32_t file, uint32_t line) {
        if (line == 0) file = 0;
        SourceLineCost& found = rows[{file, line}];
        found.file = file;
        found.line = line;
        return found;
    }

    const ShaderVariant& variant;
    bool pipes_named;
    std::map<std::pair<uint32_t, uint32_t>, SourceLineCost> rows;
};

void read_key(LineTable& table, const std::string& key, const std::string& value) {
    if (key == COSTS) {
        table.read_entries(value, [&table](SourceLineCost& row, const std::string& text) {
            const std::vector<float> costs = table.costs(text);
            if (row.cycles.empty()) row.cycles.assign(costs.size(), 0.0f);
            for (size_t pipe = 0; pipe < costs.size(); ++pipe) row.cycles[pipe] += costs[pipe];
        });
    } else if (key == REGISTERS) {
        table.read_entries(value, [](SourceLineCost& row, const std::string& text) {
            row.work_registers = std::max(row.work_registers, whole_number(text));
        });
    } else if (key == STACK) {
        table.read_entries(value, [](SourceLineCost& row, const std::string& text) {
            row.stack_bytes =
                static_cast<int32_t>(std::min<int64_t>(int64_t{row.stack_bytes} + whole_number(text), INT32_MAX));
        });
    } else if (key == LOOPS) {
        table.read_entries(value, [](SourceLineCost& row, const std::string& text) {
            row.in_loop = true;
            row.loop_trip_count = text == "unknown" ? -1 : whole_number(text);
        });
    }
}

}  // namespace

bool is_source_line_key(const std::string& key) {
    return key == FILE_NAMES || key == COSTS || key == REGISTERS || key == STACK || key == LOOPS;
}

void read_source_lines(ShaderVariant& variant, const StatisticPairs& statistics, bool pipes_named) {
    // Names first: every other key's entries name files by their index.
    for (const auto& [key, value] : statistics)
        if (key == FILE_NAMES) variant.source_files = split(value, '|');
    if (variant.source_files.empty()) variant.source_files.emplace_back();

    LineTable table(variant, pipes_named);
    for (const auto& [key, value] : statistics)
        read_statistic_value(key, value, [&, &k = key, &v = value] { read_key(table, k, v); });
    variant.source_lines = table.rows_in_order();
}
