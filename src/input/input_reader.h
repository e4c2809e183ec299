// Joins the named input files (or standard input for "-") into one buffer.
#pragma once

#include <string>
#include <vector>

#include "common/vocabulary.h"

// Throws TCLAP::ArgParseException with the user-facing message on bad input.
// `line_ends`, when given, receives count_line_ends of each input in order.
Bytes read_inputs(const std::vector<std::string>& files, std::vector<unsigned>* line_ends = nullptr);
