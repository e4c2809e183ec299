// The results document of a suite run: a producer block, the schema, and one
// record per entry and core, sorted by id then core and written one record a
// line, so that two runs diff cleanly under version control.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "suite/entries.h"
#include "suite/worker_pool.h"

using SuiteRecords = std::vector<nlohmann::json>;

// The record of one run: "id", "core", "status" and, as the run ended, the
// "report" shadex printed (parsed), the "message" of a usage or run-time
// error, or the "failure" that stopped it (a crash, a time limit).
nlohmann::json make_record(const std::string& id, const std::string& core, const TaskOutcome& outcome);

// The record of an entry that breaks a list rule and was not run.
nlohmann::json refused_record(const SuiteEntry& entry, const std::string& core);

// What shadex printed on its error stream, as one line: no header, no usage.
std::string error_message(const std::string& err);

// By id, then core: the order of every document and listing.
void sort_records(SuiteRecords& records);

// Sorts the records and writes the whole document.
void write_results(std::ostream& out, const SuiteRecords& records);

// Reads a results document; throws std::invalid_argument naming the file and
// what is wrong with it.
SuiteRecords read_results(const std::string& path);

// Joins the records of shards; an entry and core in two of them is an error
// (std::invalid_argument).
SuiteRecords merge_results(const std::vector<SuiteRecords>& parts);
