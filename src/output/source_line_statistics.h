// The per-line statistics a back-end adds to a variant when the program asks
// for source-line costs, read into the variant's SourceLineCost rows.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "output/compile_output.h"

using StatisticPairs = std::vector<std::pair<std::string, std::string>>;

bool is_source_line_key(const std::string& key);

// Reads a variant's source-line keys once all of its keys are known, so that
// the costs line up with its pipes: parallel to pipe_names when the variant
// named its pipes, else in arithmetic, load/store, texture order. Lines with
// the same file and line add up (registers: the most; trip count: the last);
// every line 0 is one row, whatever its file. Throws KoroException_ "Invalid
// value for KEY: VALUE" for a malformed value.
void read_source_lines(ShaderVariant& variant, const StatisticPairs& statistics, bool pipes_named);
