#include "suite/results.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include "common/product.h"
#include "common/text.h"
#include "report/json_report.h"

using nlohmann::json;

namespace {

const char* const SCHEMA_NAME = "suite";
constexpr int SCHEMA_VERSION = 1;

std::string dump(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

std::string collapse_blanks(const std::string& text) {
    std::string result;
    bool blank = false;
    for (char c : text) {
        if (c == ' ' || c == '\n' || c == '\t' || c == '\r') {
            blank = !result.empty();
            continue;
        }
        if (blank) result += ' ';
        blank = false;
        result += c;
    }
    return result;
}

bool record_before(const json& a, const json& b) {
    const std::string& a_id = a["id"].get_ref<const std::string&>();
    const std::string& b_id = b["id"].get_ref<const std::string&>();
    if (a_id != b_id) return a_id < b_id;
    return a["core"].get_ref<const std::string&>() < b["core"].get_ref<const std::string&>();
}

}  // namespace

json make_record(const std::string& id, const std::string& core, const TaskOutcome& outcome) {
    json record = {{"id", id}, {"core", core}};
    if (!outcome.failure.empty()) {
        record["status"] = nullptr;
        record["failure"] = outcome.failure;
        return record;
    }
    record["status"] = outcome.status;
    json report = json::parse(outcome.out, nullptr, false);
    if (!report.is_discarded() && report.is_object())
        record["report"] = std::move(report);
    else
        record["message"] = error_message(outcome.err);
    return record;
}

json refused_record(const SuiteEntry& entry, const std::string& core) {
    return {{"id", entry.id}, {"core", core}, {"status", 2}, {"message", entry.refusal}};
}

std::string error_message(const std::string& err) {
    std::string text = err;
    // The version header: three lines, the last one empty.
    if (starts_with(text, product::NAME)) {
        size_t end = text.find("\n\n");
        text = end == std::string::npos ? "" : text.substr(end + 2);
    }
    size_t usage = text.find("\nUsage: ");
    if (usage != std::string::npos) text.resize(usage);
    text = collapse_blanks(text);
    if (starts_with(text, "ERROR:")) text = collapse_blanks(text.substr(6));
    return text;
}

void sort_records(SuiteRecords& records) { std::stable_sort(records.begin(), records.end(), record_before); }

void write_results(std::ostream& out, const SuiteRecords& records) {
    // Sorted by reference: a copy of every report would cost more than writing it.
    std::vector<const json*> sorted;
    for (const json& record : records) sorted.push_back(&record);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const json* a, const json* b) { return record_before(*a, *b); });
    json schema = {{"name", SCHEMA_NAME}, {"version", SCHEMA_VERSION}};
    // Keys in byte order, as in every report: producer, records, schema.
    out << "{\"producer\":" << dump(get_json_producer_header()) << ",\"records\":[";
    for (size_t index = 0; index < sorted.size(); ++index) out << (index == 0 ? "\n" : ",\n") << dump(*sorted[index]);
    out << "\n],\"schema\":" << dump(schema) << "}\n";
}

SuiteRecords read_results(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::invalid_argument("Cannot read " + path + ".");
    json document = json::parse(std::istreambuf_iterator<char>(file), {}, nullptr, false);
    if (document.is_discarded() || !document.is_object())
        throw std::invalid_argument(path + " is not a JSON document.");
    const json& schema = document.value("schema", json::object());
    if (schema.value("name", "") != SCHEMA_NAME || !schema.contains("version"))
        throw std::invalid_argument(path + " is not a shadex-suite results document.");
    if (schema["version"] != SCHEMA_VERSION)
        throw std::invalid_argument(path + " has results schema version " + dump(schema["version"]) +
                                    "; this program reads version " + std::to_string(SCHEMA_VERSION) + ".");
    const json& records = document.value("records", json());
    if (!records.is_array()) throw std::invalid_argument(path + " has no records.");
    for (const json& record : records)
        if (!record.is_object() || !record.contains("id") || !record["id"].is_string() || !record.contains("core") ||
            !record["core"].is_string())
            throw std::invalid_argument(path + " holds a record without an id or a core.");
    return records.get<SuiteRecords>();
}

SuiteRecords merge_results(const std::vector<SuiteRecords>& parts) {
    SuiteRecords merged;
    std::set<std::pair<std::string, std::string>> seen;
    for (const SuiteRecords& part : parts)
        for (const json& record : part) {
            auto key = std::make_pair(record["id"].get<std::string>(), record["core"].get<std::string>());
            if (!seen.insert(key).second)
                throw std::invalid_argument("The entry " + key.first + " on " + key.second +
                                            " is in more than one of the results.");
            merged.push_back(record);
        }
    return merged;
}
