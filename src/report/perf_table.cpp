#include "report/perf_table.h"

#include <iomanip>
#include <sstream>

#include "report/format.h"

namespace {

constexpr unsigned CELL_WIDTH = 7;
constexpr unsigned BOUND_WIDTH = 8;

std::string join(const std::vector<std::string>& cells, const std::string& separator) {
    std::string text;
    for (size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) text += separator;
        text += cells[i];
    }
    return text;
}

}  // namespace

std::string format_cycles(float value) {
    if (value < 0.0f) return NOT_APPLICABLE;
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << value;
    return text.str();
}

bool hides_sub_pipelines(ArchitectureType architecture, bool detailed) {
    return !detailed && (architecture == ArchitectureType::Pelion || architecture == ArchitectureType::FifthGen);
}

nlohmann::json PipeLimitList::to_json() const {
    if (labels.empty()) return nlohmann::json::array({nullptr});
    return nlohmann::json(labels);
}

PipeLimitList get_limiting_pipes(const std::vector<std::string>& names, const std::vector<float>& cycles) {
    std::vector<float> values;
    for (size_t i = 0; i < names.size(); ++i) values.push_back(cycles.at(i));

    PipeLimitList limits;
    for (float value : values) {
        if (value < 0.0f) return limits;
    }
    if (values.empty()) return limits;

    float maximum = values[0];
    for (float value : values) {
        if (value > maximum) maximum = value;
    }
    for (size_t i = 0; i < names.size(); ++i) {
        if (values[i] == maximum) limits.labels.push_back(names[i]);
    }
    return limits;
}

std::string get_perf_table_row(const std::vector<std::string>& names) {
    std::vector<std::string> cells;
    for (const auto& name : names) cells.push_back(pad_str(name, CELL_WIDTH));
    cells.push_back(pad_str("Bound", BOUND_WIDTH));
    return join(cells, " ");
}

std::string get_perf_table_row(const std::vector<std::string>& names, const std::vector<float>& cycles) {
    std::vector<std::string> cells;
    for (size_t i = 0; i < names.size(); ++i) {
        cells.push_back(pad_str(format_cycles(cycles.at(i)), CELL_WIDTH));
    }
    PipeLimitList limits = get_limiting_pipes(names, cycles);
    std::string bound = limits.labels.empty() ? NOT_APPLICABLE : join(limits.labels, ", ");
    cells.push_back(pad_str(bound, BOUND_WIDTH));
    return join(cells, " ");
}
