// The text report's "Source line costs" section: one row per line that costs
// cycles or uses the stack, in the performance table's pipes and figures.
#include <algorithm>
#include <array>
#include <numeric>

#include "report/format.h"
#include "report/perf_table.h"
#include "report/text_report.h"

namespace {

constexpr size_t ROW_WIDTH = 120;
constexpr unsigned CELL_WIDTH = 7;
constexpr unsigned SMALL_CELL_WIDTH = 5;
constexpr size_t MARKED_LINES = 5;
const std::string NO_LINE = "(no line)";

// Which rows are marked: the five lines costing most on the variant's
// bounding pipe (the first its total cycles are bound by), which `bound_pipe`
// receives; earlier lines win ties.
std::vector<bool> hottest(const ShaderVariant& variant, const std::vector<AnnotatedLine>& lines,
                          std::string& bound_pipe) {
    std::vector<bool> marked(lines.size(), false);
    const PipeLimitList bound = get_limiting_pipes(variant.pipe_names, variant.cycles);
    if (bound.labels.empty()) return marked;
    bound_pipe = bound.labels.front();
    const size_t pipe = static_cast<size_t>(
        std::find(variant.pipe_names.begin(), variant.pipe_names.end(), bound_pipe) - variant.pipe_names.begin());
    auto cost = [&](size_t row) { return lines[row].costs->cycles.at(pipe); };
    std::vector<size_t> rows;
    for (size_t row = 0; row < lines.size(); ++row)
        if (lines[row].line != 0 && cost(row) > 0.0f) rows.push_back(row);
    std::stable_sort(rows.begin(), rows.end(), [&](size_t a, size_t b) { return cost(a) > cost(b); });
    for (size_t rank = 0; rank < std::min(rows.size(), MARKED_LINES); ++rank) marked[rows[rank]] = true;
    return marked;
}

// Display columns of UTF-8 text: every byte that does not continue a character.
size_t columns(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// The line without leading or trailing blanks, tabs as spaces, cut to `room`
// columns between characters.
std::string fitted(std::string text, size_t room) {
    std::replace(text.begin(), text.end(), '\t', ' ');
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    size_t end = 0;
    for (size_t shown = 0; end < text.size(); ++end) {
        if ((text[end] & 0xC0) == 0x80) continue;
        if (shown++ == room) break;
    }
    return text.substr(0, end);
}

std::string left_aligned(const std::string& text, size_t width) {
    return text + std::string(width > columns(text) ? width - columns(text) : 0, ' ');
}

std::string without_trailing_blanks(std::string row) {
    row.erase(row.find_last_not_of(' ') + 1);
    return row;
}

}  // namespace

void print_source_line_costs(std::ostream& out, bool detailed, const CompileOutput& output,
                             const ShaderVariant& variant, const std::vector<AnnotatedLine>& lines,
                             bool several_files) {
    print_section_subtitle(out, "Source line costs");
    if (lines.empty()) {
        out << "The compiler attributed no costs to source lines." << std::endl << std::endl;
        return;
    }

    std::vector<size_t> pipes(variant.pipe_names.size());
    std::iota(pipes.begin(), pipes.end(), size_t{0});
    if (hides_sub_pipelines(output.architecture, detailed)) erase_sub_pipelines(pipes);

    std::vector<std::string> places;
    size_t place_width = 4;  // "Line"
    for (const AnnotatedLine& line : lines) {
        places.push_back(line.line == 0  ? NO_LINE
                         : several_files ? line.file + ":" + std::to_string(line.line)
                                         : std::to_string(line.line));
        place_width = std::max(place_width, columns(places.back()));
    }

    // Registers, loop trips and stack bytes as shown; a column widens for a long figure.
    std::vector<std::array<std::string, 3>> counts;
    std::array<size_t, 3> count_width = {SMALL_CELL_WIDTH, SMALL_CELL_WIDTH, SMALL_CELL_WIDTH};
    for (const AnnotatedLine& line : lines) {
        const SourceLineCost& costs = *line.costs;
        counts.push_back({costs.work_registers < 0 ? "" : std::to_string(costs.work_registers),
                          !costs.in_loop              ? ""
                          : costs.loop_trip_count < 0 ? "?"
                                                      : std::to_string(costs.loop_trip_count),
                          costs.stack_bytes > 0 ? std::to_string(costs.stack_bytes) : ""});
        for (size_t column = 0; column < 3; ++column)
            count_width[column] = std::max(count_width[column], counts.back()[column].size());
    }

    std::string header = "  " + left_aligned("Line", place_width);
    for (size_t pipe : pipes) header += " " + pad_str(variant.pipe_names[pipe], CELL_WIDTH);
    out << header << " " << pad_str("Regs", count_width[0]) << " " << pad_str("Loop", count_width[1]) << " "
        << pad_str("Stack", count_width[2]) << "  Source" << std::endl;

    std::string bound_pipe;
    const std::vector<bool> marked = hottest(variant, lines, bound_pipe);
    for (size_t row = 0; row < lines.size(); ++row) {
        const SourceLineCost& costs = *lines[row].costs;
        std::string text = (marked[row] ? "* " : "  ") + left_aligned(places[row], place_width);
        for (size_t pipe : pipes) text += " " + pad_str(format_cycles(costs.cycles.at(pipe)), CELL_WIDTH);
        for (size_t column = 0; column < 3; ++column) text += " " + pad_str(counts[row][column], count_width[column]);
        text += "  ";
        if (lines[row].text && columns(text) < ROW_WIDTH) text += fitted(*lines[row].text, ROW_WIDTH - columns(text));
        out << without_trailing_blanks(text) << std::endl;
    }

    out << std::endl
        << "Note: Figures are static counts per source line, not measurements. Regs = live work registers," << std::endl
        << "Loop = trip count of the innermost loop (? when unknown), Stack = bytes put on the stack." << std::endl;
    if (!bound_pipe.empty())
        out << "* = the five lines costing most on the bounding pipeline, " << bound_pipe << "." << std::endl;
    out << std::endl;
}
